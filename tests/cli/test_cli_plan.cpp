// Decisions tessen makes before rendering: rates, refusals, field order
// precedence, frame counts, and the command-line parser's edge cases.
#include "cli/conversion_plan.h"
#include "cli/options.h"
#include "cli/progress.h"
#include "cli/timecode.h"

#include <cstdio>

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

// What the first frames show, as the analysis reports it.
FieldAnalysis seen(FieldOrder tag, int upper, int lower, int progressive, int flagged, int top_first, int frames = 12) {
    FieldAnalysis a;
    a.tag = tag;
    a.frames = frames;
    a.ended = frames < 48;
    a.upper_votes = upper;
    a.lower_votes = lower;
    a.progressive_votes = progressive;
    a.flagged_interlaced = flagged;
    a.flagged_top_first = top_first;
    return a;
}

// --field-order beats the pictures, which beat the frames' flags, which beat
// the container's tag, which beats Auto Setup's guess from the frame size;
// where the file and its pictures disagree, one line says so.
TEST(ConversionPlan, FieldOrderPrecedence) {
    AutoSetupResult guess;
    guess.source_video = kSourceNtsc;
    guess.field_order = kLowerFirst;
    guess.succeeded = true;
    using F = FieldOrder;
    struct Case {
        FieldAnalysis seen;
        std::optional<FieldOrderOpt> option;
        int expected;
        FieldBasis basis;
        const char* says;
    };
    const Case cases[] = {
        {seen(F::Unknown, 0, 0, 0, 0, 0), std::nullopt, kLowerFirst, FieldBasis::kGuess, "as Auto Setup guessed"},
        {seen(F::UpperFirst, 0, 0, 0, 0, 0), std::nullopt, kUpperFirst, FieldBasis::kTag, "as the file records it"},
        {seen(F::UpperFirst, 0, 0, 0, 12, 0), std::nullopt, kLowerFirst, FieldBasis::kFlags,
         "the file's container says upper field first; its frames are flagged lower field first: using lower"},
        // An MXF file tagged one way whose frames and pictures say the other.
        {seen(F::UpperFirst, 0, 9, 0, 12, 0), std::nullopt, kLowerFirst, FieldBasis::kContent,
         "the file says upper field first; its pictures are lower field first: using lower"},
        {seen(F::LowerFirst, 0, 9, 0, 12, 0), std::nullopt, kLowerFirst, FieldBasis::kContent,
         "lower field first, as the pictures show"},
        {seen(F::UpperFirst, 0, 9, 1, 12, 12), std::nullopt, kLowerFirst, FieldBasis::kContent,
         "the file says upper field first; its pictures are lower field first: using lower"},
        {seen(F::LowerFirst, 8, 1, 0, 0, 0), std::nullopt, kUpperFirst, FieldBasis::kContent,
         "the file says lower field first; its pictures are upper field first: using upper"},
        // Too few or mixed votes: the pictures do not decide.
        {seen(F::UpperFirst, 1, 0, 0, 0, 0), std::nullopt, kUpperFirst, FieldBasis::kTag, ""},
        {seen(F::UpperFirst, 4, 3, 0, 0, 0), std::nullopt, kUpperFirst, FieldBasis::kTag, ""},
        {seen(F::UpperFirst, 0, 9, 0, 12, 12), FieldOrderOpt::kUpper, kUpperFirst, FieldBasis::kOption, ""},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.says);
        VideoInfo info = sd(720, 480, {30000, 1001});
        Options o;
        o.field_order = c.option;
        ConversionPlan plan;
        ASSERT_FALSE(plan_rates(info, o, plan));
        plan_fields(info, o, &guess, &c.seen, plan);
        EXPECT_EQ(plan.field_order, c.expected);
        EXPECT_EQ(plan.field_basis, c.basis);
        if (c.basis == FieldBasis::kOption) continue;
        ASSERT_EQ(plan.notes.size(), 1u);
        EXPECT_NE(plan.notes[0].find(c.says), std::string::npos) << plan.notes[0];
    }
    // Without an analysis the reader's field order is the tag.
    VideoInfo info = sd(720, 480, {30000, 1001});
    info.field_order = FieldOrder::UpperFirst;
    ConversionPlan plan;
    ASSERT_FALSE(plan_rates(info, Options{}, plan));
    plan_fields(info, Options{}, &guess, nullptr, plan);
    EXPECT_EQ(plan.field_basis, FieldBasis::kTag);

    // After Auto Setup's "Failed", one line says what was chosen and why.
    const VideoInfo imx = sd(720, 512, {30000, 1001});
    AutoSetupResult failed = guess;
    failed.succeeded = false;
    const FieldAnalysis lower = seen(F::UpperFirst, 0, 9, 0, 12, 0);
    ConversionPlan imx_plan;
    ASSERT_FALSE(plan_rates(imx, Options{}, imx_plan));
    plan_fields(imx, Options{}, &failed, &lower, imx_plan);
    EXPECT_EQ(auto_setup_follow_up(imx, imx_plan),
              "Auto Setup could not place 720x512; tessen uses NTSC, from the file's 29.97 fps, and lower field "
              "first, as its pictures show");
}

