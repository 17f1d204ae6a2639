// Memory that was given back to the allocator, given back to the system.
#pragma once

#if __has_include(<malloc.h>)
#include <malloc.h>
#endif

namespace Stratum::io {

/// The C library keeps what lies between blocks in use, for whatever comes next. After an import
/// nothing of that kind comes, and channels take their memory elsewhere.
inline void returnMemory() {
#ifdef __GLIBC__
    ::malloc_trim(0);
#endif
}

} // namespace Stratum::io
