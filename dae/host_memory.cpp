#include "dae/host_memory.h"

#include <cstdint>
#include <cstring>

#include "dae/context.h"
#include "dae/critical_region.h"
#include "dae/suites.h"

namespace DAE {

namespace {

// Both locks exist from module load to module unload: built by the module's
// static initialisation, destroyed by its exit handlers.
CCriticalRegion g_heap_lock;
CriticalSection g_handle_lock;

constexpr std::uintptr_t kHeaderBytes = 48;
constexpr std::uint32_t kGuardHandle = 0xABCDABCDu;
constexpr std::uint32_t kGuardDistance = 0xDEADDEADu;

std::uintptr_t AlignedFromBase(std::uintptr_t base) {
    return (base + 47) & ~static_cast<std::uintptr_t>(15);
}

template <typename T>
void Put(std::uintptr_t at, T value) {
    std::memcpy(reinterpret_cast<void*>(at), &value, sizeof value);
}

template <typename T>
T Take(std::uintptr_t at) {
    T value;
    std::memcpy(&value, reinterpret_cast<const void*>(at), sizeof value);
    return value;
}

}  // namespace

void* AllocateHandleMemory(const PF_HandleSuite1* suite, A_u_long size) {
    if (!suite) return nullptr;
    ScopedLock<CriticalSection> hold(g_handle_lock);

    // 64-bit sum, so a request near 4 GB cannot wrap to a tiny handle.
    const A_HandleSize bytes = (static_cast<A_HandleSize>(size) + kHeaderBytes) & ~static_cast<A_HandleSize>(15);
    PF_Handle handle = suite->host_new_handle(bytes);
    if (!handle) return nullptr;
    void* locked = suite->host_lock_handle(handle);
    if (!locked) return nullptr;  // the handle stays with the host, as it always has

    const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(locked);
    const std::uintptr_t aligned = AlignedFromBase(base);
    // Header below the returned address. The guard words are for a human
    // reading memory in a debugger; the release path never checks them.
    Put<PF_Handle>(aligned - 32, handle);
    Put<std::uint32_t>(aligned - 24, kGuardHandle);
    Put<std::uint64_t>(aligned - 16, static_cast<std::uint64_t>(aligned - base));
    Put<std::uint32_t>(aligned - 8, kGuardDistance);
    return reinterpret_cast<void*>(aligned);
}

void FreeHandleMemory(const PF_HandleSuite1* suite, void* address) {
    if (!suite || !address) return;
    ScopedLock<CriticalSection> hold(g_handle_lock);

    const std::uintptr_t at = reinterpret_cast<std::uintptr_t>(address);
    const std::uintptr_t base = at - static_cast<std::uintptr_t>(Take<std::uint64_t>(at - 16));
    PF_Handle handle = Take<PF_Handle>(AlignedFromBase(base) - 32);
    suite->host_unlock_handle(handle);
    suite->host_dispose_handle(handle);
}

static const PF_HandleSuite1* CurrentHandleSuite() {
    AEGP_SuiteHandler* suites = CurrentSuites();
    return suites ? suites->HandleSuite1() : nullptr;
}

void* AllocateHandleMemory(A_u_long size) { return AllocateHandleMemory(CurrentHandleSuite(), size); }

void FreeHandleMemory(void* address) { FreeHandleMemory(CurrentHandleSuite(), address); }

void* AlignedHeapAllocate(size_t size) {
    ScopedLock<CCriticalRegion> hold(g_heap_lock);
    return platform::AlignedAlloc16(size);
}

void AlignedHeapFree(void* address) {
    ScopedLock<CCriticalRegion> hold(g_heap_lock);
    platform::AlignedFree16(address);
}

}  // namespace DAE
