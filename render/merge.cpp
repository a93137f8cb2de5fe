#include "render/merge.h"

#include <emmintrin.h>

#include <cmath>
#include <cstdlib>
#include <limits>
#include <stdexcept>
#include <string>

#include "image/cpu_features.h"

namespace {

void Set(float* p, float a, float r, float g, float b) {
    p[0] = a;
    p[1] = r;
    p[2] = g;
    p[3] = b;
}

void Check(bool ok, const char* what) {
    if (!ok) throw std::invalid_argument(std::string("Merge: ") + what);
}

// Everything the walk needs beyond the images, fixed for one call.
struct Walk {
    const MergeKernels& kernels;
    const RenderSettings& settings;
    const CVFloatWorld& field0;
    const CVFloatWorld& fieldPlus1;
    bool upper;
    const CVGradientWorld& gradient;
    const CVDifferenceWorld& difference;
    const CVFloatWorld& field0Copy;
    const CVFloatWorld& prepared;
    CVFloatWorld& output;
    long width;
    long rows;  // rows the pattern windows are clamped to
    const float* weights;  // weights[k + searchSpan] = 1 - |k| / searchSpan, or null
};

constexpr long kMaxBatch = 64;

// The offset k in -span .. min(span, width - 1 - x) whose weighted score is
// highest, later (larger) offsets winning ties. A NaN score (a window flat
// in some channel) never wins; when every offset scores NaN the match goes
// straight down.
void Search(const Walk& w, long x, long y, long& bestK, float& bestScore) {
    const long span = w.settings.searchSpan;
    const long last = std::min(span, w.width - 1 - x);
    const float* a = w.field0Copy.data_at_point(x, y);
    const float* meanA = w.prepared.data_at_point(x, y);
    const float* rowB = w.field0Copy.data_row_ptr(y + 1);
    const float* rowMeanB = w.prepared.data_row_ptr(y + 1);
    const unsigned long rowbytes = w.field0Copy.rowbytes();
    float batch[kMaxBatch];
    const bool batched = w.kernels.scoreOffsets != nullptr && last + span + 1 <= kMaxBatch &&
                         w.kernels.scoreOffsets(w.field0Copy, w.prepared, x, y, w.settings.patternSize,
                                                w.width, w.rows, -span, last, batch);
    bool found = false;
    bestK = 0;
    bestScore = std::numeric_limits<float>::quiet_NaN();
    for (long k = -span; k <= last; ++k) {
        const float weight = w.weights != nullptr
                                 ? w.weights[k + span]
                                 : 1.0f - static_cast<float>(std::labs(k)) / static_cast<float>(span);
        // Columns left of 0 address the previous row's tail (flat row layout).
        const float score = batched ? batch[k + span]
                                    : w.kernels.patternScore(w.field0Copy, a, meanA, rowB + (x + k) * 4,
                                                             rowMeanB + (x + k) * 4, w.settings.patternSize, 2,
                                                             rowbytes, x, w.width, y, w.rows);
        const float s = weight * score;
        if (s != s) continue;
        if (!found || s >= bestScore) {
            found = true;
            bestK = k;
            bestScore = s;
        }
    }
}

// Field 0's line y into its output row: a still pixel (motion 0) is the
// Field 0 pixel; a moving one keeps the base's alpha with colour m x P +
// (1 - m) x base, or is the view's marker colour for "Source" and "Vector
// Magnitudes". Four floats (one pixel) per step, each lane the scalar
// operations.
void WriteOwnLine(A_long show, long W, const float* P, const float* d, float* O) {
    const bool marker = show == kShowSource || show == kShowVectorMagnitudes;
    const __m128 mark = show == kShowSource ? _mm_setr_ps(1.0f, 0.5f, 0.0f, 0.0f) : _mm_setr_ps(1.0f, 0.0f, 0.0f, 0.0f);
    const __m128 one = _mm_set1_ps(1.0f);
    const __m128 alphaLane = _mm_castsi128_ps(_mm_setr_epi32(-1, 0, 0, 0));
    for (long x = 0; x < W; ++x) {
        const float m = d[x];
        const __m128 p = _mm_loadu_ps(P + x * 4);
        __m128 out;
        if (m == 0.0f) {
            out = p;
        } else if (marker) {
            out = mark;
        } else {
            const __m128 o = _mm_loadu_ps(O + x * 4);
            const __m128 mv = _mm_set1_ps(m);
            const __m128 mix = _mm_add_ps(_mm_mul_ps(mv, p), _mm_mul_ps(_mm_sub_ps(one, mv), o));
            out = _mm_or_ps(_mm_and_ps(alphaLane, o), _mm_andnot_ps(alphaLane, mix));
        }
        _mm_storeu_ps(O + x * 4, out);
    }
}

// The match mark (1, 0, 1, 0) written at column c of Field 0's own line,
// which WriteOwnLine has already written: as the pixel-by-pixel walk would
// later read it back there, a moving pixel keeps the mark's alpha with colour
// m x P + (1 - m) x mark, in the lane arithmetic of WriteOwnLine; a still
// one stays P.
void MarkOwnLine(const float* P, const float* d, float* O, long c) {
    const float m = d[c];
    if (m == 0.0f) return;
    const float mark[4] = {1.0f, 0.0f, 1.0f, 0.0f};
    float* out = O + c * 4;
    const float* p = P + c * 4;
    out[0] = mark[0];
    for (int i = 1; i < 4; ++i) out[i] = m * p[i] + (1.0f - m) * mark[i];
}

void MergeRow(const Walk& w, long y) {
    const A_long show = w.settings.show;
    const long W = w.width;
    const long r0 = 2 * y + (w.upper ? 0 : 1);
    const long r1 = r0 + 1;
    const float* P = w.field0.data_row_ptr(y);
    float* O = w.output.data_row_ptr(r0);
    float* below = w.output.data_row_ptr(r1);
    const float* g = w.gradient.row_ptr(y);
    const float* d = w.difference.row_ptr(y);

    // Field 0's own line depends on nothing the search finds, so it is
    // written first for the whole row; the views that mark a matched pixel
    // overwrite it afterwards (a "Match Points" mark that lands on a later
    // pixel of the line is blended there as the walk would read it). (The walk below
    // could only stop early on a match ending past the row, which the
    // clamped match ends never do, so no pixel of the line is written that
    // the pixel-by-pixel walk would have left.)
    WriteOwnLine(show, W, P, d, O);
    const long rowPixels = static_cast<long>(w.output.rowbytes() / 16);

    MatchPoint previous{0.0f, 0.0f, 0.0f, 10.0f};
    long segmentStart = 0;
    for (long x = 0; x < W; ++x) {
        if (previous.end > static_cast<float>(W)) break;
        if (d[x] == 0.0f || g[x] == 0.0f) continue;  // only moving edge pixels are matched
        float* o = O + x * 4;

        long k;
        float score;
        Search(w, x, y, k, score);
        const long mx = std::max(0L, std::min(x + k, W - 1));
        const MatchPoint current{static_cast<float>(x), static_cast<float>(mx),
                                 static_cast<float>(x + mx) * 0.5f, score};

        if (show == kShowResult || show == kShowSource) {
            w.kernels.fillSegment(w.upper, show == kShowResult, y, segmentStart, previous, current,
                                  w.field0, w.fieldPlus1, d + segmentStart,
                                  below + segmentStart * 4);
        } else if (show == kShowMatchPoints) {
            Set(o, 1.0f, 1.0f, 0.0f, 0.0f);
            // A match left of column 0 marks the tail of the row above
            // (flat row layout): row padding, or a later pixel of Field 0's
            // own line, which the walk reads back as that pixel's value when
            // it gets there.
            const long markColumn = x + k;
            if (markColumn >= 0 || rowPixels + markColumn >= W)
                Set(below + markColumn * 4, 1.0f, 0.0f, 1.0f, 0.0f);
            else
                MarkOwnLine(P, d, O, rowPixels + markColumn);
        } else if (show == kShowVectorMagnitudes) {
            const float v = static_cast<float>(std::labs(k)) * 0.9f /
                                static_cast<float>(w.settings.searchSpan) +
                            0.1f;
            if (k >= 0) {
                Set(o, 1.0f, 0.0f, v, 0.0f);
                Set(below + x * 4, 1.0f, 0.0f, v, 0.0f);
            } else {
                Set(o, 1.0f, 0.0f, 0.0f, v);
                Set(below + x * 4, 1.0f, 0.0f, 0.0f, v);
            }
        }
        segmentStart += static_cast<long>(current.midpoint) - static_cast<long>(previous.midpoint);
        previous = current;
    }

    const float end = static_cast<float>(W);
    const MatchPoint last{end, end, end, end};
    w.kernels.fillSegment(w.upper, show == kShowResult, y, segmentStart, previous, last, w.field0,
                          w.fieldPlus1, d + segmentStart, below + segmentStart * 4);
}

}  // namespace

