#include "render/render_driver.h"

#include "headless/host.h"
#include "headless/world.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <array>

namespace {

// A 40 x 10 picture: white with a red first column, bytes A, R, G, B.
const void* Picture(A_long id, A_long* w, A_long* h)
{
    static A_u_char pixels[40 * 10 * 4];
    *w = *h = 0;
    if (id != kPictureConversion) return nullptr;
    for (int i = 0; i < 40 * 10; ++i) {
        const A_u_char rest = i % 40 == 0 ? 0 : 255;
        pixels[4 * i] = pixels[4 * i + 1] = 255;
        pixels[4 * i + 2] = pixels[4 * i + 3] = rest;
    }
    *w = 40;
    *h = 10;
    return pixels;
}

using Box = std::array<A_long, 4>;  // left, top, right, bottom

// The lit (non-black) area of a world; every pixel must be opaque.
Box LitArea(headless::World& w)
{
    Box b{1 << 30, 1 << 30, -1, -1};
    for (A_long y = 0; y < w.height(); ++y)
        for (A_long x = 0; x < w.width(); ++x) {
            const bool lit = w.deep() ? w.pixel16(x, y)->red || w.pixel16(x, y)->green || w.pixel16(x, y)->blue
                                      : w.pixel8(x, y)->red || w.pixel8(x, y)->green || w.pixel8(x, y)->blue;
            EXPECT_EQ(w.deep() ? w.pixel16(x, y)->alpha : w.pixel8(x, y)->alpha, w.deep() ? 32768 : 255);
            if (lit) b = Box{std::min(b[0], x), std::min(b[1], y), std::max(b[2], x + 1), std::max(b[3], y + 1)};
        }
    return b;
}

TEST(MessagePicture, ScaledByFrameWidthDownsampleAndAspectAndShrunkToFit)
{
    struct Case { A_long frameWidth, downsample, parDen, outW, outH; bool deep; A_long id; Box lit; };
    const Case cases[] = {
        {720, 1, 1, 200, 50, false, kPictureConversion, {80, 20, 120, 30}},     // own size, centred
        {3840, 2, 1, 400, 100, false, kPictureConversion, {180, 45, 220, 55}},  // twice the reference, halved
        {720, 1, 2, 400, 100, false, kPictureConversion, {160, 45, 240, 55}},   // tall pixels: twice across
        {720, 1, 1, 20, 20, true, kPictureConversion, {0, 7, 20, 12}},          // shrunk to fit
        {720, 1, 1, 8, 8, false, kPictureLayerSize, {1 << 30, 1 << 30, -1, -1}},  // no picture: black
    };
    for (const Case& c : cases) {
        SCOPED_TRACE(testing::Message() << "frame " << c.frameWidth << " out " << c.outW << "x" << c.outH);
        headless::Host host;
        PF_InData& in = host.in_data();
        in.width = c.frameWidth;
        in.downsample_x = in.downsample_y = PF_RationalScale{1, static_cast<A_u_long>(c.downsample)};
        in.pixel_aspect_ratio = PF_RationalScale{1, static_cast<A_u_long>(c.parDen)};
        headless::World out(c.outW, c.outH, c.deep);
        out.fill(PF_Pixel{0, 9, 9, 9}, PF_Pixel16{0, 9, 9, 9});
        DrawMessagePicture(&in, &out.def(), c.id, &Picture);
        EXPECT_EQ(LitArea(out), c.lit);
        // The picture's own pixels at its own size: the red edge comes first.
        if (c.frameWidth == 720 && c.outW == 200) {
            EXPECT_EQ(out.pixel8(80, 25)->red, 255);
            EXPECT_EQ(out.pixel8(80, 25)->green, 0);
            EXPECT_EQ(out.pixel8(81, 25)->green, 255);
        }
    }
}

}  // namespace
