#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// Message of a call that failed because the host process has ended; `Init` starts a new one.
inline constexpr const char* kHostExit = "Orvane Host Exit";

/// Bytes of the largest tensor that travels to and from a host process, 21 MiB. Copying in more ends the application,
/// asking for more ends the host: compare `GetByteSize` with it first.
inline constexpr uint32_t kMaxHostTensorBytes = 22'020'096;

/// Path of the host program beside the running program, in UTF-8: where an application's installer puts it. A value
/// for `OptionCommonHost`. Does not look whether it is there.
std::string HostPathBesideProgram();

}  // namespace Orvane
