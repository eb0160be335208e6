#pragma once

#include <windows.h>

#include <memory>

namespace Orvane::Platform {

struct HandleCloser {
    void operator()(HANDLE handle) const noexcept {
        const DWORD error = GetLastError();
        CloseHandle(handle);
        SetLastError(error);
    }
};

// Owns a handle of a kind whose empty value is null; closing keeps the last error.
using Handle = std::unique_ptr<void, HandleCloser>;

}  // namespace Orvane::Platform
