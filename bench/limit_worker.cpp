#include "bench/worker.h"
#include "platform/copy_data.h"
#include "platform/event.h"
#include "platform/section.h"

#include <immintrin.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
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
using Orvane::Platform::CopyData;
using Orvane::Platform::Event;
using Orvane::Platform::Section;
using Orvane::Platform::View;

// The two ways to hand over, with the same functions: `Call` to the model's process, `Result` back.

struct WithEvents {
    explicit WithEvents(const std::string& name)
        : call(Event::Create("BenchCall" + name)), result(Event::Create("BenchResult" + name)) {
        if (!call || !result) {
            throw std::runtime_error("cannot make the events");
        }
    }
    void SetCall() { call.Set(); }
    void WaitForCall(uint32_t last) { call.Wait(Event::kForever, Orvane::Platform::Awaited::Work, last); }
    void SetResult() { result.Set(); }
    void WaitForResult(uint32_t step) {  // in slices, as the client of a channel waits
        while (!result.Wait(200, Orvane::Platform::Awaited::Result, step)) {
        }
    }

    Event call;
    Event result;
};

// The fastest way, but it keeps both processors busy all the time.
struct WithSpinning {
    struct Turns {
        alignas(64) std::atomic<uint32_t> call{0};
        alignas(64) std::atomic<uint32_t> result{0};
    };

    explicit WithSpinning(const std::string& name)
        : section(Section::Create("BenchTurns" + name, sizeof(Turns))), view(section ? section.Map(0) : View()) {
        if (!view) {
            throw std::runtime_error("cannot make the shared turns");
        }
        turns = new (view.Data()) Turns;
    }
    void SetCall() const { turns->call.store(1); }
    void WaitForCall(uint32_t /*last*/) const { Await(turns->call); }
    void SetResult() const { turns->result.store(1); }
    void WaitForResult(uint32_t /*step*/) const { Await(turns->result); }

    static void Await(std::atomic<uint32_t>& turn) {
        while (turn.load(std::memory_order_acquire) == 0) {
            _mm_pause();
        }
        turn.store(0);
    }

    Section section;
    View view;
    Turns* turns = nullptr;
};

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

template <typename HandOver>
[[noreturn]] void Serve(HandOver& handOver, const Workload& workload, uint8_t* shared) {
    prctl(PR_SET_PDEATHSIG, SIGKILL);
    PinTo(1);
    std::vector<uint8_t> memory(workload.StubBytes());
    for (Step step{};;) {
        handOver.WaitForCall(step);
        std::memcpy(&step, shared, sizeof step);
        if (step == kSetInput) {
            CopyData(memory.data(), shared + kData, workload.InputBytes());
        } else if (step == kCopyOutput) {
            CopyData(shared + kData, memory.data(), workload.OutputBytes());
        }
        handOver.SetResult();
    }
}

template <typename HandOver>
struct Pair {
    explicit Pair(Workload theWorkload)
        : workload(std::move(theWorkload)),
          handOver(std::to_string(getpid())),
          section(Section::Create("BenchData" + std::to_string(getpid()), workload.StubBytes() + kData)),
          view(section ? section.Map(0) : View()) {
        if (!view || !section.Commit(workload.StubBytes() + kData)) {
            throw std::runtime_error("cannot make the shared memory");
        }
        child = fork();
        if (child == 0) {
            Serve(handOver, workload, view.Data());
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
        handOver.SetCall();
        handOver.WaitForResult(step);
    }

    Workload workload;
    HandOver handOver;
    Section section;
    View view;
    pid_t child = -1;
};

template <typename HandOver>
Infer Prepare(const Workload& workload) {
    auto pair = std::make_shared<Pair<HandOver>>(workload);
    return [pair](const uint8_t* input, uint8_t* output) { pair->Run(input, output); };
}

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

// Times what a channel cannot avoid. The argument is `events` (they wait as in a channel), `spinning` or `copies`.
int main(int argc, char** argv) {
    return Orvane::Bench::RunWorker(argc, argv, [](const Workload& workload, const std::string& way) {
        return way == "events"     ? Prepare<WithEvents>(workload)
               : way == "spinning" ? Prepare<WithSpinning>(workload)
               : way == "copies"   ? PrepareCopies(workload)
                                   : throw std::invalid_argument("say events, spinning or copies");
    });
}
