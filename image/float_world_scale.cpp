// Box-average rescaling: a nearest-sample resampler that blends two
// neighbours when the sample falls past the middle, first along rows
// (scale_line) and then down the rows (ScaleRectAvg) with two line buffers.
#include <cstring>

#include "dae/host_memory.h"
#include "image/float_world.h"

namespace {

inline void average_into(CVFloatWorld::tPixel& d, const CVFloatWorld::tPixel& a, const CVFloatWorld::tPixel& b)
{
    d.alpha = (a.alpha + b.alpha) * 0.5f;
    d.red = (a.red + b.red) * 0.5f;
    d.green = (a.green + b.green) * 0.5f;
    d.blue = (a.blue + b.blue) * 0.5f;
}

}  // namespace

// The widths are the padded row widths, so padding pixels take part.
void CVFloatWorld::copy_scaling_into(CVFloatWorld& dst, CVFloatWorld*) const
{
    ScaleRectAvg(dst.pixel_ptr(), pixel_ptr(), static_cast<A_long>(rowbytes_ / kBytesPerPixel), height_,
                 static_cast<A_long>(dst.rowbytes_ / kBytesPerPixel), dst.height_);
}

void CVFloatWorld::scale_line(tPixel* dst, tPixel* src, A_long srcW, A_long dstW) const
{
    const A_long step = srcW / dstW;
    const A_long rem = srcW % dstW;
    const A_long half = dstW / 2;
    A_long err = 0;
    const tPixel* s = src;
    // The tail keeps an enlargement from reading past the end of the row.
    const A_long tail = dstW >= srcW ? dstW / (2 * srcW) + 1 : 0;
    const A_long body = dstW - tail;
    for (A_long i = 0; i < body; ++i) {
        if (err >= half) {
            average_into(*dst, s[0], s[1]);
        } else {
            *dst = s[0];
        }
        ++dst;
        s += step;
        err += rem;
        if (err >= dstW) {
            ++s;
            err -= dstW;
        }
    }
    for (A_long i = 0; i < tail; ++i) {
        *dst++ = *s;
    }
}

void CVFloatWorld::ScaleRectAvg(tPixel* dst, tPixel* src, A_long srcW, A_long srcH, A_long dstW, A_long dstH) const
{
    const std::ptrdiff_t ystep = static_cast<std::ptrdiff_t>(srcH / dstH) * srcW;
    const A_long yrem = srcH % dstH;
    const A_long half = dstH / 2;
    A_long err = 0;
    tPixel* p = src;
    const A_long tail = dstH >= srcH ? dstH / (2 * srcH) + 1 : 0;
    const A_long body = dstH - tail;

    const A_u_long line_bytes = static_cast<A_u_long>(dstW) * kBytesPerPixel;
    tPixel* a = static_cast<tPixel*>(DAE::AllocateHandleMemory(line_bytes));
    tPixel* b = static_cast<tPixel*>(DAE::AllocateHandleMemory(line_bytes));
    if (a == nullptr || b == nullptr) {
        // Without line buffers there is nothing to scale with; dst is left
        // as it was.
        if (a != nullptr) {
            DAE::FreeHandleMemory(a);
        }
        if (b != nullptr) {
            DAE::FreeHandleMemory(b);
        }
        return;
    }
    tPixel* const first = a;
    tPixel* const second = b;
    const tPixel* last_a = nullptr;
    const tPixel* last_b = nullptr;

    for (A_long row = 0; row < body; ++row) {
        if (p != last_a) {
            if (p == last_b) {
                tPixel* t = a;
                a = b;
                b = t;
            } else {
                scale_line(a, p, srcW, dstW);
            }
            last_a = p;
        }
        if (err >= half) {
            tPixel* q = p + srcW;
            if (q != last_b) {
                scale_line(b, q, srcW, dstW);
                for (A_long i = 0; i < dstW; ++i) {
                    average_into(a[i], a[i], b[i]);
                }
                last_b = q;
            }
        }
        std::memcpy(dst, a, line_bytes);
        dst += dstW;
        p += ystep;
        err += yrem;
        if (err >= dstH) {
            err -= dstH;
            p += srcW;
        }
    }
    if (tail > 0 && p != last_a) {
        scale_line(a, p, srcW, dstW);
    }
    for (A_long row = 0; row < tail; ++row) {
        std::memcpy(dst, a, line_bytes);
        dst += dstW;
    }

    DAE::FreeHandleMemory(first);
    DAE::FreeHandleMemory(second);
}
