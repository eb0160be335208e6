#pragma once

#include <csignal>

namespace Orvane::Platform {

// While this object exists, the calling thread receives no signals. Threads that it starts never receive any.
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
