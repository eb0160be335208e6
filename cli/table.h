#pragma once

#include <iosfwd>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Prints each row on a line, its cells in columns two blanks apart. All rows have as many cells.
void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows);

}  // namespace Orvane::Cli
