// Segment filler of the directional merge: builds the missing line below a
// field line between two match points.
#pragma once
#include "image/float_world.h"

// One match of the directional search, four floats in this order.
struct MatchPoint {
    float start;     // x in field row y
    float end;       // x in field row y + 1 the start was matched with
    float midpoint;  // (start + end) / 2
    float score;
};

// Fills the output line below field row `y` for the columns from
// truncate(previous.midpoint) up to (not including) floor(current.midpoint).
// `difference` and `output` point at column `segmentStart` of the motion-map
// row and of the output row below. Each pixel is the weave pixel of
// `fieldPlus1` blended by the motion value with, for the result
// (`isResult`), the mean of two `field0` samples taken along the direction
// from the match starts to the match ends, or, for the "Source" view, opaque
// yellow.
using FillSegmentFn = void (*)(bool upper, bool isResult, long y, long segmentStart,
                               const MatchPoint& previous, const MatchPoint& current,
                               const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                               const float* difference, float* output);

// The two builds give bit-identical results.
void FillSegment_regular(bool upper, bool isResult, long y, long segmentStart,
                         const MatchPoint& previous, const MatchPoint& current,
                         const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                         const float* difference, float* output);
void FillSegment_simd(bool upper, bool isResult, long y, long segmentStart,
                      const MatchPoint& previous, const MatchPoint& current,
                      const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1,
                      const float* difference, float* output);
