#include "cli/report/bench_page.h"

#include "cli/failure.h"
#include "cli/files/bytes.h"
#include "cli/report/bench_report.h"

#include <algorithm>
#include <iterator>
#include <optional>
#include <string_view>

namespace Orvane::Cli {

// Returns the bytes of bench_page.html. CMake writes the source of this function.
std::string_view BenchPageTemplate();

namespace {

// Returns a result with a value in each place.
Json Example() {
    BenchReport report;
    report.host = "";
    report.launch = 0;
    report.otherWork = OtherWork{};
    report.inferences = {{}};
    report.ownMemory = report.hostMemory = Platform::MemoryUse{};
    return BenchReportJson(report);
}

// Whether this place of a flat result, or an object around it, is null because it was not measured.
bool IsUnknown(const Json& flat, const std::string& place) {
    constexpr const char* kMayBeNull[] = {"/host",          "/machine/others", "/machine/stolen", "/start_up/launch_ms",
                                          "/memory/orvane", "/memory/host"};
    return std::any_of(std::begin(kMayBeNull), std::end(kMayBeNull), [&](const std::string& name) {
        return place.starts_with(name) && flat.contains(name) && flat.at(name).is_null();
    });
}

// Returns what the page's script misses in a result; no value if the result is complete.
std::optional<std::string> Fault(const Json& result) {
    if (!result.is_object()) {
        return "it is not a JSON object";
    }
    const Json flat = result.flatten();
    const Json examples = Example().flatten();
    for (const auto& [place, example] : examples.items()) {
        const Json found = flat.value(place, Json());
        const bool isSame = found.is_number() ? example.is_number() : found.type() == example.type();
        if (!isSame && !IsUnknown(flat, place)) {
            return "it has no " + std::string(example.type_name()) + " " + place;
        }
    }
    return std::nullopt;
}

// Escapes "<" in JSON within a page: the end of a script and the start of a comment begin with it.
std::string Embedded(const Json& object) {
    std::string text;
    for (const char letter : object.dump(-1, ' ', false, Json::error_handler_t::replace)) {
        text += letter == '<' ? std::string_view("\\u003c") : std::string_view(&letter, 1);
    }
    return text;
}

}  // namespace

NamedResult ReadBenchResult(const std::string& path) {
    constexpr bool kThrows = false;
    NamedResult named{path, Json::parse(ReadInput(path), nullptr, kThrows)};
    if (const auto fault = Fault(named.result)) {
        throw Failure(path + " has no result of this version of orvane: " + *fault,
                      {"Give a file that `orvane bench --json FILE` has written."});
    }
    return named;
}

std::string BenchPage(const std::vector<NamedResult>& results) {
    Json runs = Json::array();
    for (const NamedResult& named : results) {
        runs.push_back({{"label", named.name}, {"result", named.result}});
    }
    constexpr std::string_view kMark = "@RESULTS@";
    std::string page(BenchPageTemplate());
    return page.replace(page.find(kMark), kMark.size(), Embedded({{"runs", runs}}));
}

}  // namespace Orvane::Cli
