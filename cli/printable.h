#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// Replaces the control characters of a text from a model or from the inference runtime, of one or two bytes in UTF-8. A
// terminal could take them for commands.
std::string Printable(std::string text);

// As `Printable`, but keeps line ends and tabs.
std::string PrintableLines(std::string text);

// Returns "[1, 3, ?]"; the question mark is a dynamic dimension.
std::string ShapeText(const std::vector<int64_t>& shape);

// Returns "float32 [1, 3, ?]".
std::string TypeText(orvane::ElementType type, const std::vector<int64_t>& shape);

// Returns a number as printf shows it. `format` is for a double.
std::string Formatted(const char* format, double value);

// Returns the index, name, type and shape of a tensor, as cells of a table.
std::vector<std::string> TensorCells(const orvane::Tensor& tensor);

// Returns "input" or "output".
std::string SideName(orvane::Side side);

}  // namespace Orvane::Cli
