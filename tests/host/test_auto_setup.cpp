// Auto Setup's rule table and messages, checked against the texts the user
// must see, byte for byte.
#include "host/auto_setup.h"

#include <gtest/gtest.h>

#include <string>

namespace {

struct Row {
    AutoSetupRateClass rate;
    A_long width, height, source, field;
    ConversionMessage message;
};

using M = ConversionMessage;

TEST(AutoSetupRate, ExactDoubleEqualityOnly) {
    EXPECT_EQ(ClassifyRate(2997, 100), kRate2997Class);
    EXPECT_EQ(ClassifyRate(29970, 1000), kRate2997Class);
    EXPECT_EQ(ClassifyRate(2500, 100), kRate25Class);
    EXPECT_EQ(ClassifyRate(25, 1), kRate25Class);
    EXPECT_EQ(ClassifyRate(23976, 1000), kRate23976Class);
    EXPECT_EQ(ClassifyRate(2997, 125), kRate23976Class);  // the host's own 23.976 time base
    // Close is not enough: NTSC's exact rate and near misses are class 0.
    EXPECT_EQ(ClassifyRate(30000, 1001), kRateOther);
    EXPECT_EQ(ClassifyRate(24000, 1001), kRateOther);
    EXPECT_EQ(ClassifyRate(2997000001, 100000000), kRateOther);
    EXPECT_EQ(ClassifyRate(2400, 100), kRateOther);
    EXPECT_EQ(ClassifyRate(3000, 100), kRateOther);
    // Degenerate time bases do not trap.
    EXPECT_EQ(ClassifyRate(2997, 0), kRateOther);
    EXPECT_EQ(ClassifyRate(-2997, -100), kRate2997Class);  // both signed, as the host's fields are read
    EXPECT_EQ(ClassifyRate(0, 100), kRateOther);
}

TEST(AutoSetupRule, EveryRowInOrder) {
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
    };
    for (const Row& r : rows) {
        const AutoSetupResult got = LookUpAutoSetup(r.rate, r.width, r.height);
        SCOPED_TRACE(std::to_string(r.rate) + " " + std::to_string(r.width) + "x" + std::to_string(r.height));
        EXPECT_EQ(got.sourceVideo, r.source);
        EXPECT_EQ(got.fieldOrder, r.field);
        EXPECT_EQ(got.message, r.message);
    }
}

TEST(AutoSetupRule, NoMatchDependsOnlyOnTheClass) {
    // PAL/Lower for 25 fps, NTSC/Lower for everything else; always Failed.
    for (AutoSetupRateClass rate : {kRateOther, kRate23976Class, kRate25Class, kRate2997Class}) {
        const AutoSetupResult r = LookUpAutoSetup(rate, 1280, 720);
        EXPECT_EQ(r.sourceVideo, rate == kRate25Class ? 2 : 1);
        EXPECT_EQ(r.fieldOrder, 2);
        EXPECT_EQ(r.message, M::Failed);
    }
    // Class 0 matches no row even at a size every class knows.
    const AutoSetupResult r = LookUpAutoSetup(kRateOther, 720, 480);
    EXPECT_EQ(r.sourceVideo, 1);
    EXPECT_EQ(r.fieldOrder, 2);
    EXPECT_EQ(r.message, M::Failed);
    // Width and height are not interchangeable.
    EXPECT_EQ(LookUpAutoSetup(kRate2997Class, 480, 720).message, M::Failed);
}

const char kAdjust[] =
    "If any of this is not what you expected, please adjust your footage and/or comp settings and click Auto "
    "Setup again.";

std::string Cut(const std::string& s) { return s.substr(0, 255); }

TEST(AutoSetupMessage, NtscLowerAt2997) {
    const std::string full = std::string("Auto Setup Successful!\n\n") +
                             "Corvane has determined that your footage is NTSC, and is most likely Lower Field "
                             "First. Since your comp is set to 29.97 fps, you are now configured to create 30p "
                             "material from your NTSC source. " +
                             kAdjust;
    const std::string got = ComposeAutoSetupMessage(LookUpAutoSetup(kRate2997Class, 720, 480), kRate2997Class);
    EXPECT_EQ(got, Cut(full));
    EXPECT_EQ(got.size(), 255u);
}

TEST(AutoSetupMessage, HdAt25IsCutAt255) {
    const std::string full =
        std::string("Auto Setup Successful!\n\n") +
        "Corvane is guessing that your footage is either HD 1080/60i or 1080/50i and is therefore most likely "
        "Upper Field First. Since your comp is set to 25.0 fps, you are now configured to create 25p material "
        "from your HD source. It's also possible that your footage is 25.0, in which case you should un-check "
        "\"Do Deinterlace.\" " +
        kAdjust;
    ASSERT_GT(full.size(), 255u);
    const AutoSetupResult r = LookUpAutoSetup(kRate25Class, 1920, 1080);
    EXPECT_EQ(r.sourceVideo, 1);
    EXPECT_EQ(r.fieldOrder, 1);
    EXPECT_EQ(ComposeAutoSetupMessage(r, kRate25Class), Cut(full));
}

TEST(AutoSetupMessage, PalAt23976IsCutAt255) {
    const std::string full =
        std::string("Auto Setup Successful!\n\n") +
        "Corvane has determined that your footage is PAL and is most likely Upper Field First. Since your comp is "
        "set to 23.976 fps, you are now configured to create 24p material from your PAL source, as long as your "
        "footage is properly interpreted at 23.976 fps in the Interpret Footage Window. " +
        kAdjust;
    ASSERT_GT(full.size(), 255u);
    EXPECT_EQ(ComposeAutoSetupMessage(LookUpAutoSetup(kRate23976Class, 768, 576), kRate23976Class), Cut(full));
}

TEST(AutoSetupMessage, FailedHasAnEmptyThirdText) {
    // Two blanks where the empty third text sits between its separators.
    const std::string want =
        "Auto Setup Failed.\n\nCorvane is not able to draw an association between your footage size and your "
        "Comp frame rate.  Please either proceed with caution or adjust your footage and/or comp settings and "
        "click Auto Setup again.";
    ASSERT_LT(want.size(), 255u);
    EXPECT_EQ(ComposeAutoSetupMessage(LookUpAutoSetup(kRate23976Class, 1280, 720), kRate23976Class), want);
    // A PAL frame at 29.97 sets values but reports failure, with no rate text.
    EXPECT_EQ(ComposeAutoSetupMessage(LookUpAutoSetup(kRate2997Class, 720, 576), kRate2997Class), want);
}

TEST(AutoSetupMessage, UnknownRateTexts) {
    // Class 0 never reaches a success message through the rule, but the
    // texts for it exist; check them through a composed NTSC result.
    const AutoSetupResult ntsc{1, 1, M::NTSC};
    const std::string got = ComposeAutoSetupMessage(ntsc, kRateOther);
    EXPECT_NE(got.find("most likely Upper Field First. Since your comp is set to <unknown fps> fps, you are now "
                       "configured to create <unknown destination> material"),
              std::string::npos)
        << got;
}

}  // namespace
