#include "dae/effect_control.h"

#include "dae/context.h"
#include "dae/exceptions.h"
#include "dae/suites.h"

namespace DAE {

// ---------------------------------------------------------------- DAE_Base

DAE_Base::DAE_Base(PF_Handle handle) : handle_(handle) {
    // The object was built in a locked handle; it stays where it is, so the
    // handle need not stay locked between calls.
    if (!handle_) return;
    AEGP_SuiteHandler suites(RecentBasicSuite());
    PF_HandleSuite1* hs = suites.HandleSuite1();
    if (hs) hs->host_unlock_handle(handle_);
}

DAE_Base::~DAE_Base() = default;

// ------------------------------------------------------ DAE_Effect_Control

DAE_Effect_Control::DAE_Effect_Control(PF_Handle handle, A_long value)
    : DAE_Base(handle),
      tag_{'e', 'P', 'D', 'T'},
      in_data_(nullptr),
      out_data_(nullptr),
      params_(nullptr),
      extra_(nullptr),
      value_(value) {}

DAE_Effect_Control::~DAE_Effect_Control() = default;

namespace {
// Clears the control's record pointers when the event is done, also when an
// operation throws.
template <typename F>
struct OnExit {
    F f;
    ~OnExit() { f(); }
};
template <typename F>
OnExit<F> MakeOnExit(F f) {
    return OnExit<F>{f};
}
}  // namespace

bool DAE_Effect_Control::HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                                     PF_EventExtra* extra) {
    in_data_ = in_data;
    out_data_ = out_data;
    params_ = params;
    extra_ = extra;
    if (in_data) SetLastBasicSuite(in_data->pica_basicP);
    auto clear = MakeOnExit([this] {
        in_data_ = nullptr;
        out_data_ = nullptr;
        params_ = nullptr;
        extra_ = nullptr;
    });
    if (!extra) return false;

    switch (extra->e_type) {
        case PF_Event_NEW_CONTEXT:
            NewContext(in_data, out_data, params, extra);
            return true;
        case PF_Event_ACTIVATE:
            return Activate(in_data, out_data, params, extra);
        case PF_Event_DO_CLICK:
            return DoClick(in_data, out_data, params, extra);
        case PF_Event_DRAG:
            return Drag(in_data, out_data, params, extra);
        case PF_Event_DRAW:
            return Draw(in_data, out_data, params, extra);
        case PF_Event_DEACTIVATE:
            return Deactivate(in_data, out_data, params, extra);
        case PF_Event_IDLE:
            return Idle(in_data, out_data, params, extra);
        case PF_Event_ADJUST_CURSOR:
            return AdjustCursor(in_data, out_data, params, extra);
        case PF_Event_KEYDOWN:
            return KeyDown(in_data, out_data, params, extra);
        default:
            // Close-context (6), the obsolete key-down (8) and anything newer
            // than this code knows are not handled.
            return false;
    }
}

