#include <orvane/version.h>

#define ORVANE_TEXT_OF(number) #number
#define ORVANE_TEXT(number) ORVANE_TEXT_OF(number)

namespace Orvane {

int VersionNumber() {
    return ORVANE_VERSION;
}

const char* Version() {
    return ORVANE_TEXT(ORVANE_VERSION_MAJOR) "." ORVANE_TEXT(ORVANE_VERSION_MINOR) "." ORVANE_TEXT(
        ORVANE_VERSION_PATCH);
}

}  // namespace Orvane
