#include "dae/platform.h"

#include <malloc.h>
#include <windows.h>

namespace DAE {
namespace platform {

static_assert(sizeof(CRITICAL_SECTION) <= kCriticalSectionBytes, "critical section storage too small");

static CRITICAL_SECTION* Native(CriticalSectionStorage* cs) {
    return reinterpret_cast<CRITICAL_SECTION*>(cs->bytes);
}

void CriticalSectionInit(CriticalSectionStorage* cs) { InitializeCriticalSection(Native(cs)); }
void CriticalSectionDelete(CriticalSectionStorage* cs) { DeleteCriticalSection(Native(cs)); }
void CriticalSectionEnter(CriticalSectionStorage* cs) { EnterCriticalSection(Native(cs)); }
void CriticalSectionLeave(CriticalSectionStorage* cs) { LeaveCriticalSection(Native(cs)); }

void* AlignedAlloc16(std::size_t size) { return _aligned_malloc(size, 16); }
void AlignedFree16(void* address) { _aligned_free(address); }

}  // namespace platform
}  // namespace DAE
