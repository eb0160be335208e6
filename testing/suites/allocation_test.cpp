// Counts the client's allocations during an inference, with a host process and in this process.
#include <orvane/orvane_c.h>

#include "testing/support/host_fixture.h"
#include "testing/support/tiny_models.h"

#include <openvino/openvino.hpp>

#include <cstdlib>
#include <new>

namespace {

thread_local size_t allocations = 0;

}  // namespace

// These operators serve the whole program, on Linux also its shared libraries. The array and nothrow forms call them.
// If they were inlined, the compiler would see `aligned_alloc` paired with `delete`.

[[gnu::noinline]] void* operator new(size_t size, std::align_val_t alignment) {
    ++allocations;
    const auto boundary = static_cast<size_t>(alignment);
    if (void* const memory = std::aligned_alloc(boundary, size + (boundary - size % boundary))) {
        return memory;
    }
    throw std::bad_alloc();
}

[[gnu::noinline]] void* operator new(size_t size) {
    return operator new (size, std::align_val_t{__STDCPP_DEFAULT_NEW_ALIGNMENT__});
}

[[gnu::noinline]] void operator delete(void* memory) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t /*size*/) noexcept {
    std::free(memory);
}

void operator delete(void* memory, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, size_t /*size*/, std::align_val_t /*alignment*/) noexcept {
    std::free(memory);
}

namespace Orvane {
namespace {

using namespace Testing;

// Returns how often `step` allocates on this thread after a few runs. Takes the least of several runs, because a
// library that it calls may sometimes allocate more.
template <typename Step>
size_t CountAllocations(Step step) {
    size_t least = ~size_t{0};
    for (int i = 0; i < 30; ++i) {
        const size_t before = allocations;
        step();
        const size_t count = allocations - before;
        least = i < 10 || count > least ? least : count;
    }
    return least;
}

// Counts the allocations of a whole inference through the C interface, which uses the C++ classes. The model has an
// input and an output of `size` bytes.
size_t CountInference(const std::string& model, const char* host, uint32_t size) {
    orvane_options options{};
    options.struct_size = sizeof options;
    options.model_path = model.c_str();
    options.host_program = host;
    options.cache_path = host;  // a stub has no model file; the SDK requires none if a cache file exists
    orvane_model* opened = nullptr;
    EXPECT_EQ(orvane_open(&options, &opened), nullptr);
    std::vector<uint8_t> data(size);
    const orvane_input input{sizeof input, 0, data.data(), size};
    const orvane_output output{sizeof output, 0, data.data(), size};
    bool ok = true;
    const size_t count = CountAllocations([&] { ok = ok && orvane_infer(opened, &input, 1, &output, 1) == nullptr; });
    EXPECT_TRUE(ok);
    orvane_close(opened);
    return count;
}

TEST(Allocation, ClientAllocatesNothingInAnInference) {
    EXPECT_EQ(CountInference("echo 1000", kStubHost.c_str(), 1000), 0U);
}

TEST(Allocation, OnlyTheRuntimeAllocatesInThisProcess) {
    const TemporaryFolder folder;
    const std::string model = AddModel({10, 20}).WriteTo(folder, "add");
    ov::Core core("");
    const std::filesystem::path path(model);
    ov::InferRequest request =
        core.compile_model(core.read_model(path, std::filesystem::path()), "CPU", ov::AnyMap{}).create_infer_request();
    const size_t runtime =
        CountAllocations([&] { request.infer(); }) + CountAllocations([&] { (void)request.get_output_tensor(0); });
    EXPECT_LE(CountInference(model, nullptr, 2 * sizeof(float)), runtime);
}

}  // namespace
}  // namespace Orvane
