#include "bench/worker.h"
#include "platform/copy_data.h"
#include "platform/event.h"
#include "platform/section.h"

#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <csignal>
#include <cstring>
#include <stdexcept>
#include <utility>

// What an inference through a channel cannot avoid, and nothing else. Two processes, each on one processor, copy the
// input into shared memory and from there into the model's memory, and the output back. Three exchanges set the input,
// run, and copy the output; each hands over to the other side and back.
namespace {

using Orvane::Bench::Infer;
using Orvane::Bench::Workload;
using Orvane::Platform::Awaited;
using Orvane::Platform::CopyData;
using Orvane::Platform::Event;
using Orvane::Platform::Section;
using Orvane::Platform::View;

// Moves this process to the first or the second of the processors that it may use. If it may use only one, it stays.
void PinTo(int index) {
    cpu_set_t usable;
    sched_getaffinity(0, sizeof usable, &usable);
    for (size_t processor = 0; processor < CPU_SETSIZE; ++processor) {
        if (CPU_ISSET(processor, &usable) && index-- == 0) {
            cpu_set_t set;
            CPU_ZERO(&set);
            CPU_SET(processor, &set);
            sched_setaffinity(0, sizeof set, &set);
        }
    }
}

// The step is at the start of the shared memory. The data follow at an address that is fast to copy from.
enum Step : uint32_t { kSetInput, kInvoke, kCopyOutput };
constexpr uint32_t kData = 64;

[[noreturn]] void Serve(Event& call, Event& result, const Workload& workload, uint8_t* shared) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    PinTo(1);
    std::vector<uint8_t> memory(workload.StubBytes());
    for (Step step{};;) {
        call.Wait(Event::kForever, Awaited::Work, step);
        std::memcpy(&step, shared, sizeof step);
        if (step == kSetInput) {
            CopyData(memory.data(), shared + kData, workload.InputBytes());
        } else if (step == kCopyOutput) {
            CopyData(shared + kData, memory.data(), workload.OutputBytes());
        }
        result.Set();
    }
}

struct Pair {
    explicit Pair(Workload theWorkload)
        : workload(std::move(theWorkload)),
          call(Event::Create("BenchCall" + std::to_string(getpid()))),
          result(Event::Create("BenchResult" + std::to_string(getpid()))),
          section(Section::Create("BenchData" + std::to_string(getpid()), workload.StubBytes() + kData)),
          view(section ? section.Map(0) : View()) {
        if (!call || !result || !view || !section.Commit(workload.StubBytes() + kData)) {
            throw std::runtime_error("cannot make the events or the shared memory");
        }
        child = fork();
        if (child == 0) {
            Serve(call, result, workload, view.Data());
        }
        if (child < 0) {
            throw std::runtime_error("cannot start the other process");
        }
        PinTo(0);
    }
    ~Pair() {
        kill(child, SIGKILL);
        waitpid(child, nullptr, 0);
    }
    Pair(const Pair&) = delete;
    Pair& operator=(const Pair&) = delete;

    void Run(const uint8_t* input, uint8_t* output) {
        CopyData(view.Data() + kData, input, workload.InputBytes());
        Exchange(kSetInput);
        Exchange(kInvoke);
        Exchange(kCopyOutput);
        CopyData(output, view.Data() + kData, workload.OutputBytes());
    }

    void Exchange(Step step) {
        std::memcpy(view.Data(), &step, sizeof step);
        call.Set();
        while (!result.Wait(200, Awaited::Result, step)) {  // in slices, as the client of a channel waits
        }
    }

    Workload workload;
    Event call;
    Event result;
    Section section;
    View view;
    pid_t child = -1;
};

// The copies alone, in one process.
Infer PrepareCopies(const Workload& workload) {
    auto shared = std::make_shared<std::vector<uint8_t>>(workload.StubBytes());
    auto memory = std::make_shared<std::vector<uint8_t>>(workload.StubBytes());
    return [=, in = workload.InputBytes(), out = workload.OutputBytes()](const uint8_t* input, uint8_t* output) {
        CopyData(shared->data(), input, in);
        CopyData(memory->data(), shared->data(), in);
        CopyData(shared->data(), memory->data(), out);
        CopyData(output, shared->data(), out);
    };
}

}  // namespace

// Times what a channel cannot avoid. The argument is `channel`, or `copies` for the copies alone.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(argc, argv, [](const Workload& workload, const std::string& way) {
        if (way == "copies") {
            return PrepareCopies(workload);
        }
        if (way != "channel") {
            throw std::invalid_argument("say channel or copies");
        }
        auto pair = std::make_shared<Pair>(workload);
        return Infer([pair](const uint8_t* input, uint8_t* output) { pair->Run(input, output); });
    });
}
