#include "image/single_float_world.h"

#include <cstddef>
#include <cstring>

#include "dae/host_memory.h"
#include "image/float_world.h"

CVSingleFloatWorld::CVSingleFloatWorld(A_long w, A_long h)
    : width(w),
      height(h),
      rowbytes((static_cast<A_u_long>(w) * 4u + 15u) & ~A_u_long(15)),
      data(static_cast<float*>(DAE::AllocateHandleMemory(static_cast<A_u_long>(h) * rowbytes)))
{
    // Row padding is cleared so that nothing read past a row's last value
    // depends on what host memory held before.
    const A_u_long used = static_cast<A_u_long>(w) * 4u;
    if (data == nullptr || w < 0 || used >= rowbytes) return;
    for (A_long y = 0; y < h; ++y) std::memset(reinterpret_cast<char*>(row_ptr(y)) + used, 0, rowbytes - used);
}

CVSingleFloatWorld::~CVSingleFloatWorld()
{
    if (data != nullptr) {
        DAE::FreeHandleMemory(data);
        data = nullptr;
    }
}

float* CVSingleFloatWorld::row_ptr(A_long y) const
{
    return reinterpret_cast<float*>(reinterpret_cast<char*>(data) +
                                    static_cast<std::ptrdiff_t>(y) * static_cast<std::ptrdiff_t>(rowbytes));
}

void CVSingleFloatWorld::copy_to_float_world(CVFloatWorld& dst) const
{
    const A_long rows = height < dst.height() ? height : dst.height();
    const A_long cols = width < dst.width() ? width : dst.width();
    for (A_long y = 0; y < rows; ++y) {
        const float* s = row_ptr(y);
        CVFloatWorld::tPixel* d = dst.pixel_row_ptr(y);
        for (A_long x = 0; x < cols; ++x) {
            const float v = s[x];
            d[x].alpha = 1.0f;
            d[x].red = v;
            d[x].green = v;
            d[x].blue = v;
        }
    }
}
