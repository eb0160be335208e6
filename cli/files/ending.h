#pragma once

#include <algorithm>
#include <string_view>

namespace Orvane::Cli {

// Whether a path has this ending. Ignores the case of ASCII letters; `ending` has small letters.
inline bool EndsIn(std::string_view path, std::string_view ending) {
    const auto small = [](char letter) { return letter >= 'A' && letter <= 'Z' ? letter - 'A' + 'a' : letter; };
    return path.size() >= ending.size() &&
           std::equal(ending.begin(), ending.end(), path.end() - static_cast<std::ptrdiff_t>(ending.size()),
                      [&](char wanted, char letter) { return small(letter) == wanted; });
}

}  // namespace Orvane::Cli
