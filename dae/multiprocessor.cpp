#include "dae/multiprocessor.h"

namespace DAE {

Multiprocessor::Multiprocessor() : state_(0) {
    // Called directly, not through the table: a derived class is not yet built.
    Multiprocessor::Reset();
}

Multiprocessor::~Multiprocessor() = default;

A_long Multiprocessor::ProcessorCount() { return 1; }

namespace {
// 32-bit product that wraps instead of overflowing, as the 32-bit formula does.
A_long Mul32(A_long a, A_long b) {
    return static_cast<A_long>(static_cast<A_u_long>(a) * static_cast<A_u_long>(b));
}
}  // namespace

void Multiprocessor::GetRange(A_long total, A_long index, A_long* start, A_long* end) {
    *start = Mul32(total, index) / ProcessorCount();
    *end = Mul32(index + 1, total) / ProcessorCount();
}

A_long Multiprocessor::Run(JobFunc job, void* refcon) {
    if (job) (void)job(refcon);
    return 0;
}

void Multiprocessor::Wait() {}

void Multiprocessor::Reset() { state_ = 0; }

}  // namespace DAE
