#include "platform/copy_data.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <cstdint>
#include <vector>

namespace Orvane::Platform {
namespace {

constexpr size_t kOffsets = 64;
constexpr size_t kMost = 3000;
constexpr uint8_t kUntouched = 0xA5;

// Tests many pairs of addresses, because the way to copy may depend on their distance within a page.
class CopyDataTest : public testing::Test {
 protected:
    CopyDataTest() {
        for (size_t i = 0; i < from.size(); ++i) {
            from[i] = static_cast<uint8_t>((i * 2654435761U) >> 13 | 1);
        }
    }

    // True if `CopyData` writes exactly the right bytes.
    bool Copies(size_t size, size_t toOffset, size_t fromOffset) {
        std::fill(to.begin(), to.end(), kUntouched);
        const auto begin = to.begin() + static_cast<ptrdiff_t>(toOffset);
        const auto end = begin + static_cast<ptrdiff_t>(size);
        CopyData(to.data() + toOffset, from.data() + fromOffset, size);
        const auto isUntouched = [](uint8_t byte) { return byte == kUntouched; };
        return std::equal(begin, end, from.begin() + static_cast<ptrdiff_t>(fromOffset)) &&
               std::all_of(to.begin(), begin, isUntouched) && std::all_of(end, to.end(), isUntouched);
    }

    std::vector<uint8_t> from = std::vector<uint8_t>(kMost + 2 * kOffsets);
    std::vector<uint8_t> to = std::vector<uint8_t>(kMost + 2 * kOffsets);
};

TEST_F(CopyDataTest, CopiesEverySizeAndNothingElse) {
    for (size_t size = 0; size <= 2500; ++size) {
        ASSERT_TRUE(Copies(size, size % kOffsets, size / 3 % kOffsets)) << size;
    }
}

TEST_F(CopyDataTest, CopiesBetweenAnyTwoAddresses) {
    for (const size_t size : {1U, 63U, 2048U, 2049U, 2050U, 2079U, 2080U, 2081U, 2175U, 2176U, 2177U, 2207U, 2999U}) {
        for (size_t both = 0; both < kOffsets * kOffsets; ++both) {
            ASSERT_TRUE(Copies(size, both / kOffsets, both % kOffsets)) << size << " bytes, " << both;
        }
    }
}

TEST_F(CopyDataTest, CopiesNothingToNowhere) {
    CopyData(nullptr, nullptr, 0);
    CopyData(to.data(), nullptr, 0);
}

}  // namespace
}  // namespace Orvane::Platform
