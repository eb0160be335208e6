#include <orvane/host.h>

#include "platform/process.h"

namespace Orvane {

std::string HostPathBesideProgram() {
    return Platform::ProgramFolder() + "orvane_host";  // Windows finds the ending by itself
}

}  // namespace Orvane
