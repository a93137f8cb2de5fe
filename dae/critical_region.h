// Locks with the semantics of a Windows critical section: process-local and
// re-entrant for the thread that holds them.
#pragma once
#include "dae/platform.h"
#include "hostapi/host_api.h"

namespace DAE {

// A plain critical section (no virtual table).
class CriticalSection {
public:
    CriticalSection() { platform::CriticalSectionInit(&storage_); }
    ~CriticalSection() { platform::CriticalSectionDelete(&storage_); }
    CriticalSection(const CriticalSection&) = delete;
    CriticalSection& operator=(const CriticalSection&) = delete;

    void Enter() { platform::CriticalSectionEnter(&storage_); }
    void Leave() { platform::CriticalSectionLeave(&storage_); }

private:
    platform::CriticalSectionStorage storage_;
};

// The framework's polymorphic lock object. Enter and Leave always return 0.
class CCriticalRegion {
public:
    CCriticalRegion() = default;
    virtual ~CCriticalRegion() = default;
    CCriticalRegion(const CCriticalRegion&) = delete;
    CCriticalRegion& operator=(const CCriticalRegion&) = delete;

    A_long Enter() {
        section_.Enter();
        return 0;
    }
    A_long Leave() {
        section_.Leave();
        return 0;
    }

private:
    CriticalSection section_;
};

// Holds a lock for the length of a scope, also when an exception passes.
template <typename Lock>
class ScopedLock {
public:
    explicit ScopedLock(Lock& lock) : lock_(lock) { lock_.Enter(); }
    ~ScopedLock() { lock_.Leave(); }
    ScopedLock(const ScopedLock&) = delete;
    ScopedLock& operator=(const ScopedLock&) = delete;

private:
    Lock& lock_;
};

}  // namespace DAE

using DAE::CCriticalRegion;
