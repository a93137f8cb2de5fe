// Processor capability test that picks between the SIMD and the regular
// variants of the image operations. Asked on every call, never cached.
#pragma once
#include "hostapi/host_api.h"

// True when the feature word of identification leaf 1 (EDX) has any of the
// bits 27, 29 or 30 set. The mask is kept as it is although it does not name
// the SSE bits: which path runs therefore depends on the processor model, and
// both paths' results are part of the behaviour.
bool cpu_has_simd();

namespace cpu_features {
constexpr A_u_long kSimdMask = 0x68000000u;

// Test seam: 1 or 0 makes cpu_has_simd answer yes or no whatever the
// processor says (every x86-64 processor runs both variants); -1, the
// default, asks the processor. Tests use it to check both variants' output.
void force_simd_answer(int answer);

// Platform seam: runs the identification instruction for a leaf (and
// sub-leaf) and returns EAX, EBX, ECX, EDX in that order.
void identify(A_u_long leaf, A_u_long regs[4]);
void identify_sub(A_u_long leaf, A_u_long subleaf, A_u_long regs[4]);
// The system's enabled register state (XCR0); ask only when the processor
// reports OSXSAVE.
unsigned long long enabled_state();

// The widest vectors that both the processor and the system support, for
// the kernels whose vector builds all give the same result as the scalar
// one (so the choice changes speed only). Asked once per call of such a
// kernel; the cpu_has_simd answer is separate and unaffected.
enum class VectorWidth { k128, k256, k512 };
VectorWidth widest_vectors();
// Test seam: caps what widest_vectors answers (-1 lifts the cap).
void cap_vector_width(int bits);
}  // namespace cpu_features
