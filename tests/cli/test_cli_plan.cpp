// Decisions tessen makes before rendering: rates, refusals, field order
// precedence, frame counts, and the command-line parser's edge cases.
#include "cli/conversion_plan.h"
#include "cli/options.h"

#include <gtest/gtest.h>

namespace tessen::cli {
namespace {

VideoInfo sd(int w, int h, Rational rate, int64_t frames = 100) {
    VideoInfo info;
    info.width = w;
    info.height = h;
    info.frame_rate = rate;
    info.frame_count = frames;
    return info;
}

Options parse_ok(std::vector<std::string> args) {
    ParseResult r = parse_command_line(args);
    EXPECT_EQ(r.error, "") << args[0];
    return r.options;
}

TEST(ConversionPlan, TimeBasesMakeTheEffectsExactRateComparisonsHold) {
    // The effect compares time_scale / time_step with 23.976, 29.97 and 25
    // exactly, in float and in double; 24000/1001 would fail that.
    for (CompRate rate : {CompRate::k23_976, CompRate::k29_97, CompRate::k25}) {
        TimeBase b = comp_time_base(rate);
        EXPECT_EQ(static_cast<double>(b.time_scale) / b.time_step, comp_rate_value(rate));
        EXPECT_EQ(static_cast<float>(b.time_scale) / static_cast<float>(b.time_step),
                  static_cast<float>(comp_rate_value(rate)));
    }
}

TEST(ConversionPlan, FrameCountsAndDefaultsPerSupportedConversion) {
    struct Case {
        Rational file_rate;
        std::optional<CompRate> rate;
        CompRate expected_rate;
        int64_t source_frames;
        int64_t expected_frames;
        bool conformed;
    };
    const Case cases[] = {
        {{30000, 1001}, std::nullopt, CompRate::k23_976, 10, 8, false},  // 5 frames -> 4
        {{30000, 1001}, std::nullopt, CompRate::k23_976, 11, 9, false},  // output frame 8 still inside
        {{30000, 1001}, CompRate::k29_97, CompRate::k29_97, 10, 10, false},
        {{25, 1}, std::nullopt, CompRate::k25, 7, 7, false},
        {{25, 1}, CompRate::k23_976, CompRate::k23_976, 7, 7, true},
    };
    for (const Case& c : cases) {
        Options o;
        o.rate = c.rate;
        ConversionPlan plan;
        ASSERT_FALSE(plan_rates(sd(720, 480, c.file_rate), o, plan));
        EXPECT_EQ(plan.rate, c.expected_rate);
        EXPECT_EQ(plan.conformed, c.conformed);
        EXPECT_EQ(output_frame_count(c.source_frames, plan), c.expected_frames)
            << c.file_rate.num << "/" << c.file_rate.den << " " << c.source_frames;
        EXPECT_EQ(output_frame_count(c.source_frames, plan, 3), 3);
        // The last output frame's time maps to a source frame that exists, the next one past it.
        const int64_t last = c.expected_frames - 1;
        EXPECT_LT(source_frame_at(last * plan.time_base.time_step, plan.time_base, plan.layer_rate), c.source_frames);
        EXPECT_GE(source_frame_at((last + 1) * plan.time_base.time_step, plan.time_base, plan.layer_rate),
                  c.source_frames);
    }
}

TEST(ConversionPlan, NtscToFilmFollowsTheTwoThreeCadence) {
    Options o;
    ConversionPlan plan;
    ASSERT_FALSE(plan_rates(sd(720, 480, {30000, 1001}), o, plan));
    // Output frame k falls in source frame floor(1.25 k): 0 1 2 3 5 6 7 8 10.
    const int64_t expected[] = {0, 1, 2, 3, 5, 6, 7, 8, 10};
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(source_frame_at(k * plan.time_base.time_step, plan.time_base, plan.layer_rate), expected[k]);
}

TEST(ConversionPlan, RefusalsBeforeRendering) {
    ConversionPlan plan;
    Options o;
    o.rate = CompRate::k25;
    Refusal r = plan_rates(sd(720, 480, {30000, 1001}), o, plan);
    EXPECT_EQ(r.kind, Refusal::Kind::kUnsupported);
    EXPECT_NE(r.message.find("NTSC to 25"), std::string::npos) << r.message;

    o.rate = CompRate::k29_97;
    EXPECT_EQ(plan_rates(sd(720, 576, {25, 1}), o, plan).kind, Refusal::Kind::kUnsupported);

    o.rate.reset();
    r = plan_rates(sd(720, 480, {24, 1}), o, plan);
    EXPECT_EQ(r.kind, Refusal::Kind::kUnsupported);
    EXPECT_NE(r.message.find("24 fps"), std::string::npos) << r.message;

    o.source = SourceStandard::kPal;
    EXPECT_EQ(plan_rates(sd(720, 480, {30000, 1001}), o, plan).kind, Refusal::Kind::kUnsupported);
    o.source.reset();

    // Minimum size: 3 x "Detail Pattern Size" wide, 5 high.
    EXPECT_FALSE(plan_rates(sd(12, 5, {30000, 1001}), o, plan));
    r = plan_rates(sd(11, 5, {30000, 1001}), o, plan);
    EXPECT_EQ(r.kind, Refusal::Kind::kUnsupported);
    EXPECT_NE(r.message.find("12x5"), std::string::npos) << r.message;
    EXPECT_EQ(plan_rates(sd(12, 4, {30000, 1001}), o, plan).kind, Refusal::Kind::kUnsupported);
    o.pattern_size = 12;
    EXPECT_EQ(plan_rates(sd(35, 480, {30000, 1001}), o, plan).kind, Refusal::Kind::kUnsupported);
}

TEST(ConversionPlan, FieldOrderPrecedence) {
    AutoSetupResult guess;
    guess.source_video = kSourceNtsc;
    guess.field_order = kLowerFirst;
    VideoInfo info = sd(720, 480, {30000, 1001});
    Options o;

    ConversionPlan plan;
    ASSERT_FALSE(plan_rates(info, o, plan));
    plan_fields(info, o, &guess, plan);
    EXPECT_EQ(plan.field_order, kLowerFirst);

    // The container's record beats the size-based guess, and that is said.
    info.field_order = FieldOrder::UpperFirst;
    plan = ConversionPlan{};
    ASSERT_FALSE(plan_rates(info, o, plan));
    plan_fields(info, o, &guess, plan);
    EXPECT_EQ(plan.field_order, kUpperFirst);
    ASSERT_FALSE(plan.notes.empty());
    EXPECT_NE(plan.notes.back().find("as the file records it"), std::string::npos);

    // The command line beats both.
    o.field_order = FieldOrderOpt::kLower;
    plan = ConversionPlan{};
    ASSERT_FALSE(plan_rates(info, o, plan));
    plan_fields(info, o, &guess, plan);
    EXPECT_EQ(plan.field_order, kLowerFirst);
}

TEST(ConversionPlan, AudioFollowsOnlyWhenTheDurationIsKept) {
    VideoInfo pal = sd(720, 576, {25, 1});
    pal.has_audio = true;
    Options o;
    ConversionPlan plan;
    ASSERT_FALSE(plan_rates(pal, o, plan));
    EXPECT_TRUE(plan.keep_audio);

    o.rate = CompRate::k23_976;
    plan = ConversionPlan{};
    ASSERT_FALSE(plan_rates(pal, o, plan));
    EXPECT_FALSE(plan.keep_audio);
}

TEST(ConversionPlan, StartAsFrameOrTime) {
    VideoInfo info = sd(720, 576, {25, 1}, 50);
    ConversionPlan plan;
    Options o = parse_ok({"render", "a.mkv", "b.mkv", "--start", "1.0s"});
    EXPECT_FALSE(plan_start(info, o, plan));
    EXPECT_EQ(plan.first_source_frame, 25);
    o = parse_ok({"render", "a.mkv", "b.mkv", "--start", "00:01.5"});
    EXPECT_FALSE(plan_start(info, o, plan));
    EXPECT_EQ(plan.first_source_frame, 37);
    o = parse_ok({"render", "a.mkv", "b.mkv", "--start", "12"});
    EXPECT_FALSE(plan_start(info, o, plan));
    EXPECT_EQ(plan.first_source_frame, 12);
    o = parse_ok({"render", "a.mkv", "b.mkv", "--start", "50"});
    EXPECT_TRUE(plan_start(info, o, plan));
}

TEST(Options, ParsesValuesAndRejectsBadOnes) {
    Options o = parse_ok({"render", "in.mov", "out.mov", "--rate", "29.97", "--field-order=upper", "--motion", "-100",
                          "--pattern-size", "12", "--deartifact", "4:2:0", "--show", "Match Points", "--depth", "16",
                          "-y", "--frames", "5"});
    EXPECT_EQ(o.rate, CompRate::k29_97);
    EXPECT_EQ(o.field_order, FieldOrderOpt::kUpper);
    EXPECT_EQ(o.motion, -100.0);
    EXPECT_EQ(o.pattern_size, 12);
    EXPECT_EQ(o.deartifact, Deartifact::k411);
    EXPECT_EQ(o.show_ordinal, 12);
    EXPECT_EQ(o.depth, 16);
    EXPECT_TRUE(o.overwrite);
    EXPECT_EQ(*o.frames, 5);

    // Views keep their menu positions, separators counted; signs matter.
    EXPECT_EQ(show_view_ordinal("result"), 1);
    EXPECT_EQ(show_view_ordinal("field-2"), 4);
    EXPECT_EQ(show_view_ordinal("Field -1"), 5);
    EXPECT_EQ(show_view_ordinal("field0"), 6);
    EXPECT_EQ(show_view_ordinal("field+1"), 7);
    EXPECT_EQ(show_view_ordinal("data"), 15);
    EXPECT_EQ(show_view_ordinal("field+2"), 0);

    const std::vector<std::vector<std::string>> bad = {
        {"render", "in.mov"},
        {"render", "in.mov", "out.mov", "--rate", "24"},
        {"render", "in.mov", "out.mov", "--pattern-size", "0"},
        {"render", "in.mov", "out.mov", "--pattern-size", "13"},
        {"render", "in.mov", "out.mov", "--motion", "100.5"},
        {"render", "in.mov", "out.mov", "--frames", "0"},
        {"render", "in.mov", "out.mov", "--rate"},
        {"render", "in.mov", "out.mov", "--bogus"},
        {"auto-setup", "in.mov", "--field-order", "upper"},
        {"explode"},
    };
    for (const auto& args : bad) EXPECT_NE(parse_command_line(args).error, "") << args.back();
    EXPECT_EQ(parse_ok({"demo"}).output, "demo-output");
}

}  // namespace
}  // namespace tessen::cli
