#include "render/field_frames.h"

#include <emmintrin.h>

#include <cstring>

namespace {

A_u_long RowBytes(const CVFloatWorld& a, const CVFloatWorld& b)
{
    return a.rowbytes() < b.rowbytes() ? a.rowbytes() : b.rowbytes();
}

void AverageRows(const float* a, const float* b, float* dst, A_u_long floats)
{
    for (A_u_long i = 0; i < floats; ++i) dst[i] = 0.5f * (a[i] + b[i]);
}

}  // namespace

void SplitFields(const CVFloatWorld& frame, CVFloatWorld* upper, CVFloatWorld* lower)
{
    for (A_long r = 0; r < frame.height(); r += 2) {
        const A_long i = r / 2;
        if (upper != nullptr && i < upper->height())
            std::memcpy(upper->data_row_ptr(i), frame.data_row_ptr(r), RowBytes(frame, *upper));
        if (lower != nullptr && i < lower->height() && r + 1 < frame.height())
            std::memcpy(lower->data_row_ptr(i), frame.data_row_ptr(r + 1), RowBytes(frame, *lower));
    }
}

void BuildFrameFromField(const CVFloatWorld& field, CVFloatWorld& frame, bool upper)
{
    const A_long h = field.height();
    const A_long frameH = frame.height();
    if (h <= 0 || frameH <= 0) return;
    const A_u_long bytes = RowBytes(field, frame);
    const A_u_long floats = bytes / sizeof(float);
    const A_long offset = upper ? 0 : 1;
    A_long lastWritten = -1;
    for (A_long i = 0; i < h; ++i) {
        const A_long own = 2 * i + offset;
        const A_long between = own - 1;
        if (between >= 0 && between < frameH) {
            const float* above = field.data_row_ptr(i > 0 ? i - 1 : 0);
            AverageRows(above, field.data_row_ptr(i), frame.data_row_ptr(between), floats);
            lastWritten = between;
        }
        if (own < frameH) {
            std::memcpy(frame.data_row_ptr(own), field.data_row_ptr(i), bytes);
            lastWritten = own;
        }
    }
    for (A_long r = lastWritten + 1; r < frameH && lastWritten >= 0; ++r)
        std::memcpy(frame.data_row_ptr(r), frame.data_row_ptr(lastWritten), bytes);
}

namespace {

// Where frame row r of BuildFrameFromField(field, frame of `frameH` rows,
// upper) comes from: one field row copied (b null) or two averaged.
struct RowSource {
    const float* a;
    const float* b;
};

RowSource SourceOfRow(const CVFloatWorld& field, A_long frameH, bool upper, A_long r)
{
    const A_long h = field.height();
    const A_long offset = upper ? 0 : 1;
    // The last row the field writes: its last own row, or the frame's last.
    A_long last = 2 * (h - 1) + offset;
    if (last > frameH - 1) last = frameH - 1;
    if (r > last) r = last;  // rows below repeat the last written one
    if ((r - offset) % 2 == 0) return RowSource{field.data_row_ptr((r - offset) / 2), nullptr};
    const A_long i = (r + 1 - offset) / 2;  // row between field rows i - 1 and i
    return RowSource{field.data_row_ptr(i > 0 ? i - 1 : 0), field.data_row_ptr(i)};
}

inline __m128 RowValue(const RowSource& s, std::ptrdiff_t k, __m128 half)
{
    const __m128 a = _mm_loadu_ps(s.a + k);
    return s.b ? _mm_mul_ps(half, _mm_add_ps(a, _mm_loadu_ps(s.b + k))) : a;
}

}  // namespace

void BuildBlendedFrame(const CVFloatWorld& field, const CVFloatWorld& other, bool upper, CVFloatWorld& frame)
{
    BuildBlendedRows(field, other, upper, frame, 0, frame.height(), 0, nullptr);
}

void BuildBlendedRows(const CVFloatWorld& field, const CVFloatWorld& other, bool upper, CVFloatWorld& frame,
                      A_long rowFirst, A_long rowEnd, A_long columnFirst, const float* onlyWhere)
{
    const A_long frameH = frame.height();
    if (field.height() <= 0 || other.height() <= 0 || frameH <= 0) return;
    if (rowFirst < 0) rowFirst = 0;
    if (rowEnd > frameH) rowEnd = frameH;
    // blend_over goes by pixel pairs over the common width; the rest of the
    // row keeps the other field's frame.
    const std::ptrdiff_t rowFloats = static_cast<std::ptrdiff_t>(RowBytes(field, frame) / sizeof(float));
    std::ptrdiff_t blendFloats = static_cast<std::ptrdiff_t>((frame.width() + 1) & ~1) * 4;
    if (blendFloats > rowFloats) blendFloats = rowFloats;
    const std::ptrdiff_t firstFloat = columnFirst > 0 ? static_cast<std::ptrdiff_t>(columnFirst) * 4 : 0;
    const __m128 half = _mm_set1_ps(0.5f);
    const __m128 t = _mm_set1_ps(0.5f), u = _mm_set1_ps(1.0f - 0.5f);
    for (A_long r = rowFirst; r < rowEnd; ++r) {
        const RowSource a = SourceOfRow(field, frameH, upper, r);
        const RowSource b = SourceOfRow(other, frameH, !upper, r);
        float* d = frame.data_row_ptr(r);
        std::ptrdiff_t k = firstFloat;
        const std::ptrdiff_t maskedFloats = onlyWhere != nullptr ? static_cast<std::ptrdiff_t>(frame.width()) * 4 : 0;
        for (; k < blendFloats; k += 4) {
            if (k < maskedFloats && onlyWhere[k / 4] == 0.0f) continue;
            _mm_storeu_ps(d + k, _mm_add_ps(_mm_mul_ps(RowValue(a, k, half), t), _mm_mul_ps(RowValue(b, k, half), u)));
        }
        for (; k < rowFloats; k += 4) _mm_storeu_ps(d + k, RowValue(b, k, half));
    }
}
