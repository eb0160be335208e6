#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

// Information about processes that only Linux provides, for tests.
namespace Orvane::Testing {

// The number of entries in a folder.
size_t Entries(const std::string& folder);

// The number of shared objects whose names contain this module word.
size_t Names(uint32_t moduleWord);

// Runs `work` in a child process, which ends with this process. An exception ends the child.
pid_t Fork(const std::function<void()>& work) noexcept;

// The value of this key in the process's /proc status; empty if there is no such value.
std::string InStatus(uint32_t process, const std::string& key);

// Waits for a child: "exit VALUE" or "signal NUMBER".
std::string End(pid_t child);

}  // namespace Orvane::Testing
