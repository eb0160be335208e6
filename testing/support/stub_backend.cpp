#include <orvane/interpreter_params.h>

#include "core/i_orvane.h"
#include "platform/path.h"
#include "platform/process.h"
#include "testing/support/memory_backend.h"
#include "testing/support/stub_work.h"

#include <algorithm>
#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fstream>
#include <map>
#include <memory>
#include <optional>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

namespace Orvane {

namespace {

constexpr size_t kLargestPort = 32'000'000;
constexpr size_t kMostPorts = 8;
constexpr uint32_t kLargestClaim = 20'000'000;  // bytes that fit into the section

[[noreturn]] void Throw() {
    throw std::runtime_error("thrown by a model");
}

const std::map<std::string, void (*)()>& Deaths() {
    static int* volatile nowhere = nullptr;
    static std::FILE* volatile noFile = nullptr;
    static const std::map<std::string, void (*)()> deaths = {
        {"crash", [] { Platform::FailFast(); }},
        {"throw", Throw},
        {"throw-in-a-thread", [] { std::thread(Throw).join(); }},
        {"abort", [] { std::abort(); }},
        {"write-nowhere", [] { *nowhere = 1; }},  // NOLINT(clang-analyzer-core.NullDereference): on purpose
        {"close-no-file", [] { std::fclose(noFile); }},
    };
    return deaths;
}

// A model for host programs that does no work. The model path selects what a load does:
//   echo SIZE [OUTPUTS [INPUTS]]   makes u8 outputs "y0", "y1", ... and inputs "x0", ... of SIZE bytes; as many inputs
//                                  as outputs by default
//   share INPUT OUTPUT             makes an input and an output of these sizes in the same memory: a run copies nothing
//   odd RANK                       makes an input and an output of 4 bytes, with RANK dimensions and names that are not
//                                  UTF-8
//   count NUMBER                   claims this number of inputs and of outputs
//   fail TEXT                      fails with this text
//   hang                           never ends
//   cache                          writes the requested cache file; without such a request, never ends
// The model name, or the text after a semicolon in the path, selects what a run does before it copies each input to its
// output:
//   sleep MILLISECONDS, exit VALUE, the work of a `StubWork`, or one of the deaths above; otherwise nothing
// or what the other functions do:
//   look               the destructor reads the data that came in last
//   slow MILLISECONDS  a load, each description of a tensor, and each run take so long
//   refuse-data        refuses all data
//   claim LENGTH       a reply claims that an output has LENGTH bytes
//   refuse LENGTH      the same, and the first, the third, ... copy of an output fails
class StubBackend final : public Testing::MemoryBackend {
 public:
    StubBackend() { ++living; }
    ~StubBackend() override {
        --living;
        if (run == "look") {
            static_cast<void>(*lastInput);
        }
    }

    Status Init(const InterpreterParams& params) override {
        const size_t mark = params.modelPath.find(';');
        std::istringstream words(params.modelPath.substr(0, mark));
        std::string kind;
        size_t size = 0;
        size_t outputCount = 1;
        words >> kind >> size >> outputCount;
        if (kind == "cache" && params.openvinoMakeCache) {
            std::ofstream(Platform::PathFromUtf8(params.openvinoCachePath)) << "cache";
            return {};
        }
        if (kind == "hang" || kind == "cache") {
            std::this_thread::sleep_for(std::chrono::hours(1));
        }
        if (living != 1) {
            return MakeErrorStatus("the earlier model is still there");
        }
        std::istringstream(mark != std::string::npos ? params.modelPath.substr(mark + 1) : params.modelName) >> run >>
            number;
        work = std::make_unique<Testing::StubWork>(run, number);
        BeSlow();
        if (kind == "count") {
            claimedCount = static_cast<int32_t>(size);
            return {};
        }
        if (kind == "odd") {
            AddOddPorts(size);
            return {};
        }
        const bool shares = kind == "share";
        const size_t outputSize = shares ? std::exchange(outputCount, 1) : size;
        size_t inputCount = outputCount;
        words >> inputCount;
        if ((kind != "echo" && !shares) || std::max(size, outputSize) > kLargestPort ||
            std::max(outputCount, inputCount) > kMostPorts) {
            return MakeErrorStatus(kind == "fail" ? params.modelPath.substr(kind.size()) : "no such model");
        }
        const auto memory = std::make_shared<std::string>(shares ? std::max(size, outputSize) : 0, '\0');
        for (const auto& [type, letter, count, bytes] :
             {std::tuple(TensorTypeInput, "x", inputCount, size), {TensorTypeOutput, "y", outputCount, outputSize}}) {
            for (size_t i = 0; i < count; ++i) {
                AddPort(type, letter + std::to_string(i), bytes,
                        shares ? memory : std::make_shared<std::string>(bytes, '\0'));
            }
        }
        return {};
    }

    int32_t GetTensorCount(TensorType type) override {
        return claimedCount.value_or(MemoryBackend::GetTensorCount(type));
    }

    TensorInfo GetTensorInfo(TensorType type, uint32_t index) override {
        BeSlow();
        return MemoryBackend::GetTensorInfo(type, index);
    }

    Status SetInputData(uint32_t index, const void* data, uint32_t size) override {
        if (run == "refuse-data") {
            return MakeErrorStatus("the stub refuses data");
        }
        lastInput = static_cast<const volatile char*>(data);
        return MemoryBackend::SetInputData(index, data, size);
    }

    // `data` is in the reply: the length of the output precedes it, and the client reads a status after so many bytes.
    Status CopyOutputTo(uint32_t index, void* data, uint32_t size) override {
        if (run == "claim" || run == "refuse") {
            const auto length = static_cast<uint32_t>(number);
            std::memcpy(static_cast<char*>(data) - sizeof length, &length, sizeof length);
            const bool fails = run == "refuse" && ++copies % 2 == 1;
            const uint32_t status[] = {4, fails ? 1U : 0U, 1, 0};  // each value follows its tag; the text is empty
            if (length <= kLargestClaim) {
                std::memcpy(static_cast<char*>(data) + length, status, sizeof status);
            }
        }
        return MemoryBackend::CopyOutputTo(index, data, size);
    }

    Status Invoke() override {
        BeSlow();
        if (run == "exit") {
            std::_Exit(number);
        }
        if (run == "sleep") {
            std::this_thread::sleep_for(std::chrono::milliseconds(number));
        }
        if (work != nullptr) {
            work->Run();
        }
        if (const auto death = Deaths().find(run); death != Deaths().end()) {
            death->second();
        }
        for (size_t i = 0; i < std::min(inputs.size(), outputs.size()); ++i) {
            *outputs[i].memory = *inputs[i].memory;
        }
        return {};
    }

    std::unordered_map<std::string, std::string> GetExtraInfo() override { return {{"kind", "stub"}}; }

 private:
    void BeSlow() const { std::this_thread::sleep_for(std::chrono::milliseconds(run == "slow" ? number : 0)); }

    void AddOddPorts(size_t rank) {
        for (const TensorType type : {TensorTypeInput, TensorTypeOutput}) {
            AddPort(type, "\xC3(", 4, std::make_shared<std::string>(4, '\0'));
            Ports(type).front().info.shape.resize(rank, 1);
        }
    }

    inline static int living = 0;
    std::string run;
    int number = 0;
    int copies = 0;
    std::optional<int32_t> claimedCount;
    std::unique_ptr<Testing::StubWork> work;
    const volatile char* lastInput = nullptr;
};

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t /*framework*/) {
    return std::make_unique<StubBackend>();
}

}  // namespace Orvane
