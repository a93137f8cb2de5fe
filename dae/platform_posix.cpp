#include "dae/platform.h"

#include <pthread.h>
#include <stdlib.h>

namespace DAE {
namespace platform {

static_assert(sizeof(pthread_mutex_t) <= kCriticalSectionBytes, "critical section storage too small");
static_assert(alignof(pthread_mutex_t) <= alignof(CriticalSectionStorage), "critical section storage misaligned");

static pthread_mutex_t* Native(CriticalSectionStorage* cs) {
    return reinterpret_cast<pthread_mutex_t*>(cs->bytes);
}

void CriticalSectionInit(CriticalSectionStorage* cs) {
    // Recursive, because a Windows critical section lets its holder enter again.
    pthread_mutexattr_t attr;
    pthread_mutexattr_init(&attr);
    pthread_mutexattr_settype(&attr, PTHREAD_MUTEX_RECURSIVE);
    pthread_mutex_init(Native(cs), &attr);
    pthread_mutexattr_destroy(&attr);
}
void CriticalSectionDelete(CriticalSectionStorage* cs) { pthread_mutex_destroy(Native(cs)); }
void CriticalSectionEnter(CriticalSectionStorage* cs) { pthread_mutex_lock(Native(cs)); }
void CriticalSectionLeave(CriticalSectionStorage* cs) { pthread_mutex_unlock(Native(cs)); }

void* AlignedAlloc16(std::size_t size) {
    void* p = nullptr;
    // Like _aligned_malloc, a zero-byte request still yields a usable pointer.
    if (posix_memalign(&p, 16, size ? size : 1) != 0) return nullptr;
    return p;
}
void AlignedFree16(void* address) { free(address); }

}  // namespace platform
}  // namespace DAE
