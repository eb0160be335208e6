#include "platform/memory.h"

namespace Orvane::Platform {

void PreferLargePages(void* /*memory*/, uint64_t /*size*/) noexcept {}  // needs the right to lock memory

void LeaveOutOfCoreFiles(void* /*memory*/, uint64_t /*size*/) noexcept {}  // a dump is what its reader asks for

}  // namespace Orvane::Platform
