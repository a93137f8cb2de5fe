#include "render/gradient_world.h"

#include <cmath>

namespace {

// Mean of the three colour channels with this stage's own third (0x3EAAAA9F),
// a hair smaller than the motion map's.
constexpr float kThird = 0x1.55553Ep-2f;

}  // namespace

CVGradientWorld::CVGradientWorld(A_long w, A_long h)
    : CVSingleFloatWorld(w, h), threshold_(0.0f)
{
}

CVGradientWorld::~CVGradientWorld() = default;

void CVGradientWorld::Compute(const CVFloatWorld& field)
{
    const A_long w = width;
    const A_long h = height;
    for (A_long y = 0; y < h; ++y) {
        float* row = row_ptr(y);
        if (w <= 2) {
            for (A_long x = 0; x < w; ++x) row[x] = 0.0f;
            continue;
        }
        const float* src = field.data_row_ptr(y);

        // First difference across each pixel; small ones are noise.
        row[0] = 0.0f;
        row[w - 1] = 0.0f;
        for (A_long x = 1; x < w - 1; ++x) {
            const float* l = src + 4 * (x - 1);
            const float* r = src + 4 * (x + 1);
            const float g = (l[1] + l[2] + l[3]) * kThird - (r[1] + r[2] + r[3]) * kThird;
            row[x] = std::fabs(g) < threshold_ ? 0.0f : g;
        }

        // Second difference in place: the sample at x - 1 is already
        // replaced when x is written, so the old one is kept in hand.
        float before = row[0];
        for (A_long x = 1; x < w - 1; ++x) {
            const float current = row[x];
            row[x] = before - row[x + 1];
            before = current;
        }

        // Sign change of the second difference, again keeping the previous
        // second difference rather than the edge value that replaced it.
        before = row[0];
        for (A_long x = 1; x < w - 1; ++x) {
            const float current = row[x];
            const float next = row[x + 1];
            float e = 0.0f;
            if (before < 0.0f && next > 0.0f)
                e = 1.0f;
            else if (before > 0.0f && next < 0.0f)
                e = -1.0f;
            row[x] = e;
            before = current;
        }
    }
}

void CVGradientWorld::DrawInto(CVFloatWorld& field) const
{
    // The render may draw into the other field, which can be one row shorter.
    const A_long w = width < field.width() ? width : field.width();
    const A_long h = height < field.height() ? height : field.height();
    for (A_long y = 0; y < h; ++y) {
        const float* src = row_ptr(y);
        float* dst = field.data_row_ptr(y);
        for (A_long x = 0; x < w; ++x) {
            float* p = dst + 4 * x;
            p[0] = 1.0f;
            p[1] = src[x] > 0.0f ? 1.0f : 0.0f;
            p[2] = src[x] < 0.0f ? 1.0f : 0.0f;
            p[3] = 0.0f;
        }
    }
}
