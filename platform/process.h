#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace Orvane::Platform {

// The steps of starting a host process, one for each call of the system that can fail on its own: the result is then
// empty or false, and the system's last error readable.

// The right to start a process as the current user. Not closed by its destructor: a failed launch leaves it open.
class Token {
 public:
    static Token OpenCurrent();
    explicit operator bool() const { return handle != nullptr; }
    void Close();

 private:
    friend class Process;
    void* handle = nullptr;
};

// A process that was started here. Closing the handle does not end it.
class Process {
 public:
    Process() = default;  // empty: no process
    Process(Process&& other) noexcept = default;
    Process& operator=(Process&& other) noexcept = default;  // closes what is held

    // Starts `program` with one argument string, both UTF-8. It inherits nothing but the standard three
    // descriptors, on Windows nothing. On Windows its first thread is suspended; on Linux it runs already, tied to
    // the life of this process. A program that does not exist or may not be run fails here, with that error; one
    // whose command line is longer than 1,047 characters too.
    static Process CreateSuspended(const Token& token, const std::string& program, const std::string& arguments);

    explicit operator bool() const { return state != nullptr; }

    // Lets the first thread run and forgets it.
    void Resume();

    // Leaves the process, and on Windows its open handles, to themselves. Keeps the last error.
    void Abandon();

    // False when it has ended, or when the system cannot tell.
    bool IsAlive() const;

 private:
    friend class Job;
    struct State;  // closes in its destructor and keeps the last error

    std::shared_ptr<State> state;
};

// Ends the processes in it when it is closed, and when the client dies in whatever way.
class Job {
 public:
    Job() = default;  // empty: no job
    Job(Job&& other) noexcept = default;
    Job& operator=(Job&& other) noexcept = default;  // closes what is held

    static Job Create();
    explicit operator bool() const { return state != nullptr; }

    bool SetKillOnClose();
    bool Assign(const Process& process);

 private:
    struct State;  // closes in its destructor and keeps the last error; on Linux the process is then gone

    std::shared_ptr<State> state;
};

// While it lives, a failed start opens no dialogue. Keeps the last error when it ends.
class QuietErrors {
 public:
    QuietErrors();
    ~QuietErrors();  // NOLINT(performance-trivially-destructible): on Linux alone there is nothing to do
    QuietErrors(const QuietErrors&) = delete;
    QuietErrors& operator=(const QuietErrors&) = delete;

 private:
    uint32_t previousMode = 0;
};

// Ends this process at once: no unwinding, no exit handlers, no dialogue, no message.
[[noreturn]] void FailFast() noexcept;

// From now on this process ends at once and silently also where it would show a dialogue, write a core file or
// report an exception that nothing catches.
void EndSilently();

// The path in UTF-8 of the program `name`, without the system's ending for programs, in the folder of the running one.
// Only the file's name when the system does not tell that folder.
std::string ProgramBeside(const std::string& name);

}  // namespace Orvane::Platform
