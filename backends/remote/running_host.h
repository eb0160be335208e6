#pragma once

#include "core/host_control.h"
#include "platform/host_process.h"
#include "platform/per_process.h"

#include <atomic>
#include <cstdint>
#include <mutex>
#include <optional>
#include <string>

namespace Orvane {

// The host process of a remote backend. The backend's operations start, query and release it, one at a time. Any thread
// may interrupt it meanwhile. A forked child finds a host process that never started.
class RunningHost final : public HostControl {
 public:
    void Interrupt() override;
    void SetTimeLimit(uint32_t milliseconds) override { timeLimit = milliseconds; }
    HostEnd GetEnd() const override;

    uint32_t TimeLimit() const { return timeLimit; }

    // Call this at the start of an initialisation. Forgets the last end and earlier interrupts.
    void BeginInitialisation();

    // `Platform::HostProcess` describes `Launch`, `IsAlive` and `Terminate`.
    std::optional<Platform::LaunchStep> Launch(const std::string& program, const std::string& arguments);
    bool Exists() const;
    bool IsAlive() const;

    // Records how the host process ended. Call this before you release a host process that has ended, or that you end
    // for this cause.
    void NoteEnd(HostEndCause cause);

    // If the system refuses, also adds this to the recorded end.
    bool Terminate();

    // Ends the host process and releases its handle.
    void Close();

 private:
    struct State {
        std::mutex mutex;
        Platform::HostProcess process;
        HostEnd end;
        bool isInitialising = false;
        bool isInterrupted = false;
    };

    Platform::PerProcess<State> state;
    std::atomic<uint32_t> timeLimit{0};
};

}  // namespace Orvane
