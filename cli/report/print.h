#pragma once

#include <orvane/orvane.hpp>

#include <nlohmann/json.hpp>
#include <ostream>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Prints each row on a line. Two blanks separate the columns. All rows have the same number of cells.
void PrintTable(std::ostream& out, const std::vector<std::vector<std::string>>& rows);

// Keeps the order of its members.
using Json = nlohmann::ordered_json;

// Returns the description of a tensor in `info` and `run`; a dynamic dimension is -1.
Json TensorJson(const orvane::Tensor& tensor);

// Prints one object on one line. Replaces bytes of a name that are not UTF-8.
void PrintJson(std::ostream& out, const Json& object);

}  // namespace Orvane::Cli
