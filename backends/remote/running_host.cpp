#include "backends/remote/running_host.h"

#include "platform/last_error.h"

namespace Orvane {

namespace {

HostEnd EndOf(const Platform::ProcessEnd& process) {
    const HostEndCause cause = process.kind == Platform::ProcessEnd::Kind::ExitValue ? HostEndCauseExit
                               : process.kind == Platform::ProcessEnd::Kind::Signal  ? HostEndCauseSignal
                                                                                     : HostEndCauseUnknown;
    return {cause, process.value, Platform::Describe(process)};
}

}  // namespace

void RunningHost::Interrupt() {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    own.isInterrupted = own.isInitialising || own.process;
    own.process.Terminate();
}

HostEnd RunningHost::GetEnd() const {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    return own.end;
}

void RunningHost::BeginInitialisation() {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    own.end = {};
    own.isInitialising = true;
    own.isInterrupted = false;
}

std::optional<Platform::LaunchStep> RunningHost::Launch(const std::string& program, const std::string& arguments) {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    const auto failed = own.process.Launch(program, arguments);
    own.isInitialising = false;
    if (own.isInterrupted) {  // before the process started
        own.process.Terminate();
    }
    return failed;
}

bool RunningHost::Exists() const {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    return static_cast<bool>(own.process);
}

bool RunningHost::IsAlive() const {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    return own.process && own.process.IsAlive();
}

void RunningHost::NoteEnd(HostEndCause cause) {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    if (own.isInterrupted) {
        cause = HostEndCauseInterrupted;
    }
    if (cause != HostEndCauseUnknown) {
        own.end = EndedByClient(cause, timeLimit);
    } else {
        own.end = own.process ? EndOf(own.process.End()) : HostEnd();
    }
}

bool RunningHost::Terminate() {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    if (own.process.Terminate()) {
        return true;
    }
    const std::string error = std::to_string(Platform::LastError());
    own.end.cause = own.end.cause == HostEndCauseNone ? HostEndCauseUnknown : own.end.cause;
    own.end.text += (own.end.text.empty() ? "" : ", ") +
                    ("the system refused to end it, with error " + error + ", so it was asked to exit");
    return false;
}

void RunningHost::Close() {
    State& own = state.Get();
    const std::lock_guard guard(own.mutex);
    own.isInitialising = false;
    own.process.Close();
}

}  // namespace Orvane
