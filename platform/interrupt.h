#pragma once

#include "platform/handle.h"

namespace Orvane::Platform {

// While this object exists, the first Ctrl-C in the terminal (SIGINT) only sets the flag; the next Ctrl-C ends the
// process. Only one such object may exist at a time.
class InterruptFlag {
 public:
    InterruptFlag();

    bool IsSet() const;

 private:
    struct State;

    Owned<State> state;
};

}  // namespace Orvane::Platform
