// Work splitting for image loops. This variant reports one processor and runs
// every job inline on the calling thread; a threaded variant can replace it
// as long as it keeps the range formula and the one-processor default.
#pragma once
#include "hostapi/host_api.h"

namespace DAE {

class Multiprocessor {
public:
    // A job gets its refcon; its 16-bit result is not looked at.
    typedef A_short (*JobFunc)(void* refcon);

    Multiprocessor();
    virtual ~Multiprocessor();
    virtual A_long ProcessorCount();
    // Share index of total: start = total*index/n, end = (index+1)*total/n,
    // with n = ProcessorCount(), 32-bit, truncating division.
    virtual void GetRange(A_long total, A_long index, A_long* start, A_long* end);
    // Runs the job once, inline, and returns 0 whatever the job reported.
    virtual A_long Run(JobFunc job, void* refcon);
    // Nothing to wait for: Run has finished the work when it returns.
    virtual void Wait();
    virtual void Reset();

    A_u_long State() const { return state_; }

private:
    A_u_long state_;
};

}  // namespace DAE
