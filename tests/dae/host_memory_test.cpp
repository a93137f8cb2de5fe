// Locks, the inline multiprocessor and the aligned host-handle allocator.
#include <atomic>
#include <chrono>
#include <cstdint>
#include <thread>

#include "dae/critical_region.h"
#include "dae/host_memory.h"
#include "dae/multiprocessor.h"
#include "headless/inproc/scoped_host.h"
#include "support.h"

namespace {

// A handle suite whose lock answers with a chosen base address, so every
// distance to the next 16-byte boundary can be tried.
struct PlacedSuite {
    static inline unsigned char* base = nullptr;
    static inline A_HandleSize last_size = 0;
    static inline int disposed = 0, unlocked = 0;
    static inline void* cell = nullptr;
    static PF_Handle Handle() { return reinterpret_cast<PF_Handle>(&cell); }
    static PF_HandleSuite1 Make(unsigned char* at) {
        base = at;
        last_size = 0;
        disposed = unlocked = 0;
        PF_HandleSuite1 s{};
        s.host_new_handle = [](A_HandleSize size) { return last_size = size, Handle(); };
        s.host_lock_handle = [](PF_Handle) -> void* { return base; };
        s.host_unlock_handle = [](PF_Handle h) { unlocked += h == Handle(); };
        s.host_dispose_handle = [](PF_Handle h) { disposed += h == Handle(); };
        return s;
    }
};

TEST(HandleMemory, EveryBaseOffsetGivesAlignedAddressWithRecoverableHandle) {
    alignas(16) static unsigned char arena[256];
    for (A_u_long size : {0u, 47u, 96u, 100u}) {
        for (int offset = 0; offset < 16; ++offset) {
            SCOPED_TRACE("size " + std::to_string(size) + " offset " + std::to_string(offset));
            const PF_HandleSuite1 suite = PlacedSuite::Make(arena + offset);
            void* p = DAE::AllocateHandleMemory(&suite, size);
            ASSERT_NE(p, nullptr);
            const std::uintptr_t a = reinterpret_cast<std::uintptr_t>(p);
            const std::uintptr_t base = reinterpret_cast<std::uintptr_t>(arena + offset);
            EXPECT_EQ(a % 16, 0u);
            EXPECT_GE(a - base, 32u);
            EXPECT_LE(a - base, 47u);
            // 48 header bytes added, then rounded down: 0 -> 48, 47 -> 80.
            EXPECT_EQ(PlacedSuite::last_size, (size + 48u) & ~15u);
            if (size % 16 == 0) {
                EXPECT_LE(a + size, base + PlacedSuite::last_size);
            }

            // Header below the address: handle, guard, distance, guard.
            struct {
                PF_Handle handle;
                std::uint32_t guard1, pad1;
                std::uint64_t distance;
                std::uint32_t guard2, pad2;
            } header;
            std::memcpy(&header, static_cast<char*>(p) - 32, 32);
            EXPECT_EQ(header.handle, PlacedSuite::Handle());
            EXPECT_EQ(header.guard1, 0xABCDABCDu);
            EXPECT_EQ(header.distance, a - base);
            EXPECT_EQ(header.guard2, 0xDEADDEADu);

            DAE::FreeHandleMemory(&suite, p);
            EXPECT_EQ(PlacedSuite::unlocked, 1);
            EXPECT_EQ(PlacedSuite::disposed, 1);
        }
    }
    // The largest 32-bit request does not wrap to a tiny handle.
    const PF_HandleSuite1 suite = PlacedSuite::Make(arena);
    DAE::AllocateHandleMemory(&suite, 0xFFFFFFFFu);
    EXPECT_EQ(PlacedSuite::last_size, (0xFFFFFFFFull + 48) & ~15ull);
    // No address from the lock: null, and the handle is left with the host.
    const PF_HandleSuite1 no_lock = PlacedSuite::Make(nullptr);
    EXPECT_EQ(DAE::AllocateHandleMemory(&no_lock, 64), nullptr);
    EXPECT_EQ(PlacedSuite::disposed, 0);
    EXPECT_EQ(DAE::AllocateHandleMemory(nullptr, 64), nullptr);
}

TEST(HandleMemory, AgainstTheHeadlessHost) {
    EXPECT_EQ(DAE::AllocateHandleMemory(16), nullptr);  // no current command
    headless::ScopedHostContext ctx;
    headless::Host& host = ctx.host();
    for (size_t misalign : {0u, 8u}) {
        host.set_handle_misalignment(misalign);
        void* zero = DAE::AllocateHandleMemory(0);
        ASSERT_NE(zero, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(zero) % 16, 0u);
        void* big = DAE::AllocateHandleMemory(1024);
        ASSERT_NE(big, nullptr);
        std::memset(big, 0xEE, 1024);  // the whole request is usable
        EXPECT_EQ(host.locked_handles(), 2u);
        DAE::FreeHandleMemory(big);
        DAE::FreeHandleMemory(zero);
        EXPECT_EQ(host.live_handles(), 0u);
    }
    host.fail_allocation(1);
    EXPECT_EQ(DAE::AllocateHandleMemory(64), nullptr);
    EXPECT_EQ(host.live_handles(), 0u);
    ctx.next_command();  // gives the handler's suites back
    EXPECT_HOST_CLEAN(host);
}

TEST(AlignedHeap, SixteenByteAligned) {
    for (size_t size : {0u, 1u, 15u, 17u, 4096u}) {
        void* p = DAE::AlignedHeapAllocate(size);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(reinterpret_cast<std::uintptr_t>(p) % 16, 0u) << size;
        DAE::AlignedHeapFree(p);
    }
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
    EXPECT_EQ(region.Leave(), 0);
    std::this_thread::sleep_for(std::chrono::milliseconds(20));
    EXPECT_FALSE(entered);  // still held once
    EXPECT_EQ(region.Leave(), 0);
    other.join();
    EXPECT_TRUE(entered);
}

TEST(Multiprocessor, InlineRunAndRangeFormula) {
    DAE::Multiprocessor mp;
    EXPECT_EQ(mp.ProcessorCount(), 1);
    static void* seen;
    int token = 0;
    // One inline run; the job's error is ignored.
    EXPECT_EQ(mp.Run([](void* refcon) -> A_short { return seen = refcon, -1; }, &token), 0);
    EXPECT_EQ(seen, &token);

    // A threaded variant overrides the count; the formula stays:
    // [total*i/n, (i+1)*total/n), truncating toward zero.
    struct Four : DAE::Multiprocessor {
        A_long ProcessorCount() override { return 4; }
    } four;
    struct Case {
        DAE::Multiprocessor* mp;
        A_long total, index, start, end;
    };
    const Case cases[] = {{&mp, 10, 0, 0, 10}, {&mp, 10, 1, 10, 20}, {&four, 10, 0, 0, 2}, {&four, 10, 1, 2, 5},
                          {&four, 10, 2, 5, 7}, {&four, 10, 3, 7, 10}, {&four, -10, 1, -2, -5}};
    for (const Case& c : cases) {
        A_long s = -99, e = -99;
        c.mp->GetRange(c.total, c.index, &s, &e);
        EXPECT_EQ(s, c.start) << c.total << " " << c.index;
        EXPECT_EQ(e, c.end) << c.total << " " << c.index;
    }
}

}  // namespace
