// The source's start timecode carried to the output's own rate.
#pragma once

#include "cli/video_io.h"

#include <cstdint>
#include <string>

namespace tessen::cli {

// The output's start timecode, or "" when `source` is not a timecode of
// `source_rate`. `skipped` source frames (--start) move the start first.
// A rate change keeps the start instant: 29.97 drop-frame 01:00:00;00 at
// 23.976 is 24-frame non-drop 00:59:56:10, the frame shown at that moment.
// A conform (one output frame per source frame) keeps the label instead:
// 25 fps 10:00:00:00 stays 10:00:00:00 at 23.976. 29.97 output keeps the
// source's drop-frame counting; 23.976 output never drops. A piece of a
// longer run starts `later` output frames after the run's start.
std::string output_timecode(const std::string& source, Rational source_rate, Rational out_rate, bool conformed,
                            int64_t skipped, int64_t later = 0);

}  // namespace tessen::cli
