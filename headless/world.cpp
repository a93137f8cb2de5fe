#include "headless/world.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>

namespace headless {

A_long host_rowbytes(A_long width, bool deep) {
    const long long raw = static_cast<long long>(std::max<A_long>(0, width)) * (deep ? 8 : 4);
    const long long rounded = (raw + 15) / 16 * 16;
    if (rounded > PF_MAX_WORLD_WIDTH * 8LL) throw std::length_error("a world wider than any host makes");
    return static_cast<A_long>(rounded);
}

World::World(A_long width, A_long height, bool deep, bool zeroed) {
    width = std::max<A_long>(0, width);
    height = std::max<A_long>(0, height);
    def_.width = width;
    def_.height = height;
    def_.rowbytes = host_rowbytes(width, deep);
    def_.world_flags = PF_WorldFlag_WRITEABLE | (deep ? PF_WorldFlag_DEEP : 0);
    def_.extent_hint = PF_UnionableRect{0, 0, width, height};
    def_.pix_aspect_ratio = PF_RationalScale{1, 1};
    const size_t n = static_cast<size_t>(def_.rowbytes) * height + 16;
    if (zeroed)
        bytes_.assign(n, 0);
    else
        bytes_.resize(n);
    attach();
}

World::World(const World& other) : bytes_(other.bytes_), def_(other.def_) { attach(); }

World& World::operator=(const World& other) {
    if (this != &other) {
        bytes_ = other.bytes_;
        def_ = other.def_;
        attach();
    }
    return *this;
}

// Pixel data starts on a 16-byte boundary inside the buffer.
void World::attach() {
    if (bytes_.empty()) {
        def_.data = nullptr;
        return;
    }
    auto addr = reinterpret_cast<uintptr_t>(bytes_.data());
    def_.data = reinterpret_cast<PF_PixelPtr>(bytes_.data() + ((16 - addr % 16) % 16));
}

PF_Pixel* World::pixel8(A_long x, A_long y) {
    return reinterpret_cast<PF_Pixel*>(reinterpret_cast<char*>(def_.data) + static_cast<size_t>(y) * def_.rowbytes) + x;
}
PF_Pixel16* World::pixel16(A_long x, A_long y) {
    return reinterpret_cast<PF_Pixel16*>(reinterpret_cast<char*>(def_.data) + static_cast<size_t>(y) * def_.rowbytes) + x;
}
const PF_Pixel* World::pixel8(A_long x, A_long y) const { return const_cast<World*>(this)->pixel8(x, y); }
const PF_Pixel16* World::pixel16(A_long x, A_long y) const { return const_cast<World*>(this)->pixel16(x, y); }

void World::fill(PF_Pixel p8, PF_Pixel16 p16) {
    for (A_long y = 0; y < height(); ++y)
        for (A_long x = 0; x < width(); ++x) {
            if (deep())
                *pixel16(x, y) = p16;
            else
                *pixel8(x, y) = p8;
        }
}

bool World::same_pixels(const World& other) const {
    if (width() != other.width() || height() != other.height() || deep() != other.deep()) return false;
    const size_t row = static_cast<size_t>(width()) * (deep() ? 8 : 4);
    for (A_long y = 0; y < height(); ++y) {
        if (std::memcmp(pixel8(0, y), other.pixel8(0, y), row) != 0) return false;
    }
    return true;
}

namespace {

bool is_deep(const PF_LayerDef& w) { return (w.world_flags & PF_WorldFlag_DEEP) != 0; }

char* row_of(const PF_LayerDef& w, A_long y) { return reinterpret_cast<char*>(w.data) + static_cast<ptrdiff_t>(y) * w.rowbytes; }

PF_Pixel16 widen(PF_Pixel p) {
    auto w = [](A_u_char c) { return static_cast<A_u_short>((c * 32768 + 127) / 255); };
    return PF_Pixel16{w(p.alpha), w(p.red), w(p.green), w(p.blue)};
}

PF_Pixel narrow(PF_Pixel16 p) {
    auto n = [](A_u_short c) { return static_cast<A_u_char>((std::min<int>(c, 32768) * 255 + 16384) / 32768); };
    return PF_Pixel{n(p.alpha), n(p.red), n(p.green), n(p.blue)};
}

PF_Pixel16 read16(const PF_LayerDef& w, A_long x, A_long y) {
    if (is_deep(w)) return reinterpret_cast<const PF_Pixel16*>(row_of(w, y))[x];
    return widen(reinterpret_cast<const PF_Pixel*>(row_of(w, y))[x]);
}

void write16(PF_LayerDef& w, A_long x, A_long y, PF_Pixel16 p) {
    if (is_deep(w))
        reinterpret_cast<PF_Pixel16*>(row_of(w, y))[x] = p;
    else
        reinterpret_cast<PF_Pixel*>(row_of(w, y))[x] = narrow(p);
}

// The rectangle clipped to the world; false when nothing is left.
bool clip(const PF_Rect* r, const PF_LayerDef& w, PF_Rect* out) {
    PF_Rect c = r ? *r : PF_Rect{0, 0, w.width, w.height};
    c.left = std::max<A_long>(c.left, 0);
    c.top = std::max<A_long>(c.top, 0);
    c.right = std::min(c.right, w.width);
    c.bottom = std::min(c.bottom, w.height);
    *out = c;
    return c.left < c.right && c.top < c.bottom;
}

}  // namespace

void resample_into(const PF_LayerDef& src, PF_LayerDef& into) {
    if (src.width <= 0 || src.height <= 0) return;
    for (A_long y = 0; y < into.height; ++y) {
        const A_long sy = static_cast<A_long>(static_cast<int64_t>(y) * src.height / into.height);
        for (A_long x = 0; x < into.width; ++x) {
            const A_long sx = static_cast<A_long>(static_cast<int64_t>(x) * src.width / into.width);
            if (is_deep(src) == is_deep(into) && !is_deep(src))
                reinterpret_cast<PF_Pixel*>(row_of(into, y))[x] = reinterpret_cast<const PF_Pixel*>(row_of(src, sy))[sx];
            else
                write16(into, x, y, read16(src, sx, sy));
        }
    }
}

PF_Err copy_rect(const PF_LayerDef* src, PF_LayerDef* dst, const PF_Rect* src_rect, const PF_Rect* dst_rect) {
    if (!src || !dst || !src->data || !dst->data) return PF_Err_BAD_CALLBACK_PARAM;
    if (is_deep(*src) != is_deep(*dst)) return PF_Err_BAD_CALLBACK_PARAM;
    const PF_Rect sr0 = src_rect ? *src_rect : PF_Rect{0, 0, src->width, src->height};
    const PF_Rect dr0 = dst_rect ? *dst_rect : PF_Rect{0, 0, dst->width, dst->height};
    const A_long sw = sr0.right - sr0.left, sh = sr0.bottom - sr0.top;
    const A_long dw = dr0.right - dr0.left, dh = dr0.bottom - dr0.top;
    if (sw <= 0 || sh <= 0 || dw <= 0 || dh <= 0) return PF_Err_NONE;
    PF_Rect dr;
    if (!clip(&dr0, *dst, &dr)) return PF_Err_NONE;
    const size_t px = is_deep(*src) ? 8 : 4;
    for (A_long y = dr.top; y < dr.bottom; ++y) {
        const A_long sy = sr0.top + static_cast<A_long>(static_cast<int64_t>(y - dr0.top) * sh / dh);
        if (sy < 0 || sy >= src->height) continue;
        for (A_long x = dr.left; x < dr.right; ++x) {
            const A_long sx = sr0.left + static_cast<A_long>(static_cast<int64_t>(x - dr0.left) * sw / dw);
            if (sx < 0 || sx >= src->width) continue;
            std::memcpy(row_of(*dst, y) + x * px, row_of(*src, sy) + sx * px, px);
        }
    }
    return PF_Err_NONE;
}

PF_Err fill_rect8(const PF_Pixel* color, const PF_Rect* rect, PF_LayerDef* world) {
    if (!world || !world->data) return PF_Err_BAD_CALLBACK_PARAM;
    const PF_Pixel c = color ? *color : PF_Pixel{0, 0, 0, 0};
    PF_Rect r;
    if (!clip(rect, *world, &r)) return PF_Err_NONE;
    for (A_long y = r.top; y < r.bottom; ++y)
        for (A_long x = r.left; x < r.right; ++x) {
            if (is_deep(*world))
                reinterpret_cast<PF_Pixel16*>(row_of(*world, y))[x] = widen(c);
            else
                reinterpret_cast<PF_Pixel*>(row_of(*world, y))[x] = c;
        }
    return PF_Err_NONE;
}

PF_Err fill_rect16(const PF_Pixel16* color, const PF_Rect* rect, PF_LayerDef* world) {
    if (!world || !world->data) return PF_Err_BAD_CALLBACK_PARAM;
    const PF_Pixel16 c = color ? *color : PF_Pixel16{0, 0, 0, 0};
    PF_Rect r;
    if (!clip(rect, *world, &r)) return PF_Err_NONE;
    for (A_long y = r.top; y < r.bottom; ++y)
        for (A_long x = r.left; x < r.right; ++x) write16(*world, x, y, c);
    return PF_Err_NONE;
}

}  // namespace headless
