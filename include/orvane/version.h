#pragma once

/// \file
/// Version of the headers. CMake reads the project's version from these three lines.
#define ORVANE_VERSION_MAJOR 0
#define ORVANE_VERSION_MINOR 1
#define ORVANE_VERSION_PATCH 0

/// One comparable number: major * 10000 + minor * 100 + patch.
#define ORVANE_VERSION (ORVANE_VERSION_MAJOR * 10000 + ORVANE_VERSION_MINOR * 100 + ORVANE_VERSION_PATCH)

namespace Orvane {

/// Version of the linked library as one number, to compare with `ORVANE_VERSION`.
int VersionNumber();

/// Version of the linked library as "major.minor.patch"; static storage.
const char* Version();

}  // namespace Orvane
