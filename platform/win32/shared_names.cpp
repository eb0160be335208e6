#include "platform/shared_names.h"

#include "platform/win32/handle.h"
#include "platform/win32/wide_text.h"

#include <utility>

namespace Orvane::Platform {

struct NamesLock::State {
    ~State() { ReleaseMutex(mutex.Get()); }

    Handle mutex;
};

NamesLock::NamesLock() {
    constexpr DWORD kLongestWait = 10'000;
    Handle mutex(CreateMutexW(nullptr, FALSE, L"Orvane_channel_names"));
    if (!mutex) {
        return;
    }
    const DWORD wait = WaitForSingleObject(mutex.Get(), kLongestWait);
    if (wait == WAIT_OBJECT_0 || wait == WAIT_ABANDONED) {  // an owner that died left no half-made channel
        state = Owned(new State{std::move(mutex)});
    } else if (wait == WAIT_TIMEOUT) {
        SetLastError(WAIT_TIMEOUT);
    }
}

// An object of another kind, or an object that this process may not open, also uses the name.
bool IsNameTaken(const std::string& name) {
    const Handle object(OpenEventW(SYNCHRONIZE, FALSE, WideFromUtf8(name).c_str()));
    return object || GetLastError() != ERROR_FILE_NOT_FOUND;
}

void RemoveAbandoned(const std::vector<std::string>& /*prefixes*/) {}

uint32_t ModuleWord() {
    return static_cast<uint32_t>(reinterpret_cast<uintptr_t>(GetModuleHandleW(nullptr)));
}

bool RenewModuleWord(uint32_t /*error*/) {
    return false;
}

}  // namespace Orvane::Platform
