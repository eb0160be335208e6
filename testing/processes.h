#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

// What a test on Linux asks about processes.
namespace Orvane::Testing {

// How many entries a folder has.
size_t Entries(const std::string& folder);

// This process's children, also dead ones that were not reaped.
std::vector<pid_t> Children();

// How many shared objects there are under a process's names.
size_t Names(pid_t process);

// Runs `work` in a child process, which does not outlive this one. An exception ends it.
pid_t Fork(const std::function<void()>& work) noexcept;

// Waits for a child: "exit VALUE" or "signal NUMBER".
std::string End(pid_t child);

}  // namespace Orvane::Testing
