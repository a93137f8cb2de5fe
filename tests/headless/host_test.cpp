// The headless host's own checks: suite accounting, handle accounting and
// failure injection, the ANSI callbacks and the add_param / register_ui recorders.
#include "headless/host.h"
#include "headless/inproc/scoped_host.h"

#include <gtest/gtest.h>

#include <cstring>
#include <string>

namespace {

using headless::Host;

bool any_problem_contains(const Host& host, const std::string& text) {
    for (const auto& p : host.problems()) {
        if (p.find(text) != std::string::npos) return true;
    }
    return false;
}

TEST(HostSuites, ServesByNameAndVersionAndRefusesTheRest) {
    Host host;
    const void* suite = reinterpret_cast<const void*>(1);
    EXPECT_EQ(host.basic()->AcquireSuite("PF Handle Suite", 2, &suite), kSPNoError);
    EXPECT_EQ(suite, host.handle_suite());

    suite = reinterpret_cast<const void*>(1);
    EXPECT_EQ(host.basic()->AcquireSuite("PF Handle Suite", 1, &suite), kSPSuiteNotFoundError);
    EXPECT_EQ(suite, nullptr);
    suite = reinterpret_cast<const void*>(1);
    EXPECT_EQ(host.basic()->AcquireSuite("No Such Suite", 1, &suite), kSPSuiteNotFoundError);
    EXPECT_EQ(suite, nullptr);
    EXPECT_EQ(host.suite_count("No Such Suite", 1).refused, 1);

    EXPECT_NE(host.leak_report().find("\"PF Handle Suite\" v2 acquired 1 times, released 0"), std::string::npos);
    EXPECT_EQ(host.unreleased_suites(), 1);
    EXPECT_EQ(host.basic()->ReleaseSuite("PF Handle Suite", 2), kSPNoError);
    EXPECT_EQ(host.unreleased_suites(), 0);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(HostSuites, ReleasingMoreThanAcquiredOrUnservedIsAProblem) {
    Host host;
    const void* suite = nullptr;
    ASSERT_EQ(host.basic()->AcquireSuite("PF ANSI Suite", 1, &suite), kSPNoError);
    EXPECT_EQ(host.basic()->ReleaseSuite("PF ANSI Suite", 1), kSPNoError);
    EXPECT_NE(host.basic()->ReleaseSuite("PF ANSI Suite", 1), kSPNoError);
    EXPECT_NE(host.basic()->ReleaseSuite("PF ANSI Suite", 7), kSPNoError);
    EXPECT_EQ(host.problems().size(), 2u);
    EXPECT_EQ(host.suite_count("PF ANSI Suite", 1).released, 2);  // the extra release still shows
    EXPECT_NE(host.leak_report().find("\"PF ANSI Suite\" v1 acquired 1 times, released 2"), std::string::npos);
    EXPECT_FALSE(host.clean());
}

TEST(HostSuites, HandlerOverTheHostReleasesWhatItAcquired) {
    Host host;
    {
        headless::ScopedHostContext ctx(host);
        EXPECT_EQ(ctx.suites().HandleSuite1(), host.handle_suite());
        EXPECT_NE(ctx.suites().ANSICallbacksSuite1(), nullptr);
        EXPECT_EQ(ctx.suites().ParamUtilsSuite3(), nullptr);  // not served by a bare host
        EXPECT_EQ(DAE::CurrentInData(), &host.in_data());
        EXPECT_EQ(host.unreleased_suites(), 2);
    }
    EXPECT_EQ(DAE::CurrentInData(), nullptr);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(HostHandles, LeakLockAndDisposeAccounting) {
    Host host;
    const PF_HandleSuite1* hs = host.handle_suite();
    PF_Handle a = hs->host_new_handle(8);
    PF_Handle b = host.utils().host_new_handle(0);  // the util callbacks share the same store
    ASSERT_TRUE(a && b);
    EXPECT_EQ(host.live_handles(), 2u);
    EXPECT_EQ(hs->host_get_handle_size(a), 8u);
    EXPECT_EQ(hs->host_get_handle_size(b), 0u);
    EXPECT_NE(hs->host_lock_handle(b), nullptr);  // even an empty handle locks to an address

    auto* p = static_cast<unsigned char*>(hs->host_lock_handle(a));
    ASSERT_NE(p, nullptr);
    EXPECT_EQ(host.locked_handles(), 2u);
    std::memcpy(p, "12345678", 8);
    hs->host_unlock_handle(a);
    hs->host_unlock_handle(a);  // tolerated, as the real host does
    EXPECT_EQ(host.locked_handles(), 1u);

    ASSERT_EQ(hs->host_resize_handle(16, &a), PF_Err_NONE);
    auto* q = static_cast<unsigned char*>(hs->host_lock_handle(a));
    EXPECT_EQ(std::memcmp(q, "12345678", 8), 0);
    EXPECT_EQ(hs->host_get_handle_size(a), 16u);

    hs->host_dispose_handle(a);
    EXPECT_FALSE(host.is_live_handle(a));
    EXPECT_NE(host.leak_report().find("1 handle(s) not disposed"), std::string::npos);
    hs->host_dispose_handle(b);
    EXPECT_TRUE(host.clean()) << host.leak_report();

    hs->host_dispose_handle(a);  // twice
    EXPECT_EQ(hs->host_lock_handle(a), nullptr);
    EXPECT_EQ(host.problems().size(), 2u);
}

TEST(HostHandles, WritingPastTheEndAndResizingALockedHandleAreProblems) {
    Host host;
    const PF_HandleSuite1* hs = host.handle_suite();
    PF_Handle h = hs->host_new_handle(8);
    static_cast<char*>(hs->host_lock_handle(h))[8] = 1;
    EXPECT_NE(host.leak_report().find("written past its end"), std::string::npos);
    hs->host_dispose_handle(h);
    EXPECT_TRUE(any_problem_contains(host, "written past its end"));

    h = hs->host_new_handle(4);
    hs->host_lock_handle(h);
    EXPECT_EQ(hs->host_resize_handle(8, &h), PF_Err_NONE);
    EXPECT_TRUE(any_problem_contains(host, "resize_handle of a locked handle"));
    hs->host_dispose_handle(h);
}

TEST(HostHandles, FailureInjection) {
    Host host;
    const PF_HandleSuite1* hs = host.handle_suite();
    host.fail_allocation(2);
    PF_Handle a = hs->host_new_handle(4);
    PF_Handle b = hs->host_new_handle(4);
    PF_Handle c = hs->host_new_handle(4);
    EXPECT_NE(a, nullptr);
    EXPECT_EQ(b, nullptr);
    EXPECT_NE(c, nullptr);

    host.fail_allocations_from(2);
    PF_Handle d = hs->host_new_handle(4);
    EXPECT_NE(d, nullptr);
    EXPECT_EQ(hs->host_resize_handle(64, &d), PF_Err_OUT_OF_MEMORY);  // resizes count as requests
    EXPECT_EQ(hs->host_get_handle_size(d), 4u);                       // and a failed one leaves the handle as it was
    EXPECT_EQ(host.utils().host_new_handle(4), nullptr);
    EXPECT_EQ(host.allocation_requests(), 6u);

    host.clear_allocation_failures();
    PF_Handle e = hs->host_new_handle(4);
    EXPECT_NE(e, nullptr);
    for (PF_Handle h : {a, c, d, e}) hs->host_dispose_handle(h);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(HostHandles, MisalignedDataOnRequest) {
    Host host;
    host.set_handle_misalignment(8);
    PF_Handle h = host.handle_suite()->host_new_handle(32);
    auto addr = reinterpret_cast<uintptr_t>(host.handle_suite()->host_lock_handle(h));
    EXPECT_EQ(addr % 16, 8u);
    host.handle_suite()->host_dispose_handle(h);
}

TEST(HostHandles, FreshAndDisposedDataPoisonedUnlessRecycling) {
    Host host;
    const PF_HandleSuite1* hs = host.handle_suite();
    PF_Handle h = hs->host_new_handle(64);
    auto* p = static_cast<unsigned char*>(hs->host_lock_handle(h));
    EXPECT_EQ(p[0], 0xCD);
    EXPECT_EQ(p[63], 0xCD);
    hs->host_dispose_handle(h);

    // Recycling: a disposed block serves the next request of its size, as it lies.
    host.set_recycle_memory(true);
    h = hs->host_new_handle(64);
    p = static_cast<unsigned char*>(hs->host_lock_handle(h));
    std::memset(p, 7, 64);
    hs->host_dispose_handle(h);
    PF_Handle again = hs->host_new_handle(64);
    EXPECT_EQ(hs->host_lock_handle(again), p);
    EXPECT_EQ(p[0], 7);
    PF_Handle other = hs->host_new_handle(32);  // another size: a block of its own
    EXPECT_NE(hs->host_lock_handle(other), p);
    p[64] = 1;  // tails are still guarded
    EXPECT_NE(host.leak_report().find("written past its end"), std::string::npos);
    p[64] = 0xFD;
    for (PF_Handle d : {again, other}) hs->host_dispose_handle(d);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(HostAnsi, SprintfIntoReturnMsgIsCutAndFlaggedWhenTooLong) {
    Host host;
    PF_OutData& out = host.out_data();
    PF_UtilCallbacks& u = host.utils();
    EXPECT_EQ(u.ansi.sprintf(out.return_msg, "%s will only work on a layer with dimensions of at least %d x %d.",
                             "Corvane", 12, 5),
              69);
    EXPECT_STREQ(out.return_msg, "Corvane will only work on a layer with dimensions of at least 12 x 5.");
    EXPECT_EQ(host.sprintf_overflows(), 0u);

    const std::string fits(255, 'x');
    u.ansi.sprintf(out.return_msg, "%s", fits.c_str());
    EXPECT_EQ(host.sprintf_overflows(), 0u);

    const std::string too_long(256, 'y');
    u.ansi.sprintf(out.return_msg, "%s", too_long.c_str());
    EXPECT_EQ(host.sprintf_overflows(), 1u);
    EXPECT_EQ(std::strlen(out.return_msg), 255u);
    EXPECT_TRUE(any_problem_contains(host, "PF_OutData::return_msg"));

    // Starting inside the buffer leaves less room.
    u.ansi.strcpy(out.return_msg + 250, "123456");
    EXPECT_EQ(host.sprintf_overflows(), 2u);

    char free_buffer[64];
    EXPECT_EQ(u.ansi.strcpy(free_buffer, "unguarded"), free_buffer);
    EXPECT_STREQ(free_buffer, "unguarded");
}

// A parameter record as the effect's parameter classes fill it.
PF_ParamDef make_def(PF_ParamType type, const char* name, A_long id) {
    PF_ParamDef d{};
    d.param_type = type;
    std::strncpy(d.name, name, sizeof d.name - 1);
    d.uu.id = id;
    return d;
}

PF_ParamDef make_popup(const char* name, A_long id, const char* choices, A_short count, A_short dflt) {
    PF_ParamDef d = make_def(PF_Param_POPUP, name, id);
    d.u.pd.u.namesptr = choices;
    d.u.pd.num_choices = count;
    d.u.pd.dephault = dflt;
    return d;
}

TEST(HostParams, RecordsWhatTheHostAccepts) {
    Host host;
    PF_InData& in = host.in_data();
    std::string choices = "NTSC|PAL";
    PF_ParamDef popup = make_popup("Source Video", 3, choices.c_str(), 2, 2);
    ASSERT_EQ(in.inter.add_param(in.effect_ref, -1, &popup), PF_Err_NONE);
    choices = "gone";  // the host keeps its own copy of the list

    PF_ParamDef slider = make_def(PF_Param_SLIDER, "Detail Pattern Size", 6);
    slider.u.sd.valid_min = 1;
    slider.u.sd.valid_max = 12;
    slider.u.sd.slider_min = 2;
    slider.u.sd.slider_max = 7;
    slider.u.sd.dephault = 4;
    ASSERT_EQ(in.inter.add_param(in.effect_ref, 2, &slider), PF_Err_NONE);

    PF_ParamDef box = make_def(PF_Param_CHECKBOX, "", 2);
    box.u.bd.u.nameptr = "Do Deinterlace";
    box.u.bd.dephault = 1;
    ASSERT_EQ(in.inter.add_param(in.effect_ref, -1, &box), PF_Err_NONE);

    PF_CustomUIInfo ui{};
    ui.events = PF_CustomEFlag_EFFECT;
    ui.comp_ui_width = 113;
    ASSERT_EQ(in.inter.register_ui(in.effect_ref, &ui), PF_Err_NONE);

    ASSERT_EQ(host.param_count(), 3u);
    EXPECT_STREQ(host.param(0).def.u.pd.u.namesptr, "NTSC|PAL");
    EXPECT_EQ(host.param(0).def.u.pd.value, 2);
    EXPECT_EQ(host.param(1).index, 2);
    EXPECT_EQ(host.param(1).def.u.sd.value, 4);
    EXPECT_STREQ(host.param_by_id(2)->def.u.bd.u.nameptr, "Do Deinterlace");
    ASSERT_EQ(host.registered_uis().size(), 1u);
    EXPECT_EQ(host.registered_uis()[0].params_before, 3);
    EXPECT_TRUE(host.problems().empty());
}

TEST(HostParams, RefusesWhatTheHostRefuses) {
    struct Case {
        const char* what;
        PF_ParamDef def;
        PF_ParamIndex index;
    };
    const char* list3 = "None|Broadcast 4:2:2|HDCAM 3:1:1";
    PF_ParamDef bad_range = make_def(PF_Param_SLIDER, "Range", 20);
    bad_range.u.sd.valid_min = 1;
    bad_range.u.sd.valid_max = 12;
    bad_range.u.sd.slider_min = 0;  // below the valid range
    bad_range.u.sd.slider_max = 7;
    bad_range.u.sd.dephault = 4;
    PF_ParamDef bad_float = make_def(PF_Param_FLOAT_SLIDER, "Float", 21);
    bad_float.u.fs_d.valid_min = -100;
    bad_float.u.fs_d.valid_max = 100;
    bad_float.u.fs_d.slider_min = -100;
    bad_float.u.fs_d.slider_max = 100;
    bad_float.u.fs_d.dephault = 200;
    PF_ParamDef long_name = make_def(PF_Param_NO_DATA, "", 22);
    std::memset(long_name.name, 'n', sizeof long_name.name);  // 32 characters, no terminator
    const Case cases[] = {
        {"is already used", make_def(PF_Param_GROUP_START, "Again", 1), -1},
        {"not a positive number", make_def(PF_Param_GROUP_END, "", 0), -1},
        {"neither -1 nor the next index", make_def(PF_Param_GROUP_END, "", 30), 5},
        {"list has 3 entries", make_popup("Count", 23, list3, 4, 1), -1},
        {"popup default 4", make_popup("Default", 24, list3, 3, 4), -1},
        {"without a choice list", make_popup("Null", 25, nullptr, 1, 1), -1},
        {"not nested", bad_range, -1},
        {"default outside", bad_float, -1},
        {"longer than 31", long_name, -1},
        {"unknown parameter type", make_def(99, "Odd", 26), -1},
    };
    for (const Case& c : cases) {
        Host host;
        PF_InData& in = host.in_data();
        PF_ParamDef first = make_def(PF_Param_GROUP_START, "Deinterlace", 1);
        ASSERT_EQ(in.inter.add_param(in.effect_ref, -1, &first), PF_Err_NONE);
        PF_ParamDef def = c.def;
        EXPECT_NE(in.inter.add_param(in.effect_ref, c.index, &def), PF_Err_NONE) << c.what;
        EXPECT_EQ(host.param_count(), 1u) << c.what;
        EXPECT_TRUE(any_problem_contains(host, c.what)) << c.what << ": " << (host.problems().empty() ? "" : host.problems()[0]);
    }
}

TEST(HostParams, PopupSeparatorsCountAsChoices) {
    Host host;
    PF_InData& in = host.in_data();
    const char* show =
        "Result|(-|All Fields|Field -2|Field -1|Field 0|Field +1|(-|Gradient|Difference|Auto Levels|Match "
        "Points|Vector Magnitudes|Source|Data";
    PF_ParamDef d = make_popup("Show", 11, show, 15, 1);
    EXPECT_EQ(in.inter.add_param(in.effect_ref, -1, &d), PF_Err_NONE);
    PF_ParamDef one = make_popup("Single", 12, "", 1, 1);
    EXPECT_EQ(in.inter.add_param(in.effect_ref, -1, &one), PF_Err_NONE);
    EXPECT_TRUE(host.problems().empty());
}

TEST(HostParams, CallbacksCheckTheEffectRef) {
    Host host;
    PF_ParamDef d = make_def(PF_Param_GROUP_END, "", 3);
    EXPECT_NE(host.in_data().inter.add_param(nullptr, -1, &d), PF_Err_NONE);
    EXPECT_EQ(host.param_count(), 0u);
    PF_CustomUIInfo ui{};
    ui.events = 64;
    EXPECT_NE(host.in_data().inter.register_ui(host.in_data().effect_ref, &ui), PF_Err_NONE);
    EXPECT_EQ(host.problems().size(), 2u);
}

TEST(HostRecords, InDataAsAfterEffectsFillsIt) {
    Host host;
    PF_InData& in = host.in_data();
    EXPECT_EQ(in.appl_id, FourCC('F', 'X', 'T', 'C'));
    EXPECT_EQ(in.pica_basicP, host.basic());
    EXPECT_EQ(in.utils, &host.utils());
    void* instance = nullptr;
    EXPECT_EQ(in.utils->get_platform_data(in.effect_ref, PF_PlatData_RES_DLLINSTANCE, &instance), PF_Err_NONE);
    EXPECT_NE(instance, nullptr);
    host.set_appl_id(FourCC('P', 'r', 'M', 'r'));
    host.set_version(13, 8);
    EXPECT_EQ(in.appl_id, 0x50724D72);
    EXPECT_EQ(in.version.major, 13);
    EXPECT_EQ(in.version.minor, 8);
}

TEST(HostRecords, NestedHostsTakeTurns) {
    Host outer;
    {
        Host inner;
        EXPECT_EQ(Host::current(), &inner);
        PF_Handle h = inner.handle_suite()->host_new_handle(1);
        EXPECT_EQ(inner.live_handles(), 1u);
        EXPECT_EQ(outer.live_handles(), 0u);
        inner.handle_suite()->host_dispose_handle(h);
    }
    EXPECT_EQ(Host::current(), &outer);
}

}  // namespace
