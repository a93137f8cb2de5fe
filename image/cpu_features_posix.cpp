#include <cpuid.h>

#include "image/cpu_features.h"

namespace cpu_features {

void identify(A_u_long leaf, A_u_long regs[4])
{
    unsigned int a = 0, b = 0, c = 0, d = 0;
    __cpuid(leaf, a, b, c, d);
    regs[0] = a;
    regs[1] = b;
    regs[2] = c;
    regs[3] = d;
}

}  // namespace cpu_features
