#pragma once

#include <string>

namespace Orvane {

/// Path of the host program beside the running program, in UTF-8: where an application's installer puts it. A value
/// for `OptionCommonHost`. Does not look whether it is there.
std::string HostPathBesideProgram();

}  // namespace Orvane
