// The reader of .npy files: it refuses a file, or a header written from its result describes the same array.
#include "cli/failure.h"
#include "cli/files/npy.h"
#include "fuzz/fuzz_target.h"

#include <algorithm>
#include <sstream>

namespace Orvane::Cli {
namespace {

using Fuzz::Require;

// Where the data begin, according to the length in the header.
uint64_t HeaderBytes(const std::string& file) {
    const bool isShort = file.at(6) == 1;
    Fuzz::Input length(reinterpret_cast<const uint8_t*>(file.data()) + 8, isShort ? 2 : 4);
    return (isShort ? 10 : 12) + uint64_t{length.TakeNumber(4)};
}

void Check(const std::string& bytes) {
    std::istringstream file(bytes);
    NpyArray array;
    try {
        array = ReadNpyHeader(file);
    } catch (const UnreadableNpy& reason) {
        Require(*reason.what() != '\0', "a refusal has a text");
        return;
    }
    Require(static_cast<uint64_t>(file.tellg()) == HeaderBytes(bytes), "the data begins after the header");
    Require(array.elementType != orvane::ElementType::Unknown, "the element type is known");
    Require(std::all_of(array.shape.begin(), array.shape.end(), [](int64_t dimension) { return dimension >= 0; }),
            "no dimension is negative");
    try {
        const std::string header = NpyHeader(array);
        std::istringstream again(header);
        const NpyArray same = ReadNpyHeader(again);
        Require(same.elementType == array.elementType && same.shape == array.shape,
                "reading returns the written header");
        Require(header.size() % 64 == 0 && static_cast<size_t>(again.tellg()) == header.size(),
                "the whole header is read");
    } catch (const Failure&) {
        Require(array.shape.size() > 3000, "only a very long shape does not fit into a header");
    }
}

}  // namespace
}  // namespace Orvane::Cli

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size) {
    Orvane::Cli::Check({reinterpret_cast<const char*>(data), size});
    return 0;
}
