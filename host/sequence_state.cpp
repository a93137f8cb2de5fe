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

// Bytes the host holds for a record. A damaged or foreign project can hand
// back one shorter than ours; nothing may touch a byte past its end.
A_HandleSize RecordSize(const PF_HandleSuite1& hs, PF_Handle h) {
    return hs.host_get_handle_size ? hs.host_get_handle_size(h) : 0;
}

bool IsWholeRecord(const PF_HandleSuite1& hs, PF_Handle h) { return RecordSize(hs, h) >= sizeof(SequenceState); }

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
    const PF_HandleSuite1& hs = HandleSuite();
    if (!IsWholeRecord(hs, in_data->sequence_data)) {
        // Too short to be ours: a whole new record takes its place, keeping
        // the Auto Setup state when the old one holds that byte.
        A_u_char done = 0;
        if (RecordSize(hs, in_data->sequence_data) >= 1) {
            LockedRecord old(hs, in_data->sequence_data);
            if (old.get()) done = old.get()->autoSetupDone;
        }
        SequenceSetup(in_data, out_data);
        LockedRecord rec(hs, out_data->sequence_data);
        if (rec.get()) rec.get()->autoSetupDone = done;
        return;
    }
    LockedRecord rec(hs, in_data->sequence_data);
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
    // A short record is saved as a whole one: its own bytes, then zeros.
    const A_HandleSize size = RecordSize(hs, in_data->sequence_data);
    const size_t bytes = size < sizeof(SequenceState) ? static_cast<size_t>(size) : sizeof(SequenceState);
    PF_Handle copy = NewRecordHandle(hs);
    if (!copy) return PF_Err_INTERNAL_STRUCT_DAMAGED;
    {
        LockedRecord flat(hs, copy);
        if (flat.get()) {
            std::memset(flat.get(), 0, sizeof(SequenceState));
            std::memcpy(flat.get(), live.get(), bytes);
        }
    }
    out_data->sequence_data = copy;
    return PF_Err_NONE;
}

bool AutoSetupDone(PF_InData* in_data) {
    if (!in_data || !in_data->sequence_data) return false;
    const PF_HandleSuite1& hs = HandleSuite();
    if (RecordSize(hs, in_data->sequence_data) < 1) return false;
    LockedRecord rec(hs, in_data->sequence_data);
    return rec.get() && rec.get()->autoSetupDone != 0;
}

void MarkAutoSetupDone(PF_InData* in_data) {
    if (!in_data || !in_data->sequence_data) return;
    const PF_HandleSuite1& hs = HandleSuite();
    if (RecordSize(hs, in_data->sequence_data) < 1) return;
    LockedRecord rec(hs, in_data->sequence_data);
    if (rec.get()) rec.get()->autoSetupDone = 1;
}
