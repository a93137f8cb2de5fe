// The image classes do not raise when host memory runs out: a failed block
// leaves data null, or (for CVFloatWorld) pointing at the bare stagger
// offset. The render checks every image it creates or resizes and raises
// the framework's allocation exception instead, so the host sees "out of
// memory" and every image is released on the way out.
#pragma once
#include "dae/exceptions.h"
#include "image/float_world.h"
#include "image/single_float_world.h"

#include <cstdint>

// Below this no real block can start; a stagger offset alone stays below it.
constexpr std::uintptr_t kLowestImageAddress = 64 * 1024;

inline void RequireImageMemory(const void* data, A_u_long size)
{
    if (reinterpret_cast<std::uintptr_t>(data) < kLowestImageAddress) throw DAE::DAEAllocXCP(size);
}

inline void RequireImage(const CVFloatWorld& image)
{
    RequireImageMemory(image.data_ptr(), static_cast<A_u_long>(image.height()) * image.rowbytes());
}

inline void RequireImage(const CVSingleFloatWorld& image)
{
    RequireImageMemory(image.data, static_cast<A_u_long>(image.height) * image.rowbytes);
}
