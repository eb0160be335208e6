#pragma once

#include "platform/last_error.h"

#include <utility>

namespace Orvane::Platform {

// Owns one handle of the system and closes it. Closing preserves the last error. `Policy` says what the handle's value
// is, which value means no handle, and how to close it:
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
            const LastErrorKept kept;
            Policy::Close(Release());
        }
    }

 private:
    Value value = Policy::kNone;
};

}  // namespace Orvane::Platform
