#pragma once

#include "platform/handle.h"

#include <windows.h>

namespace Orvane::Platform {

struct KernelObject {
    using Value = HANDLE;
    static constexpr void* kNone = nullptr;
    static void Close(Value handle) noexcept { CloseHandle(handle); }
};

// Owns a handle of a kind whose empty value is null.
using Handle = UniqueHandle<KernelObject>;

}  // namespace Orvane::Platform
