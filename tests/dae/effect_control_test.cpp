// Custom-UI event dispatch and the control list kept in host handles.
#include <gtest/gtest.h>

#include <cstring>
#include <string>
#include <vector>

#include "dae/context.h"
#include "dae/effect_control.h"
#include "dae/exceptions.h"
#include "headless/host.h"
#include "headless/inproc/scoped_host.h"

namespace {

using headless::Host;

// Records which operation ran; answers `answer` from each.
class Recorder : public DAE::DAE_Effect_Control {
public:
    Recorder(PF_Handle h, A_long value) : DAE_Effect_Control(h, value) { ++constructed; }
    ~Recorder() override { ++destroyed; }

    static std::vector<std::string> log;
    static bool answer;
    static int constructed;
    static int destroyed;
    static bool saw_records;

#define RECORD(Name)                                                                  \
    bool Name(PF_InData* in, PF_OutData* out, PF_ParamDef* p[], PF_EventExtra* e) override { \
        log.push_back(#Name);                                                         \
        saw_records = InData() == in && OutData() == out && Params() == p && Extra() == e; \
        return answer;                                                                \
    }
    RECORD(NewContext)
    RECORD(Activate)
    RECORD(Deactivate)
    RECORD(DoClick)
    RECORD(Drag)
    RECORD(Draw)
    RECORD(KeyDown)
    RECORD(Idle)
    RECORD(AdjustCursor)
#undef RECORD
};
std::vector<std::string> Recorder::log;
bool Recorder::answer = true;
int Recorder::constructed = 0;
int Recorder::destroyed = 0;
bool Recorder::saw_records = false;

PF_EventExtra Event(PF_EventType type, PF_ParamIndex index = 2) {
    PF_EventExtra e;
    std::memset(&e, 0, sizeof e);
    e.e_type = type;
    e.effect_win.index = index;
    return e;
}

TEST(EffectControl, DispatchTable) {
    struct Row {
        PF_EventType type;
        const char* op;  // "" = nothing is called
    };
    const Row rows[] = {{0, "NewContext"}, {1, "Activate"}, {2, "DoClick"},  {3, "Drag"},
                        {4, "Draw"},       {5, "Deactivate"}, {6, ""},       {7, "Idle"},
                        {8, ""},           {9, "AdjustCursor"}, {10, "KeyDown"}, {11, ""},
                        {12, ""},          {1000, ""},         {-1, ""}};
    Host host;
    alignas(Recorder) unsigned char storage[sizeof(Recorder)];  // no handle: nothing to unlock
    Recorder* c = new (storage) Recorder(nullptr, 0);
    for (bool answer : {true, false}) {
        Recorder::answer = answer;
        for (const Row& r : rows) {
            Recorder::log.clear();
            PF_EventExtra e = Event(r.type);
            const bool handled = c->HandleEvent(&host.in_data(), &host.out_data(), nullptr, &e);
            if (*r.op) {
                ASSERT_EQ(Recorder::log.size(), 1u) << r.type;
                EXPECT_EQ(Recorder::log[0], r.op);
                EXPECT_TRUE(Recorder::saw_records) << r.op;
                // A new context always counts as handled.
                EXPECT_EQ(handled, r.type == 0 ? true : answer) << r.op;
            } else {
                EXPECT_TRUE(Recorder::log.empty()) << r.type;
                EXPECT_FALSE(handled) << r.type;
            }
            EXPECT_EQ(c->InData(), nullptr);  // records are kept for the call only
            EXPECT_EQ(c->Extra(), nullptr);
        }
    }
    EXPECT_EQ(DAE::LastBasicSuite(), host.basic());
    c->~Recorder();
}

TEST(EffectControl, BaseHandlesOnlyNewContext) {
    Host host;
    alignas(DAE::DAE_Effect_Control) unsigned char storage[sizeof(DAE::DAE_Effect_Control)];
    auto* c = new (storage) DAE::DAE_Effect_Control(nullptr, 77);
    EXPECT_EQ(std::string(c->Tag(), 4), "ePDT");
    EXPECT_EQ(c->Value(), 77);
    for (PF_EventType t = 0; t <= 12; ++t) {
        PF_EventExtra e = Event(t);
        EXPECT_EQ(c->HandleEvent(&host.in_data(), &host.out_data(), nullptr, &e), t == 0) << t;
    }
    c->~DAE_Effect_Control();
}

class ControlList : public ::testing::Test {
protected:
    void SetUp() override {
        Recorder::constructed = Recorder::destroyed = 0;
        Recorder::answer = true;
        DAE::DAE_Control_List::Register<Recorder>(2, 5);
    }
    void TearDown() override { DAE::GlobalSetdown(&ctx.in_data()); }

