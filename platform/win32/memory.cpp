#include "platform/memory.h"

namespace Orvane::Platform {

void PreferLargePages(void* /*memory*/, uint64_t /*size*/) noexcept {}  // needs the right to lock memory

}  // namespace Orvane::Platform
