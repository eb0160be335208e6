#pragma once

#include <cstdint>
#include <functional>

namespace Orvane::Fuzz {

// Stands in for events, sections and host processes: all of it in this process and thread, and the host is a function
// that is called when a client hands a request over. It finds the request at the start of the section and writes its
// reply over that; when it returns false, the host has died without a reply.
extern std::function<bool(uint8_t* section)> playedHost;

}  // namespace Orvane::Fuzz
