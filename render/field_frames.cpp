#include "render/field_frames.h"

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
