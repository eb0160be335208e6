#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// The `message` of the status of a call that failed because the host process has ended. `Init` starts a new one.
inline constexpr const char* kHostExit = "Orvane Host Exit";

/// Bytes of the largest tensor that a host process can receive or send: 21 MiB. A larger input ends the application,
/// and a larger output ends the host process. Compare `GetByteSize` with this limit first.
inline constexpr uint32_t kMaxHostTensorBytes = 22'020'096;

/// Returns the path of the host program in the folder of the running program, in UTF-8: a value for `OptionCommonHost`.
/// Does not check that the file exists.
std::string HostPathBesideProgram();

}  // namespace Orvane
