#include "host/sequence_state.h"

#include "dae/context.h"
#include "dae/exceptions.h"
#include "dae/suites.h"

#include <cstring>

namespace {

const PF_HandleSuite1& HandleSuite() {
    DAE::AEGP_SuiteHandler* suites = DAE::CurrentSuites();
    PF_HandleSuite1* hs = suites ? suites->HandleSuite1() : nullptr;
    if (!hs) throw DAE::DAESuiteXCP("PF Handle Suite");
    return *hs;
}

// Locks a record handle for the length of a scope.
class LockedRecord {
public:
    LockedRecord(const PF_HandleSuite1& hs, PF_Handle h)
        : hs_(hs), h_(h), p_(h ? static_cast<SequenceState*>(hs.host_lock_handle(h)) : nullptr) {}
    ~LockedRecord() {
        if (p_) hs_.host_unlock_handle(h_);
    }
    LockedRecord(const LockedRecord&) = delete;
    LockedRecord& operator=(const LockedRecord&) = delete;
    SequenceState* get() const { return p_; }

private:
    const PF_HandleSuite1& hs_;
    PF_Handle h_;
    SequenceState* p_;
};

PF_Handle NewRecordHandle(const PF_HandleSuite1& hs) {
    return hs.host_new_handle(sizeof(SequenceState));
}

}  // namespace

void SequenceSetup(PF_InData* in_data, PF_OutData* out_data) {
    const PF_HandleSuite1& hs = HandleSuite();
    if (in_data->sequence_data) {
        hs.host_lock_handle(in_data->sequence_data);
        hs.host_dispose_handle(in_data->sequence_data);
        out_data->sequence_data = nullptr;
    }
    PF_Handle h = NewRecordHandle(hs);
    if (!h) throw DAE::DAEAllocXCP(sizeof(SequenceState));
    out_data->sequence_data = h;
    LockedRecord rec(hs, h);
    if (rec.get()) std::memset(rec.get(), 0, sizeof(SequenceState));
}

void SequenceResetup(PF_InData* in_data, PF_OutData* out_data) {
    if (!in_data->sequence_data) {
        SequenceSetup(in_data, out_data);
        return;
    }
    LockedRecord rec(HandleSuite(), in_data->sequence_data);
    if (SequenceState* s = rec.get()) {
        const A_u_char done = s->autoSetupDone;
        std::memset(s, 0, sizeof(SequenceState));
        s->autoSetupDone = done;
    }
}

void SequenceSetdown(PF_InData* in_data, PF_OutData* out_data) {
    if (!in_data->sequence_data) return;
    HandleSuite().host_dispose_handle(in_data->sequence_data);
    out_data->sequence_data = nullptr;
}

PF_Err SequenceFlattenedCopy(PF_InData* in_data, PF_OutData* out_data) {
    if (!in_data->sequence_data) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    const PF_HandleSuite1& hs = HandleSuite();
    LockedRecord live(hs, in_data->sequence_data);
    if (!live.get()) return PF_Err_NONE;
    PF_Handle copy = NewRecordHandle(hs);
    if (!copy) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    {
        LockedRecord flat(hs, copy);
        if (flat.get()) {
            std::memset(flat.get(), 0, sizeof(SequenceState));
            std::memcpy(flat.get(), live.get(), sizeof(SequenceState));
        }
    }
    out_data->sequence_data = copy;
    return PF_Err_NONE;
}

bool AutoSetupDone(PF_InData* in_data) {
    if (!in_data || !in_data->sequence_data) return false;
    LockedRecord rec(HandleSuite(), in_data->sequence_data);
    return rec.get() && rec.get()->autoSetupDone != 0;
}

void MarkAutoSetupDone(PF_InData* in_data) {
    if (!in_data || !in_data->sequence_data) return;
    LockedRecord rec(HandleSuite(), in_data->sequence_data);
    if (rec.get()) rec.get()->autoSetupDone = 1;
}
