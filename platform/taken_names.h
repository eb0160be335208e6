#pragma once

#include "platform/handle.h"

#include <string>

namespace Orvane::Platform {

// While it lives, no other process that holds one of these forms names of shared objects, so that one can look which
// names are free, and take them. Empty, with the system's last error, when another process holds on to its own for more
// than 10 seconds. On Linux there is nothing to hold.
class NamesHeld {
 public:
    NamesHeld();

    explicit operator bool() const { return static_cast<bool>(state); }

 private:
    struct State;
    struct Closing {
        using Value = State*;
        static constexpr State* kNone = nullptr;
        static void Close(Value held) noexcept;
    };

    UniqueHandle<Closing> state;
};

// Whether a section or an event that is created under this name would be another one's. Never on Linux.
bool IsNameTaken(const std::string& name);

}  // namespace Orvane::Platform
