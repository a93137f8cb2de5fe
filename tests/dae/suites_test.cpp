// Suite handler, single-suite routines and the drawing-suite pair against the
// headless host's counted SPBasicSuite.
#include <gtest/gtest.h>

#include <string>

#include "dae/aefx_suites.h"
#include "dae/suites.h"
#include "headless/host.h"

namespace {

using headless::Host;

TEST(SuiteHandler, AcquiresLazilyOnceAndReleasesExactlyWhatItAcquired) {
    Host host;
    {
        DAE::AEGP_SuiteHandler suites(host.basic());
        EXPECT_EQ(host.total_acquisitions(), 0);
        PF_HandleSuite1* a = suites.HandleSuite1();
        PF_HandleSuite1* b = suites.HandleSuite1();
        ASSERT_NE(a, nullptr);
        EXPECT_EQ(a, b);
        EXPECT_EQ(a, host.handle_suite());
        EXPECT_NE(suites.ANSICallbacksSuite1(), nullptr);
        EXPECT_EQ(host.suite_count("PF Handle Suite", 2).acquired, 1);
        EXPECT_EQ(host.suite_count("PF ANSI Suite", 1).acquired, 1);
        EXPECT_EQ(host.unreleased_suites(), 2);
    }
    EXPECT_EQ(host.suite_count("PF Handle Suite", 2).released, 1);
    EXPECT_EQ(host.suite_count("PF ANSI Suite", 1).released, 1);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(SuiteHandler, ServesEachSuiteUnderItsPublishedNameAndVersion) {
    Host host;
    // Distinct tables so a mix-up of rows shows.
    static char tables[8];
    const std::pair<const char*, int32> rows[] = {
        {"PF Param Utils Suite", 3},      {"PF AE App Suite", 6},         {"PF Effect Custom UI Suite", 1},
        {"AEGP PF Interface Suite", 1},   {"AEGP Dynamic Stream Suite", 3}, {"AEGP Effect Suite", 3},
        {"AEGP Persistent Data Suite", 3}, {"AEGP Stream Suite", 7},
    };
    for (int i = 0; i < 8; ++i) host.serve_suite(rows[i].first, rows[i].second, &tables[i]);
    {
        DAE::AEGP_SuiteHandler s(host.basic());
        EXPECT_EQ(static_cast<void*>(s.ParamUtilsSuite3()), &tables[0]);
        EXPECT_EQ(static_cast<void*>(s.AppSuite4()), &tables[1]);
        EXPECT_EQ(static_cast<void*>(s.EffectCustomUISuite1()), &tables[2]);
        EXPECT_EQ(static_cast<void*>(s.PFInterfaceSuite1()), &tables[3]);
        EXPECT_EQ(static_cast<void*>(s.DynamicStreamSuite3()), &tables[4]);
        EXPECT_EQ(static_cast<void*>(s.EffectSuite3()), &tables[5]);
        EXPECT_EQ(static_cast<void*>(s.PersistentDataSuite3()), &tables[6]);
        EXPECT_EQ(static_cast<void*>(s.StreamSuite2()), &tables[7]);
    }
    for (const auto& r : rows) {
        const headless::SuiteCount c = host.suite_count(r.first, r.second);
        EXPECT_EQ(c.acquired, 1) << r.first;
        EXPECT_EQ(c.released, 1) << r.first;
    }
    EXPECT_TRUE(host.clean()) << host.leak_report();
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
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(SuiteHandler, NullBasicSuiteIsHarmless) {
    DAE::AEGP_SuiteHandler suites(nullptr);
    EXPECT_EQ(suites.HandleSuite1(), nullptr);
    EXPECT_EQ(suites.BasicSuite(), nullptr);
}

TEST(AefxSuites, AcquireAndReleaseSingleSuite) {
    Host host;
    void* suite = nullptr;
    EXPECT_EQ(DAE::AEFX_AcquireSuite(&host.in_data(), &host.out_data(), "PF Handle Suite", 2, nullptr, &suite), 0);
    EXPECT_EQ(suite, host.handle_suite());
    EXPECT_EQ(DAE::AEFX_ReleaseSuite(&host.in_data(), &host.out_data(), "PF Handle Suite", 2, nullptr), 0);
    EXPECT_EQ(host.out_data().out_flags, 0);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(AefxSuites, FailuresSetFlagMessageAnd516) {
    Host host;
    void* suite = &host;
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
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

class DrawbotSuites : public ::testing::Test {
protected:
    void SetUp() override {
        host.serve_suite("DRAWBOT Draw Suite", 1, &draw);
        host.serve_suite("DRAWBOT Supplier Suite", 1, &supplier);
        host.serve_suite("DRAWBOT Surface Suite", 1, &surface1);
        host.serve_suite("DRAWBOT Surface Suite", 2, &surface2);
        host.serve_suite("DRAWBOT Path Suite", 1, &path);
    }
    PF_Err Acquire(DRAWBOT_Suites* s) { return DAE::AEFX_AcquireDrawbotSuites(&host.in_data(), &host.out_data(), s); }
    PF_Err Release() { return DAE::AEFX_ReleaseDrawbotSuites(&host.in_data(), &host.out_data()); }

    Host host;
    DRAWBOT_DrawbotSuite1 draw{};
    DRAWBOT_SupplierSuite1 supplier{};
    DRAWBOT_SurfaceSuite2 surface1{};
    DRAWBOT_SurfaceSuite2 surface2{};
    DRAWBOT_PathSuite1 path{};
};

TEST_F(DrawbotSuites, Host13_9AcquiresAndReleasesSurfaceVersion2) {
    host.set_version(13, 9);
    DRAWBOT_Suites s{};
    ASSERT_EQ(Acquire(&s), 0);
    EXPECT_EQ(s.drawbot_suiteP, &draw);
    EXPECT_EQ(s.supplier_suiteP, &supplier);
    EXPECT_EQ(s.surface_suiteP, &surface2);
    EXPECT_EQ(s.path_suiteP, &path);
    EXPECT_EQ(Release(), 0);
    EXPECT_EQ(host.suite_count("DRAWBOT Surface Suite", 2).acquired, 1);
    EXPECT_EQ(host.suite_count("DRAWBOT Surface Suite", 2).released, 1);
    EXPECT_EQ(host.suite_count("DRAWBOT Surface Suite", 1).acquired, 0);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST_F(DrawbotSuites, Host14UsesSurfaceVersion2) {
    host.set_version(14, 0);
    EXPECT_EQ(DAE::DrawbotSurfaceSuiteVersion(&host.in_data()), 2);
    host.set_version(12, 15);
    EXPECT_EQ(DAE::DrawbotSurfaceSuiteVersion(&host.in_data()), 1);
}

TEST_F(DrawbotSuites, Host13_8AcquiresVersion1ButReleasesVersion2) {
    host.set_version(13, 8);
    DRAWBOT_Suites s{};
    ASSERT_EQ(Acquire(&s), 0);
    EXPECT_EQ(s.surface_suiteP, &surface1);
    EXPECT_EQ(Release(), 0);
    // The kept asymmetry: version 1 stays acquired, the release goes to 2.
    EXPECT_EQ(host.suite_count("DRAWBOT Surface Suite", 1).acquired, 1);
    EXPECT_EQ(host.suite_count("DRAWBOT Surface Suite", 1).released, 0);
    EXPECT_EQ(host.suite_count("DRAWBOT Surface Suite", 2).acquired, 0);
    EXPECT_FALSE(host.problems().empty());  // the host notices the unmatched release
    for (const char* name : {"DRAWBOT Draw Suite", "DRAWBOT Supplier Suite", "DRAWBOT Path Suite"}) {
        EXPECT_EQ(host.suite_count(name, 1).acquired, 1) << name;
        EXPECT_EQ(host.suite_count(name, 1).released, 1) << name;
    }
    host.clear_problems();
}

TEST_F(DrawbotSuites, StopsAtFirstMissingSuite) {
    host.set_version(13, 9);
    host.withdraw_suite("DRAWBOT Surface Suite", 2);
    DRAWBOT_Suites s{};
    EXPECT_EQ(Acquire(&s), PF_Err_BAD_CALLBACK_PARAM);
    EXPECT_EQ(s.surface_suiteP, nullptr);
    EXPECT_EQ(s.path_suiteP, nullptr);
    EXPECT_EQ(host.suite_count("DRAWBOT Path Suite", 1).acquired, 0);
    EXPECT_NE(host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    // Give back the two that were acquired.
    DAE::AEFX_ReleaseSuite(&host.in_data(), &host.out_data(), "DRAWBOT Draw Suite", 1, nullptr);
    DAE::AEFX_ReleaseSuite(&host.in_data(), &host.out_data(), "DRAWBOT Supplier Suite", 1, nullptr);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST_F(DrawbotSuites, NullRecordIs514WithMessage) {
    EXPECT_EQ(Acquire(nullptr), PF_Err_UNRECOGNIZED_PARAM_TYPE);
    EXPECT_STREQ(host.out_data().return_msg, "NULL suite pointer passed to AEFX_AcquireDrawbotSuites");
    EXPECT_NE(host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    EXPECT_EQ(host.total_acquisitions(), 0);
}

}  // namespace