MergeKernels MergeKernelsFor(bool simd) {
    const ScoreOffsetsFn offsets = ScoreOffsetsForThisProcessor();
    if (simd) return MergeKernels{PatternScore_simd, FillSegment_simd, offsets};
    return MergeKernels{PatternScore_regular, FillSegment_regular, offsets};
}

void Merge(const RenderSettings& settings, const CVFloatWorld& field0,
           const CVFloatWorld& fieldPlus1, bool upper, const CVGradientWorld& gradient,
           const CVDifferenceWorld& difference, const CVFloatWorld& field0Copy,
           const CVFloatWorld& prepared, CVFloatWorld& output, long firstRow, long rowCount,
           const MergeRowHook* beforeRow) {
    MergeWith(MergeKernelsFor(cpu_has_simd()), settings, field0, fieldPlus1, upper, gradient,
              difference, field0Copy, prepared, output, firstRow, rowCount, beforeRow);
}

void MergeWith(const MergeKernels& kernels, const RenderSettings& settings,
               const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1, bool upper,
               const CVGradientWorld& gradient, const CVDifferenceWorld& difference,
               const CVFloatWorld& field0Copy, const CVFloatWorld& prepared,
               CVFloatWorld& output, long firstRow, long rowCount,
               const MergeRowHook* beforeRow) {
    const long W = field0.width();
    const long endRow = firstRow + rowCount;
    Check(firstRow >= 0 && rowCount >= 0, "negative row range");
    Check(settings.patternSize >= 1 && settings.searchSpan >= 1, "empty pattern or search span");
    // The windows and the match marks reach up to searchSpan columns left of
    // a row's start, into the previous row; the frame must be wide enough.
    Check(W >= settings.searchSpan + settings.patternSize, "field narrower than the search");
    if (rowCount < 2) return;  // no row has a line below it
    Check(field0.height() >= endRow && field0Copy.height() >= endRow &&
              prepared.height() >= endRow,
          "field shorter than the row range");
    Check(field0Copy.width() == W && prepared.width() == W && fieldPlus1.width() == W,
          "fields of different widths");
    Check(fieldPlus1.height() >= 1, "empty next field");
    Check(gradient.width == W && difference.width == W, "analysis images of another width");
    Check(gradient.height >= endRow - 1 && difference.height >= endRow - 1,
          "analysis images shorter than the row range");
    Check(output.width() >= W && output.height() >= 2 * (endRow - 1) + (upper ? 0 : 1),
          "output frame too small for the field");

    // The offset weights, worked out once (the same operations per offset).
    float weights[kMaxBatch];
    const long span = settings.searchSpan;
    const bool weighed = 2 * span + 1 <= kMaxBatch;
    for (long k = -span; weighed && k <= span; ++k)
        weights[k + span] = 1.0f - static_cast<float>(std::labs(k)) / static_cast<float>(span);
    const Walk w{kernels, settings, field0,   fieldPlus1, upper, gradient, difference,
                 field0Copy, prepared, output, W, endRow, weighed ? weights : nullptr};
    for (long y = firstRow; y < endRow - 1; ++y) {
        if (beforeRow != nullptr) (*beforeRow)(y);
        MergeRow(w, y);
    }
}
