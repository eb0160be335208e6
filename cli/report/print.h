#pragma once

#include <orvane/orvane.hpp>

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Prints each row on a line, its cells in columns two blanks apart. All rows have as many cells.
void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows);

// Members keep the order in which they were added.
using Json = nlohmann::ordered_json;

// What `info` and `run` both say of a tensor; a dynamic dimension is -1.
Json TensorJson(const orvane::Tensor& tensor);

// Prints one object on one line; bytes of a name that are not UTF-8 are replaced.
void PrintJson(std::ostream& out, const Json& object);

}  // namespace Orvane::Cli
