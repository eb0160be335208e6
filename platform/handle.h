#pragma once

#include "platform/last_error.h"

#include <memory>
#include <utility>

namespace Orvane::Platform {

// Owns one handle of the system and closes it. Closing preserves the last error. `Policy` defines the handle's type,
// the value that means no handle, and how to close it:
//
//   struct Policy {
//       using Value = ...;
//       static constexpr Value kNone = ...;
//       static void Close(Value value) noexcept;
//   };
template <typename Policy>
class UniqueHandle {
 public:
    using Value = typename Policy::Value;

    UniqueHandle() = default;
    explicit UniqueHandle(Value owned) noexcept : value(owned) {}
    UniqueHandle(UniqueHandle&& other) noexcept : value(other.Release()) {}
    UniqueHandle& operator=(UniqueHandle&& other) noexcept {
        if (this != &other) {
            Close();
            value = other.Release();
        }
        return *this;
    }
    ~UniqueHandle() { Close(); }

    explicit operator bool() const { return value != Policy::kNone; }
    Value Get() const { return value; }

    // Returns the handle without closing it.
    Value Release() noexcept { return std::exchange(value, Policy::kNone); }

    void Close() noexcept {
        if (*this) {
            const LastErrorGuard guard;
            Policy::Close(Release());
        }
    }

 private:
    Value value = Policy::kNone;
};

// Owns the state of a class of this folder. Only the class's source for each system defines that state. Closing
// preserves the last error.
template <typename State>
class Owned {
 public:
    Owned() = default;

    // `close` releases what the state refers to, and deletes the state.
    explicit Owned(
        State* made, void (*close)(State*) noexcept = [](State* last) noexcept { delete last; }) noexcept
        : state(made, Closing{close}) {}

    explicit operator bool() const { return state != nullptr; }
    State* Get() const { return state.get(); }
    void Close() noexcept { state.reset(); }

 private:
    struct Closing {
        void (*close)(State*) noexcept = nullptr;

        void operator()(State* last) const noexcept {
            const LastErrorGuard guard;
            close(last);
        }
    };

    std::unique_ptr<State, Closing> state;
};

}  // namespace Orvane::Platform
