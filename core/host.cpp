#include <orvane/host.h>

#include "platform/process.h"

namespace Orvane {

std::string HostPathBesideProgram() {
    return Platform::ProgramBeside("orvane_host");
}

}  // namespace Orvane
