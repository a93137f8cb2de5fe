// Suite handler, single-suite routines and the drawing-suite set against the
// headless host's counted SPBasicSuite.
#include <string>

#include "dae/aefx_suites.h"
#include "dae/suites.h"
#include "support.h"

namespace {

using headless::Host;

TEST(SuiteHandler, AcquiresLazilyOnceUnderItsNameAndReleasesExactlyThat) {
    Host host;
    // Distinct tables so a mix-up of rows shows.
    static char tables[8];
    const std::pair<const char*, int32> rows[] = {
        {"PF Param Utils Suite", 3},       {"PF AE App Suite", 6},         {"PF Effect Custom UI Suite", 1},
        {"AEGP PF Interface Suite", 1},    {"AEGP Dynamic Stream Suite", 3}, {"AEGP Effect Suite", 3},
        {"AEGP Persistent Data Suite", 3}, {"AEGP Stream Suite", 7},
    };
    for (int i = 0; i < 8; ++i) host.serve_suite(rows[i].first, rows[i].second, &tables[i]);
    {
        DAE::AEGP_SuiteHandler s(host.basic());
        EXPECT_EQ(host.total_acquisitions(), 0);
        EXPECT_EQ(s.HandleSuite1(), host.handle_suite());
        EXPECT_EQ(s.HandleSuite1(), host.handle_suite());  // cached
        const void* got[] = {s.ParamUtilsSuite3(),     s.AppSuite4(),    s.EffectCustomUISuite1(),
                             s.PFInterfaceSuite1(),    s.DynamicStreamSuite3(), s.EffectSuite3(),
                             s.PersistentDataSuite3(), s.StreamSuite2()};
        for (int i = 0; i < 8; ++i) EXPECT_EQ(got[i], &tables[i]) << rows[i].first;
        EXPECT_EQ(host.unreleased_suites(), 9);
    }
    for (const auto& r : rows) {
        const headless::SuiteCount c = host.suite_count(r.first, r.second);
        EXPECT_EQ(c.acquired, 1) << r.first;
        EXPECT_EQ(c.released, 1) << r.first;
    }
    EXPECT_HOST_CLEAN(host);
}

TEST(SuiteHandler, MissingSuiteGivesNullEveryTimeAndReleasesNothing) {
    Host host;
    {
        DAE::AEGP_SuiteHandler suites(host.basic());
        EXPECT_EQ(suites.ParamUtilsSuite3(), nullptr);
        EXPECT_EQ(suites.ParamUtilsSuite3(), nullptr);
        // The empty slot is not cached: the host is asked again each time.
        EXPECT_EQ(host.suite_count("PF Param Utils Suite", 3).refused, 2);
    }
    EXPECT_EQ(host.suite_count("PF Param Utils Suite", 3).released, 0);
    EXPECT_HOST_CLEAN(host);
    DAE::AEGP_SuiteHandler no_basic(nullptr);
    EXPECT_EQ(no_basic.HandleSuite1(), nullptr);
}

TEST(AefxSuites, AcquireReleaseAndTheirFailures) {
    Host host;
    void* suite = nullptr;
    EXPECT_EQ(DAE::AEFX_AcquireSuite(&host.in_data(), &host.out_data(), "PF Handle Suite", 2, nullptr, &suite), 0);
    EXPECT_EQ(suite, host.handle_suite());
    EXPECT_EQ(DAE::AEFX_ReleaseSuite(&host.in_data(), &host.out_data(), "PF Handle Suite", 2, nullptr), 0);
    EXPECT_EQ(host.out_data().out_flags, 0);

    EXPECT_EQ(DAE::AEFX_AcquireSuite(&host.in_data(), &host.out_data(), "No Such Suite", 1, nullptr, &suite),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(suite, nullptr);
    EXPECT_NE(host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    EXPECT_STREQ(host.out_data().return_msg, "Not able to acquire AEFX Suite.");

    host.reset_out_data();
    EXPECT_EQ(DAE::AEFX_AcquireSuite(&host.in_data(), &host.out_data(), "No Such Suite", 1, "custom %s text", &suite),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_STREQ(host.out_data().return_msg, "custom %s text");  // shown as text, not used as a format

    host.reset_out_data();
    PF_InData no_basic = host.in_data();
    no_basic.pica_basicP = nullptr;
    EXPECT_EQ(DAE::AEFX_ReleaseSuite(&no_basic, &host.out_data(), "PF Handle Suite", 2, nullptr),
              PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_NE(host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    EXPECT_STREQ(host.out_data().return_msg, "Not able to release AEFX Suite.");
    EXPECT_HOST_CLEAN(host);
}

// A host serving the drawing suites, surface suite in both versions.
struct DrawbotHost {
    DrawbotHost(A_short major, A_short minor) {
        host.set_version(major, minor);
        host.serve_suite("DRAWBOT Draw Suite", 1, &draw);
        host.serve_suite("DRAWBOT Supplier Suite", 1, &supplier);
        host.serve_suite("DRAWBOT Surface Suite", 1, &surface1);
        host.serve_suite("DRAWBOT Surface Suite", 2, &surface2);
        host.serve_suite("DRAWBOT Path Suite", 1, &path);
    }
    PF_Err Acquire(DRAWBOT_Suites* s) { return DAE::AEFX_AcquireDrawbotSuites(&host.in_data(), &host.out_data(), s); }
    int Count(int32 version, bool released) {
        const headless::SuiteCount c = host.suite_count("DRAWBOT Surface Suite", version);
        return released ? c.released : c.acquired;
    }

    Host host;
    DRAWBOT_DrawbotSuite1 draw{};
    DRAWBOT_SupplierSuite1 supplier{};
    DRAWBOT_SurfaceSuite2 surface1{};
    DRAWBOT_SurfaceSuite2 surface2{};
    DRAWBOT_PathSuite1 path{};
};

TEST(DrawbotSuites, SurfaceVersionByHostAndTheKeptReleaseAsymmetry) {
    struct Case {
        A_short major, minor;
        int32 version;
    };
    for (const Case& c : {Case{12, 15, 1}, Case{13, 8, 1}, Case{13, 9, 2}, Case{14, 0, 2}}) {
        SCOPED_TRACE(std::to_string(c.major) + "." + std::to_string(c.minor));
        DrawbotHost d(c.major, c.minor);
        DRAWBOT_Suites s{};
        ASSERT_EQ(d.Acquire(&s), 0);
        EXPECT_EQ(s.drawbot_suiteP, &d.draw);
        EXPECT_EQ(s.supplier_suiteP, &d.supplier);
        EXPECT_EQ(s.surface_suiteP, c.version == 1 ? &d.surface1 : &d.surface2);
        EXPECT_EQ(s.path_suiteP, &d.path);
        EXPECT_EQ(DAE::AEFX_ReleaseDrawbotSuites(&d.host.in_data(), &d.host.out_data()), 0);
        // Acquired as the host's version, always released as version 2: at
        // 13.8 version 1 stays acquired and the host notices the odd release.
        EXPECT_EQ(d.Count(1, false), c.version == 1 ? 1 : 0);
        EXPECT_EQ(d.Count(2, false), c.version == 2 ? 1 : 0);
        EXPECT_EQ(d.Count(1, true), 0);
        EXPECT_EQ(d.Count(2, true), 1);
        for (const char* name : {"DRAWBOT Draw Suite", "DRAWBOT Supplier Suite", "DRAWBOT Path Suite"}) {
            EXPECT_EQ(d.host.suite_count(name, 1).acquired, 1) << name;
            EXPECT_EQ(d.host.suite_count(name, 1).released, 1) << name;
        }
        EXPECT_EQ(d.host.problems().empty(), c.version == 2);
        d.host.clear_problems();
    }
}

TEST(DrawbotSuites, StopsAtFirstMissingSuite) {
    DrawbotHost d(13, 9);
    d.host.withdraw_suite("DRAWBOT Surface Suite", 2);
    DRAWBOT_Suites s{};
    EXPECT_EQ(d.Acquire(&s), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(s.surface_suiteP, nullptr);
    EXPECT_EQ(d.host.suite_count("DRAWBOT Path Suite", 1).acquired, 0);
    EXPECT_NE(d.host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    // Give back the two that were acquired.
    DAE::AEFX_ReleaseSuite(&d.host.in_data(), &d.host.out_data(), "DRAWBOT Draw Suite", 1, nullptr);
    DAE::AEFX_ReleaseSuite(&d.host.in_data(), &d.host.out_data(), "DRAWBOT Supplier Suite", 1, nullptr);
    EXPECT_HOST_CLEAN(d.host);

    EXPECT_EQ(d.Acquire(nullptr), PF_Err_UNRECOGNIZED_PARAM_TYPE);
    EXPECT_STREQ(d.host.out_data().return_msg, "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
}

}  // namespace
