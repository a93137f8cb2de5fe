#include <intrin.h>

#include "image/cpu_features.h"

namespace cpu_features {

void identify(A_u_long leaf, A_u_long regs[4])
{
    int r[4] = {0, 0, 0, 0};
    __cpuid(r, static_cast<int>(leaf));
    for (int i = 0; i < 4; ++i) {
        regs[i] = static_cast<A_u_long>(r[i]);
    }
}

}  // namespace cpu_features
