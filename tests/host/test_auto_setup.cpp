// Auto Setup's rule table and messages, checked against the texts the user
// must see, byte for byte.
#include "host/auto_setup.h"

#include <gtest/gtest.h>

#include <string>

namespace {

using M = ConversionMessage;

TEST(AutoSetupRate, ExactDoubleEqualityOnly) {
    struct Case {
        A_long scale, step;
        AutoSetupRateClass rate;
    };
    const Case cases[] = {
        {2997, 100, kRate2997Class}, {29970, 1000, kRate2997Class}, {2500, 100, kRate25Class}, {25, 1, kRate25Class},
        {23976, 1000, kRate23976Class}, {2997, 125, kRate23976Class},  // the host's own 23.976 time base
        // Close is not enough: NTSC's exact rates and near misses are class 0.
        {30000, 1001, kRateOther}, {24000, 1001, kRateOther}, {299700001, 10000000, kRateOther},
        {2400, 100, kRateOther}, {3000, 100, kRateOther},
        // Degenerate time bases do not trap; both fields are read signed.
        {2997, 0, kRateOther}, {0, 100, kRateOther}, {-2997, -100, kRate2997Class}};
    for (const Case& c : cases) EXPECT_EQ(ClassifyRate(c.scale, c.step), c.rate) << c.scale << "/" << c.step;
}

TEST(AutoSetupRule, EveryRowInOrderAndTheNoMatchDefaults) {
    struct Row {
        AutoSetupRateClass rate;
        A_long width, height, source, field;
        M message;
    };
    const Row rows[] = {
        {kRate2997Class, 640, 480, 1, 1, M::NTSC},   {kRate2997Class, 720, 480, 1, 2, M::NTSC},
        {kRate2997Class, 720, 486, 1, 2, M::NTSC},   {kRate2997Class, 720, 540, 1, 1, M::NTSC},
        {kRate2997Class, 720, 576, 2, 2, M::Failed}, {kRate2997Class, 768, 576, 1, 1, M::Failed},
        {kRate2997Class, 1440, 1080, 1, 1, M::HD},   {kRate2997Class, 1920, 1080, 1, 1, M::HD},
        {kRate23976Class, 640, 480, 1, 1, M::NTSC},  {kRate23976Class, 720, 480, 1, 2, M::NTSC},
        {kRate23976Class, 720, 486, 1, 2, M::NTSC},  {kRate23976Class, 720, 540, 1, 1, M::NTSC},
        {kRate23976Class, 720, 576, 2, 2, M::PAL},   {kRate23976Class, 768, 576, 2, 1, M::PAL},
        {kRate23976Class, 1440, 1080, 1, 1, M::HD},  {kRate23976Class, 1920, 1080, 1, 1, M::HD},
        {kRate25Class, 640, 480, 2, 1, M::Failed},   {kRate25Class, 720, 480, 2, 2, M::Failed},
        {kRate25Class, 720, 486, 2, 2, M::Failed},   {kRate25Class, 720, 540, 2, 1, M::Failed},
        {kRate25Class, 720, 576, 2, 2, M::PAL},      {kRate25Class, 768, 576, 2, 1, M::PAL},
        {kRate25Class, 1440, 1080, 1, 1, M::HD},     {kRate25Class, 1920, 1080, 1, 1, M::HD},
        // No match: PAL/Lower for 25 fps, NTSC/Lower otherwise, always Failed.
        // Class 0 matches no row even at a size every class knows, and width
        // and height are not interchangeable.
        {kRateOther, 1280, 720, 1, 2, M::Failed},    {kRate23976Class, 1280, 720, 1, 2, M::Failed},
        {kRate25Class, 1280, 720, 2, 2, M::Failed},  {kRate2997Class, 1280, 720, 1, 2, M::Failed},
        {kRateOther, 720, 480, 1, 2, M::Failed},     {kRate2997Class, 480, 720, 1, 2, M::Failed},
    };
    for (const Row& r : rows) {
        const AutoSetupResult got = LookUpAutoSetup(r.rate, r.width, r.height);
        SCOPED_TRACE(std::to_string(r.rate) + " " + std::to_string(r.width) + "x" + std::to_string(r.height));
        EXPECT_EQ(got.sourceVideo, r.source);
        EXPECT_EQ(got.fieldOrder, r.field);
        EXPECT_EQ(got.message, r.message);
    }
}

TEST(AutoSetupMessage, ExactBytesCutAt255) {
    const std::string ok = "Auto Setup Successful!\n\n";
    const std::string adjust =
        "If any of this is not what you expected, please adjust your footage and/or comp settings and click Auto "
        "Setup again.";
    // Two blanks where the empty third text sits between its separators.
    const std::string failed =
        "Auto Setup Failed.\n\nCorvane is not able to draw an association between your footage size and your "
        "Comp frame rate.  Please either proceed with caution or adjust your footage and/or comp settings and "
        "click Auto Setup again.";
    struct Case {
        AutoSetupRateClass rate;
        A_long width, height;
        std::string full;
    };
    const Case cases[] = {
        {kRate2997Class, 720, 480,
         ok + "Corvane has determined that your footage is NTSC, and is most likely Lower Field First. Since your "
              "comp is set to 29.97 fps, you are now configured to create 30p material from your NTSC source. " +
             adjust},
        {kRate25Class, 1920, 1080,
         ok + "Corvane is guessing that your footage is either HD 1080/60i or 1080/50i and is therefore most likely "
              "Upper Field First. Since your comp is set to 25.0 fps, you are now configured to create 25p material "
              "from your HD source. It's also possible that your footage is 25.0, in which case you should un-check "
              "\"Do Deinterlace.\" " +
             adjust},
        {kRate23976Class, 768, 576,
         ok + "Corvane has determined that your footage is PAL and is most likely Upper Field First. Since your comp "
              "is set to 23.976 fps, you are now configured to create 24p material from your PAL source, as long as "
              "your footage is properly interpreted at 23.976 fps in the Interpret Footage Window. " +
             adjust},
        {kRate23976Class, 1280, 720, failed},
        // A PAL frame at 29.97 sets values but reports failure, with no rate text.
        {kRate2997Class, 720, 576, failed},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.rate) + " " + std::to_string(c.width) + "x" + std::to_string(c.height));
        EXPECT_EQ(ComposeAutoSetupMessage(LookUpAutoSetup(c.rate, c.width, c.height), c.rate), c.full.substr(0, 255));
    }
    for (int i = 0; i < 3; ++i) EXPECT_GT(cases[i].full.size(), 255u) << i;  // the success texts need the cut
    EXPECT_LT(failed.size(), 255u);
}

}  // namespace
