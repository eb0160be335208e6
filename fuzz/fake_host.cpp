#include "fuzz/fake_host.h"

#include "platform/event.h"
#include "platform/host_process.h"
#include "platform/section.h"
#include "platform/shared_names.h"

#include <algorithm>
#include <memory>
#include <utility>

namespace Orvane {

namespace {

// The section of the only channel. It is reused, because it is large: clearing all of it each time would be slow.
constexpr size_t kWritten = size_t{128} * 1024;  // requests and replies are shorter
std::unique_ptr<uint8_t[]> memory;
bool lives = false;
bool hasReplied = false;

}  // namespace

std::function<bool(uint8_t*)> Fuzz::fakeHost;

namespace Platform {

// NOLINTBEGIN(readability-convert-member-functions-to-static): the platform defines the classes

struct Event::State {
    bool isCall;
};

Event Event::Create(const std::string& name) {
    Event event;
    event.state = Owned(new State{name.starts_with("Call")});
    return event;
}

Event Event::Open(const std::string& name) {
    return Create(name);
}

bool Event::Set() {
    if (state.Get()->isCall && lives) {
        hasReplied = lives = Fuzz::fakeHost(memory.get());
    }
    return true;
}

bool Event::Wait(uint32_t /*milliseconds*/, Awaited /*awaited*/, uint32_t /*kind*/) {
    return std::exchange(hasReplied, false);
}

struct View::State {};

uint8_t* View::Data() const {
    return memory.get();
}

struct Section::State {};

Section Section::Create(const std::string& /*name*/, uint32_t size) {
    if (memory == nullptr) {
        memory = std::make_unique<uint8_t[]>(size);
    }
    std::fill_n(memory.get(), kWritten, uint8_t{0});
    return Open("");
}

Section Section::Open(const std::string& /*name*/) {
    Section section;
    section.state = Owned(new State);
    return section;
}

bool Section::Commit(uint64_t /*size*/) {
    return static_cast<bool>(state);
}

View Section::Map(uint64_t /*size*/) const {
    View view;
    view.state = Owned(new View::State);
    return view;
}

void RemoveAbandoned(const std::vector<std::string>& /*prefixes*/) {}

uint32_t ModuleWord() {
    return 1;
}

bool RenewModuleWord(uint32_t /*error*/) {
    return false;
}

struct NamesLock::State {};

NamesLock::NamesLock() : state(new State) {}

bool IsNameTaken(const std::string& /*name*/) {
    return false;
}

struct HostProcess::State {
    static void Close(State* process) noexcept {
        lives = false;
        delete process;
    }
};

std::optional<LaunchStep> HostProcess::Launch(const std::string& /*program*/, const std::string& /*arguments*/) {
    state = Owned(new State, State::Close);
    lives = true;
    return std::nullopt;
}

bool HostProcess::IsAlive() const {
    return lives;
}

ProcessEnd HostProcess::End() const {
    return {};
}

bool HostProcess::Terminate() {
    lives = false;
    return true;
}

std::string Describe(const ProcessEnd& /*end*/) {
    return "ended";
}

// NOLINTEND(readability-convert-member-functions-to-static)

}  // namespace Platform
}  // namespace Orvane
