// The few operating-system services the framework needs, behind one seam:
// platform_win.cpp implements them with the Windows API, platform_posix.cpp
// with POSIX. Nothing else in the effect includes system headers for these.
#pragma once
#include <cstddef>

namespace DAE {
namespace platform {

// Storage for one critical section, large enough for the host platform's
// native object (checked in each implementation).
constexpr std::size_t kCriticalSectionBytes = 64;
struct alignas(16) CriticalSectionStorage {
    unsigned char bytes[kCriticalSectionBytes];
};

// Re-entrant for the thread that holds it, like a Windows critical section.
void CriticalSectionInit(CriticalSectionStorage* cs);
void CriticalSectionDelete(CriticalSectionStorage* cs);
void CriticalSectionEnter(CriticalSectionStorage* cs);
void CriticalSectionLeave(CriticalSectionStorage* cs);

// The runtime library's 16-byte aligned heap.
void* AlignedAlloc16(std::size_t size);
void AlignedFree16(void* address);

}  // namespace platform
}  // namespace DAE
