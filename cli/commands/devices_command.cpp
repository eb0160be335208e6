#include "cli/command.h"

#include "cli/model/load_hints.h"
#include "cli/printable.h"
#include "cli/report/load_progress.h"
#include "cli/report/print.h"

#include <orvane/model_file.hpp>

#include <memory>

namespace Orvane::Cli {
namespace {

std::vector<orvane::Device> ListDevices(std::ostream& err) {
    const LoadProgress progress("the devices", err);
    return orvane::Devices();
}

void PrintDevices(bool asJson, std::ostream& out, std::ostream& err) {
    const std::vector<orvane::Device> devices = ListDevices(err);
    if (asJson) {
        Json list = Json::array();
        for (const orvane::Device& device : devices) {
            list.push_back({{"name", device.name}, {"full_name", device.fullName}});
        }
        PrintJson(out, {{"devices", list}, {"accepted", AcceptedNames(devices)}});
        return;
    }
    std::vector<std::vector<std::string>> rows;
    for (const orvane::Device& device : devices) {
        rows.push_back({Printable(device.name), Printable(device.fullName)});
    }
    PrintTable(out, rows);
    out << "--device takes one of these:";
    for (const std::string& name : AcceptedNames(devices)) {
        out << " " << Printable(name);
    }
    out << "\n";
}

}  // namespace

Command DevicesCommand() {
    const auto asJson = std::make_shared<bool>(false);
    return {"devices",
            "List the devices of this machine that run models",
            "orvane devices",
            {{"--json", asJson.get(), "", "Print one JSON object"}},
            [asJson](std::ostream& out, std::ostream& err) { PrintDevices(*asJson, out, err); }};
}

}  // namespace Orvane::Cli
