// Linked only into TessenPlusVariants, a copy of the module that is never
// shipped: one more export lets the comparison under Wine choose the code
// path the capability test would otherwise choose, so that every path of the
// Windows module is checked against the Linux one on the same processor.
#include "dae/export.h"
#include "image/cpu_features.h"

// simd: 0 the regular path, 1 the SIMD path, -1 the capability test's own
// answer; vector_bits: the widest vectors the SIMD path may use (128, 256 or
// 512, never more than the processor has), -1 for no limit.
extern "C" TESSEN_EXPORT void TessenForceVariant(int simd, int vector_bits)
{
    cpu_features::force_simd_answer(simd);
    cpu_features::cap_vector_width(vector_bits);
}
