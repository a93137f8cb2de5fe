// tessen demo: converts the built-in interlaced clip and shows how the result
// compares with the scene it was made from.
#pragma once

#include "cli/demo_scene.h"
#include "cli/options.h"
#include "cli/video_io.h"

#include <vector>

namespace tessen::cli {

int run_demo(const Options& options);

// 8-bit host frame (A, R, G, B; alpha opaque) from an RGB picture and back.
HostFrame host_frame_from_rgb(const RgbImage& image);
RgbImage rgb_from_host_frame(const HostFrame& frame);

// The NTSC field shown at output frame k of a 23.976 conversion, counted in
// 59.94 fields: floor(2.5 k + 0.499), the effect's own field timing.
int ntsc_field_at_23976(int k);

}  // namespace tessen::cli
