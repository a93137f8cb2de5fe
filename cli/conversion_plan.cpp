#include "cli/conversion_plan.h"

#include <cmath>
#include <cstdio>

namespace tessen::cli {

namespace {

std::string rate_text(Rational r) {
    char buf[32];
    double v = r.value();
    if (std::fabs(v - std::round(v)) < 1e-9)
        std::snprintf(buf, sizeof buf, "%.0f", v);
    else
        std::snprintf(buf, sizeof buf, "%.3f", v);
    std::string s = buf;
    // 29.970 -> 29.97, keep 23.976
    while (s.find('.') != std::string::npos && s.back() == '0') s.pop_back();
    return s;
}

// The rate the host interprets source frames at, in the composition's units:
// NTSC runs at exactly 29.97 against a 23.976 or 29.97 composition, PAL at 25,
// and PAL conformed to 23.976 at 23.976.
Rational layer_rate_for(SourceStandard s, CompRate rate) {
    if (s == SourceStandard::kNtsc) return Rational{2997, 100};
    if (rate == CompRate::k23_976) return Rational{23976, 1000};
    return Rational{25, 1};
}

Rational host_rate(const TimeBase& base) {
    return Rational{static_cast<int>(base.time_scale), base.time_step};
}

}  // namespace

TimeBase comp_time_base(CompRate rate) {
    switch (rate) {
        case CompRate::k23_976: return TimeBase{2997, 125};
        case CompRate::k29_97: return TimeBase{2997, 100};
        case CompRate::k25: return TimeBase{2500, 100};
    }
    return TimeBase{};
}

Rational comp_frame_rate(CompRate rate) {
    switch (rate) {
        case CompRate::k23_976: return Rational{24000, 1001};
        case CompRate::k29_97: return Rational{30000, 1001};
        case CompRate::k25: return Rational{25, 1};
    }
    return Rational{25, 1};
}

std::optional<SourceStandard> standard_for_rate(Rational rate) {
    if (rate == Rational{30000, 1001} || rate == Rational{2997, 100}) return SourceStandard::kNtsc;
    if (rate == Rational{25, 1}) return SourceStandard::kPal;
    return std::nullopt;
}

const char* standard_name(SourceStandard s) { return s == SourceStandard::kNtsc ? "NTSC" : "PAL"; }

std::string source_family_text(SourceStandard s, int width, int height) {
    // HD frames run at the same field rates; the effect calls them NTSC or PAL too.
    return std::string(standard_name(s)) + (s == SourceStandard::kNtsc ? " rates (59.94 fields/s), " : " rates (50 fields/s), ") +
           std::to_string(width) + "x" + std::to_string(height);
}

bool conversion_supported(SourceStandard s, CompRate rate) {
    if (s == SourceStandard::kNtsc) return rate == CompRate::k23_976 || rate == CompRate::k29_97;
    return rate == CompRate::k23_976 || rate == CompRate::k25;
}

int minimum_width(int pattern_size) { return 3 * pattern_size; }

Refusal plan_rates(const VideoInfo& info, const Options& options, ConversionPlan& plan) {
    Refusal r;
    const std::optional<SourceStandard> by_rate = standard_for_rate(info.frame_rate);
    if (!by_rate) {
        r.kind = Refusal::Kind::kUnsupported;
        r.message = "unsupported conversion: the video runs at " + rate_text(info.frame_rate) +
                    " fps; tessen converts interlaced NTSC (29.97 fps) or PAL (25 fps) video";
        return r;
    }
    if (options.source && *options.source != *by_rate) {
        r.kind = Refusal::Kind::kUnsupported;
        r.message = std::string("unsupported conversion: --source ") +
                    (*options.source == SourceStandard::kNtsc ? "ntsc needs 29.97" : "pal needs 25") +
                    " fps video, the file runs at " + rate_text(info.frame_rate) + " fps";
        return r;
    }
    plan.standard = *by_rate;
    plan.source_video = plan.standard == SourceStandard::kNtsc ? kSourceNtsc : kSourcePal;
    plan.rate = options.rate ? *options.rate
                             : (plan.standard == SourceStandard::kNtsc ? CompRate::k23_976 : CompRate::k25);
    if (!conversion_supported(plan.standard, plan.rate)) {
        r.kind = Refusal::Kind::kUnsupported;
        r.message = std::string("unsupported conversion: ") + standard_name(plan.standard) + " to " +
                    comp_rate_text(plan.rate) + " fps (" + standard_name(plan.standard) + " converts to " +
                    (plan.standard == SourceStandard::kNtsc ? "23.976 or 29.97" : "23.976 or 25") + ")";
        return r;
    }
    const int min_w = minimum_width(options.pattern_size);
    if (info.width < min_w || info.height < kMinimumHeight) {
        r.kind = Refusal::Kind::kUnsupported;
        r.message = "frame size " + std::to_string(info.width) + "x" + std::to_string(info.height) +
                    " is below the effect's minimum of " + std::to_string(min_w) + "x" +
                    std::to_string(kMinimumHeight) + " (at --pattern-size " + std::to_string(options.pattern_size) +
                    ")";
        return r;
    }
    plan.time_base = comp_time_base(plan.rate);
    plan.comp_rate = comp_frame_rate(plan.rate);
    plan.layer_rate = layer_rate_for(plan.standard, plan.rate);
    plan.conformed = plan.standard == SourceStandard::kPal && plan.rate == CompRate::k23_976;
    plan.depth = options.depth ? options.depth : (info.bits_per_component > 8 ? 16 : 8);
    if (plan.conformed)
        plan.notes.push_back(
            "PAL to 23.976: the source is conformed to 23.976 fps, so every source frame becomes one output "
            "frame and the clip plays 4% longer");
    // The sound follows the picture: cut with --start, --frames and --range,
    // slowed with a conform.
    plan.keep_audio = info.has_audio && !options.no_audio;
    if (plan.keep_audio && plan.conformed)
        plan.notes.push_back(options.audio_pitch_shift
                                 ? "the sound is slowed with the picture and its pitch drops (--audio-pitch shift)"
                                 : "the sound is slowed with the picture, its pitch kept");
    return r;
}

const char* field_basis_reason(FieldBasis b) {
    switch (b) {
    case FieldBasis::kOption: return "as --field-order says";
    case FieldBasis::kContent: return "as its pictures show";
    case FieldBasis::kFlags: return "as its frames are flagged";
    case FieldBasis::kTag: return "as the file records it";
    case FieldBasis::kGuess: break;
    }
    return "as Auto Setup set it, since nothing in the file says (--field-order chooses)";
}

namespace {

const char* order_name(int fo) { return fo == kUpperFirst ? "upper" : "lower"; }

int popup_of(FieldOrder o) {
    return o == FieldOrder::UpperFirst ? kUpperFirst : o == FieldOrder::LowerFirst ? kLowerFirst : 0;
}

}  // namespace

void plan_fields(const VideoInfo& info, const Options& options, const AutoSetupResult* auto_setup,
                 const FieldAnalysis* analysis, ConversionPlan& plan) {
    // Source: the file's frame rate decides (plan_rates); Auto Setup's guess
    // from the frame size is only reported when it disagrees.
    if (!options.source && auto_setup && auto_setup->source_video != plan.source_video &&
        (auto_setup->source_video == kSourceNtsc || auto_setup->source_video == kSourcePal))
        plan.notes.push_back(std::string("the file runs at ") + rate_text(info.frame_rate) + " fps, so it is " +
                             standard_name(plan.standard) + " (Auto Setup guessed " +
                             (auto_setup->source_video == kSourceNtsc ? "NTSC" : "PAL") + " from the frame size)");

    if (options.field_order) {
        plan.field_order = *options.field_order == FieldOrderOpt::kUpper ? kUpperFirst : kLowerFirst;
        plan.field_basis = FieldBasis::kOption;
        return;
    }
    const int guess = auto_setup && (auto_setup->field_order == kUpperFirst || auto_setup->field_order == kLowerFirst)
                          ? auto_setup->field_order
                          : kLowerFirst;
    const FieldOrder tag_order = analysis ? analysis->tag : info.field_order;
    const int content = analysis ? popup_of(analysis->by_content()) : 0;
    const int flags = analysis ? popup_of(analysis->by_flags()) : 0;
    const int tag = popup_of(tag_order);
    const std::string guessed =
        auto_setup ? std::string(" (Auto Setup guessed ") + order_name(guess) + " field first from the frame size)" : "";

    if (content) {
        plan.field_order = content;
        plan.field_basis = FieldBasis::kContent;
        // The file may say otherwise in its frames' flags or in its tag.
        const int said = flags && flags != content ? flags : tag && tag != content ? tag : 0;
        if (said)
            plan.notes.push_back(std::string("the file says ") + order_name(said) + " field first; its pictures are " +
                                 order_name(content) + " field first: using " + order_name(content));
        else
            plan.notes.push_back(std::string("field order: ") + order_name(content) +
                                 " field first, as the pictures show" + (content != guess ? guessed : ""));
        return;
    }
    if (flags) {
        plan.field_order = flags;
        plan.field_basis = FieldBasis::kFlags;
        if (tag && tag != flags)
            plan.notes.push_back(std::string("the file's container says ") + order_name(tag) +
                                 " field first; its frames are flagged " + order_name(flags) +
                                 " field first: using " + order_name(flags));
        else
            plan.notes.push_back(std::string("field order: ") + order_name(flags) +
                                 " field first, as the frames are flagged" + (flags != guess ? guessed : ""));
        return;
    }
    if (tag) {
        plan.field_order = tag;
        plan.field_basis = FieldBasis::kTag;
        plan.notes.push_back(std::string("field order: ") + order_name(tag) + " field first, as the file records it" +
                             (tag != guess ? guessed : ""));
        return;
    }
    plan.field_order = guess;
    plan.field_basis = FieldBasis::kGuess;
    if (tag_order == FieldOrder::Progressive)
        plan.notes.push_back(std::string("the file is marked progressive; converting it as interlaced, ") +
                             order_name(guess) + " field first");
    else if (auto_setup && auto_setup->succeeded)
        plan.notes.push_back(std::string("field order: ") + order_name(guess) +
                             " field first, as Auto Setup guessed from the frame size (nothing in the file says)");
}

Refusal refuse_unfielded(const FieldAnalysis& analysis, const Options& options) {
    Refusal r;
    // Progressive frames with repeat-field flags play as interlaced video
    // (soft pulldown): not refused.
    if (options.force || options.field_order || analysis.repeats_field > 0) return r;
    if (analysis.still()) {
        r.kind = Refusal::Kind::kUnsupported;
        r.message = "a still image: one picture has no fields to deinterlace (--force converts it as a one-frame clip)";
        return r;
    }
    const FieldOrder content = analysis.by_content();
    const bool marked = analysis.tag == FieldOrder::Progressive && analysis.flagged_interlaced == 0;
    if (content == FieldOrder::Progressive || (content == FieldOrder::Unknown && marked)) {
        r.kind = Refusal::Kind::kUnsupported;
        r.message = "the video is progressive (" +
                    std::string(content == FieldOrder::Progressive
                                    ? "no combing in its first " + std::to_string(analysis.frames) + " frames"
                                    : "the file marks it so and its pictures do not say otherwise") +
                    "): there are no fields to deinterlace; --force converts it anyway";
    }
    return r;
}

std::string auto_setup_follow_up(const VideoInfo& info, const ConversionPlan& plan) {
    const std::string why = field_basis_reason(plan.field_basis);
    return "Auto Setup could not place " + std::to_string(info.width) + "x" + std::to_string(info.height) +
           "; tessen uses " + standard_name(plan.standard) + ", from the file's " + rate_text(info.frame_rate) +
           " fps, and " + order_name(plan.field_order) + " field first, " + why;
}

Refusal plan_start(const VideoInfo& info, const Options& options, ConversionPlan& plan) {
    Refusal r;
    plan.first_source_frame = 0;
    if (!options.start) return r;
    const StartPoint& sp = *options.start;
    if (sp.is_time) {
        // The frame showing at that time; a hair of tolerance so 1.0s at 25 fps is frame 25.
        plan.first_source_frame =
            static_cast<int64_t>(std::floor(sp.seconds * info.frame_rate.value() + 1e-6));
    } else {
        plan.first_source_frame = sp.frame;
    }
    if (info.frame_count > 0 && plan.first_source_frame >= info.frame_count) {
        r.kind = Refusal::Kind::kUsage;
        r.message = "--start is beyond the end of the video (" + std::to_string(info.frame_count) + " frames)";
    }
    return r;
}

int64_t output_frame_count(int64_t source_frames, const ConversionPlan& plan, std::optional<int64_t> frames_cap) {
    if (source_frames <= 0) return 0;
    // Output frame k shows time k / comp; it is inside the source while
    // k / comp < frames / layer, i.e. k * comp.den * layer.num < frames * comp.num * layer.den.
    const Rational comp = host_rate(plan.time_base);
    const Rational layer = plan.layer_rate;
    const __int128 num = static_cast<__int128>(source_frames) * comp.num * layer.den;
    const __int128 den = static_cast<__int128>(comp.den) * layer.num;
    int64_t count = static_cast<int64_t>((num + den - 1) / den);
    if (frames_cap && *frames_cap < count) count = *frames_cap;
    return count;
}

int64_t source_frame_at(int64_t time, const TimeBase& base, Rational layer_rate) {
    if (time <= 0) return 0;
    const __int128 num = static_cast<__int128>(time) * layer_rate.num;
    const __int128 den = static_cast<__int128>(base.time_scale) * layer_rate.den;
    return static_cast<int64_t>(num / den);
}

}  // namespace tessen::cli
