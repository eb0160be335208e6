#pragma once

/// \file
/// The version of the headers. CMake reads the project's version from this file.

/// The first number of the version.
#define ORVANE_VERSION_MAJOR 0
/// The second number of the version.
#define ORVANE_VERSION_MINOR 1
/// The third number of the version.
#define ORVANE_VERSION_PATCH 0

/// The version as one number, to compare: major * 10000 + minor * 100 + patch.
#define ORVANE_VERSION (ORVANE_VERSION_MAJOR * 10000 + ORVANE_VERSION_MINOR * 100 + ORVANE_VERSION_PATCH)

namespace Orvane {

/// Returns the version of the linked library as one number, to compare with `ORVANE_VERSION`.
int VersionNumber();

/// Returns the version of the linked library as "major.minor.patch", in static storage.
const char* Version();

}  // namespace Orvane
