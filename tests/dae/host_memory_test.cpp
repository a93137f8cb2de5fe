// Locks, the inline multiprocessor and the aligned host-handle allocator.
#include <gtest/gtest.h>

#include <atomic>
#include <chrono>
#include <cstdint>
#include <cstring>
#include <thread>
#include <vector>

#include "dae/critical_region.h"
#include "dae/host_memory.h"
#include "dae/multiprocessor.h"
#include "headless/host.h"
#include "headless/inproc/scoped_host.h"

namespace {

// A handle suite whose lock answers with a chosen base address inside one
// buffer, so every distance to the next 16-byte boundary can be tried.
struct PlacedSuite {
    static unsigned char* next_base;
    static A_HandleSize last_size;
    static int disposed;
    static int unlocked;
    static void* handle_cell;
    static PF_Handle New(A_HandleSize size) {
        last_size = size;
        return reinterpret_cast<PF_Handle>(&handle_cell);
    }
    static void* Lock(PF_Handle) { return next_base; }
    static void Unlock(PF_Handle h) { unlocked += h == reinterpret_cast<PF_Handle>(&handle_cell); }
    static void Dispose(PF_Handle h) { disposed += h == reinterpret_cast<PF_Handle>(&handle_cell); }
    static PF_HandleSuite1 Make() {
        PF_HandleSuite1 s{};
        s.host_new_handle = New;
        s.host_lock_handle = Lock;
        s.host_unlock_handle = Unlock;
        s.host_dispose_handle = Dispose;
        return s;
    }
};
unsigned char* PlacedSuite::next_base = nullptr;
A_HandleSize PlacedSuite::last_size = 0;
int PlacedSuite::disposed = 0;
int PlacedSuite::unlocked = 0;
void* PlacedSuite::handle_cell = nullptr;

TEST(HandleMemory, EveryBaseOffsetGivesAlignedAddressWithRecoverableHandle) {
    const PF_HandleSuite1 suite = PlacedSuite::Make();
    alignas(16) static unsigned char arena[256];
    for (A_u_long size : {96u, 100u}) {
        for (int offset = 0; offset < 16; ++offset) {
            std::memset(arena, 0x5A, sizeof arena);
            PlacedSuite::next_base = arena + offset;
            PlacedSuite::disposed = PlacedSuite::unlocked = 0;
            void* p = DAE::AllocateHandleMemory(&suite, size);
            ASSERT_NE(p, nullptr) << offset;
            const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
            const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(arena + offset);
            EXPECT_EQ(a % 16, 0u) << offset;
            EXPECT_GE(a - base, 32u) << offset;
            EXPECT_LE(a - base, 47u) << offset;
            EXPECT_EQ(PlacedSuite::last_size, (size + 48u) & ~15u);
            // A whole number of 16-byte units always fits, whatever the base.
            if (size % 16 == 0) {
                EXPECT_LE(a + size, base + PlacedSuite::last_size) << offset;
            }

            // Header layout below the address.
            PF_Handle h;
            std::uint32_t g1, g2;
            std::uint64_t dist;
            std::memcpy(&h, static_cast<char*>(p) - 32, 8);
            std::memcpy(&g1, static_cast<char*>(p) - 24, 4);
            std::memcpy(&dist, static_cast<char*>(p) - 16, 8);
            std::memcpy(&g2, static_cast<char*>(p) - 8, 4);
            EXPECT_EQ(h, reinterpret_cast<PF_Handle>(&PlacedSuite::handle_cell));
            EXPECT_EQ(g1, 0xABCDABCDu);
            EXPECT_EQ(dist, a - base);
            EXPECT_EQ(g2, 0xDEADDEADu);

            DAE::FreeHandleMemory(&suite, p);
            EXPECT_EQ(PlacedSuite::unlocked, 1);
            EXPECT_EQ(PlacedSuite::disposed, 1);
        }
    }
}

TEST(HandleMemory, AgainstTheHeadlessHost) {
    headless::ScopedHostContext ctx;
    headless::Host& host = ctx.host();
    for (size_t misalign : {0u, 8u}) {
        host.set_handle_misalignment(misalign);
        void* zero = DAE::AllocateHandleMemory(0);
        ASSERT_NE(zero, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(zero) % 16, 0u);
        EXPECT_EQ(host.live_handles(), 1u);
        void* big = DAE::AllocateHandleMemory(1024);
        ASSERT_NE(big, nullptr);
        std::memset(big, 0xEE, 1024);  // the whole request is usable
        EXPECT_EQ(host.locked_handles(), 2u);
        DAE::FreeHandleMemory(big);
        DAE::FreeHandleMemory(zero);
        EXPECT_EQ(host.live_handles(), 0u);
    }
    EXPECT_TRUE(host.problems().empty()) << host.problems()[0];
}

TEST(HandleMemory, ZeroBytesAsksFor48ByteHandle) {
    const PF_HandleSuite1 suite = PlacedSuite::Make();
    alignas(16) static unsigned char arena[64];
    PlacedSuite::next_base = arena;
    void* p = DAE::AllocateHandleMemory(&suite, 0);
    EXPECT_EQ(PlacedSuite::last_size, 48u);
    EXPECT_EQ(p, arena + 32);
    // Sizes are rounded down: 47 + 48 = 95 -> 80.
    DAE::AllocateHandleMemory(&suite, 47);
    EXPECT_EQ(PlacedSuite::last_size, 80u);
    // The largest 32-bit request does not wrap.
    DAE::AllocateHandleMemory(&suite, 0xFFFFFFFFu);
    EXPECT_EQ(PlacedSuite::last_size, (0xFFFFFFFFull + 48) & ~15ull);
}

TEST(HandleMemory, NullLockGivesNullAndLeavesTheHandleAlone) {
    const PF_HandleSuite1 suite = PlacedSuite::Make();
    PlacedSuite::next_base = nullptr;
    PlacedSuite::disposed = PlacedSuite::unlocked = 0;
    EXPECT_EQ(DAE::AllocateHandleMemory(&suite, 64), nullptr);
    EXPECT_EQ(PlacedSuite::disposed, 0);
}

TEST(HandleMemory, FailuresGiveNull) {
    headless::ScopedHostContext ctx;
    headless::Host& host = ctx.host();
    host.fail_allocation(1);
    EXPECT_EQ(DAE::AllocateHandleMemory(64), nullptr);
    EXPECT_EQ(host.live_handles(), 0u);
    EXPECT_EQ(DAE::AllocateHandleMemory(nullptr, 64), nullptr);  // no suite
    void* p = DAE::AllocateHandleMemory(64);
    EXPECT_NE(p, nullptr);
    DAE::FreeHandleMemory(p);
    ctx.next_command();  // gives the handler's suites back
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(HandleMemory, NoCurrentCommandGivesNull) { EXPECT_EQ(DAE::AllocateHandleMemory(16), nullptr); }

TEST(AlignedHeap, SixteenByteAligned) {
    std::vector<void*> blocks;
    for (size_t size : {0u, 1u, 15u, 16u, 17u, 4096u}) {
        void* p = DAE::AlignedHeapAllocate(size);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u);
        blocks.push_back(p);
    }
    for (void* p : blocks) DAE::AlignedHeapFree(p);
}

TEST(CriticalRegion, ReentrantForHolderExclusiveForOthers) {
    CCriticalRegion region;
    EXPECT_EQ(region.Enter(), 0);
    EXPECT_EQ(region.Enter(), 0);  // the holder may enter again
    std::atomic<bool> entered{false};
    std::thread other([&] {
        region.Enter();
        entered = true;
        region.Leave();
    });
    std::this_thread::sleep_for(std::chrono::milliseconds(50));
    EXPECT_FALSE(entered);
    EXPECT_EQ(region.Leave(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered);  // still held once
    EXPECT_EQ(region.Leave(), 0);
    other.join();
    EXPECT_TRUE(entered);
}

TEST(Multiprocessor, OneProcessorWholeRangeInlineRun) {
    DAE::Multiprocessor mp;
    EXPECT_EQ(mp.State(), 0u);
    EXPECT_EQ(mp.ProcessorCount(), 1);
    A_long start = -1, end = -1;
    mp.GetRange(10, 0, &start, &end);
    EXPECT_EQ(start, 0);
    EXPECT_EQ(end, 10);
    mp.GetRange(10, 1, &start, &end);  // a second share, were there one
    EXPECT_EQ(start, 10);
    EXPECT_EQ(end, 20);

    static int calls;
    static void* seen;
    calls = 0;
    int token = 0;
    auto job = [](void* refcon) -> A_short {
        ++calls;
        seen = refcon;
        return -1;  // an error the runner ignores
    };
    EXPECT_EQ(mp.Run(job, &token), 0);
    EXPECT_EQ(calls, 1);
    EXPECT_EQ(seen, &token);
    mp.Wait();
    mp.Reset();
    EXPECT_EQ(mp.State(), 0u);
}

// A threaded variant overrides the count; the formula stays.
TEST(Multiprocessor, RangeFormulaUsesProcessorCount) {
    struct Four : DAE::Multiprocessor {
        A_long ProcessorCount() override { return 4; }
    } mp;
    A_long covered = 0, prev_end = 0;
    for (A_long i = 0; i < 4; ++i) {
        A_long s, e;
        mp.GetRange(10, i, &s, &e);
        EXPECT_EQ(s, prev_end);
        covered += e - s;
        prev_end = e;
    }
    EXPECT_EQ(covered, 10);
    A_long s, e;
    mp.GetRange(-10, 1, &s, &e);  // truncation toward zero
    EXPECT_EQ(s, -2);
    EXPECT_EQ(e, -5);
}

}  // namespace
