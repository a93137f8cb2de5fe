// Directional match and field merge: writes each Field 0 line into its own
// output line, blended with the base by the motion map, and rebuilds the line
// below it along the edge directions matched between this field line and the
// next, then draws the diagnostic views that belong to this stage.
#pragma once
#include <functional>

#include "image/float_world.h"
#include "render/difference_world.h"
#include "render/fill_segment.h"
#include "render/gradient_world.h"
#include "render/pattern_score.h"
#include "render/render_settings.h"

// The two inner routines, picked together.
struct MergeKernels {
    PatternScoreFn patternScore;
    FillSegmentFn fillSegment;
    // Scores every offset of a pixel at once where it can (same results as
    // patternScore offset by offset); null scores offset by offset always.
    ScoreOffsetsFn scoreOffsets = nullptr;
};

// The vector (SSE2) or the scalar builds; both give identical pictures. The
// all-offsets scorer is the widest this processor runs, whichever build.
MergeKernels MergeKernelsFor(bool simd);

// Field rows firstRow .. firstRow + rowCount - 2 are walked (the last row has
// no line below it to match against). Field 0 row y lands on output row
// 2y (upper) or 2y + 1; the row below it is rebuilt. `output` holds the base
// on entry (the blended frame, or opaque black for "Vector Magnitudes" and
// "Source"). Uses settings.show, patternSize and searchSpan.
//
// `beforeRow`, when given, is called with each field row y just before the
// walk of that row reads or writes `output`: the caller may then produce the
// base of the rows this walk touches row by row, while they are still in
// cache, rather than as a whole frame beforehand.
//
// Throws std::invalid_argument when the images do not fit together; the
// pixels are then left alone.
using MergeRowHook = std::function<void(long y)>;
void Merge(const RenderSettings& settings, const CVFloatWorld& field0,
           const CVFloatWorld& fieldPlus1, bool upper, const CVGradientWorld& gradient,
           const CVDifferenceWorld& difference, const CVFloatWorld& field0Copy,
           const CVFloatWorld& prepared, CVFloatWorld& output, long firstRow, long rowCount,
           const MergeRowHook* beforeRow = nullptr);

// The same with the builds given instead of chosen from the processor.
void MergeWith(const MergeKernels& kernels, const RenderSettings& settings,
               const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1, bool upper,
               const CVGradientWorld& gradient, const CVDifferenceWorld& difference,
               const CVFloatWorld& field0Copy, const CVFloatWorld& prepared,
               CVFloatWorld& output, long firstRow, long rowCount,
               const MergeRowHook* beforeRow = nullptr);
