#include "image/cpu_features.h"

bool cpu_has_simd()
{
    A_u_long regs[4] = {0, 0, 0, 0};
    cpu_features::identify(1, regs);
    return (regs[3] & cpu_features::kSimdMask) != 0;
}
