#include "host/sandbox.h"

#include <windows.h>

namespace Orvane {

namespace {

// Has no effect if this Windows does not know the policy.
template <typename Policy>
void Enforce(PROCESS_MITIGATION_POLICY kind, Policy policy) {
    SetProcessMitigationPolicy(kind, &policy, sizeof policy);
}

}  // namespace

// Does not forbid code made at run time, because the runtime makes such code, or libraries from a network share,
// because applications may be installed there.
void EnterSandbox(const InterpreterParams& params) {
    if (!RunsOnCpu(params)) {
        return;
    }
    PROCESS_MITIGATION_CHILD_PROCESS_POLICY noProcesses{};
    noProcesses.NoChildProcessCreation = 1;
    Enforce(ProcessChildProcessPolicy, noProcesses);

    PROCESS_MITIGATION_EXTENSION_POINT_DISABLE_POLICY noExtensions{};
    noExtensions.DisableExtensionPoints = 1;
    Enforce(ProcessExtensionPointDisablePolicy, noExtensions);

    PROCESS_MITIGATION_IMAGE_LOAD_POLICY trustedImages{};
    trustedImages.NoLowMandatoryLabelImages = 1;
    Enforce(ProcessImageLoadPolicy, trustedImages);
}

}  // namespace Orvane
