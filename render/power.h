// x raised to a power, the same to the last bit on every platform.
//
// The motion curve raises every motion value to a power. The C libraries of
// the platforms the module is built for round powf differently in the last
// bit now and then, and a one-bit change in a motion value can move an
// output sample, so the module carries its own: natural log and exponential
// evaluated in double precision with plain IEEE operations, then rounded
// once to float. The double result is within about 2^-44 of the true value,
// so the float is the correctly rounded power except when the true value
// lies within that distance of a rounding midpoint.
#pragma once

// base >= 0 and exponent > 0 (the curve's range); 0 gives 0, 1 gives 1, and a
// NaN base gives NaN.
float PowerOf(float base, float exponent);
