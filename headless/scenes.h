// Moving pictures made in code, for the tests and tools that render through
// the headless host: each row is drawn at its own field's instant (upper
// field first), so motion combs as real interlaced video does.
#pragma once
#include "headless/effect.h"

#include <functional>

namespace headless::scenes {

// Colour of pixel (x, y) at field instant `halfFields` (two a frame), 0..255.
using Scene = std::function<PF_Pixel(A_long x, A_long y, A_long halfFields)>;

// A textured pan: soft ramps drifting half a pixel a field (motion near the
// motion detector's thresholds), hard stripes and a block moving fast the
// other way; the alpha varies across the picture.
PF_Pixel pan(A_long x, A_long y, A_long halfFields);

// Half of the picture still and detailed, half a soft-edged disc crossing it.
PF_Pixel still_and_moving(A_long x, A_long y, A_long halfFields);

// Hard diagonal stripes leaning left as they go down, drifting right a
// pixel a field: at the left edge the best match of a line lies left of
// the frame, in the row above.
PF_Pixel diagonal_stripes(A_long x, A_long y, A_long halfFields);

// An 8-frame clip of the scene at `fps`; 16-bit clips carry the 8-bit values
// scaled with a little of each channel's own offset, so they are not plain
// copies of the 8-bit ones.
InputClip interlaced_clip(A_long width, A_long height, double fps, bool deep, Scene scene);

}  // namespace headless::scenes
