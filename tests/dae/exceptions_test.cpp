// The exception-to-result table as the entry point uses it: throw, catch
// everything, map.
#include <stdexcept>
#include <string>

#include "support.h"

namespace {

using dae_test::RunCommand;
using headless::Host;

TEST(ExceptionToResult, EachKindMapsToItsCodeAndMessage) {
    const std::string huge(2000, 'r');
    const char* unknown = "main() of Corvane caught an unknown exception.";
    struct Case {
        const char* what;
        void (*thrower)(const char*);
        PF_Err code;
        std::string message;
        bool flag;
    };
    const Case cases[] = {
        {"host code", [](const char*) { DAE::ThrowIfError(PF_Err_INVALID_INDEX); }, PF_Err_INVALID_INDEX, "", false},
        {"cancel", [](const char*) { throw DAE::DAECancelXCP(); }, PF_Interrupt_CANCEL, "", false},
        {"alloc", [](const char*) { throw DAE::DAEAllocXCP(1234); }, PF_Err_OUT_OF_MEMORY, "", false},
        {"suite", [](const char*) { throw DAE::DAESuiteXCP("PF Handle Suite"); }, A_Err_MISSING_SUITE,
         "Corvane is missing the suite PF Handle Suite", false},
        {"missing resource", [](const char*) { throw DAE::DAEMissingResourceXCP("bitmap 23409"); }, PF_Err_NONE,
         "Corvane is missing the resource bitmap 23409", false},
        {"resource", [](const char*) { throw DAE::DAEResourceXCP("bitmap 23410"); }, PF_Err_NONE,
         "Corvane has a problem with resource bitmap 23410", false},
        // A text far beyond the record: message cut at 255, nothing overflows.
        {"long resource", [](const char* t) { throw DAE::DAEResourceXCP(t); }, PF_Err_NONE,
         ("Corvane has a problem with resource " + huge).substr(0, 255), false},
        {"std exception", [](const char*) { throw std::runtime_error("x"); }, PF_Err_INTERNAL_STRUCT_DAMAGED,
         unknown, true},
        {"bare base", [](const char*) { throw DAE::DAEXCP(); }, PF_Err_INTERNAL_STRUCT_DAMAGED, unknown, true},
        {"other integer type", [](const char*) { throw static_cast<short>(3); }, PF_Err_INTERNAL_STRUCT_DAMAGED,
         unknown, true},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.what);
        Host host;
        host.reset_out_data();
        EXPECT_EQ(RunCommand(&host.in_data(), &host.out_data(), [&] { c.thrower(huge.c_str()); }), c.code);
        EXPECT_EQ(host.out_data().return_msg, c.message);
        EXPECT_EQ((host.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE) != 0, c.flag);
        EXPECT_EQ(host.sprintf_overflows(), 0u);
        EXPECT_HOST_CLEAN(host);
    }
    // Outside a handler there is nothing to map: reported as unknown.
    PF_OutData out{};
    EXPECT_EQ(DAE::ExceptionToResult(nullptr, &out), PF_Err_INTERNAL_STRUCT_DAMAGED);
    EXPECT_NE(out.out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE, 0);
    // Without a host sprintf the runtime formats; a format that cannot be
    // bounded is shown as text.
    DAE::WriteReturnMessage(nullptr, &out, "%s and %s", "one", "two");
    EXPECT_STREQ(out.return_msg, "one and two");
    DAE::WriteReturnMessage(nullptr, &out, "%d%s%s%s");
    EXPECT_STREQ(out.return_msg, "%d%s%s%s");
    DAE::WriteReturnMessage(nullptr, nullptr, "%s", "nowhere");  // no record: nothing happens
}

}  // namespace
