#include <orvane/host.h>

#include "core/host_control.h"
#include "platform/process.h"

namespace Orvane {

std::string HostPathBesideProgram() {
    return Platform::ProgramBeside("orvane_host");
}

HostEnd EndedByClient(HostEndCause cause, uint32_t timeLimit) {
    switch (cause) {
        case HostEndCauseInterrupted:
            return {cause, 0, "interrupted"};
        case HostEndCauseTimeLimit:
            return {cause, timeLimit,
                    timeLimit != 0 ? "time limit of " + std::to_string(timeLimit) + " ms" : "no reply for 55 hours"};
        default:
            return {HostEndCauseBadReply, 0, "it sent an invalid reply"};
    }
}

}  // namespace Orvane