    bool Send(PF_EventType type, PF_ParamIndex index = 2) {
        PF_EventExtra e = Event(type, index);
        return DAE::DAE_Control_List::HandleEvent(&ctx.in_data(), &ctx.out_data(), nullptr, &e);
    }

    headless::ScopedHostContext ctx;
};

TEST_F(ControlList, BuildsOnFirstEventKeepsBetweenCallsDisposesAtSetdown) {
    Host& host = ctx.host();
    EXPECT_TRUE(Send(PF_Event_DRAW));
    EXPECT_EQ(Recorder::constructed, 1);
    EXPECT_EQ(host.live_handles(), 2u);    // the list and the control
    EXPECT_EQ(host.locked_handles(), 0u);  // nothing stays locked between calls
    ctx.next_command();
    EXPECT_TRUE(Send(PF_Event_DO_CLICK));
    EXPECT_EQ(Recorder::constructed, 1);  // the same control again
    EXPECT_EQ(DAE::DAE_Control_List::LiveControls(), 1);

    DAE::GlobalSetdown(&ctx.in_data());
    EXPECT_EQ(Recorder::destroyed, 1);
    EXPECT_EQ(DAE::DAE_Control_List::LiveControls(), 0);
    ctx.next_command();
    EXPECT_EQ(host.live_handles(), 0u);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST_F(ControlList, UnregisteredIndexIsNotHandled) {
    EXPECT_FALSE(Send(PF_Event_DRAW, 3));
    EXPECT_EQ(ctx.host().live_handles(), 0u);
    EXPECT_FALSE(DAE::DAE_Control_List::HandleEvent(&ctx.in_data(), &ctx.out_data(), nullptr, nullptr));
}

TEST_F(ControlList, RefusedMemoryThrowsAllocAndLeavesNothing) {
    Host& host = ctx.host();
    for (size_t n : {1u, 2u}) {  // the list's handle, then the control's
        host.fail_allocation(n);
        EXPECT_THROW(Send(PF_Event_DRAW), DAE::DAEAllocXCP) << n;
        host.clear_allocation_failures();
        DAE::GlobalSetdown(&ctx.in_data());
        EXPECT_EQ(host.live_handles(), 0u) << n;
        EXPECT_EQ(host.locked_handles(), 0u) << n;
    }
    EXPECT_EQ(Recorder::constructed, 0);
    // The entry point's mapping of that failure.
    PF_Err err = PF_Err_NONE;
    host.fail_allocation(1);
    try {
        Send(PF_Event_DRAW);
    } catch (...) {
        err = DAE::ExceptionToResult(&ctx.in_data(), &ctx.out_data());
    }
    EXPECT_EQ(err, PF_Err_OUT_OF_MEMORY);
    EXPECT_TRUE(host.problems().empty());
}

TEST_F(ControlList, SurvivesAHostThatWentAwayWithoutSetdown) {
    {
        headless::ScopedHostContext gone;
        PF_EventExtra e = Event(PF_Event_DRAW);
        EXPECT_TRUE(DAE::DAE_Control_List::HandleEvent(&gone.in_data(), &gone.out_data(), nullptr, &e));
    }
    // The next host does not know the old list handle; a fresh list is built.
    EXPECT_TRUE(Send(PF_Event_DRAW));
    EXPECT_EQ(Recorder::constructed, 2);
    DAE::GlobalSetdown(&ctx.in_data());
    ctx.next_command();
    EXPECT_EQ(ctx.host().live_handles(), 0u);
    ctx.host().clear_problems();  // the stale handle was reported by the new host
}

}  // namespace
