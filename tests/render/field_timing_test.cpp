#include "render/field_timing.h"
#include "render/render_settings.h"

#include "test_support.h"

namespace {

using render_test::Bits;

TEST(FieldTiming, RateColumnsByExactFloatEquality)
{
    struct Case { float rate; A_long column; };
    const Case cases[] = {
        {CompositionRate(2997, 125), 1}, {CompositionRate(24, 1), 2}, {CompositionRate(25, 1), 3},
        {CompositionRate(2997, 100), 4}, {CompositionRate(30, 1), 5},
        // Close is not enough.
        {23.98f, 0}, {CompositionRate(30000, 1001), 0}, {CompositionRate(24000, 1001), 0},
        {CompositionRate(50, 1), 0}, {CompositionRate(30, 0), 0},  // no step: no column, no fault
    };
    for (const Case& c : cases) EXPECT_EQ(RateColumn(c.rate), c.column) << c.rate;
}

TEST(FieldTiming, SourceRatesAndTheConversionTable)
{
    EXPECT_EQ(Bits(SourceRate(kSourceNTSC, 1)), 0x41EFC28Fu);
    EXPECT_EQ(Bits(SourceRate(kSourceNTSC, 3)), 0x41EFC28Fu);
    EXPECT_EQ(SourceRate(kSourcePAL, 3), 25.0f);
    // PAL anywhere else is conformed to 23.976.
    for (A_long column : {0, 1, 4}) EXPECT_EQ(SourceRate(kSourcePAL, column), 23.976f);
    for (A_long bad : {0, 3, -1}) {
        try {
            SourceRate(bad, 1);
            ADD_FAILURE() << "no error for source kind " << bad;
        } catch (A_long err) {
            EXPECT_EQ(err, 514);
        }
    }
    // Supported: NTSC to 23.976 and 29.97, PAL to 23.976 and 25; out of
    // range reads as unsupported.
    for (A_long row = -1; row <= kConversionRows; ++row)
        for (A_long col = -1; col <= kConversionColumns; ++col) {
            const bool supported = (row == 1 && (col == 1 || col == 4)) || (row == 2 && (col == 1 || col == 3));
            EXPECT_EQ(LookupConversion(row, col).unsupported, !supported) << row << "," << col;
        }
    EXPECT_EQ(LookupConversion(1, 1).message, ConversionMessage::NTSC);
    EXPECT_EQ(LookupConversion(2, 3).message, ConversionMessage::PAL);
}

TEST(FieldTiming, CheckoutTimesAreAsymmetricAndTruncated)
{
    struct Case { A_long t; A_u_long scale; float rate; A_long previous, next; };
    const Case cases[] = {
        {1000, 2500, 25.0f, 1000 - 99, 1000 + 101},  // ticks = 100 exactly
        {0, 2997, kRate2997, -99, 101},              // 100.0000...
        {5000, 30000, kRate2997, 5000 - 1000, 5000 + 1002},  // 1001.001: toward zero, not rounded
    };
    for (const Case& c : cases) {
        const SourceFrameTimes t = SourceTimes(c.t, c.scale, c.rate);
        EXPECT_EQ(t.current, c.t);
        EXPECT_EQ(t.previous, c.previous);
        EXPECT_EQ(t.next, c.next);
    }
}

TEST(FieldTiming, FieldNumbers)
{
    // NTSC to 23.976 (frame step 125 of 2997): the 2-3 pull-down cadence.
    const A_long cadence[] = {0, 2, 5, 7, 10, 12, 15, 17};
    for (A_long k = 0; k < 8; ++k) EXPECT_EQ(FieldNumber(125 * k, 2997, kRate2997), cadence[k]) << "frame " << k;
    // NTSC to 29.97 and PAL to 25 / 23.976: always the first field.
    for (A_long k = 0; k < 50; ++k) {
        EXPECT_EQ(FieldNumber(100 * k, 2997, kRate2997), 2 * k);
        EXPECT_EQ(FieldNumber(k, 25, 25.0f), 2 * k);
        EXPECT_EQ(FieldNumber(125 * k, 2997, kRate23976), 2 * k);
    }
    // An exact half field rounds down: 25 fps, t = 1/4 s is field 12.5.
    EXPECT_EQ(FieldNumber(1, 4, 25.0f), 12);
    EXPECT_EQ(FieldNumber(3, 4, 25.0f), 37);
    EXPECT_EQ(FieldNumber(11, 1000, 25.0f), 1);  // 0.55
    // Out of range: no overflow, and the parity stays usable.
    EXPECT_EQ(FieldNumber(2000000000, 1, kRate2997) % 2, 0);
    EXPECT_EQ(FieldNumber(5, 0, kRate2997), 2147483520);
    EXPECT_EQ(FieldNumber(0, 0, kRate2997), 0);
}

TEST(FieldTiming, FieldSelection)
{
    struct Row { A_long n, order, top, m2, m1, f0, p1, p2; };
    const Row rows[] = {
        {0, 1, 0, 0, 1, 2, 3, 4}, {0, 2, 0, 1, 0, 3, 2, 5}, {1, 1, 0, 1, 2, 3, 4, 5},
        {1, 2, 0, 0, 3, 2, 5, 4}, {12, 1, 0, 0, 1, 2, 3, 4}, {7, 2, 0, 0, 3, 2, 5, 4},
        // An extent starting on an odd line swaps the order; anything but 1
        // becomes upper first.
        {0, 1, 1, 1, 0, 3, 2, 5}, {0, 2, 7, 0, 1, 2, 3, 4}, {0, 2, 6, 1, 0, 3, 2, 5},
        {0, 5, 1, 0, 1, 2, 3, 4}, {1, 1, 3, 0, 3, 2, 5, 4},
    };
    for (const Row& r : rows) {
        SCOPED_TRACE(testing::Message() << "n " << r.n << " order " << r.order << " top " << r.top);
        const FieldSelection s = SelectFields(r.n, r.order, r.top);
        EXPECT_EQ((std::vector<A_long>{s.minus2, s.minus1, s.zero, s.plus1, s.plus2}),
                  (std::vector<A_long>{r.m2, r.m1, r.f0, r.p1, r.p2}));
        EXPECT_EQ(s.upper, r.f0 == 2);
    }
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
