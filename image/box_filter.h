// Separable running-mean filters: each output pixel is the absolute value of
// the mean of the 2r + 1 pixels centred on it along a row (horizontal) or a
// column (vertical), edge pixels replicated. The cost per pixel does not
// depend on r. The horizontal pass keeps the source alpha; the vertical pass
// averages alpha too.
//
// src and dst are distinct images of the same size. A radius that reaches
// past the image clamps every index into it, so short images (fields of two
// or three rows) are filtered as if their edge rows were repeated.
#pragma once
#include "hostapi/host_api.h"

class CVFloatWorld;

void box_filter_horizontal(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);
void box_filter_vertical(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);

// box_filter_horizontal(src, tmp, rh) then box_filter_vertical(tmp, dst, rv),
// to the bit, without the intermediate image: the horizontal rows are made
// just before the vertical pass (row form) needs them, in a ring of 2 rv + 2
// rows that stays in cache. Returns false, dst untouched, where that form
// does not apply (2 rv + 2 >= height) or host memory for the ring runs out;
// the caller then runs the two passes.
bool box_filter_horizontal_vertical(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv);

// The individual forms; the operations above pick one on every call. All of
// them give bit-identical results.
namespace box_filter_forms {

void horizontal_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);
void horizontal_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);

// Column by column, each column walked top to bottom: used when the image
// is too short for the row walk (2r + 2 >= height).
void vertical_columns_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);
void vertical_columns_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);

// Row by row with one row of running sums from host memory; falls back to
// the column form when that row cannot be allocated.
void vertical_rows_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);
void vertical_rows_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long r);

// The fused row form of box_filter_horizontal_vertical; false (dst left
// alone) where it does not apply.
bool horizontal_vertical_regular(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv);
bool horizontal_vertical_simd(const CVFloatWorld& src, CVFloatWorld& dst, A_long rh, A_long rv);

}  // namespace box_filter_forms
