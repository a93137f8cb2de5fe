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
