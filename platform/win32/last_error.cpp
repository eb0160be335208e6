#include "platform/last_error.h"

#include "platform/win32/wide_text.h"

#include <windows.h>

#include <iterator>

namespace Orvane::Platform {

uint32_t LastError() noexcept {
    return GetLastError();
}

std::string SystemMessage(uint32_t error) {
    wchar_t text[512];
    constexpr DWORD kInOneLine = FORMAT_MESSAGE_MAX_WIDTH_MASK;
    const DWORD length = FormatMessageW(FORMAT_MESSAGE_FROM_SYSTEM | FORMAT_MESSAGE_IGNORE_INSERTS | kInOneLine,
                                        nullptr, error, 0, text, static_cast<DWORD>(std::size(text)), nullptr);
    const std::wstring_view message(text, length);
    // Removes the full stop, also the Chinese one, because our texts continue after it.
    const std::wstring_view sentence = message.substr(0, message.find_last_not_of(L"\r\n .\u3002") + 1);
    return sentence.empty() ? "error " + std::to_string(error) : Utf8FromWide(sentence);
}

LastErrorGuard::~LastErrorGuard() {
    SetLastError(error);
}

}  // namespace Orvane::Platform
