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

}  // namespace box_filter_forms
