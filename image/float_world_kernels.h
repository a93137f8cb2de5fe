// The two variants of fill and blend_over. They live outside the exported
// class so that its member set stays as published; the public operations
// pick one through cpu_has_simd, tests call both.
#pragma once
#include "image/float_world.h"

namespace float_world_kernels {

void fill_regular(CVFloatWorld& world, const CVFloatWorld::tPixel& pixel);
void fill_simd(CVFloatWorld& world, const CVFloatWorld::tPixel& pixel);

void blend_over_regular(const CVFloatWorld& src, CVFloatWorld& dst, float t);
void blend_over_simd(const CVFloatWorld& src, CVFloatWorld& dst, float t);

}  // namespace float_world_kernels
