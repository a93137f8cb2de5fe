// Pixel buffers as the host hands them out (PF_LayerDef with rows padded to
// 16 bytes), and the host's own pixel utilities on them.
#pragma once
#include "hostapi/host_api.h"

#include <cstdint>
#include <memory>
#include <new>
#include <utility>
#include <vector>

namespace headless {

// Row length the host gives a world: width × bytes per pixel rounded up to 16.
A_long host_rowbytes(A_long width, bool deep);

// Leaves the bytes a vector grows by as they lie: pixels about to be
// written over need no zero-filling first.
template <class T>
struct UnfilledAllocator : std::allocator<T> {
    template <class U>
    struct rebind {
        using other = UnfilledAllocator<U>;
    };
    UnfilledAllocator() = default;
    template <class U>
    UnfilledAllocator(const UnfilledAllocator<U>&) {}
    template <class U>
    void construct(U* p) noexcept {
        ::new (static_cast<void*>(p)) U;
    }
    template <class U, class... Args>
    void construct(U* p, Args&&... args) {
        ::new (static_cast<void*>(p)) U(std::forward<Args>(args)...);
    }
};

// A PF_LayerDef that owns its pixels. 8-bit pixels are PF_Pixel (A, R, G, B
// bytes); deep (16-bit, PF_WorldFlag_DEEP) pixels are PF_Pixel16 with
// channels 0..32768.
class World {
public:
    World() = default;
    // Pixels zero-filled, or left as they lie when `zeroed` is false (for a
    // world every pixel of which is written before it is read).
    World(A_long width, A_long height, bool deep, bool zeroed = true);
    World(const World& other);
    World& operator=(const World& other);
    World(World&&) = default;
    World& operator=(World&&) = default;

    PF_LayerDef& def() { return def_; }
    const PF_LayerDef& def() const { return def_; }
    A_long width() const { return def_.width; }
    A_long height() const { return def_.height; }
    bool deep() const { return (def_.world_flags & PF_WorldFlag_DEEP) != 0; }
    bool empty() const { return def_.width == 0 || def_.height == 0; }

    PF_Pixel* pixel8(A_long x, A_long y);
    PF_Pixel16* pixel16(A_long x, A_long y);
    const PF_Pixel* pixel8(A_long x, A_long y) const;
    const PF_Pixel16* pixel16(A_long x, A_long y) const;

    // Every pixel set to one value (8-bit worlds take the 8-bit value,
    // deep worlds the 16-bit one).
    void fill(PF_Pixel p8, PF_Pixel16 p16);
    // Equal size, depth and pixels (row padding ignored).
    bool same_pixels(const World& other) const;

private:
    void attach();
    std::vector<uint8_t, UnfilledAllocator<uint8_t>> bytes_;
    PF_LayerDef def_{};
};

// Writes `into` as `src` resampled (nearest pixel) to `into`'s size; depths
// may differ (8-bit c becomes (c × 32768 + 127) / 255, 16-bit c becomes
// (c × 255 + 16384) / 32768).
void resample_into(const PF_LayerDef& src, PF_LayerDef& into);

// The host's utility callbacks on worlds (PF_UtilCallbacks::copy, fill,
// fill16). Rectangles are clipped to the worlds; a null rectangle is the
// whole world. copy needs equal depths and scales by nearest pixel when the
// rectangles differ in size. Results are host error codes.
PF_Err copy_rect(const PF_LayerDef* src, PF_LayerDef* dst, const PF_Rect* src_rect, const PF_Rect* dst_rect);
PF_Err fill_rect8(const PF_Pixel* color, const PF_Rect* rect, PF_LayerDef* world);
PF_Err fill_rect16(const PF_Pixel16* color, const PF_Rect* rect, PF_LayerDef* world);

}  // namespace headless
