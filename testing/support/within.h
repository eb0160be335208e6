#pragma once

#include <chrono>
#include <thread>

namespace Orvane::Testing {

// True as soon as `done()` is; false when it is not within the limit.
template <typename Condition>
bool Within(std::chrono::steady_clock::duration limit, Condition done) {
    for (const auto end = std::chrono::steady_clock::now() + limit; !done();) {
        if (std::chrono::steady_clock::now() > end) {
            return false;
        }
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    return true;
}

}  // namespace Orvane::Testing
