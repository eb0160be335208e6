#include "host/run_host.h"
#include "platform/process.h"
#include "platform/win32/wide_text.h"

#include <windows.h>

// The command line does not contain the program's name. It may contain blanks.
// NOLINTNEXTLINE(readability-inconsistent-declaration-parameter-name,readability-non-const-parameter): the system's
int WINAPI wWinMain(HINSTANCE /*instance*/, HINSTANCE /*previous*/, PWSTR commandLine, int /*show*/) {
    Orvane::Platform::BeginHost();
    return Orvane::RunHost(Orvane::Platform::Utf8FromWide(commandLine));
}
