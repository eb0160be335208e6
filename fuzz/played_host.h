#pragma once

#include <cstdint>
#include <functional>

namespace Orvane::Fuzz {

// Simulates events, sections and host processes in this process and thread. The host is this function, called when a
// client sends a request. It reads the request at the start of the section and overwrites it with its reply. It returns
// false if the host ends without a reply.
extern std::function<bool(uint8_t* section)> playedHost;

}  // namespace Orvane::Fuzz
