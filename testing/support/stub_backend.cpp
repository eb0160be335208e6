#include <orvane/interpreter_params.h>

#include "core/backend_factory.h"
#include "platform/process.h"
#include "testing/support/memory_backend.h"
#include "testing/support/stub_work.h"

#include <algorithm>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <map>
#include <memory>
#include <sstream>
#include <stdexcept>
#include <thread>
#include <tuple>
#include <utility>

namespace Orvane {

namespace {

constexpr size_t kLargestPort = 32'000'000;
constexpr size_t kMostPorts = 8;

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
//   fail TEXT                      fails with this text
//   hang                           never ends
// The model name, or the text after a semicolon in the path, selects what a run does before it copies each input to its
// output:
//   sleep MILLISECONDS, exit VALUE, the work of a `StubWork`, or one of the deaths above; otherwise nothing
// With "look", the destructor reads the data that came in last.
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
        if (kind == "hang") {
            std::this_thread::sleep_for(std::chrono::hours(1));
        }
        if (living != 1) {
            return MakeErrorStatus("the earlier model is still there");
        }
        std::istringstream(mark != std::string::npos ? params.modelPath.substr(mark + 1) : params.modelName) >> run >>
            number;
        work = std::make_unique<Testing::StubWork>(run, number);
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

    Status SetInputData(uint32_t index, const void* data, uint32_t size) override {
        lastInput = static_cast<const volatile char*>(data);
        return MemoryBackend::SetInputData(index, data, size);
    }

    Status Invoke() override {
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
    inline static int living = 0;
    std::string run;
    int number = 0;
    std::unique_ptr<Testing::StubWork> work;
    const volatile char* lastInput = nullptr;
};

}  // namespace

std::unique_ptr<IOrvane> CreateLocalBackend(uint32_t /*framework*/) {
    return std::make_unique<StubBackend>();
}

}  // namespace Orvane
