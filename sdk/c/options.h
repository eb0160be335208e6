#pragma once

#include <orvane/interpreter_params.h>
#include <orvane/orvane_c.h>

#include "sdk/c/failure.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <string>

namespace Orvane::C {

// The checked options of a load: they cannot harm the SDK's classes.
struct LoadRequest {
    InterpreterParams params;
    uint32_t timeLimit = 0;      // milliseconds; 0: no limit
    uint32_t loadTimeLimit = 0;  // the same for loading
    int32_t (*progress)(void* user, int32_t step) = nullptr;
    void* progressUser = nullptr;
};

// Reads and checks options. Throws `Failure`, as all functions here do. Does not look at files.
LoadRequest ReadOptions(const orvane_options* given);

// Throws if a file that a load reads is missing or is not an ordinary file.
void RequireFiles(const InterpreterParams& params);

// Makes the paths absolute, for a restart after the application has changed its working directory. Leaves a host
// program without a folder, because Windows searches for it, and a path that would be too long.
void MakePathsAbsolute(InterpreterParams& params);

// Reads a text of at most 32,767 bytes; null is empty. `name` is for a message: "the model path".
std::string ReadText(const char* text, const std::string& name);

// Reads a key of 1 to 4 bytes and pads it with zeros.
std::array<uint8_t, 4> ReadKey(const uint8_t* key, uint32_t size);

// Throws if the file is missing, or is neither an ordinary file nor a folder: reading a pipe would wait, and a device
// may do anything. `name` is for a message: "model file".
void RequireFile(const std::string& path, const std::string& name);

// Throws if `size` cannot be the size of a structure that had `first` bytes in its first version. `name` is for a
// message: "the options".
void CheckStructSize(uint64_t size, size_t first, const std::string& name);

// Reads a structure of the caller, who may use an older or a newer header. The structure begins with its size.
template <typename Struct>
Struct ReadStruct(const Struct* given, size_t first, const std::string& name) {
    if (given == nullptr) {
        throw BadArgument("the address of " + name + " is null: pass that of a structure");
    }
    uint64_t size = 0;
    std::memcpy(&size, given, sizeof size);
    CheckStructSize(size, first, name);
    const auto* bytes = reinterpret_cast<const uint8_t*>(given);
    if (std::any_of(bytes + std::min<uint64_t>(size, sizeof(Struct)), bytes + size, [](uint8_t b) { return b != 0; })) {
        throw Refused("this library, version " + std::string(orvane_version()) + ", does not know all values of " +
                      name + ": use the library that belongs to the header, or leave them 0");
    }
    Struct read{};
    std::memcpy(&read, given, std::min<uint64_t>(size, sizeof read));
    return read;
}

// Calls `work` with each structure of an array, as `ReadStruct` reads it.
template <typename Struct, typename Work>
void ForEach(const Struct* structs, uint32_t count, size_t first, const std::string& name, Work work) {
    if (count == 0) {
        return;
    }
    const uint64_t size = ReadStruct(structs, first, name).struct_size;
    const auto* place = reinterpret_cast<const uint8_t*>(structs);
    for (uint32_t i = 0; i < count; ++i, place += size) {
        if (std::memcmp(place, structs, sizeof size) != 0) {
            throw BadArgument("the structures for " + name + " differ in size: set it in each to the size of one");
        }
        work(ReadStruct(reinterpret_cast<const Struct*>(place), first, name));
    }
}

}  // namespace Orvane::C
