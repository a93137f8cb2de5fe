#include "render/render_driver.h"

#include "headless/host.h"
#include "headless/world.h"

#include <gtest/gtest.h>

namespace {

// A 40 x 10 picture: white with a red first column, bytes A, R, G, B.
const void* Picture(A_long id, A_long* w, A_long* h)
{
    static A_u_char pixels[40 * 10 * 4];
    *w = 0;
    *h = 0;
    if (id != kPictureConversion) return nullptr;
    for (int i = 0; i < 40 * 10; ++i) {
        const bool edge = i % 40 == 0;
        pixels[4 * i + 0] = 255;
        pixels[4 * i + 1] = 255;
        pixels[4 * i + 2] = edge ? 0 : 255;
        pixels[4 * i + 3] = edge ? 0 : 255;
    }
    *w = 40;
    *h = 10;
    return pixels;
}

struct Box {
    A_long left = 1 << 30, top = 1 << 30, right = -1, bottom = -1;
};

// The lit (non-black) area of an 8-bit world; every pixel must be opaque.
Box LitArea(headless::World& world)
{
    Box b;
    for (A_long y = 0; y < world.height(); ++y)
        for (A_long x = 0; x < world.width(); ++x) {
            const PF_Pixel p = *world.pixel8(x, y);
            EXPECT_EQ(p.alpha, 255);
            if (p.red || p.green || p.blue) {
                b.left = std::min(b.left, x);
                b.top = std::min(b.top, y);
                b.right = std::max(b.right, x + 1);
                b.bottom = std::max(b.bottom, y + 1);
            }
        }
    return b;
}

class MessagePictureTest : public ::testing::Test {
protected:
    headless::Host host_;
    PF_InData& in() { return host_.in_data(); }
};

TEST_F(MessagePictureTest, OwnSizeCentredOnSmallFrames)
{
    in().width = 720;
    headless::World out(200, 50, false);
    out.fill(PF_Pixel{0, 9, 9, 9}, PF_Pixel16{});
    DrawMessagePicture(&in(), &out.def(), kPictureConversion, &Picture);
    const Box b = LitArea(out);
    EXPECT_EQ(b.left, 80);
    EXPECT_EQ(b.right, 120);
    EXPECT_EQ(b.top, 20);
    EXPECT_EQ(b.bottom, 30);
    EXPECT_EQ(out.pixel8(80, 25)->red, 255);  // the red edge comes first
    EXPECT_EQ(out.pixel8(80, 25)->green, 0);
}

TEST_F(MessagePictureTest, ScaledByFrameWidthDownsampleAndAspect)
{
    in().width = 3840;  // twice the reference width: twice the size
    in().downsample_x = PF_RationalScale{1, 2};
    in().downsample_y = PF_RationalScale{1, 2};
    headless::World out(400, 100, false);
    DrawMessagePicture(&in(), &out.def(), kPictureConversion, &Picture);
    Box b = LitArea(out);
    EXPECT_EQ(b.right - b.left, 40);
    EXPECT_EQ(b.bottom - b.top, 10);

    in().width = 720;
    in().downsample_x = PF_RationalScale{1, 1};
    in().downsample_y = PF_RationalScale{1, 1};
    in().pixel_aspect_ratio = PF_RationalScale{1, 2};  // tall pixels: twice as many across
    DrawMessagePicture(&in(), &out.def(), kPictureConversion, &Picture);
    b = LitArea(out);
    EXPECT_EQ(b.right - b.left, 80);
    EXPECT_EQ(b.bottom - b.top, 10);
}

TEST_F(MessagePictureTest, ShrunkToFitAndDeepWorlds)
{
    in().width = 720;
    headless::World out(20, 20, true);
    DrawMessagePicture(&in(), &out.def(), kPictureConversion, &Picture);
    A_long lit = 0;
    for (A_long y = 0; y < 20; ++y)
        for (A_long x = 0; x < 20; ++x) {
            EXPECT_EQ(out.pixel16(x, y)->alpha, 32768);
            lit += out.pixel16(x, y)->blue == 32768;
        }
    // Shrunk to 20 x 5 (the red edge column may fall between samples).
    EXPECT_GE(lit, 20 * 5 - 5);
    EXPECT_LE(lit, 20 * 5);
    EXPECT_EQ(out.pixel16(10, 6)->blue, 0);
    EXPECT_EQ(out.pixel16(10, 7)->blue, 32768);
    EXPECT_EQ(out.pixel16(10, 11)->blue, 32768);
    EXPECT_EQ(out.pixel16(10, 12)->blue, 0);
    // No picture: just the opaque black fill.
    headless::World none(8, 8, false);
    none.fill(PF_Pixel{0, 50, 50, 50}, PF_Pixel16{});
    DrawMessagePicture(&in(), &none.def(), kPictureLayerSize, &Picture);
    EXPECT_EQ(LitArea(none).right, -1);
}

}  // namespace
