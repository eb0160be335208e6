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

// The host process of a remote backend. The backend's operations, one at a time, start, ask and release it; any thread
// may interrupt it meanwhile. A forked child finds one that was never started.
class RunningHost final : public HostControl {
 public:
    void Interrupt() override;
    void SetTimeLimit(uint32_t milliseconds) override { timeLimit = milliseconds; }
    HostEnd GetEnd() const override;

    uint32_t TimeLimit() const { return timeLimit; }

    // Before an initialisation: what was before is forgotten, and interrupts count from here on.
    void BeginInitialisation();

    // As `HostProcess::Launch`, which also says what `IsAlive` and `Terminate` do.
    std::optional<Platform::LaunchStep> Launch(const std::string& program, const std::string& arguments);
    bool Exists() const;
    bool IsAlive() const;

    // Before the release of a host that was found dead, or that is to be ended for this cause: keeps how it ended.
    void NoteEnd(HostEndCause cause);

    // If the system does not let it be ended, its end says so too.
    bool Terminate();

    // Ends it and gives it up.
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
