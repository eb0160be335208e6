#pragma once

#include <string>
#include <string_view>

namespace Orvane::Platform {

// Conversions between the system's UTF-16 and the UTF-8 of all other code. Invalid text becomes U+FFFD.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

}  // namespace Orvane::Platform