bool DAE_Effect_Control::NewContext(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::Activate(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::Deactivate(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::DoClick(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::Drag(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::Draw(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::KeyDown(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::Idle(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }
bool DAE_Effect_Control::AdjustCursor(PF_InData*, PF_OutData*, PF_ParamDef*[], PF_EventExtra*) { return false; }

// -------------------------------------------------------- DAE_Control_List

namespace {

struct Registration {
    PF_ParamIndex index;
    DAE_Control_List::ControlType type;
};

// Module-wide state; commands are serialised by the module lock.
Registration g_types[DAE_Control_List::kMaxControls];
int g_type_count = 0;
PF_Handle g_list_handle = nullptr;

const Registration* FindType(PF_ParamIndex index) {
    for (int i = 0; i < g_type_count; ++i) {
        if (g_types[i].index == index) return &g_types[i];
    }
    return nullptr;
}

const char kHandleSuiteName[] = "PF Handle Suite";

// Locks a handle for a scope.
class LockedHandle {
public:
    LockedHandle(PF_HandleSuite1* hs, PF_Handle h) : hs_(hs), h_(h), p_(h ? hs->host_lock_handle(h) : nullptr) {}
    ~LockedHandle() {
        if (p_) hs_->host_unlock_handle(h_);
    }
    LockedHandle(const LockedHandle&) = delete;
    LockedHandle& operator=(const LockedHandle&) = delete;
    void* get() const { return p_; }

private:
    PF_HandleSuite1* hs_;
    PF_Handle h_;
    void* p_;
};

}  // namespace

struct DAE_Control_List::Impl {
    // The list object in its locked handle, built on first use. A handle that
    // no longer locks (its host went away without a global set-down) is
    // forgotten and a new list is built.
    static PF_Handle EnsureList(PF_HandleSuite1* hs) {
        if (g_list_handle) {
            void* p = hs->host_lock_handle(g_list_handle);
            if (p) {
                hs->host_unlock_handle(g_list_handle);
                return g_list_handle;
            }
            g_list_handle = nullptr;
        }
        const A_u_long size = static_cast<A_u_long>(sizeof(DAE_Control_List));
        PF_Handle h = hs->host_new_handle(size);
        if (!h) throw DAEAllocXCP(size);
        void* p = hs->host_lock_handle(h);
        if (!p) {
            hs->host_dispose_handle(h);
            throw DAEAllocXCP(size);
        }
        DAE_Control_List* list = new (p) DAE_Control_List;
        list->count_ = 0;
        hs->host_unlock_handle(h);
        g_list_handle = h;
        return h;
    }

    static PF_Handle NewControl(PF_HandleSuite1* hs, DAE_Control_List* list, const Registration& reg) {
        const A_u_long size = reg.type.size;
        if (list->count_ >= kMaxControls) throw DAEAllocXCP(size);
        PF_Handle h = hs->host_new_handle(size);
        if (!h) throw DAEAllocXCP(size);
        void* p = hs->host_lock_handle(h);
        if (!p) {
            hs->host_dispose_handle(h);
            throw DAEAllocXCP(size);
        }
        try {
            reg.type.construct(p, h, reg.type.value);  // the base constructor unlocks h
        } catch (...) {
            hs->host_unlock_handle(h);
            hs->host_dispose_handle(h);
            throw;
        }
        list->entries_[list->count_].index = reg.index;
        list->entries_[list->count_].handle = h;
        ++list->count_;
        return h;
    }
};

bool DAE_Control_List::RegisterControl(PF_ParamIndex index, const ControlType& type) {
    if (!type.construct || !type.from_storage) return false;
    for (int i = 0; i < g_type_count; ++i) {
        if (g_types[i].index == index) {
            g_types[i].type = type;
            return true;
        }
    }
    if (g_type_count >= kMaxControls) return false;
    g_types[g_type_count].index = index;
    g_types[g_type_count].type = type;
    ++g_type_count;
    return true;
}

bool DAE_Control_List::HandleEvent(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                                   PF_EventExtra* extra) {
    if (!extra) return false;
    const Registration* reg = FindType(extra->effect_win.index);
    if (!reg) return false;

    if (in_data) SetLastBasicSuite(in_data->pica_basicP);
    AEGP_SuiteHandler suites(RecentBasicSuite());
    PF_HandleSuite1* hs = suites.HandleSuite1();
    if (!hs) throw DAESuiteXCP(kHandleSuiteName);

    LockedHandle list_lock(hs, Impl::EnsureList(hs));
    DAE_Control_List* list = static_cast<DAE_Control_List*>(list_lock.get());
    if (!list) throw DAEAllocXCP(static_cast<A_u_long>(sizeof(DAE_Control_List)));

    PF_Handle control_handle = nullptr;
    for (A_long i = 0; i < list->count_; ++i) {
        if (list->entries_[i].index == reg->index) control_handle = list->entries_[i].handle;
    }
    if (!control_handle) control_handle = Impl::NewControl(hs, list, *reg);

    LockedHandle control_lock(hs, control_handle);
    if (!control_lock.get()) throw DAEAllocXCP(reg->type.size);
    DAE_Effect_Control* control = reg->type.from_storage(control_lock.get());
    return control->HandleEvent(in_data, out_data, params, extra);
}

void DAE_Control_List::Dispose(const SPBasicSuite* basic) {
    if (!g_list_handle) return;
    PF_Handle list_handle = g_list_handle;
    g_list_handle = nullptr;

    AEGP_SuiteHandler suites(basic ? basic : RecentBasicSuite());
    PF_HandleSuite1* hs = suites.HandleSuite1();
    if (!hs) return;
    void* p = hs->host_lock_handle(list_handle);
    if (!p) return;  // the host that held it is gone
    DAE_Control_List* list = static_cast<DAE_Control_List*>(p);
    for (A_long i = 0; i < list->count_; ++i) {
        const Entry& e = list->entries_[i];
        const Registration* reg = FindType(e.index);
        void* q = hs->host_lock_handle(e.handle);
        if (q && reg) reg->type.from_storage(q)->~DAE_Effect_Control();
        if (q) hs->host_unlock_handle(e.handle);
        hs->host_dispose_handle(e.handle);
    }
    list->~DAE_Control_List();
    hs->host_unlock_handle(list_handle);
    hs->host_dispose_handle(list_handle);
}

int DAE_Control_List::LiveControls() {
    if (!g_list_handle) return 0;
    AEGP_SuiteHandler suites(RecentBasicSuite());
    PF_HandleSuite1* hs = suites.HandleSuite1();
    if (!hs) return 0;
    LockedHandle lock(hs, g_list_handle);
    const DAE_Control_List* list = static_cast<const DAE_Control_List*>(lock.get());
    return list ? static_cast<int>(list->count_) : 0;
}

void GlobalSetdown(PF_InData* in_data) {
    const SPBasicSuite* basic = in_data ? in_data->pica_basicP : nullptr;
    DAE_Control_List::Dispose(basic);
    // The host may drop its basic suite after set-down; forget it.
    if (!basic || LastBasicSuite() == basic) SetLastBasicSuite(nullptr);
}

}  // namespace DAE
