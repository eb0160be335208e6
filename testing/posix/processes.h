#pragma once

#include <sys/types.h>

#include <cstddef>
#include <functional>
#include <string>

// What a test asks about processes that only Linux can tell.
namespace Orvane::Testing {

// How many entries a folder has.
size_t Entries(const std::string& folder);

// How many shared objects there are under a process's names.
size_t Names(pid_t process);

// Runs `work` in a child process, which does not outlive this one. An exception ends it.
pid_t Fork(const std::function<void()>& work) noexcept;

// Waits for a child: "exit VALUE" or "signal NUMBER".
std::string End(pid_t child);

}  // namespace Orvane::Testing
