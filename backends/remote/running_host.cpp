#include "backends/remote/running_host.h"

#include <orvane/log.h>

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
    const std::lock_guard guard(mutex);
    isInterrupted = isInitialising || process;
    process.Terminate();
}

HostEnd RunningHost::GetEnd() const {
    const std::lock_guard guard(mutex);
    return end;
}

void RunningHost::BeginInitialisation() {
    const std::lock_guard guard(mutex);
    end = {};
    isInitialising = true;
    isInterrupted = false;
}

std::optional<Platform::LaunchStep> RunningHost::Launch(const std::string& program, const std::string& arguments) {
    const std::lock_guard guard(mutex);
    const auto failed = process.Launch(program, arguments);
    isInitialising = false;
    if (isInterrupted) {  // before there was anything to end
        process.Terminate();
    }
    return failed;
}

bool RunningHost::Exists() const {
    const std::lock_guard guard(mutex);
    return static_cast<bool>(process);
}

bool RunningHost::IsAlive() const {
    const std::lock_guard guard(mutex);
    return process && process.IsAlive();
}

void RunningHost::NoteEnd(HostEndCause cause) {
    const std::lock_guard guard(mutex);
    if (isInterrupted) {
        cause = HostEndCauseInterrupted;
    }
    switch (cause) {
        case HostEndCauseInterrupted:
            end = {cause, 0, "interrupted"};
            break;
        case HostEndCauseTimeLimit:
            end = {cause, timeLimit,
                   timeLimit != 0 ? "time limit of " + std::to_string(timeLimit) + " ms" : "no answer for 55 hours"};
            break;
        case HostEndCauseBadReply:
            end = {cause, 0, "a reply that cannot be one"};
            break;
        default:
            end = process ? EndOf(process.End()) : HostEnd();
    }
    Log(kLogLevelError, "[ORVANE]:host process ended: %s", end.text.c_str());
}

bool RunningHost::Terminate() {
    const std::lock_guard guard(mutex);
    return process.Terminate();
}

void RunningHost::Close() {
    const std::lock_guard guard(mutex);
    isInitialising = false;
    process.Close();
}

}  // namespace Orvane
