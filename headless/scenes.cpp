#include "headless/scenes.h"

namespace headless::scenes {

namespace {

// Triangle wave of period 2p between 0 and p.
A_long tri(A_long u, A_long p) {
    const A_long m = ((u % (2 * p)) + 2 * p) % (2 * p);
    return m < p ? m : 2 * p - m;
}

}  // namespace

PF_Pixel pan(A_long x, A_long y, A_long t) {
    const A_long u = 2 * x + t;
    A_long r = 40 + 6 * tri(u + 3 * y, 30);
    A_long g = 60 + 2 * tri(u / 3 + y, 20);
    A_long b = (x / 7 + y / 3 + t / 4) % 2 ? 210 : 35;
    const A_long bx = 50 - 3 * t;  // a block moving left
    if (x >= bx && x < bx + 11 && y >= 6 && y < 21) {
        r = 250;
        g = 20 + 10 * (y - 6);
        b = 90;
    }
    return PF_Pixel{static_cast<A_u_char>(128 + (x * 3 + y * 5) % 127), static_cast<A_u_char>(r),
                    static_cast<A_u_char>(g), static_cast<A_u_char>(b)};
}

PF_Pixel still_and_moving(A_long x, A_long y, A_long t) {
    if (x < 48) {
        const A_u_char v = static_cast<A_u_char>((x * 37 + y * 91) % 256);
        return PF_Pixel{255, v, static_cast<A_u_char>(255 - v), static_cast<A_u_char>((x * 8) % 256)};
    }
    const A_long cx = 60 + 4 * t, cy = 22;
    const A_long d2 = (x - cx) * (x - cx) + 4 * (y - cy) * (y - cy);
    const A_long inside = d2 < 100 ? 255 : d2 > 200 ? 0 : (200 - d2) * 255 / 100;
    return PF_Pixel{255, static_cast<A_u_char>(30 + inside * 200 / 255), static_cast<A_u_char>(80),
                    static_cast<A_u_char>(200 - inside * 150 / 255)};
}

PF_Pixel diagonal_stripes(A_long x, A_long y, A_long t) {
    const A_long u = x + 3 * y + t;
    const A_u_char v = (u / 6) % 2 ? 220 : 30;
    return PF_Pixel{255, v, v, static_cast<A_u_char>(v / 2 + 20)};
}

InputClip interlaced_clip(A_long width, A_long height, double fps, bool deep, Scene scene) {
    InputClip clip;
    clip.fps = fps;
    clip.width = width;
    clip.height = height;
    clip.deep = deep;
    clip.frame_count = 8;
    clip.frame = [scene](A_long index, World& into) {
        for (A_long y = 0; y < into.height(); ++y)
            for (A_long x = 0; x < into.width(); ++x) {
                const PF_Pixel p = scene(x, y, 2 * index + (y & 1));
                if (into.deep())
                    *into.pixel16(x, y) = PF_Pixel16{static_cast<A_u_short>(p.alpha * 128 + p.alpha / 2),
                                                     static_cast<A_u_short>(p.red * 128 + 3),
                                                     static_cast<A_u_short>(p.green * 128 + p.red / 4),
                                                     static_cast<A_u_short>(p.blue * 128 + 127)};
                else
                    *into.pixel8(x, y) = p;
            }
    };
    return clip;
}

}  // namespace headless::scenes
