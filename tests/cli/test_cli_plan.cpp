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

TEST(ConversionPlan, FrameCountsDefaultsAndCadencePerSupportedConversion) {
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
    // NTSC to film: output frame k falls in source frame floor(1.25 k).
    Options o;
    ConversionPlan plan;
    ASSERT_FALSE(plan_rates(sd(720, 480, {30000, 1001}), o, plan));
    const int64_t cadence[] = {0, 1, 2, 3, 5, 6, 7, 8, 10};
    for (int k = 0; k < 9; ++k)
        EXPECT_EQ(source_frame_at(k * plan.time_base.time_step, plan.time_base, plan.layer_rate), cadence[k]) << k;
}

// NTSC to 25 and 24 fps sources are refused end to end; here the rest of
// the refusals, and the minimum size (3 x "Detail Pattern Size" wide, 5 high)
// at its edges.
TEST(ConversionPlan, RefusalsBeforeRendering) {
    struct Case {
        int w, h;
        Rational rate;
        std::optional<CompRate> comp;
        std::optional<SourceStandard> source;
        int pattern_size;
        bool refused;
        const char* says;
    };
    const Case cases[] = {
        {720, 576, {25, 1}, CompRate::k29_97, std::nullopt, 4, true, "PAL to 29.97"},
        {720, 480, {30000, 1001}, std::nullopt, SourceStandard::kPal, 4, true, "pal needs 25"},
        {12, 5, {30000, 1001}, std::nullopt, std::nullopt, 4, false, ""},
        {11, 5, {30000, 1001}, std::nullopt, std::nullopt, 4, true, "12x5"},
        {12, 4, {30000, 1001}, std::nullopt, std::nullopt, 4, true, ""},
        {35, 480, {30000, 1001}, std::nullopt, std::nullopt, 12, true, "36x5"},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(std::to_string(c.w) + "x" + std::to_string(c.h));
        Options o;
        o.rate = c.comp;
        o.source = c.source;
        o.pattern_size = c.pattern_size;
        ConversionPlan plan;
        const Refusal r = plan_rates(sd(c.w, c.h, c.rate), o, plan);
        EXPECT_EQ(r.kind, c.refused ? Refusal::Kind::kUnsupported : Refusal::Kind::kNone) << r.message;
        EXPECT_NE(r.message.find(c.says), std::string::npos) << r.message;
    }
}

// The command line beats the file's record, which beats Auto Setup's guess
// from the frame size (the program says so; checked end to end).
TEST(ConversionPlan, FieldOrderPrecedence) {
    AutoSetupResult guess;
    guess.source_video = kSourceNtsc;
    guess.field_order = kLowerFirst;
    struct Case {
        FieldOrder file;
        std::optional<FieldOrderOpt> option;
        int expected;
    };
    const Case cases[] = {
        {FieldOrder::Unknown, std::nullopt, kLowerFirst},
        {FieldOrder::UpperFirst, std::nullopt, kUpperFirst},
        {FieldOrder::UpperFirst, FieldOrderOpt::kLower, kLowerFirst},
    };
    for (const Case& c : cases) {
        VideoInfo info = sd(720, 480, {30000, 1001});
        info.field_order = c.file;
        Options o;
        o.field_order = c.option;
        ConversionPlan plan;
        ASSERT_FALSE(plan_rates(info, o, plan));
        plan_fields(info, o, &guess, plan);
        EXPECT_EQ(plan.field_order, c.expected) << int(c.file) << " " << c.option.has_value();
    }
}

TEST(ConversionPlan, StartAsFrameOrTime) {
    const VideoInfo info = sd(720, 576, {25, 1}, 50);
    const std::pair<const char*, int64_t> cases[] = {{"1.0s", 25}, {"00:01.5", 37}, {"12", 12}, {"50", -1}};
    for (const auto& [start, frame] : cases) {
        SCOPED_TRACE(start);
        ConversionPlan plan;
        const bool refused = bool(plan_start(info, parse_ok({"render", "a.mkv", "b.mkv", "--start", start}), plan));
        EXPECT_EQ(refused, frame < 0);  // past the last frame
        if (frame >= 0) {
            EXPECT_EQ(plan.first_source_frame, frame);
        }
    }
}

TEST(Options, ParsesValuesAndRejectsBadOnes) {
    Options o = parse_ok({"render", "in.mov", "out.mov", "--rate", "29.97", "--field-order=upper", "--motion", "-100",
                          "--pattern-size", "12", "--deartifact", "4:2:0", "--show", "Match Points", "--depth", "16",
                          "-y", "--frames", "5", "--threads", "1", "--jobs", "3", "--range", "10-19"});
    EXPECT_EQ(o.rate, CompRate::k29_97);
    EXPECT_EQ(o.field_order, FieldOrderOpt::kUpper);
    EXPECT_EQ(o.motion, -100.0);
    EXPECT_EQ(o.pattern_size, 12);
    EXPECT_EQ(o.deartifact, Deartifact::k411);
    EXPECT_EQ(o.show_ordinal, 12);
    EXPECT_EQ(o.depth, 16);
    EXPECT_TRUE(o.overwrite);
    EXPECT_EQ(*o.frames, 5);
    EXPECT_EQ(o.threads, 1);
    EXPECT_EQ(o.jobs, 3);
    EXPECT_EQ(o.range->first, 10);
    EXPECT_EQ(*o.range->last, 19);
    EXPECT_FALSE(parse_ok({"render", "in.mov", "out.mov", "--range", "7-"}).range->last);  // to the end
    EXPECT_EQ(parse_ok({"render", "in.mov", "out.mov"}).threads, 0);  // the pipeline by default

    // Views keep their menu positions, separators counted; signs matter.
    const std::pair<const char*, int> views[] = {{"result", 1}, {"field-2", 4}, {"Field -1", 5}, {"field0", 6},
                                                 {"field+1", 7}, {"data", 15},   {"field+2", 0}};
    for (const auto& [name, ordinal] : views) EXPECT_EQ(show_view_ordinal(name), ordinal) << name;

    // Each after "render in.mov out.mov".
    const std::vector<std::vector<std::string>> bad = {
        {"--rate", "24"}, {"--pattern-size", "0"}, {"--pattern-size", "13"}, {"--motion", "100.5"},
        {"--frames", "0"}, {"--rate"},           {"--bogus"},           {"--threads", "0"},
        {"--jobs", "0"},   {"--range", "9-8"},   {"--range", "-5"},     {"--range", "1-x"},
    };
    for (const auto& more : bad) {
        std::vector<std::string> args = {"render", "in.mov", "out.mov"};
        args.insert(args.end(), more.begin(), more.end());
        EXPECT_NE(parse_command_line(args).error, "") << more[0];
    }
    for (const std::vector<std::string>& args : {std::vector<std::string>{"render", "in.mov"},
                                                 {"auto-setup", "in.mov", "--field-order", "upper"}, {"explode"}})
        EXPECT_NE(parse_command_line(args).error, "") << args.back();
}

}  // namespace
}  // namespace tessen::cli
