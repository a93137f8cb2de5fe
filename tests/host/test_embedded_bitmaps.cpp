// The embedded pictures as the drawing code and the render receive them.
#include "host/embedded_bitmaps.h"

#include <gtest/gtest.h>

#include <cstring>
#include <utility>
#include <vector>

namespace {

const unsigned char* Get(A_long id, A_long* w, A_long* h) {
    return static_cast<const unsigned char*>(GetEmbeddedBitmap(id, w, h));
}

TEST(EmbeddedBitmaps, KnownIdsOnlyPreparedOnceAndThenLeftAlone) {
    for (A_long id : {23408, 23414, 23417, 0, -1}) {
        A_long w = 77, h = 77;
        EXPECT_EQ(GetEmbeddedBitmap(id, &w, &h), nullptr) << id;
        EXPECT_EQ(w + h, 0) << id;
    }
    for (A_long id : {23409, 23410, 23411, 23412, 23413, 23415, 23416}) {
        A_long w = 0, h = 0;
        const unsigned char* first = Get(id, &w, &h);
        ASSERT_NE(first, nullptr) << id;
        ASSERT_GT(w * h, 0) << id;
        const std::vector<unsigned char> copy(first, first + static_cast<size_t>(w) * h * 4);
        A_long w2 = 0, h2 = 0;
        EXPECT_EQ(Get(id, &w2, &h2), first) << id;
        EXPECT_EQ(std::make_pair(w2, h2), std::make_pair(w, h)) << id;
        EXPECT_EQ(std::memcmp(first, copy.data(), copy.size()), 0) << id << " changed on a second request";
    }
}

// Message pictures: A, R, G, B; opaque; top-down (the title is at the top).
TEST(EmbeddedBitmaps, MessagePicturesInHostPixelOrder) {
    for (A_long id : {23409, 23410, 23411}) {
        A_long w = 0, h = 0;
        const unsigned char* p = Get(id, &w, &h);
        ASSERT_NE(p, nullptr);
        for (A_long i = 0; i < w * h; ++i) ASSERT_EQ(p[i * 4], 255) << id << " pixel " << i;
        // The title, in the frame's accent colour E8A33D, is at the top.
        auto accent_inside = [&](A_long y0, A_long y1) {
            int n = 0;
            for (A_long y = y0; y < y1; ++y)
                for (A_long x = 4; x < w - 4; ++x) {
                    const unsigned char* q = p + (static_cast<size_t>(y) * w + x) * 4;
                    n += q[1] == 0xE8 && q[2] == 0xA3 && q[3] == 0x3D;
                }
            return n;
        };
        EXPECT_GT(accent_inside(4, 40), 100) << id << ": title not at the top";
        EXPECT_EQ(accent_inside(h - 30, h - 4), 0) << id;
    }
}

// Button faces: B, G, R, A with the mask's coverage as alpha; top-down.
TEST(EmbeddedBitmaps, ButtonFacesCarryTheirMask) {
    for (A_long id : {23412, 23413, 23415, 23416}) {
        A_long w = 0, h = 0;
        const unsigned char* p = Get(id, &w, &h);
        ASSERT_NE(p, nullptr);
        EXPECT_EQ(w, 80);
        EXPECT_EQ(h, 60);
        auto px = [&](A_long x, A_long y) { return p + (static_cast<size_t>(y) * w + x) * 4; };
        EXPECT_EQ(px(0, 0)[3], 0) << id << ": rounded corner must be transparent";
        EXPECT_EQ(px(w - 1, h - 1)[3], 0) << id;
        EXPECT_EQ(px(w / 2, h / 2)[3], 255) << id;
        EXPECT_EQ(px(w / 2, 0)[3], 255) << id;  // the outline is opaque
    }
    // Normal face: light at the top, darker at the bottom (so rows are not
    // upside down); pressed face the other way round.
    A_long w = 0, h = 0;
    const unsigned char* normal = Get(23412, &w, &h);
    EXPECT_GT(normal[(3 * w + 4) * 4], normal[((h - 4) * w + 4) * 4]);
    const unsigned char* pressed = Get(23413, &w, &h);
    EXPECT_LT(pressed[(3 * w + 4) * 4], pressed[((h - 4) * w + 4) * 4]);
}

}  // namespace
