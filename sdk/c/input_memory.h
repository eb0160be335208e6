#pragma once

#include "sdk/c/port.h"

#include <cstdint>
#include <map>
#include <memory>
#include <optional>

namespace Orvane::C {

// The memory into which an application writes the data of inputs. One input's memory is valid at a time: through a host
// process all inputs have the same.
class InputMemory {
 public:
    // Keeps the memory of an input, and returns its address. The one of before is released.
    void* Lend(const Port& input, std::shared_ptr<void> memory);

    // Whether it is the address of the memory that is valid.
    bool IsValid(const void* data) const;

    // Memory that is not valid is refused as data, and lives on: an application may still write into it.
    void Invalidate() { valid.reset(); }

    // Throw for data in memory that is not this input's or not valid, and for an output that would overwrite some.
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
