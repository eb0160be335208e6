#pragma once

#include <memory>

namespace Orvane::Platform {

// While it lives, the first Ctrl-C in the terminal (SIGINT) only sets the flag; the next one ends the process. One at a
// time.
class InterruptFlag {
 public:
    InterruptFlag();

    bool IsSet() const;

 private:
    struct State;  // ends the watch in its destructor

    std::shared_ptr<State> state;
};

}  // namespace Orvane::Platform
