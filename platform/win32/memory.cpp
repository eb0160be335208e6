#include "platform/memory.h"

namespace Orvane::Platform {

void PreferLargePages(void* /*memory*/, uint64_t /*size*/) noexcept {}  // would need the right to lock memory

void ExcludeFromCoreFiles(void* /*memory*/, uint64_t /*size*/) noexcept {}  // the creator of a dump chooses its content

}  // namespace Orvane::Platform
