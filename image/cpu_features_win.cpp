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

void identify_sub(A_u_long leaf, A_u_long subleaf, A_u_long regs[4])
{
    int r[4] = {0, 0, 0, 0};
    __cpuidex(r, static_cast<int>(leaf), static_cast<int>(subleaf));
    for (int i = 0; i < 4; ++i) {
        regs[i] = static_cast<A_u_long>(r[i]);
    }
}

unsigned long long enabled_state()
{
    unsigned int lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<unsigned long long>(hi) << 32) | lo;
}

}  // namespace cpu_features
