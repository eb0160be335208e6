#pragma once

#include <string>
#include <string_view>

namespace Orvane::Platform {

// The system's functions take UTF-16, everything else here UTF-8. What is not valid becomes U+FFFD.
std::wstring WideFromUtf8(std::string_view text);
std::string Utf8FromWide(std::wstring_view text);

}  // namespace Orvane::Platform
