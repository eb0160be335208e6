#include "cli/report/print.h"

#include <algorithm>

namespace Orvane::Cli {
namespace {

// Returns the number of letters of a UTF-8 text.
std::size_t Width(const std::string& text) {
    return static_cast<std::size_t>(
        std::count_if(text.begin(), text.end(), [](unsigned char byte) { return (byte & 0xc0) != 0x80; }));
}

}  // namespace

void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows) {
    std::vector<std::size_t> widths(rows.empty() ? 0 : rows.front().size());
    for (const auto& row : rows) {
        for (std::size_t column = 0; column < row.size(); ++column) {
            widths[column] = std::max(widths[column], Width(row[column]));
        }
    }
    for (const auto& row : rows) {
        std::string line;
        for (std::size_t column = 0; column < row.size(); ++column) {
            line += row[column] + std::string(widths[column] - Width(row[column]) + 2, ' ');
        }
        line.erase(line.find_last_not_of(' ') + 1);
        out << line << "\n";
    }
}

Json TensorJson(const orvane::Tensor& tensor) {
    return {{"index", tensor.index},
            {"name", tensor.name},
            {"element_type", orvane::NameOf(tensor.type)},
            {"shape", tensor.shape}};
}

void PrintJson(std::ostream& out, const Json& object) {
    out << object.dump(-1, ' ', false, Json::error_handler_t::replace) << "\n";
}

}  // namespace Orvane::Cli
