// Calls a fuzz target with each seed in the working directory, with each prefix of it, and with one bit changed in each
// of its first bytes.
#include "fuzz/fuzz_target.h"

#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <set>
#include <vector>

namespace {

using Bytes = std::vector<uint8_t>;

// Copies the input to memory that ends with it, so that a sanitizer finds reads past its end.
void Call(const Bytes& input) {
    const auto memory = std::make_unique<uint8_t[]>(input.size());
    std::copy(input.begin(), input.end(), memory.get());
    LLVMFuzzerTestOneInput(memory.get(), input.size());
}

size_t Replay(const std::filesystem::path& seed) {
    std::ifstream file(seed, std::ios::binary);
    Bytes input{std::istreambuf_iterator<char>(file), {}};
    Call(input);
    constexpr size_t kMostChanged = 400;
    const size_t changed = std::min(input.size(), kMostChanged);
    for (size_t i = 0; i < changed; ++i) {
        Call(Bytes(input.data(), input.data() + i));
        const auto bit = static_cast<uint8_t>(1 << i % 8);
        input[i] ^= bit;
        Call(input);
        input[i] ^= bit;
    }
    return 1 + 2 * changed;
}

}  // namespace

int main() {
    const std::set<std::filesystem::path> seeds(std::filesystem::directory_iterator("."), {});
    size_t calls = 0;
    for (const std::filesystem::path& seed : seeds) {
        std::printf("%s\n", seed.filename().string().c_str());
        std::fflush(stdout);
        calls += Replay(seed);
    }
    std::printf("%zu seeds, %zu calls\n", seeds.size(), calls);
    return seeds.empty() ? 1 : 0;
}
