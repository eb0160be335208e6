#pragma once

#include <string>

namespace Orvane::Cli {

// Texts of a model or of the inference runtime as a terminal may show them: control characters, which could be commands
// to it, are replaced, those of one byte and those of two in UTF-8.
std::string Printable(std::string text);

// The same, but lines and tabs stay.
std::string PrintableLines(std::string text);

}  // namespace Orvane::Cli
