#pragma once

#include "platform/win32/handle.h"

#include <windows.h>

#include <cstddef>
#include <string>
#include <vector>

// What a test on Windows asks about processes.
namespace Orvane::Testing {

using Platform::Handle;

// Where Wine differs from Windows, a test says so and expects what Wine does.
bool UnderWine();

// The living processes that `parent` started.
std::vector<DWORD> Children(DWORD parent = GetCurrentProcessId());

// The right to end a process and to wait for its end.
Handle OpenProcessToEnd(DWORD process);

// True when the process has not ended after this time.
bool Lives(const Handle& process, DWORD milliseconds = 0);

// The exit code, within 10 seconds. A process that does not end is a failure, and is ended.
DWORD End(const Handle& process);

// True when there are no children, within 10 seconds. Those that there are then are ended.
bool NoChildren();

// Starts a program, by its UTF-8 path. It is ended when the handle on its job is closed.
struct Program {
    Handle job;
    Handle process;
    DWORD id;
};
Program Start(const std::string& path, const std::string& arguments);

// How many handles this process has. Counted one by one, because Wine does not answer the question as a whole.
size_t HandleCount();

// Ends this process when it lives for more than two minutes.
class Watchdog {
 public:
    Watchdog();
    ~Watchdog();
    Watchdog(const Watchdog&) = delete;
    Watchdog& operator=(const Watchdog&) = delete;

 private:
    HANDLE timer = nullptr;
};

}  // namespace Orvane::Testing
