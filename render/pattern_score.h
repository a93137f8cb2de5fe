// Pattern score of the directional match: how well a short window of one
// field line matches a window of the next line, shifted along the row.
#pragma once
#include "image/float_world.h"

// Zero-mean normalised cross-correlation between the window around `a` (the
// pixel (x, y) of `field0Copy`) and the window around `b` (the pixel
// (x + k, y + 1)), summed over red, green and blue: 3.0 for a perfect match.
// The window means are the prepared (box-filtered) pixels `meanA` and `meanB`
// at the window centres. `halfWidth` and `halfHeight` size the window,
// `rowbytes` is the image's row pitch, `width` its width and `rows` the row
// count the window rows are clamped to.
//
// Nothing guards a zero denominator: a channel that is constant over a window
// gives NaN, and the caller treats NaN as "no match".
using PatternScoreFn = float (*)(const CVFloatWorld& field0Copy, const float* a,
                                 const float* meanA, const float* b, const float* meanB,
                                 long halfWidth, long halfHeight, unsigned long rowbytes,
                                 long x, long width, long y, long rows);

// The two builds give bit-identical results.
float PatternScore_regular(const CVFloatWorld& field0Copy, const float* a, const float* meanA,
                           const float* b, const float* meanB, long halfWidth,
                           long halfHeight, unsigned long rowbytes, long x, long width, long y,
                           long rows);
float PatternScore_simd(const CVFloatWorld& field0Copy, const float* a, const float* meanA,
                        const float* b, const float* meanB, long halfWidth, long halfHeight,
                        unsigned long rowbytes, long x, long width, long y, long rows);

// The pattern scores of every offset k = first .. last at once, for the
// pattern at (x, y): scores[k - first] is what the per-offset routine above
// gives for b and meanB at (x + k, y + 1), to the bit, worked out for
// several offsets side by side in the vector lanes. The first window's
// share of the work is done once for all offsets. Returns false (scores
// undefined) when some offset's window reaches the end of the image, where
// the per-offset routine decides how far its sums go; the caller then
// scores offset by offset.
using ScoreOffsetsFn = bool (*)(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared,
                                long x, long y, long halfWidth, long width, long rows,
                                long first, long last, float* scores);

// One build per vector width: one, two or four offsets per instruction.
bool ScoreOffsets_128(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared, long x,
                      long y, long halfWidth, long width, long rows, long first, long last,
                      float* scores);
bool ScoreOffsets_256(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared, long x,
                      long y, long halfWidth, long width, long rows, long first, long last,
                      float* scores);
bool ScoreOffsets_512(const CVFloatWorld& field0Copy, const CVFloatWorld& prepared, long x,
                      long y, long halfWidth, long width, long rows, long first, long last,
                      float* scores);

// The widest build this processor and system run.
ScoreOffsetsFn ScoreOffsetsForThisProcessor();
