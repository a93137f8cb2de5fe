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

void identify_sub(A_u_long leaf, A_u_long subleaf, A_u_long regs[4])
{
    unsigned int a = 0, b = 0, c = 0, d = 0;
    __cpuid_count(leaf, subleaf, a, b, c, d);
    regs[0] = a;
    regs[1] = b;
    regs[2] = c;
    regs[3] = d;
}

unsigned long long enabled_state()
{
    unsigned int lo = 0, hi = 0;
    __asm__ volatile("xgetbv" : "=a"(lo), "=d"(hi) : "c"(0));
    return (static_cast<unsigned long long>(hi) << 32) | lo;
}

}  // namespace cpu_features
