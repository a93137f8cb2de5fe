// What the first pictures of a video say about its fields: how each decoded
// frame is flagged (interlaced, top field first), what the container's tag
// says, and what the content itself shows — which field order makes woven
// neighbouring fields smoother, and whether the frames are combed at all.
//
// The measure is our own rather than libavfilter's idet: it works on the
// luma of the decoded frames directly, its per-frame numbers are kept for
// whoever needs them (field order here, cadence of pulled-down film
// elsewhere), and it needs no filter graph beside the decoder.
#pragma once

#include "cli/video_io.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessen::cli {

// One picture's luma, 8 bits, rows packed.
struct LumaPlane {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> pixels;
    const uint8_t* row(int y) const { return pixels.data() + size_t(y) * size_t(width); }
};

// Combing of the picture woven from the upper field (even lines) of `upper`
// and the lower field (odd lines) of `lower`: the mean over the inner lines
// of |above + below - 2 * line|, where above and below belong to the other
// field. Fields of one instant weave smoothly; fields of different instants
// comb where things move. Planes must be the same size.
double weave_comb(const LumaPlane& upper, const LumaPlane& lower);

// The combing of the three weaves that tell the orders apart, for frame A and
// the frame B after it.
struct WeaveMeasure {
    double own = 0;          // A's fields together
    double upper_first = 0;  // A's lower field with B's upper: half a field apart when upper comes first
    double lower_first = 0;  // A's upper field with B's lower: half a field apart when lower comes first
};
WeaveMeasure measure_pair(const LumaPlane& a, const LumaPlane& b);

// What one measure says.
enum class ContentVerdict { kUndecided, kUpperFirst, kLowerFirst, kProgressive };
ContentVerdict verdict_of(const WeaveMeasure& m);

struct FrameReport {
    bool flagged_interlaced = false;
    bool flagged_top_first = false;
    bool repeats_field = false;  // soft pulldown: shown for three fields
    WeaveMeasure measure;  // against the next frame; zero for the last one
    ContentVerdict verdict = ContentVerdict::kUndecided;
    // Its own fields come from different instants.
    bool combed() const {
        return verdict == ContentVerdict::kUpperFirst || verdict == ContentVerdict::kLowerFirst;
    }
};

struct FieldAnalysis {
    FieldOrder tag = FieldOrder::Unknown;  // the container's or codec's field order, as read
    int frames = 0;                        // frames decoded (at most the number asked for)
    bool ended = false;                    // the video ended within them
    std::vector<FrameReport> per_frame;
    int upper_votes = 0, lower_votes = 0, progressive_votes = 0;
    int flagged_interlaced = 0, flagged_top_first = 0, repeats_field = 0;

    // One picture only.
    bool still() const { return ended && frames == 1; }
    // UpperFirst / LowerFirst / Progressive when the pictures show it, else Unknown.
    FieldOrder by_content() const;
    // UpperFirst / LowerFirst when the frames are flagged interlaced, else Unknown.
    FieldOrder by_flags() const;
};

// Tallies the reports into votes.
void count_votes(FieldAnalysis& a);

// Decodes up to `max_frames` frames of the first video stream and measures
// them. Never throws for a damaged stream: it measures what decodes and
// leaves the error to the reader. Throws CliError when the file cannot be
// opened at all.
FieldAnalysis analyse_fields(const std::string& path, int max_frames = 48);

}  // namespace tessen::cli
