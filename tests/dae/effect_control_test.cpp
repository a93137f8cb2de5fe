// Custom-UI event dispatch and the control list kept in host handles.
#include <string>

#include "dae/context.h"
#include "dae/effect_control.h"
#include "headless/inproc/scoped_host.h"
#include "support.h"

namespace {

using headless::Host;

// Records which operation ran; answers `answer` from each.
class Recorder : public DAE::DAE_Effect_Control {
public:
    Recorder(PF_Handle h, A_long value) : DAE_Effect_Control(h, value) { ++constructed; }
    ~Recorder() override { ++destroyed; }

    static inline std::string log;
    static inline bool answer = true, saw_records = false;
    static inline int constructed = 0, destroyed = 0;

#define RECORD(Name)                                                                                     \
    bool Name(PF_InData* in, PF_OutData* out, PF_ParamDef* p[], PF_EventExtra* e) override {            \
        log += #Name;                                                                                    \
        saw_records = InData() == in && OutData() == out && Params() == p && Extra() == e;               \
        return answer;                                                                                   \
    }
    RECORD(NewContext) RECORD(Activate) RECORD(Deactivate) RECORD(DoClick) RECORD(Drag)
    RECORD(Draw) RECORD(KeyDown) RECORD(Idle) RECORD(AdjustCursor)
#undef RECORD
};

PF_EventExtra Event(PF_EventType type, PF_ParamIndex index = 2) {
    PF_EventExtra e = dae_test::Zeroed<PF_EventExtra>();
    e.e_type = type;
    e.effect_win.index = index;
    return e;
}

TEST(EffectControl, DispatchTable) {
    struct Row {
        PF_EventType type;
        const char* op;  // "" = nothing is called
    };
    const Row rows[] = {{0, "NewContext"}, {1, "Activate"},     {2, "DoClick"},  {3, "Drag"}, {4, "Draw"},
                        {5, "Deactivate"}, {6, ""},             {7, "Idle"},     {8, ""},     {9, "AdjustCursor"},
                        {10, "KeyDown"},   {11, ""},            {12, ""},        {1000, ""},  {-1, ""}};
    Host host;
    // Built without a handle: nothing to unlock.
    alignas(Recorder) unsigned char storage[sizeof(Recorder)];
    Recorder* c = new (storage) Recorder(nullptr, 0);
    alignas(DAE::DAE_Effect_Control) unsigned char base_storage[sizeof(DAE::DAE_Effect_Control)];
    auto* base = new (base_storage) DAE::DAE_Effect_Control(nullptr, 77);
    for (bool answer : {true, false}) {
        Recorder::answer = answer;
        for (const Row& r : rows) {
            SCOPED_TRACE(std::to_string(r.type) + " answering " + std::to_string(answer));
            Recorder::log.clear();
            PF_EventExtra e = Event(r.type);
            const bool handled = c->HandleEvent(&host.in_data(), &host.out_data(), nullptr, &e);
            EXPECT_EQ(Recorder::log, r.op);
            EXPECT_TRUE(!*r.op || Recorder::saw_records);
            // A new context always counts as handled; codes without an operation never.
            EXPECT_EQ(handled, r.type == 0 || (*r.op && answer));
            EXPECT_EQ(c->Extra(), nullptr);  // records are kept for the call only
            // The base class handles nothing but a new context.
            EXPECT_EQ(base->HandleEvent(&host.in_data(), &host.out_data(), nullptr, &e), r.type == 0);
        }
    }
    EXPECT_EQ(DAE::LastBasicSuite(), host.basic());
    EXPECT_EQ(std::string(base->Tag(), 4), "ePDT");
    EXPECT_EQ(base->Value(), 77);
    c->~Recorder();
    base->~DAE_Effect_Control();
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
    {
        // A host that went away without global set-down: the next host does
        // not know the old list handle, so a fresh list is built below.
        headless::ScopedHostContext gone;
        PF_EventExtra e = Event(PF_Event_DRAW);
        EXPECT_TRUE(DAE::DAE_Control_List::HandleEvent(&gone.in_data(), &gone.out_data(), nullptr, &e));
        Recorder::constructed = 0;
    }
    Host& host = ctx.host();
    EXPECT_FALSE(Send(PF_Event_DRAW, 3));  // no control registered there
    EXPECT_EQ(host.live_handles(), 0u);
    EXPECT_FALSE(DAE::DAE_Control_List::HandleEvent(&ctx.in_data(), &ctx.out_data(), nullptr, nullptr));

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
    host.clear_problems();  // the stale list handle, reported by the new host
}

TEST_F(ControlList, RefusedMemoryThrowsAllocAndLeavesNothing) {
    Host& host = ctx.host();
    for (size_t n : {1u, 2u}) {  // the list's handle, then the control's
        host.fail_allocation(n);
        EXPECT_EQ(dae_test::RunCommand(&ctx.in_data(), &ctx.out_data(), [&] { Send(PF_Event_DRAW); }),
                  PF_Err_OUT_OF_MEMORY)
            << n;
        host.clear_allocation_failures();
        DAE::GlobalSetdown(&ctx.in_data());
        EXPECT_EQ(host.live_handles(), 0u) << n;
        EXPECT_EQ(host.locked_handles(), 0u) << n;
    }
    EXPECT_EQ(Recorder::constructed, 0);
    EXPECT_TRUE(host.problems().empty());
}

}  // namespace
