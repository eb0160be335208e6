#pragma once

#include "platform/handle.h"

#include <cstdint>
#include <optional>
#include <string>

namespace Orvane::Platform {

// The steps of a launch, in this order. On Linux only `StartProgram` can fail.
enum class LaunchStep { OpenToken, CreateJob, LimitJob, StartProgram, AssignToJob };

// How a process ended, as the system reports it.
struct ProcessEnd {
    enum class Kind { Unknown, ExitValue, Signal };

    Kind kind = Kind::Unknown;
    uint32_t value = 0;  // the exit value or the number of the signal
};

// A host process that this process started. It ends when this object is closed, and when this process ends in any way.
// A forked child does not own it: there `IsAlive` returns false, and no function touches the process.
class HostProcess {
 public:
    HostProcess() = default;  // empty: no process

    // Starts `program` with one argument string, both UTF-8. The new process inherits only the standard three
    // descriptors, on Windows nothing. It has no terminal that could stop it. After a successful start the previous
    // process is closed.
    // Returns the step that failed, with the system's last error readable, or nothing on success. If the program is
    // missing or may not run, `StartProgram` fails. It also fails if the command line has more than 1,047 characters.
    // On Windows a failure deliberately leaves the process token open. A failure of `AssignToJob` also leaves the
    // suspended process and its handles.
    [[nodiscard]] std::optional<LaunchStep> Launch(const std::string& program, const std::string& arguments);

    explicit operator bool() const { return static_cast<bool>(state); }

    // False if the process has ended, or if the system cannot report it. Asks the system each time. Do not call this
    // for an empty object.
    bool IsAlive() const;

    // For a process that is no longer alive. Also unknown if the application itself reaped the process, which it may do
    // for any child.
    ProcessEnd End() const;

    // Kills the process at once and keeps the handle. Returns true if it has already ended, or if the object is empty.
    // Returns false, with the system's last error, if the system refuses: the process may have rights that this process
    // has given up.
    bool Terminate();

    // Kills the process and releases the handle. On Linux the process is then gone. A process that cannot be killed
    // runs on.
    void Close() { state.Close(); }

 private:
    struct State;

    Owned<State> state;
};

// How the process ended and, if the system's number suggests a reason, that reason: "signal 11 (SIGSEGV)",
// "signal 4 (SIGILL), the processor lacks an instruction that the runtime used", "exit value 0xC0000409, fast fail".
std::string Describe(const ProcessEnd& end);

}  // namespace Orvane::Platform
