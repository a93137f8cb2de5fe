// Custom-UI controls in the effect window and the list that keeps them
// between host calls.
//
// A control is a DAE_Effect_Control subclass living in a host memory handle.
// The effect registers one control type per custom parameter index, once, at
// any time before the first event (global or parameter set-up):
//
//     DAE::DAE_Control_List::Register<CVAutoCheckButton>(2);
//
// The type needs a constructor (PF_Handle handle, A_long value). On
// PF_Cmd_EVENT the entry point hands the event to the list:
//
//     if (DAE::DAE_Control_List::HandleEvent(in_data, out_data, params, extra))
//         extra->evt_out_flags |= PF_EO_HANDLED_EVENT;
//
// The list finds the control for extra->effect_win.index, builds it in a new
// host handle on first use, and calls its HandleEvent. Events for an index
// without a registered type return false. A refused host allocation throws
// DAEAllocXCP; a host without "PF Handle Suite" throws DAESuiteXCP.
//
// The list itself lives in a host handle held by the module (one list for the
// module: controls keep no per-instance data beyond the records of the event
// being handled). On PF_Cmd_GLOBAL_SETDOWN the entry point calls
// DAE::GlobalSetdown(in_data), which destroys every control and disposes all
// handles, so no handle outlives the module's session with the host.
#pragma once
#include <new>

#include "hostapi/host_api.h"

namespace DAE {

// Root of the framework's handle-backed objects. Built inside a locked host
// handle, it unlocks that handle through "PF Handle Suite" (acquired from the
// most recent input record's basic suite and released again at once).
class DAE_Base {
public:
    explicit DAE_Base(PF_Handle handle);
    virtual ~DAE_Base();
    DAE_Base(const DAE_Base&) = delete;
    DAE_Base& operator=(const DAE_Base&) = delete;

    PF_Handle BaseHandle() const { return handle_; }

private:
    PF_Handle handle_;
};

class DAE_Effect_Control : public DAE_Base {
public:
    DAE_Effect_Control(PF_Handle handle, A_long value);
    ~DAE_Effect_Control() override;

    // Keeps the records for the length of the call (and the basic suite in a
    // process-wide slot), then dispatches on extra->e_type:
    //   0 NewContext (always handled), 1 Activate, 2 DoClick, 3 Drag, 4 Draw,
    //   5 Deactivate, 7 Idle, 9 AdjustCursor, 10 KeyDown: the operation's
    //   answer; 6, 8 and any other code: nothing is called, false.
    bool HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);

    // One operation per event kind; each returns whether it handled the
    // event. The base handles nothing.
    virtual bool NewContext(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool Activate(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool Deactivate(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool DoClick(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool Drag(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool Draw(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool KeyDown(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool Idle(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);
    virtual bool AdjustCursor(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);

    // Records of the event being handled; null between calls.
    PF_InData* InData() const { return in_data_; }
    PF_OutData* OutData() const { return out_data_; }
    PF_ParamDef** Params() const { return params_; }
    PF_EventExtra* Extra() const { return extra_; }
    A_long Value() const { return value_; }
    const char* Tag() const { return tag_; }  // "ePDT", not terminated

private:
    char tag_[4];
    PF_InData* in_data_;
    PF_OutData* out_data_;
    PF_ParamDef** params_;
    PF_EventExtra* extra_;
    A_long value_;
};

class DAE_Control_List {
public:
    // How to build a control type inside handle memory of `size` bytes.
    struct ControlType {
        A_u_long size;
        DAE_Effect_Control* (*construct)(void* storage, PF_Handle handle, A_long value);
        DAE_Effect_Control* (*from_storage)(void* storage);
        A_long value;
    };

    static constexpr int kMaxControls = 16;

    // Registers (or replaces) the control type for a parameter index.
    // Registrations are plain function pointers and last for the module's
    // life. More than kMaxControls indices are refused (returns false).
    static bool RegisterControl(PF_ParamIndex index, const ControlType& type);

    template <typename C>
    static bool Register(PF_ParamIndex index, A_long value = 0) {
        ControlType type;
        type.size = static_cast<A_u_long>(sizeof(C));
        type.construct = [](void* storage, PF_Handle handle, A_long v) -> DAE_Effect_Control* {
            return new (storage) C(handle, v);
        };
        type.from_storage = [](void* storage) -> DAE_Effect_Control* { return static_cast<C*>(storage); };
        type.value = value;
        return RegisterControl(index, type);
    }

    static bool HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra);

    // Destroys every control and disposes the controls' and the list's
    // handles. basic may be null: the most recent basic suite is used.
    static void Dispose(const SPBasicSuite* basic);

    // Controls built so far (0 when the list does not exist).
    static int LiveControls();

    struct Entry {
        PF_ParamIndex index;
        PF_Handle handle;
    };

private:
    A_long count_;
    Entry entries_[kMaxControls];

    struct Impl;
};

// Framework set-down for PF_Cmd_GLOBAL_SETDOWN: releases everything the
// framework keeps in host memory between calls. in_data may be null.
void GlobalSetdown(PF_InData* in_data);

}  // namespace DAE
