#include "render/field_frames.h"

#include "headless/inproc/scoped_host.h"
#include "test_images.h"

#include <gtest/gtest.h>

namespace {

float Row0Value(const CVFloatWorld& img, A_long y) { return img.pixel_at_point(0, y)->red; }

class FieldFramesTest : public ::testing::Test {
protected:
    headless::ScopedHostContext ctx_;
};

TEST_F(FieldFramesTest, SplitOddHeight)
{
    CVFloatWorld frame(5, 7);
    FillGrey(frame, [](A_long, A_long y) { return static_cast<float>(y); });
    CVFloatWorld upper(5, 4), lower(5, 3);
    SplitFields(frame, &upper, &lower);
    for (A_long i = 0; i < 4; ++i) EXPECT_EQ(Row0Value(upper, i), 2.0f * i);
    for (A_long i = 0; i < 3; ++i) EXPECT_EQ(Row0Value(lower, i), 2.0f * i + 1);
    // Either field may be left out.
    FillGrey(lower, -1.0f);
    SplitFields(frame, nullptr, &lower);
    EXPECT_EQ(Row0Value(lower, 2), 5.0f);
}

TEST_F(FieldFramesTest, BuildFromUpperField)
{
    for (A_long frameH : {6, 7}) {
        CVFloatWorld field(3, (frameH + 1) / 2);
        FillGrey(field, [](A_long, A_long y) { return static_cast<float>(y * 4); });
        CVFloatWorld frame(3, frameH);
        FillGrey(frame, -1.0f);
        BuildFrameFromField(field, frame, true);
        // Own rows, averages between, and the last row of an even frame
        // repeats the last field row.
        const float even[6] = {0, 2, 4, 6, 8, 8};
        const float odd[7] = {0, 2, 4, 6, 8, 10, 12};
        for (A_long r = 0; r < frameH; ++r)
            EXPECT_EQ(Row0Value(frame, r), frameH == 6 ? even[r] : odd[r]) << frameH << " row " << r;
        EXPECT_EQ(frame.pixel_at_point(2, 1)->alpha, 1.0f);
    }
}

TEST_F(FieldFramesTest, BuildFromLowerField)
{
    for (A_long frameH : {6, 7}) {
        CVFloatWorld field(3, frameH / 2);
        FillGrey(field, [](A_long, A_long y) { return static_cast<float>(y * 4 + 1); });
        CVFloatWorld frame(3, frameH);
        FillGrey(frame, -1.0f);
        BuildFrameFromField(field, frame, false);
        // Frame row 0 copies field row 0; an odd frame's last row copies the
        // last field row.
        const float expect[7] = {1, 1, 3, 5, 7, 9, 9};
        for (A_long r = 0; r < frameH; ++r) EXPECT_EQ(Row0Value(frame, r), expect[r]) << frameH << " row " << r;
    }
}

TEST_F(FieldFramesTest, AveragesAllFourChannels)
{
    CVFloatWorld field(2, 2);
    *field.pixel_at_point(1, 0) = {0.0f, 0.2f, 0.4f, 0.6f};
    *field.pixel_at_point(1, 1) = {1.0f, 0.4f, 0.8f, 1.0f};
    *field.pixel_at_point(0, 0) = {0.0f, 0.0f, 0.0f, 0.0f};
    *field.pixel_at_point(0, 1) = {0.0f, 0.0f, 0.0f, 0.0f};
    CVFloatWorld frame(2, 4);
    BuildFrameFromField(field, frame, true);
    const CVFloatWorld::tPixel p = *frame.pixel_at_point(1, 1);
    EXPECT_FLOAT_EQ(p.alpha, 0.5f);
    EXPECT_FLOAT_EQ(p.red, 0.3f);
    EXPECT_FLOAT_EQ(p.green, 0.6f);
    EXPECT_FLOAT_EQ(p.blue, 0.8f);
}

}  // namespace
