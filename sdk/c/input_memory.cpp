#include "sdk/c/input_memory.h"

#include "sdk/c/failure.h"

#include <utility>

namespace Orvane::C {

bool InputMemory::Lent::Overlaps(const void* data, uint64_t size) const {
    const auto begin = reinterpret_cast<uintptr_t>(memory.get());
    const auto place = reinterpret_cast<uintptr_t>(data);
    return place < begin + bytes && begin < place + size;
}

void* InputMemory::Lend(const Port& input, std::shared_ptr<void> memory) {
    Lent& own = lent[input.index];
    own = {std::move(memory), input.bytes};
    valid = input.index;
    return own.memory.get();
}

bool InputMemory::IsValid(const void* data) const {
    return valid && lent.at(*valid).memory.get() == data;
}

void InputMemory::CheckSource(const Port& input, const void* data) const {
    if (valid == input.index && IsValid(data)) {
        return;
    }
    for (const auto& [index, own] : lent) {
        if (own.Overlaps(data, 1)) {
            throw BadArgument("the data for " + input.Label() + " is in input memory that is " +
                              (valid == input.index ? "not passed from its start" : "not valid for it") +
                              ": ask for the memory of that input, write all of it, and set it before any other call");
        }
    }
}

void InputMemory::CheckTarget(const Port& output, const void* data, uint64_t bytes) const {
    for (const auto& [index, own] : lent) {
        if (own.Overlaps(data, bytes)) {
            throw BadArgument("the memory for " + output.Label() + " is input memory: pass other memory");
        }
    }
}

}  // namespace Orvane::C
