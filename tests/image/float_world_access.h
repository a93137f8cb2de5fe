// Reach into CVFloatWorld's private variants and state, for the image tests
// and benchmarks (the class names this one as its friend). One definition,
// shared by every program that uses it.
#pragma once
#include "image/float_world.h"

class CVFloatWorldTestAccess {
public:
    using tPixel = CVFloatWorld::tPixel;

    static A_u_long start_offset(const CVFloatWorld& w) { return w.start_offset; }
    static A_u_long& world_number() { return CVFloatWorld::world_number_; }
    static A_u_long calculate_rowbytes(CVFloatWorld& w) { return w.calculate_rowbytes(-1); }

    // The integer conversions; the "from" direction ignores w and h.
    static void from8_regular(CVFloatWorld& w, A_u_long rb, const A_u_char* s)
    { w.copy_from_8bit_integer_world_regular(0, 0, rb, s); }
    static void from8_simd(CVFloatWorld& w, A_u_long rb, const A_u_char* s)
    { w.copy_from_8bit_integer_world_simd(0, 0, rb, s); }
    static void from16_regular(CVFloatWorld& w, A_u_long rb, const A_u_short* s)
    { w.copy_from_16bit_integer_world_regular(0, 0, rb, s); }
    static void from16_simd(CVFloatWorld& w, A_u_long rb, const A_u_short* s)
    { w.copy_from_16bit_integer_world_simd(0, 0, rb, s); }
    static void to8_regular(const CVFloatWorld& w, A_long dw, A_long dh, A_u_long rb, A_u_char* d)
    { w.copy_to_8bit_integer_world_regular(dw, dh, rb, d); }
    static void to8_simd(const CVFloatWorld& w, A_long dw, A_long dh, A_u_long rb, A_u_char* d)
    { w.copy_to_8bit_integer_world_simd(dw, dh, rb, d); }
    static void to16_regular(const CVFloatWorld& w, A_long dw, A_long dh, A_u_long rb, A_u_short* d)
    { w.copy_to_16bit_integer_world_regular(dw, dh, rb, d); }
    static void to16_simd(const CVFloatWorld& w, A_long dw, A_long dh, A_u_long rb, A_u_short* d)
    { w.copy_to_16bit_integer_world_simd(dw, dh, rb, d); }
    static void scale_rect(const CVFloatWorld& w, tPixel* d, tPixel* s, A_long sw, A_long sh, A_long dw, A_long dh)
    { w.ScaleRectAvg(d, s, sw, sh, dw, dh); }
};
