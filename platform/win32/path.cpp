#include "platform/path.h"

#include "platform/win32/wide_text.h"

#include <windows.h>

namespace Orvane::Platform {

std::filesystem::path PathFromUtf8(const std::string& text) {
    return std::filesystem::path(WideFromUtf8(text));
}

std::string Utf8FromPath(const std::filesystem::path& path) {
    return Utf8FromWide(path.generic_wstring());
}

bool IsMissing(const std::filesystem::path& path) noexcept {
    if (GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES) {
        return false;
    }
    const DWORD error = GetLastError();
    return error == ERROR_FILE_NOT_FOUND || error == ERROR_PATH_NOT_FOUND;
}

bool CreatePrivateFile(const std::filesystem::path& path) noexcept {
    HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    return file != INVALID_HANDLE_VALUE && CloseHandle(file) != FALSE;
}

bool CreatePrivateFolder(const std::filesystem::path& path) noexcept {
    return CreateDirectoryW(path.c_str(), nullptr) != FALSE;
}

}  // namespace Orvane::Platform
