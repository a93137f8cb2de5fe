// Splitting a frame into its two fields and building a full frame back from
// one field by line interpolation. Whole padded rows are copied; images of
// one render share their width, so their rows have the same length.
#pragma once
#include "image/float_world.h"

// Even frame rows to `upper`, odd rows to `lower` (row r / 2 of each), for
// as many rows as each field has. Either field may be null.
void SplitFields(const CVFloatWorld& frame, CVFloatWorld* upper, CVFloatWorld* lower);

// Field row i lands on frame row 2i (upper) or 2i + 1 (lower); each frame row
// between two field rows is their average on all four channels. Frame row 0
// of a lower field copies field row 0, and every frame row below the last
// field row copies it, so no frame row is left unwritten.
void BuildFrameFromField(const CVFloatWorld& field, CVFloatWorld& frame, bool upper);

// The merge's base in one pass over `frame`: the frame built from `field`
// (parity `upper`) blended at weight 0.5 over the frame built from `other`
// (the other parity). The same values as
//     BuildFrameFromField(field, a, upper);
//     BuildFrameFromField(other, frame, !upper);
//     a.blend_over(frame, 0.5f);
// without the intermediate frame. All three images share one width.
void BuildBlendedFrame(const CVFloatWorld& field, const CVFloatWorld& other, bool upper, CVFloatWorld& frame);

// The rows rowFirst .. rowEnd - 1 of BuildBlendedFrame's result, each from
// pixel `columnFirst` to the end of its padded row; the rest of `frame` is
// left alone. Lets the merge have its base built row by row, just before it
// reads it, instead of as a whole frame first. With `onlyWhere` (one value
// per pixel of the width), a pixel of the width whose value there is 0 is
// left alone too (the merge never reads the base of a still pixel); the
// row padding is always built.
void BuildBlendedRows(const CVFloatWorld& field, const CVFloatWorld& other, bool upper, CVFloatWorld& frame,
                      A_long rowFirst, A_long rowEnd, A_long columnFirst, const float* onlyWhere = nullptr);
