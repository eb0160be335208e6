#pragma once

#include <sys/types.h>

#include <cstddef>
#include <cstdint>
#include <functional>
#include <string>

// What a test asks about processes that only Linux can tell.
namespace Orvane::Testing {

// How many entries a folder has.
size_t Entries(const std::string& folder);

// How many shared objects there are whose names carry a process's module word.
size_t Names(uint32_t moduleWord);

// Runs `work` in a child process, which does not outlive this one. An exception ends it.
pid_t Fork(const std::function<void()>& work) noexcept;

// What the system tells about a process under this key; empty where it does not tell.
std::string InStatus(uint32_t process, const std::string& key);

// Waits for a child: "exit VALUE" or "signal NUMBER".
std::string End(pid_t child);

}  // namespace Orvane::Testing
