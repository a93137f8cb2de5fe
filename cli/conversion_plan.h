// What a render will do, decided up front from the source's facts and the
// options: the standard, the composition rate, how the footage is
// interpreted, how many frames come out, whether audio can follow. Refusals
// (unsupported rates, frames below the effect's minimum) are found here,
// before anything is rendered.
#pragma once

#include "cli/field_analysis.h"
#include "cli/options.h"
#include "cli/video_io.h"

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace tessen::cli {

// The effect's popup values.
constexpr int kSourceNtsc = 1, kSourcePal = 2;
constexpr int kUpperFirst = 1, kLowerFirst = 2;

// Exact composition time base After Effects uses for a rate: 23.976 is
// 2997 / 125 and 29.97 is 2997 / 100 (not 30000 / 1001), so the effect's
// exact rate comparisons hold.
struct TimeBase {
    uint32_t time_scale = 25;
    int32_t time_step = 1;
};
TimeBase comp_time_base(CompRate rate);
Rational comp_frame_rate(CompRate rate);  // 24000/1001, 30000/1001, 25/1

// The source standard a frame rate stands for, if any.
std::optional<SourceStandard> standard_for_rate(Rational rate);
const char* standard_name(SourceStandard s);  // "NTSC", "PAL"
// The source family in words for people who do not know the standards by
// name: "NTSC rates (59.94 fields/s), 1920x1080", "PAL rates (50 fields/s), 720x576".
std::string source_family_text(SourceStandard s, int width, int height);

// Supported conversions: NTSC to 23.976 or 29.97, PAL to 23.976 or 25.
bool conversion_supported(SourceStandard s, CompRate rate);

// The effect's minimum layer size for a "Detail Pattern Size".
int minimum_width(int pattern_size);
constexpr int kMinimumHeight = 5;

// A refusal before rendering: one line, and the kind decides the exit code.
struct Refusal {
    enum class Kind { kNone, kUnsupported, kUsage };
    Kind kind = Kind::kNone;
    std::string message;  // without the file name
    explicit operator bool() const { return kind != Kind::kNone; }
};

// The values Auto Setup set and what it said.
struct AutoSetupResult {
    int source_video = 0;  // kSourceNtsc / kSourcePal
    int field_order = 0;   // kUpperFirst / kLowerFirst
    bool succeeded = false;
    std::string message;   // the effect's own text, as it wrote it
};

// What settled the field order, strongest first.
enum class FieldBasis { kOption, kContent, kFlags, kTag, kGuess };
const char* field_basis_reason(FieldBasis b);  // "as its pictures show", ...

struct ConversionPlan {
    SourceStandard standard = SourceStandard::kNtsc;
    CompRate rate = CompRate::k23_976;
    TimeBase time_base;
    Rational comp_rate;       // exact output frame rate
    Rational layer_rate;      // rate the source frames are interpreted at
    bool conformed = false;   // PAL at 23.976: slowed, one output frame per source frame
    int field_order = kLowerFirst;
    FieldBasis field_basis = FieldBasis::kGuess;
    int source_video = kSourceNtsc;
    int64_t first_source_frame = 0;
    int depth = 8;
    bool keep_audio = false;
    std::vector<std::string> notes;  // said to the user before rendering
};

// Decides the standard and the composition rate; a refusal when the pair is
// not supported or the frame is too small. Needs no Auto Setup.
Refusal plan_rates(const VideoInfo& info, const Options& options, ConversionPlan& plan);

// Settles source and field order. The field order comes from --field-order,
// else what the pictures show, else how the frames are flagged, else the
// container's tag (the analysis's, else the reader's), else Auto Setup's
// guess from the frame size. `analysis` and `auto_setup` may be null.
void plan_fields(const VideoInfo& info, const Options& options, const AutoSetupResult* auto_setup,
                 const FieldAnalysis* analysis, ConversionPlan& plan);

// A refusal for a still image or a progressive source, unless --force or
// --field-order says to convert it anyway.
Refusal refuse_unfielded(const FieldAnalysis& analysis, const Options& options);

// The line said after Auto Setup's "Failed" message: what tessen chose
// instead, and why.
std::string auto_setup_follow_up(const VideoInfo& info, const ConversionPlan& plan);

// First source frame of --start; a refusal when it lies beyond a known end.
Refusal plan_start(const VideoInfo& info, const Options& options, ConversionPlan& plan);

// Output frames for `source_frames` available source frames: every output
// frame whose time falls inside the source's duration, capped by --frames.
int64_t output_frame_count(int64_t source_frames, const ConversionPlan& plan,
                           std::optional<int64_t> frames_cap = std::nullopt);

// Source frame index (counted from the plan's first frame) shown at a layer
// time given in the composition's time base; truncates as a host maps a time
// to the frame it falls in.
int64_t source_frame_at(int64_t time, const TimeBase& base, Rational layer_rate);

}  // namespace tessen::cli
