#include "render/field_timing.h"

#include <cmath>
#include <cstdint>

float CompositionRate(A_u_long time_scale, A_long local_time_step)
{
    return static_cast<float>(time_scale) / static_cast<float>(local_time_step);
}

A_long RateColumn(float compRate)
{
    if (compRate == kRate23976) return 1;
    if (compRate == kRate24) return 2;
    if (compRate == kRate25) return 3;
    if (compRate == kRate2997) return 4;
    if (compRate == kRate30) return 5;
    return 0;
}

float SourceRate(A_long sourceKind, A_long rateColumn)
{
    if (sourceKind == kSourceNTSC) return kRate2997;
    if (sourceKind == kSourcePAL) return rateColumn == 3 ? kRate25 : kRate23976;
    throw static_cast<A_long>(kBadSourceVideoError);
}

namespace {
constexpr ConversionEntry kNo{ConversionMessage::Failed, true};
constexpr ConversionEntry kNTSC{ConversionMessage::NTSC, false};
constexpr ConversionEntry kPAL{ConversionMessage::PAL, false};
}  // namespace

//                      other  23.976  24    25    29.97  30
const ConversionEntry kConversionTable[kConversionRows][kConversionColumns] = {
    /* other */ {kNo, kNo, kNo, kNo, kNo, kNo},
    /* NTSC  */ {kNo, kNTSC, kNo, kNo, kNTSC, kNo},
    /* PAL   */ {kNo, kPAL, kNo, kPAL, kNo, kNo},
};

const ConversionEntry& LookupConversion(A_long sourceKind, A_long rateColumn)
{
    if (sourceKind < 0 || sourceKind >= kConversionRows) sourceKind = 0;
    if (rateColumn < 0 || rateColumn >= kConversionColumns) rateColumn = 0;
    return kConversionTable[sourceKind][rateColumn];
}

SourceFrameTimes SourceTimes(A_long current_time, A_u_long time_scale, float sourceRate)
{
    const float ticks = static_cast<float>(time_scale) / sourceRate;
    // The render's rates keep ticks below 2^32 / 23.976; only the sums can
    // leave the 32-bit time line.
    if (!(ticks > -2.0e9f && ticks < 2.0e9f)) throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
    const long long previous = static_cast<long long>(current_time) - static_cast<A_long>(ticks - 1.0f);
    const long long next = static_cast<long long>(current_time) + static_cast<A_long>(ticks + 1.0f);
    if (previous < INT32_MIN || previous > INT32_MAX || next < INT32_MIN || next > INT32_MAX)
        throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
    SourceFrameTimes times;
    times.current = current_time;
    times.previous = static_cast<A_long>(previous);
    times.next = static_cast<A_long>(next);
    return times;
}

A_long FieldNumber(A_long current_time, A_u_long time_scale, float sourceRate)
{
    const float seconds = static_cast<float>(current_time) / static_cast<float>(time_scale);
    const float n = std::floor(seconds * 2.0f * sourceRate + 0.499f);
    // Times far beyond any real footage (or a zero time scale) must not
    // overflow the conversion.
    if (!(n > -2147483520.0f)) return 0;
    if (n > 2147483520.0f) return 2147483520;
    return static_cast<A_long>(n);
}

FieldSelection SelectFields(A_long fieldNumber, A_long fieldOrder, A_long extentTop)
{
    A_long order = fieldOrder;
    if (extentTop & 1) order = (order == 1) ? 2 : 1;

    // Five consecutive fields in display order, Field 0 in the current frame.
    static const A_long kRows[4][5] = {
        {0, 1, 2, 3, 4},  // even n, upper first
        {1, 0, 3, 2, 5},  // even n, lower first
        {1, 2, 3, 4, 5},  // odd n, upper first
        {0, 3, 2, 5, 4},  // odd n, lower first
    };
    const int row = ((fieldNumber & 1) ? 2 : 0) + (order == 1 ? 0 : 1);
    FieldSelection s;
    s.minus2 = kRows[row][0];
    s.minus1 = kRows[row][1];
    s.zero = kRows[row][2];
    s.plus1 = kRows[row][3];
    s.plus2 = kRows[row][4];
    s.upper = (s.zero == 2);
    return s;
}
