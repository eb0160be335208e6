#pragma once

#include "platform/handle.h"

namespace Orvane::Platform {

// While it lives, the first Ctrl-C in the terminal (SIGINT) only sets the flag; the next one ends the process. Only one
// may exist at a time.
class InterruptFlag {
 public:
    InterruptFlag();

    bool IsSet() const;

 private:
    struct State;

    Owned<State> state;
};

}  // namespace Orvane::Platform