// Progressive sources and still images are refused unless forced or the
// order is given; pulled-down film (clean and combed frames) is interlaced.
TEST(ConversionPlan, ProgressiveAndStillSourcesAreRefused) {
    using F = FieldOrder;
    struct Case {
        FieldAnalysis seen;
        const char* says;  // nullptr: accepted
    };
    const Case cases[] = {
        {seen(F::Unknown, 0, 0, 11, 0, 0), "no combing in its first 12 frames"},
        {seen(F::UpperFirst, 0, 0, 11, 12, 12), "no combing"},  // wrongly flagged
        {seen(F::Progressive, 0, 0, 0, 0, 0), "the file marks it so"},
        {seen(F::Unknown, 0, 0, 0, 0, 0, 1), "a still image"},
        {seen(F::Progressive, 0, 0, 0, 12, 0), nullptr},         // flagged interlaced, static
        {seen(F::Progressive, 0, 4, 7, 0, 0), nullptr},          // hard 3:2 pulldown
        {seen(F::Unknown, 0, 0, 0, 0, 0), nullptr},              // nothing says
        {[] {
             FieldAnalysis soft = seen(F::Progressive, 0, 0, 11, 0, 0);
             soft.repeats_field = 5;  // soft pulldown
             return soft;
         }(),
         nullptr},
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(c.says ? c.says : "accepted");
        Options o;
        Refusal r = refuse_unfielded(c.seen, o);
        EXPECT_EQ(r.kind, c.says ? Refusal::Kind::kUnsupported : Refusal::Kind::kNone);
        if (!c.says) continue;
        EXPECT_NE(r.message.find(c.says), std::string::npos) << r.message;
        EXPECT_NE(r.message.find("--force"), std::string::npos) << r.message;
        o.force = true;
        EXPECT_FALSE(refuse_unfielded(c.seen, o));
        o.force = false;
        o.field_order = FieldOrderOpt::kLower;
        EXPECT_FALSE(refuse_unfielded(c.seen, o));
    }
}

// The field measure itself: a pan woven either way, and the same pan whole.
TEST(FieldAnalysis, WeavesTellTheOrderAndProgressiveFrames) {
    // A vertical edge moving 4 pixels per field, with fields at instants t.
    auto picture = [](double upper_t, double lower_t) {
        LumaPlane p;
        p.width = 64;
        p.height = 32;
        p.pixels.resize(64 * 32);
        for (int y = 0; y < 32; ++y)
            for (int x = 0; x < 64; ++x) p.pixels[size_t(y) * 64 + x] = x < 16 + 4 * ((y & 1) ? lower_t : upper_t) ? 200 : 30;
        return p;
    };
    EXPECT_EQ(verdict_of(measure_pair(picture(0, 1), picture(2, 3))), ContentVerdict::kUpperFirst);
    EXPECT_EQ(verdict_of(measure_pair(picture(1, 0), picture(3, 2))), ContentVerdict::kLowerFirst);
    EXPECT_EQ(verdict_of(measure_pair(picture(0, 0), picture(2, 2))), ContentVerdict::kProgressive);
    EXPECT_EQ(verdict_of(measure_pair(picture(0, 0), picture(0, 0))), ContentVerdict::kUndecided);
}

// The last progress line counts the frames written, not the estimate.
TEST(Progress, LastLineCountsTheFramesDone) {
    std::FILE* f = std::tmpfile();
    ASSERT_NE(f, nullptr);
    {
        Progress p(62, Progress::Style::kLines, f);
        for (int k = 1; k <= 63; ++k) p.update(k);
        p.finish(63);
    }
    std::rewind(f);
    char line[256] = {}, last[256] = {};
    while (std::fgets(line, sizeof line, f)) std::snprintf(last, sizeof last, "%s", line);
    std::fclose(f);
    EXPECT_EQ(std::string(last).rfind("63/63 frames", 0), 0u) << last;
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
        {"--range", "0-9223372036854775807"},
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

TEST(Timecode, StartIsCarriedToTheOutputsRate) {
    const Rational ntsc{30000, 1001}, film{24000, 1001}, pal{25, 1};
    struct Case {
        const char* source;
        Rational in, out;
        bool conformed;
        int64_t skipped;
        const char* want;
    };
    const Case cases[] = {
        {"01:00:00;00", ntsc, ntsc, false, 0, "01:00:00;00"},   // drop-frame kept
        {"01:00:00;00", ntsc, ntsc, false, 30, "01:00:01;00"},  // --start 30
        {"00:00:59;29", ntsc, ntsc, false, 1, "00:01:00;02"},   // ;00 and ;01 are dropped
        {"01:00:00:00", ntsc, film, false, 0, "01:00:00:00"},   // non-drop: 4 frames for 5 land on the same label
        {"01:00:00;00", ntsc, film, false, 0, "00:59:56:10"},   // 3599.996 s, at 24 frames per 1.001 s
        {"10:00:00:00", pal, pal, false, 0, "10:00:00:00"},
        {"10:00:00:12", pal, film, true, 0, "10:00:00:11"},     // a conform keeps the label
        {"10:00:00:00", pal, film, true, 50, "10:00:02:02"},    // ... and moves one frame per source frame
        {"", pal, pal, false, 0, ""},
        {"not a timecode", pal, pal, false, 0, ""},
    };
    for (const Case& c : cases)
        EXPECT_EQ(output_timecode(c.source, c.in, c.out, c.conformed, c.skipped), c.want)
            << c.source << " +" << c.skipped;
}

}  // namespace
}  // namespace tessen::cli
