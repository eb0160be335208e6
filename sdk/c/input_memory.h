#pragma once

#include "sdk/c/port.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace Orvane::C {

// The memory into which an application writes the data of inputs. Only one input's memory is valid at a time, because
// with a host process all inputs share the same memory.
class InputMemory {
 public:
    // Stores the memory of an input, releases its earlier memory, and returns the address.
    void* Lend(const Port& input, std::shared_ptr<void> memory);

    // Whether `data` is the address of the valid memory.
    bool IsValid(const void* data) const;

    // Invalid memory is refused as data, but not freed, because an application may still write to it.
    void Invalidate() { valid.reset(); }

    // These throw for data in invalid memory or in the memory of another input, and for an output that would overwrite
    // such memory.
    void CheckSource(const Port& input, const void* data) const;
    void CheckTarget(const Port& output, const void* data, uint64_t bytes) const;

 private:
    struct Lent {
        std::shared_ptr<void> memory;
        uint64_t bytes = 0;

        bool Overlaps(const void* data, uint64_t size) const;
    };

    std::map<uint32_t, Lent> lent;  // by input
    std::optional<uint32_t> valid;
};

}  // namespace Orvane::C
