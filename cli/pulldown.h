// 3:2 pulldown: film at 23.976 frames per second shown on NTSC by giving its
// frames three fields and two in turn. Found on the field sequence (hard
// pulldown, or soft pulldown as the reader shows it), and undone by pairing
// the fields that came from one film frame again: such a frame equals the
// film frame exactly, which no deinterlacer can rebuild. Only the output
// frames whose fields do not pair (orphan fields at edits, video-origin
// stretches) are left to the effect.
//
// The pairing decision is made here rather than by a field-matching filter:
// the rule is "a recovered frame is the film frame, bit for bit, or the frame
// goes to the effect", so a pair is only taken where the repeated fields say
// where the film frames lie and the pair weaves without combing; a filter that
// always outputs its best match would hand over blended or combed frames.
#pragma once

#include "cli/video_io.h"

#include <cstdint>
#include <string>
#include <vector>

namespace tessen::cli {

// Measures of field j of the sequence (fields in display order; frame i gives
// fields 2i and 2i + 1).
struct FieldMeasure {
    double repeat = -1;  // mean difference to field j - 2 (same parity); -1 for the first two
    double comb = -1;    // combing of fields j - 1 and j woven together; -1 for the first
};

// Measures the fields of frames handed in order.
class FieldMeter {
public:
    explicit FieldMeter(bool upper_first) : upper_first_(upper_first) {}
    void add(const HostFrame& frame);
    const std::vector<FieldMeasure>& fields() const { return fields_; }

private:
    bool upper_first_;
    std::vector<float> previous_;  // brightness of the frame before, row by row
    std::vector<float> current_;
    std::vector<FieldMeasure> fields_;
};

// Which output frames (at 23.976, frame k showing field floor(5k / 2)) are
// film frames put back together, and from which source frames their fields come.
struct PulldownPlan {
    struct Slot {
        int64_t upper_frame = -1;  // source frame of the upper field; -1: rendered by the effect
        int64_t lower_frame = -1;
        bool recovered() const { return upper_frame >= 0; }
    };
    std::vector<Slot> slots;  // one per output frame
    int phase = -1;           // field (0-4) of a cycle where its three-field film frame begins; -1: no cadence
    int phase_changes = 0;
    int64_t recovered = 0;
    int64_t rendered = 0;
    bool found() const { return recovered > 0; }
    // "3:2 pulldown (phase 2): 70 film frames recovered, 2 rendered by the effect"
    std::string summary() const;
};

PulldownPlan plan_pulldown(const std::vector<FieldMeasure>& fields, bool upper_first, int64_t output_frames);

// Reads the video at `path` once, from source frame `first_frame` and at most
// `max_frames` frames (-1: all), and plans the output frames of a 23.976
// conversion (as many as output_frame_count gives for the frames read, capped
// by `frames_cap` when not negative). Read errors are thrown as CliError.
PulldownPlan analyse_pulldown(const std::string& path, int64_t first_frame, int64_t max_frames, bool upper_first,
                              int64_t frames_cap);

// A frame of the upper field of one frame and the lower field of another.
void weave_fields(const HostFrame& upper, const HostFrame& lower, HostFrame& out);

}  // namespace tessen::cli
