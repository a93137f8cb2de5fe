#include "render/field_timing.h"
#include "render/render_settings.h"

#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>

namespace {

uint32_t Bits(float f)
{
    uint32_t u;
    std::memcpy(&u, &f, 4);
    return u;
}

TEST(FieldTiming, RateColumnsByExactFloatEquality)
{
    EXPECT_EQ(RateColumn(CompositionRate(2997, 125)), 1);  // 23.976
    EXPECT_EQ(RateColumn(CompositionRate(24, 1)), 2);
    EXPECT_EQ(RateColumn(CompositionRate(25, 1)), 3);
    EXPECT_EQ(RateColumn(CompositionRate(2997, 100)), 4);  // 29.97
    EXPECT_EQ(RateColumn(CompositionRate(30, 1)), 5);
    // Close is not enough.
    EXPECT_EQ(RateColumn(23.98f), 0);
    EXPECT_EQ(RateColumn(CompositionRate(30000, 1001)), 0);
    EXPECT_EQ(RateColumn(CompositionRate(24000, 1001)), 0);
    EXPECT_EQ(RateColumn(CompositionRate(50, 1)), 0);
    EXPECT_EQ(RateColumn(CompositionRate(30, 0)), 0);  // no step: no column, no fault
}

TEST(FieldTiming, SourceRates)
{
    EXPECT_EQ(Bits(SourceRate(kSourceNTSC, 1)), 0x41EFC28Fu);
    EXPECT_EQ(Bits(SourceRate(kSourceNTSC, 3)), 0x41EFC28Fu);
    EXPECT_EQ(SourceRate(kSourcePAL, 3), 25.0f);
    // PAL anywhere else is conformed to 23.976.
    EXPECT_EQ(SourceRate(kSourcePAL, 1), 23.976f);
    EXPECT_EQ(SourceRate(kSourcePAL, 4), 23.976f);
    EXPECT_EQ(SourceRate(kSourcePAL, 0), 23.976f);
    for (A_long bad : {0, 3, -1, 100}) {
        try {
            SourceRate(bad, 1);
            ADD_FAILURE() << "no error for source kind " << bad;
        } catch (A_long err) {
            EXPECT_EQ(err, 514);
        }
    }
}

TEST(FieldTiming, ConversionTableSupportsOnlyFourPairs)
{
    for (A_long row = 0; row < kConversionRows; ++row) {
        for (A_long col = 0; col < kConversionColumns; ++col) {
            const bool supported = (row == 1 && (col == 1 || col == 4)) ||
                                   (row == 2 && (col == 1 || col == 3));
            EXPECT_EQ(LookupConversion(row, col).unsupported, !supported) << row << "," << col;
            EXPECT_EQ(&LookupConversion(row, col), &kConversionTable[row][col]);
        }
    }
    EXPECT_EQ(LookupConversion(1, 1).message, ConversionMessage::NTSC);
    EXPECT_EQ(LookupConversion(2, 3).message, ConversionMessage::PAL);
    EXPECT_TRUE(LookupConversion(7, 1).unsupported);
    EXPECT_TRUE(LookupConversion(1, 9).unsupported);
    EXPECT_TRUE(LookupConversion(-1, -1).unsupported);
}

TEST(FieldTiming, CheckoutTimesAreAsymmetric)
{
    // PAL at 25 with time_scale 2500: ticks = 100 exactly.
    SourceFrameTimes t = SourceTimes(1000, 2500, 25.0f);
    EXPECT_EQ(t.current, 1000);
    EXPECT_EQ(t.previous, 1000 - 99);
    EXPECT_EQ(t.next, 1000 + 101);
    // NTSC in time_scale 2997: ticks = 100.0000..., truncated.
    t = SourceTimes(0, 2997, kRate2997);
    EXPECT_EQ(t.previous, -99);
    EXPECT_EQ(t.next, 101);
    // Truncation toward zero, not rounding: 30000 / 29.97 = 1001.001.
    t = SourceTimes(5000, 30000, kRate2997);
    EXPECT_EQ(t.previous, 5000 - 1000);
    EXPECT_EQ(t.next, 5000 + 1002);
}

TEST(FieldTiming, FieldNumbers)
{
    EXPECT_EQ(FieldNumber(0, 2997, kRate2997), 0);
    // NTSC to 23.976 (frame step 125 of 2997): the 2-3 pull-down cadence.
    const A_long cadence[] = {0, 2, 5, 7, 10, 12, 15, 17};
    for (A_long k = 0; k < 8; ++k)
        EXPECT_EQ(FieldNumber(125 * k, 2997, kRate2997), cadence[k]) << "frame " << k;
    // NTSC to 29.97 and PAL to 25 / 23.976: always the first field.
    for (A_long k = 0; k < 50; ++k) {
        EXPECT_EQ(FieldNumber(100 * k, 2997, kRate2997), 2 * k);
        EXPECT_EQ(FieldNumber(k, 25, 25.0f), 2 * k);
        EXPECT_EQ(FieldNumber(125 * k, 2997, kRate23976), 2 * k);
    }
    // An exact half field rounds down: 25 fps, t = 1/4 s is field 12.5.
    EXPECT_EQ(FieldNumber(1, 4, 25.0f), 12);
    EXPECT_EQ(FieldNumber(3, 4, 25.0f), 37);    // 37.5 -> 37
    EXPECT_EQ(FieldNumber(6, 1000, 25.0f), 0);  // 0.3 -> 0
    EXPECT_EQ(FieldNumber(11, 1000, 25.0f), 1); // 0.55 -> 1
    // Out of range: no overflow, and the parity stays usable.
    EXPECT_EQ(FieldNumber(2000000000, 1, kRate2997) % 2, 0);
    EXPECT_EQ(FieldNumber(5, 0, kRate2997), 2147483520);
    EXPECT_EQ(FieldNumber(0, 0, kRate2997), 0);
}

TEST(FieldTiming, FieldSelectionTable)
{
    struct Row { A_long n, order, m2, m1, f0, p1, p2; };
    const Row rows[] = {
        {0, 1, 0, 1, 2, 3, 4},
        {0, 2, 1, 0, 3, 2, 5},
        {1, 1, 1, 2, 3, 4, 5},
        {1, 2, 0, 3, 2, 5, 4},
        {12, 1, 0, 1, 2, 3, 4},
        {7, 2, 0, 3, 2, 5, 4},
    };
    for (const Row& r : rows) {
        const FieldSelection s = SelectFields(r.n, r.order, 0);
        EXPECT_EQ(s.minus2, r.m2);
        EXPECT_EQ(s.minus1, r.m1);
        EXPECT_EQ(s.zero, r.f0);
        EXPECT_EQ(s.plus1, r.p1);
        EXPECT_EQ(s.plus2, r.p2);
        EXPECT_EQ(s.upper, r.f0 == 2);
    }
    // t = 0: Field 0 is the current frame's first field.
    EXPECT_EQ(SelectFields(FieldNumber(0, 2997, kRate2997), 1, 0).zero, 2);
    EXPECT_EQ(SelectFields(FieldNumber(0, 2997, kRate2997), 2, 0).zero, 3);
}

TEST(FieldTiming, OddExtentTopSwapsOrder)
{
    EXPECT_EQ(SelectFields(0, 1, 1).zero, 3);
    EXPECT_EQ(SelectFields(0, 2, 1).zero, 2);
    EXPECT_EQ(SelectFields(0, 2, 7).zero, 2);
    EXPECT_EQ(SelectFields(0, 2, 6).zero, 3);
    // Anything but 1 becomes upper first when swapped.
    EXPECT_EQ(SelectFields(0, 5, 1).zero, 2);
    EXPECT_TRUE(SelectFields(1, 1, 3).upper);   // odd n, lower first after swap
}

TEST(RenderSettingsConstants, ExactBits)
{
    EXPECT_EQ(Bits(kDiffLow), 0x3C78A1CCu);
    EXPECT_EQ(Bits(kDiffHigh), 0x3CF1956Cu);
    EXPECT_EQ(Bits(kGradientThreshold), 0x3D40C0C1u);
    EXPECT_EQ(Bits(kBlendLimit), 0x3ECCCCCDu);
    EXPECT_EQ(kDiffSpread, 2);
}

}  // namespace
