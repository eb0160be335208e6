#pragma once

#include "platform/handle.h"

#include <optional>
#include <string>

namespace Orvane::Platform {

// What a launch asks of the system, in this order. On Linux only `StartProgram` can fail.
enum class LaunchStep { OpenToken, CreateJob, LimitJob, StartProgram, AssignToJob };

// A host process that was started here. It ends when this is closed, and when this process ends in whatever way.
class HostProcess {
 public:
    HostProcess() = default;  // empty: no process

    // Starts `program` with one argument string, both UTF-8. It inherits nothing but the standard three descriptors, on
    // Windows nothing. A process that is held is closed when the new one is there.
    // Returns the step that failed, with the system's last error readable; none on success. A program that does not
    // exist or may not be run fails at `StartProgram`; one whose command line is longer than 1,047 characters too.
    // On Windows a failure leaves the right to start processes open, and `AssignToJob` the suspended process and its
    // handles too: deliberate.
    [[nodiscard]] std::optional<LaunchStep> Launch(const std::string& program, const std::string& arguments);

    explicit operator bool() const { return static_cast<bool>(state); }

    // False when it has ended, or when the system cannot tell. Not for an empty one.
    bool IsAlive() const;

    // Ends the process; on Linux it is then gone. Does nothing when there is none.
    void Close();

 private:
    struct State;
    struct Closing {
        using Value = State*;
        static constexpr Value kNone = nullptr;
        static void Close(Value process) noexcept;
    };

    UniqueHandle<Closing> state;
};

}  // namespace Orvane::Platform
