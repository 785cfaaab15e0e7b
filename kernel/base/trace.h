// The developer's trace: compiled away unless the build asks for it (QMSD_TRACE).
#pragma once

namespace qmsd {

#ifdef QMSD_TRACE
inline constexpr bool kTracing = true;
// Narrow format; wide arguments are %ls. Allocates nothing and leaves the error state alone.
void trace(const char* format, ...);
#else
inline constexpr bool kTracing = false;
inline void trace(const char*, ...) {}
#endif

}  // namespace qmsd
