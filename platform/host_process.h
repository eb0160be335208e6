#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Orvane::Platform {

// What a launch asks of the system, in this order. On Linux only `StartProgram` can fail.
enum class LaunchStep { OpenToken, CreateJob, LimitJob, StartProgram, AssignToJob };

// How a process ended, as the system tells it.
struct ProcessEnd {
    enum class Kind { Unknown, ExitValue, Signal };

    Kind kind = Kind::Unknown;
    uint32_t value = 0;  // the exit value or the number of the signal
};

// A host process that was started here. It ends when this is closed, and when this process ends in whatever way.
// In a process that was forked off this one it is nobody's: not alive, and left alone.
class HostProcess {
 public:
    HostProcess() = default;  // empty: no process

    // Starts `program` with one argument string, both UTF-8. It inherits nothing but the standard three descriptors, on
    // Windows nothing, and has no terminal that could stop it. A process that is held is closed when the new one is
    // there. Returns the step that failed, with the system's last error readable; none on success. A program that does
    // not exist or may not be run fails at `StartProgram`; one whose command line is longer than 1,047 characters too.
    // On Windows a failure leaves the right to start processes open, and `AssignToJob` the suspended process and its
    // handles too: deliberate.
    [[nodiscard]] std::optional<LaunchStep> Launch(const std::string& program, const std::string& arguments);

    explicit operator bool() const { return static_cast<bool>(state); }

    // False when it has ended, or when the system cannot tell. Asked of the system each time. Not for an empty one.
    bool IsAlive() const;

    // Of one that is no longer alive. Unknown also when the application itself took notice of the end, which it may do
    // for any child.
    ProcessEnd End() const;

    // Ends it by force, at once, and keeps the handle. False, with the system's last error, when the system refuses:
    // the process may have rights that this one has given up. True for one that has ended or is empty.
    bool Terminate();

    // Ends it and gives the handle up; on Linux it is then gone. What cannot be ended is left to itself.
    void Close();

 private:
    struct State;

    Owned<State> state;
};

// "signal 4 (SIGILL)", "exit value 127", "exit value 0xC0000005 (access violation)".
std::string Describe(const ProcessEnd& end);

}  // namespace Orvane::Platform
