#pragma once

#include <cstdint>
#include <string>

namespace Orvane {

/// The `message` of a failed status if the host process has ended, except from `Resize`. To decide what to do, compare
/// `reason` with `FailureReasonHostEnded` instead. `Init` starts a new host process.
inline constexpr const char* kHostExit = "Orvane Host Exit";

/// Bytes of the largest tensor that a host process can receive or send: 21 MiB. A larger input ends the application,
/// and a larger output ends the host process. Compare `GetByteSize` with this limit first.
inline constexpr uint32_t kMaxHostTensorBytes = 22'020'096;

/// Returns the path of `orvane_host` (on Windows `orvane_host.exe`) in the folder of the running program, in UTF-8: a
/// value for `OptionCommonHost`. Does not check that the file exists.
std::string HostPathBesideProgram();

}  // namespace Orvane
