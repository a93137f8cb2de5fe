#include "image/cpu_features.h"

namespace {
int forced_answer = -1;
}

void cpu_features::force_simd_answer(int answer) { forced_answer = answer; }

bool cpu_has_simd()
{
    if (forced_answer >= 0) return forced_answer != 0;
    A_u_long regs[4] = {0, 0, 0, 0};
    cpu_features::identify(1, regs);
    return (regs[3] & cpu_features::kSimdMask) != 0;
}

namespace cpu_features {

namespace {
int width_cap = -1;
}

void cap_vector_width(int bits) { width_cap = bits; }

VectorWidth widest_vectors()
{
    A_u_long one[4] = {0, 0, 0, 0};
    identify(1, one);
    const bool osxsave = (one[2] & (1u << 27)) != 0;
    const bool avx = (one[2] & (1u << 28)) != 0;
    if (!osxsave || !avx) return VectorWidth::k128;
    const unsigned long long state = enabled_state();
    if ((state & 0x6) != 0x6) return VectorWidth::k128;  // SSE and AVX registers saved by the system
    A_u_long seven[4] = {0, 0, 0, 0};
    identify_sub(7, 0, seven);
    const bool avx2 = (seven[1] & (1u << 5)) != 0;
    const bool avx512f = (seven[1] & (1u << 16)) != 0;
    VectorWidth best = VectorWidth::k128;
    if (avx2) best = VectorWidth::k256;
    if (avx2 && avx512f && (state & 0xe6) == 0xe6) best = VectorWidth::k512;  // opmask and upper registers too
    if (width_cap >= 0 && width_cap < 512 && best == VectorWidth::k512) best = VectorWidth::k256;
    if (width_cap >= 0 && width_cap < 256) best = VectorWidth::k128;
    return best;
}

}  // namespace cpu_features
