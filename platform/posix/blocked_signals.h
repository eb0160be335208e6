#pragma once

#include <csignal>

namespace Orvane::Platform {

// While it lives, the calling thread takes no signals, and threads that it starts never take any.
class BlockedSignals {
 public:
    BlockedSignals() {
        sigset_t all;
        sigfillset(&all);
        pthread_sigmask(SIG_SETMASK, &all, &before);
    }
    ~BlockedSignals() { pthread_sigmask(SIG_SETMASK, &before, nullptr); }
    BlockedSignals(const BlockedSignals&) = delete;
    BlockedSignals& operator=(const BlockedSignals&) = delete;

 private:
    sigset_t before{};
};

}  // namespace Orvane::Platform
