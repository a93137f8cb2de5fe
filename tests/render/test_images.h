// Small helpers for building float fields in render tests.
#pragma once
#include "image/float_world.h"

#include <functional>

// Every pixel opaque grey of value f(x, y).
inline void FillGrey(CVFloatWorld& img, const std::function<float(A_long, A_long)>& f)
{
    for (A_long y = 0; y < img.height(); ++y)
        for (A_long x = 0; x < img.width(); ++x) {
            CVFloatWorld::tPixel* p = img.pixel_at_point(x, y);
            const float v = f(x, y);
            *p = {1.0f, v, v, v};
        }
}

inline void FillGrey(CVFloatWorld& img, float v)
{
    FillGrey(img, [v](A_long, A_long) { return v; });
}
