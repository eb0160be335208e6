// silent_ends WAY: dies in a way at which the system or the C runtime would show a dialogue, were it not told to be
// silent. Exits with 1 when it lives on.
#include "platform/process.h"

#include <cstdlib>
#include <cstring>
#include <functional>
#include <map>
#include <stdexcept>
#include <string>
#include <thread>

// NOLINTBEGIN(clang-analyzer-core.NullDereference,clang-analyzer-cplusplus.PureVirtualCall): these faults are meant

// Outside the namespace below: of a class that no other file can know the compiler sees what the call comes to.
// NOLINTBEGIN(misc-use-internal-linkage)
struct Unfinished {
    Unfinished() {
        Unfinished* volatile self = this;
        self->Pure();
    }
    virtual ~Unfinished() = default;
    virtual void Pure() = 0;
};

struct Finished : Unfinished {
    void Pure() override {}
};
// NOLINTEND(misc-use-internal-linkage)

namespace {

void WriteNowhere() {
    volatile int* volatile nowhere = nullptr;
    *nowhere = 1;
}

// No room for three characters and a zero.
void OverrunCopy() {
    char room[3];
    strcpy_s(room, sizeof room, "abc");
}

[[noreturn]] void Throw() {
    throw std::runtime_error("nothing catches this");
}

}  // namespace

// NOLINTEND(clang-analyzer-core.NullDereference,clang-analyzer-cplusplus.PureVirtualCall)

int main(int argc, char** argv) {
    const std::map<std::string, std::function<void()>> ways = {
        {"abort", [] { std::abort(); }},
        {"access-violation", WriteNowhere},
        {"exception", Throw},
        {"exception-in-a-thread", [] { std::thread(Throw).join(); }},
        {"fail-fast", [] { Orvane::Platform::FailFast(); }},
        {"invalid-parameter", OverrunCopy},
        {"pure-call", [] { Finished(); }},
    };
    Orvane::Platform::BeginHost();
    ways.at(argc == 2 ? argv[1] : "")();
    return 1;
}
