// The exception-to-result table as the entry point uses it: throw, catch
// everything, map.
#include <gtest/gtest.h>

#include <cstring>
#include <stdexcept>
#include <string>

#include "dae/exceptions.h"
#include "headless/host.h"

namespace {

using headless::Host;

template <typename F>
PF_Err RunCommand(Host& host, F&& body) {
    PF_Err err = PF_Err_NONE;
    try {
        body();
    } catch (...) {
        err = DAE::ExceptionToResult(&host.in_data(), &host.out_data());
    }
    return err;
}

TEST(ExceptionToResult, EachKindMapsToItsCodeAndMessage) {
    struct Case {
        const char* what;
        void (*thrower)();
        PF_Err code;
        const char* message;
        bool flag;
    };
    const Case cases[] = {
        {"host code", [] { DAE::ThrowIfError(PF_Err_INVALID_INDEX); }, PF_Err_INVALID_INDEX, "", false},
        {"cancel", [] { throw DAE::DAECancelXCP(); }, PF_Interrupt_CANCEL, "", false},
        {"alloc", [] { throw DAE::DAEAllocXCP(1234); }, PF_Err_OUT_OF_MEMORY, "", false},
        {"suite", [] { throw DAE::DAESuiteXCP("PF Handle Suite"); }, A_Err_MISSING_SUITE,
         "Corvane is missing the suite PF Handle Suite", false},
        {"missing resource", [] { throw DAE::DAEMissingResourceXCP("bitmap 23409"); }, PF_Err_NONE,
         "Corvane is missing the resource bitmap 23409", false},
        {"resource", [] { throw DAE::DAEResourceXCP("bitmap 23410"); }, PF_Err_NONE,
         "Corvane has a problem with resource bitmap 23410", false},
        {"std exception", [] { throw std::runtime_error("x"); }, PF_Err_INTERNAL_STRUCT_DAMAGED,
         "main() of Corvane caught an unknown exception.", true},
        {"bare base", [] { throw DAE::DAEXCP(); }, PF_Err_INTERNAL_STRUCT_DAMAGED,
         "main() of Corvane caught an unknown exception.", true},
        {"other integer type", [] { throw static_cast<short>(3); }, PF_Err_INTERNAL_STRUCT_DAMAGED,
         "main() of Corvane caught an unknown exception.", true},
    };
    for (const Case& c : cases) {
        Host host;
        host.reset_out_data();
        EXPECT_EQ(RunCommand(host, c.thrower), c.code) << c.what;
        EXPECT_STREQ(host.out_data().return_msg, c.message) << c.what;
        EXPECT_EQ((host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) != 0, c.flag) << c.what;
        EXPECT_TRUE(host.clean()) << c.what << ": " << host.leak_report();
    }
}

TEST(ExceptionToResult, AllocCarriesTheRequestedSize) {
    try {
        throw DAE::DAEAllocXCP(0xFFFFFFF0u);
    } catch (const DAE::DAEAllocXCP& e) {
        EXPECT_EQ(e.Size(), 0xFFFFFFF0u);
    }
}

TEST(ExceptionToResult, LongTextIsCutAt255WithoutOverflow) {
    Host host;
    const std::string huge(2000, 'r');
    EXPECT_EQ(RunCommand(host, [&] { throw DAE::DAEResourceXCP(huge.c_str()); }), PF_Err_NONE);
    const std::string msg = host.out_data().return_msg;
    EXPECT_EQ(msg.size(), 255u);
    EXPECT_EQ(msg.rfind("Corvane has a problem with resource rrr", 0), 0u);
    EXPECT_EQ(host.sprintf_overflows(), 0u);
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST(WriteReturnMessage, WorksWithoutHostSprintfAndRefusesUnboundedFormats) {
    PF_OutData out{};
    DAE::WriteReturnMessage(nullptr, &out, "%s and %s", "one", "two");
    EXPECT_STREQ(out.return_msg, "one and two");
    // A directive other than %s cannot be bounded: the text is shown as is.
    DAE::WriteReturnMessage(nullptr, &out, "%d%s%s%s");
    EXPECT_STREQ(out.return_msg, "%d%s%s%s");
    DAE::WriteReturnMessage(nullptr, nullptr, "%s", "nowhere");  // no record: nothing happens
}

TEST(ExceptionToResult, OutsideACatchCountsAsUnknown) {
    PF_OutData out{};
    EXPECT_EQ(DAE::ExceptionToResult(nullptr, &out), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_NE(out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
}

}  // namespace
