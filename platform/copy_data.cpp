#include "platform/copy_data.h"

#include <cstdint>
#include <cstring>

#ifdef __has_feature
#if __has_feature(thread_sanitizer)
#define ORVANE_THREAD_SANITIZER
#endif
#endif
#ifdef __SANITIZE_THREAD__
#define ORVANE_THREAD_SANITIZER
#endif

// The thread sanitizer sees `memcpy`, but no accesses of 32 bytes.
#if (defined(__x86_64__) || defined(_M_X64)) && !defined(ORVANE_THREAD_SANITIZER)
#define ORVANE_AVX
#include <immintrin.h>
#ifdef _MSC_VER
#include <intrin.h>
#endif
#endif

// Compilers other than Microsoft's must know which functions use instructions that not every processor has.
#if defined(__GNUC__) || defined(__clang__)
#define ORVANE_USES(features) __attribute__((target(features)))
#else
#define ORVANE_USES(features)
#endif

namespace Orvane::Platform {

#ifdef ORVANE_AVX

namespace {

constexpr size_t kMemcpyIsFast = 2048;  // `memcpy` uses no string instructions up to here
constexpr size_t kVector = sizeof(__m256i);
constexpr size_t kBlock = 4 * kVector;

ORVANE_USES("avx") inline __m256i Load(const uint8_t* from) {
    return _mm256_loadu_si256(reinterpret_cast<const __m256i*>(from));
}

ORVANE_USES("avx") inline void Store(uint8_t* to, __m256i vector) {
    _mm256_storeu_si256(reinterpret_cast<__m256i*>(to), vector);
}

// All loads come before the stores, because the compiler cannot know that a store does not change what the next load
// reads.
ORVANE_USES("avx") inline void CopyBlock(uint8_t* to, const uint8_t* from) {
    const __m256i first = Load(from);
    const __m256i second = Load(from + kVector);
    const __m256i third = Load(from + 2 * kVector);
    const __m256i fourth = Load(from + 3 * kVector);
    Store(to, first);
    Store(to + kVector, second);
    Store(to + 2 * kVector, third);
    Store(to + 3 * kVector, fourth);
}

// Needs at least a vector. Copies some of the first and the last bytes twice.
ORVANE_USES("avx") void CopyBlocks(uint8_t* to, const uint8_t* from, size_t size) {
    uint8_t* const end = to + size;
    const __m256i last = Load(from + size - kVector);
    Store(to, Load(from));
    const size_t toBoundary = kVector - reinterpret_cast<uintptr_t>(to) % kVector;
    to += toBoundary;
    from += toBoundary;
    for (; static_cast<size_t>(end - to) >= kBlock; to += kBlock, from += kBlock) {
        CopyBlock(to, from);
    }
    for (; static_cast<size_t>(end - to) > kVector; to += kVector, from += kVector) {
        Store(to, Load(from));
    }
    Store(end - kVector, last);
    _mm256_zeroupper();
}

#ifdef _MSC_VER
ORVANE_USES("xsave") bool HasAvx() {
    constexpr int kInstructions = 1 << 27 | 1 << 28;  // OSXSAVE and AVX
    constexpr unsigned kRegisters = 6;                // the system saves the AVX registers
    int features[4];
    __cpuid(features, 1);
    return (features[2] & kInstructions) == kInstructions && (_xgetbv(0) & kRegisters) == kRegisters;
}
#else
bool HasAvx() {
    return __builtin_cpu_supports("avx");
}
#endif

const bool hasAvx = HasAvx();

}  // namespace

#endif

void CopyData(void* to, const void* from, size_t size) {
#ifdef ORVANE_AVX
    if (size > kMemcpyIsFast && hasAvx) {
        CopyBlocks(static_cast<uint8_t*>(to), static_cast<const uint8_t*>(from), size);
        return;
    }
#endif
    if (size != 0) {
        std::memcpy(to, from, size);
    }
}

}  // namespace Orvane::Platform
