#pragma once

#include <cstdint>
#include <functional>

namespace Orvane::Fuzz {

// The host process of a client in a fuzz target: a function, because `fake_host.cpp` replaces the platform's events,
// sections and processes. Each request of the client calls it in the same thread. It reads the request at the start of
// the section, and writes its reply over it. It returns false if the host ends without a reply.
extern std::function<bool(uint8_t* section)> fakeHost;

}  // namespace Orvane::Fuzz
