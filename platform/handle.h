#pragma once

#include "platform/last_error.h"

#include <utility>

namespace Orvane::Platform {

// Owns one thing of the system and closes it, whatever it is; the last error stays what it was meanwhile. `Policy` says
// what stands for the thing, what stands for none, and how it is closed:
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

    // Gives it up without closing it.
    Value Release() noexcept { return std::exchange(value, Policy::kNone); }

    void Close() noexcept {
        if (*this) {
            const LastErrorKept kept;
            Policy::Close(Release());
        }
    }

 private:
    Value value = Policy::kNone;
};

}  // namespace Orvane::Platform
