#pragma once

#include <cstddef>
#include <string>
#include <utility>

namespace Orvane::Platform {

// What an event and a section have in common on Linux: a POSIX shared-memory object, readable by this user only.

// A descriptor that closes itself and keeps `errno`; -1 is none.
class Descriptor {
 public:
    Descriptor() = default;
    explicit Descriptor(int opened) : number(opened) {}
    ~Descriptor();
    Descriptor(Descriptor&& other) noexcept : number(other.number) { other.number = -1; }
    Descriptor& operator=(Descriptor&& other) noexcept {
        std::swap(number, other.number);
        return *this;
    }

    explicit operator bool() const { return number >= 0; }
    int Number() const { return number; }

 private:
    int number = -1;
};

// The object of that name: a new one with `size` bytes, the first page of which is reserved, or the one that there is.
Descriptor CreateSharedObject(const std::string& name, size_t size);

// Gives the first `size` bytes of the object their memory. False, with `errno`, when there is not enough.
bool ReserveSharedObject(const Descriptor& object, size_t size);

// Opens the object and takes its name away: it lives on in those who have it open, and whoever dies leaves nothing.
Descriptor OpenSharedObject(const std::string& name);

// Keeps `errno`. A name that is gone already is fine.
void RemoveSharedObjectName(const std::string& name);

}  // namespace Orvane::Platform
