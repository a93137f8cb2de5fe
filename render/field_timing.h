// Field timing and frame-rate mapping: which source frames a render checks
// out and which four of their six fields it works on, and whether a source /
// composition rate pair is supported at all. Pure arithmetic on numbers the
// caller takes from the host.
#pragma once
#include "hostapi/host_api.h"

// Composition rates that have a column of their own, as 32-bit floats.
constexpr float kRate23976 = 23.976f;
constexpr float kRate24 = 24.0f;
constexpr float kRate25 = 25.0f;
constexpr float kRate2997 = 29.97f;  // bits 0x41EFC28F
constexpr float kRate30 = 30.0f;

// "Source Video" popup values.
constexpr A_long kSourceNTSC = 1;
constexpr A_long kSourcePAL = 2;

// Error code thrown for a "Source Video" value the render cannot time.
constexpr A_long kBadSourceVideoError = PF_Err_UNRECOGNIZED_PARAM_TYPE;  // 514

// time_scale / local_time_step, in 32-bit float.
float CompositionRate(A_u_long time_scale, A_long local_time_step);

// 1 for exactly 23.976, 2 for 24, 3 for 25, 4 for 29.97, 5 for 30, else 0.
// Exact float equality on purpose: 23.98 or 30000/1001 land in column 0.
A_long RateColumn(float compRate);

// The rate the source's frames are timed by: 29.97 for NTSC; for PAL 25 in a
// 25 fps composition and 23.976 otherwise (a PAL source in a 23.976
// composition is conformed: each output frame takes one whole source frame).
// Throws the A_long kBadSourceVideoError for any other source kind.
float SourceRate(A_long sourceKind, A_long rateColumn);

// The conversion table, shared with Auto Setup. Rows by source kind (0 other,
// 1 NTSC, 2 PAL), columns by rate column (0..5).
enum class ConversionMessage : A_long {
    NTSC = 0,    // NTSC footage, supported
    PAL = 1,     // PAL footage, supported
    HD = 2,      // HD footage (chosen by Auto Setup from the frame size)
    Failed = 3,  // no association between source and composition rate
};

struct ConversionEntry {
    ConversionMessage message;
    bool unsupported;
};

constexpr A_long kConversionRows = 3;
constexpr A_long kConversionColumns = 6;
extern const ConversionEntry kConversionTable[kConversionRows][kConversionColumns];

// The table's entry; a source kind or column out of range reads row or
// column 0 (unsupported).
const ConversionEntry& LookupConversion(A_long sourceKind, A_long rateColumn);

// Layer times of the three source frames to check out.
struct SourceFrameTimes {
    A_long current;
    A_long previous;
    A_long next;
};

// previous = t - trunc(ticks - 1), next = t + trunc(ticks + 1) with
// ticks = time_scale / sourceRate: one tick short of a frame back, one tick
// beyond a frame forward, so both land safely inside their frames. A time so
// close to the ends of the time line that a neighbour falls off it is no time
// a host can render: thrown as the A_long PF_Err_BAD_CALLBACK_PARAM.
SourceFrameTimes SourceTimes(A_long current_time, A_u_long time_scale, float sourceRate);

// Source field number at the output time. 0.499 rather than 0.5 so that an
// exact half field rounds down.
A_long FieldNumber(A_long current_time, A_u_long time_scale, float sourceRate);

// Indices into the six fields of a render: 0 previous upper, 1 previous
// lower, 2 current upper, 3 current lower, 4 next upper, 5 next lower.
struct FieldSelection {
    A_long minus2;
    A_long minus1;
    A_long zero;
    A_long plus1;
    A_long plus2;   // computed for completeness; the render does not use it
    bool upper;     // Field 0 is an upper field (index 2)
};

// fieldOrder: 1 upper first, 2 lower first. An extent starting on an odd
// line swaps the order, since its first line belongs to the other field.
FieldSelection SelectFields(A_long fieldNumber, A_long fieldOrder, A_long extentTop);
