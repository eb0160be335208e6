#pragma once

#include <orvane/orvane.hpp>

#include <cstdint>
#include <string>
#include <vector>

namespace Orvane::Cli {

// A text of a model or of the inference runtime, for a terminal. Replaces control characters, of one byte and of two in
// UTF-8: they could be commands to the terminal.
std::string Printable(std::string text);

// The same, but keeps line ends and tabs.
std::string PrintableLines(std::string text);

// "[1, 3, ?]"; the question mark is a dynamic dimension.
std::string ShapeText(const std::vector<int64_t>& shape);

// "float32 [1, 3, ?]".
std::string TypeText(orvane::ElementType type, const std::vector<int64_t>& shape);

// "input" or "output".
std::string SideName(orvane::Side side);

}  // namespace Orvane::Cli
