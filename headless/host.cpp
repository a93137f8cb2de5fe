// The headless host: suites, handles, PF records and parameter recorders.
#include "headless/host.h"

#include "headless/stub_slots.h"
#include "headless/world.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstdarg>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <sstream>

namespace headless {

namespace {

std::atomic<Host*> g_current{nullptr};

// Bytes after every handle's data that must stay untouched; an overrun is
// reported when the handle is disposed or resized, or by leak_report().
constexpr size_t kTailGuard = 16;
constexpr unsigned char kTailByte = 0xFD;
constexpr unsigned char kDeadByte = 0xDD;

std::string suite_label(const std::string& name, int32 version) {
    return "\"" + name + "\" v" + std::to_string(version);
}

size_t count_choices(const char* names) {
    size_t n = 1;
    for (const char* p = names; *p; ++p) {
        if (*p == '|') ++n;
    }
    return n;
}

bool known_param_type(PF_ParamType t) {
    switch (t) {
    case PF_Param_LAYER:
    case PF_Param_SLIDER:
    case PF_Param_FIX_SLIDER:
    case PF_Param_ANGLE:
    case PF_Param_CHECKBOX:
    case PF_Param_COLOR:
    case PF_Param_POINT:
    case PF_Param_POPUP:
    case PF_Param_NO_DATA:
    case PF_Param_FLOAT_SLIDER:
    case PF_Param_ARBITRARY_DATA:
    case PF_Param_PATH:
    case PF_Param_GROUP_START:
    case PF_Param_GROUP_END:
    case PF_Param_BUTTON:
    case PF_Param_POINT_3D:
        return true;
    default:
        return false;
    }
}

}  // namespace

struct Host::HandleRec {
    // First member: a PF_Handle is the address of this pointer.
    char* data = nullptr;
    char* block = nullptr;  // what malloc returned
    size_t size = 0;
    size_t capacity = 0;    // data bytes the block has room for (at least size)
    int locks = 0;
    size_t serial = 0;

    bool tail_intact() const {
        for (size_t i = 0; i < kTailGuard; ++i) {
            if (static_cast<unsigned char>(data[size + i]) != kTailByte) return false;
        }
        return true;
    }
};

// ---------------------------------------------------------------------------
// Callback implementations. They find their host through Host::current().
struct Host::Impl {
    static Host* host_or_complain(const char* what) {
        Host* h = Host::current();
        if (!h) std::fprintf(stderr, "headless host: %s called with no host alive\n", what);
        return h;
    }

    // -- SPBasicSuite
    static SPErr AcquireSuite(const char* name, int32 version, const void** suite) {
        Host* h = host_or_complain("AcquireSuite");
        if (suite) *suite = nullptr;
        if (!h) return kSPBadParameterError;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        if (!name || !suite) {
            h->report_problem("AcquireSuite called with a null name or result pointer");
            return kSPBadParameterError;
        }
        auto key = std::make_pair(std::string(name), version);
        auto it = h->suites_.find(key);
        if (it == h->suites_.end()) {
            h->counts_[key].refused++;
            return kSPSuiteNotFoundError;
        }
        h->counts_[key].acquired++;
        *suite = it->second;
        return kSPNoError;
    }

    static SPErr ReleaseSuite(const char* name, int32 version) {
        Host* h = host_or_complain("ReleaseSuite");
        if (!h) return kSPBadParameterError;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        if (!name) {
            h->report_problem("ReleaseSuite called with a null name");
            return kSPBadParameterError;
        }
        auto key = std::make_pair(std::string(name), version);
        if (h->suites_.find(key) == h->suites_.end()) {
            h->report_problem("ReleaseSuite of " + suite_label(key.first, version) + ", which is not served");
            return kSPSuiteNotFoundError;
        }
        // Counted either way, so a test sees exactly what was released.
        SuiteCount& c = h->counts_[key];
        c.released++;
        if (c.released > c.acquired) {
            h->report_problem("ReleaseSuite of " + suite_label(key.first, version) + " more often than acquired");
            return kSPSuiteAlreadyReleasedError;
        }
        return kSPNoError;
    }

    static SPBoolean IsEqual(const char* a, const char* b) { return a && b && std::strcmp(a, b) == 0; }

    static SPErr AllocateBlock(size_t size, void** block) {
        Host* h = host_or_complain("AllocateBlock");
        if (!h || !block) return kSPBadParameterError;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        *block = nullptr;
        if (!h->take_allocation_slot()) return kSPOutOfMemoryError;
        void* p = std::malloc(size ? size : 1);
        if (!p) return kSPOutOfMemoryError;
        h->blocks_[p] = size;
        *block = p;
        return kSPNoError;
    }

    static SPErr FreeBlock(void* block) {
        Host* h = host_or_complain("FreeBlock");
        if (!h) return kSPBadParameterError;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        auto it = h->blocks_.find(block);
        if (it == h->blocks_.end()) {
            h->report_problem("FreeBlock of a block the host did not allocate");
            return kSPBadParameterError;
        }
        std::free(block);
        h->blocks_.erase(it);
        return kSPNoError;
    }

    static SPErr ReallocateBlock(void* block, size_t size, void** out) {
        Host* h = host_or_complain("ReallocateBlock");
        if (!h || !out) return kSPBadParameterError;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        *out = nullptr;
        if (!block) return AllocateBlock(size, out);
        auto it = h->blocks_.find(block);
        if (it == h->blocks_.end()) {
            h->report_problem("ReallocateBlock of a block the host did not allocate");
            return kSPBadParameterError;
        }
        if (!h->take_allocation_slot()) return kSPOutOfMemoryError;
        void* p = std::realloc(block, size ? size : 1);
        if (!p) return kSPOutOfMemoryError;
        h->blocks_.erase(it);
        h->blocks_[p] = size;
        *out = p;
        return kSPNoError;
    }

    static SPErr Undefined() { return kSPUnimplementedError; }

    // -- handles
    static PF_Handle NewHandle(A_HandleSize size) {
        Host* h = host_or_complain("host_new_handle");
        if (!h) return nullptr;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        if (!h->take_allocation_slot()) return nullptr;
        if (size > (A_HandleSize(1) << 40)) return nullptr;  // nothing real asks for a terabyte
        auto rec = std::make_unique<HandleRec>();
        const size_t n = static_cast<size_t>(size);
        rec->capacity = n;
        rec->block = h->take_spare_block(n, &rec->capacity);
        if (!rec->block) rec->block = static_cast<char*>(std::malloc(n + kTailGuard + 16));
        if (!rec->block) return nullptr;
        rec->data = rec->block + h->handle_misalign_;
        rec->size = n;
        rec->serial = h->allocation_requests_;
        if (!h->recycle_) std::memset(rec->data, h->fresh_byte_, n);
        std::memset(rec->data + n, kTailByte, kTailGuard);
        PF_Handle handle = reinterpret_cast<PF_Handle>(&rec->data);
        h->handles_[handle] = std::move(rec);
        return handle;
    }

    static void* LockHandle(PF_Handle handle) {
        Host* h = host_or_complain("host_lock_handle");
        if (!h) return nullptr;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        HandleRec* r = h->find_handle(handle);
        if (!r) {
            h->report_problem("host_lock_handle of an unknown or disposed handle");
            return nullptr;
        }
        r->locks++;
        return r->data;
    }

    // Unlocking an unlocked handle is tolerated, as After Effects does.
    static void UnlockHandle(PF_Handle handle) {
        Host* h = host_or_complain("host_unlock_handle");
        if (!h) return;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        HandleRec* r = h->find_handle(handle);
        if (!r) {
            h->report_problem("host_unlock_handle of an unknown or disposed handle");
            return;
        }
        if (r->locks > 0) r->locks--;
    }

    static void DisposeHandle(PF_Handle handle) {
        Host* h = host_or_complain("host_dispose_handle");
        if (!h) return;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        auto it = h->handles_.find(handle);
        if (it == h->handles_.end()) {
            h->report_problem(handle ? "host_dispose_handle of an unknown or already disposed handle"
                                     : "host_dispose_handle of a null handle");
            return;
        }
        HandleRec* r = it->second.get();
        if (!r->tail_intact()) h->report_problem("handle written past its end (" + std::to_string(r->size) + " bytes)");
        if (h->recycle_) {
            h->keep_spare_block(r->block, r->capacity);
        } else {
            std::memset(r->data, kDeadByte, r->size);
            std::free(r->block);
        }
        h->handles_.erase(it);
    }

    static A_HandleSize GetHandleSize(PF_Handle handle) {
        Host* h = host_or_complain("host_get_handle_size");
        if (!h) return 0;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        HandleRec* r = h->find_handle(handle);
        if (!r) {
            h->report_problem("host_get_handle_size of an unknown or disposed handle");
            return 0;
        }
        return r->size;
    }

    // Always moves the data, so a pointer kept from an earlier lock goes stale
    // at once (and a sanitizer build sees its use).
    static PF_Err ResizeHandle(A_HandleSize size, PF_Handle* handleP) {
        Host* h = host_or_complain("host_resize_handle");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        HandleRec* r = handleP ? h->find_handle(*handleP) : nullptr;
        if (!r) {
            h->report_problem("host_resize_handle of an unknown or disposed handle");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (r->locks > 0) h->report_problem("host_resize_handle of a locked handle");
        if (!r->tail_intact()) h->report_problem("handle written past its end (" + std::to_string(r->size) + " bytes)");
        if (!h->take_allocation_slot()) return PF_Err_OUT_OF_MEMORY;
        if (size > (A_HandleSize(1) << 40)) return PF_Err_OUT_OF_MEMORY;
        const size_t n = static_cast<size_t>(size);
        char* block = static_cast<char*>(std::malloc(n + kTailGuard + 16));
        if (!block) return PF_Err_OUT_OF_MEMORY;
        char* data = block + h->handle_misalign_;
        if (!h->recycle_) std::memset(data, h->fresh_byte_, n);
        std::memcpy(data, r->data, std::min(n, r->size));
        std::memset(data + n, kTailByte, kTailGuard);
        if (!h->recycle_) std::memset(r->data, kDeadByte, r->size);
        std::free(r->block);
        r->block = block;
        r->data = data;
        r->size = n;
        r->capacity = n;
        return PF_Err_NONE;
    }

    // -- ANSI
    static int Sprintf(A_char* dst, const A_char* fmt, ...) {
        if (!dst || !fmt) {
            if (Host* h = Host::current()) h->report_problem("sprintf called with a null destination or format");
            return -1;
        }
        va_list ap;
        va_start(ap, fmt);
        va_list ap2;
        va_copy(ap2, ap);
        const int n = std::vsnprintf(nullptr, 0, fmt, ap);
        va_end(ap);
        Host* h = Host::current();
        std::string label;
        size_t cap = h ? h->guarded_capacity(dst, &label) : 0;
        if (cap == 0) cap = static_cast<size_t>(n < 0 ? 0 : n) + 1;  // unguarded: as the real one, unbounded
        if (n >= 0 && static_cast<size_t>(n) + 1 > cap) {
            std::lock_guard<std::recursive_mutex> lock(h->mutex_);
            h->sprintf_overflows_++;
            h->report_problem("sprintf of " + std::to_string(n) + " characters overflows " + label + " (" +
                              std::to_string(cap) + " bytes left)");
        }
        std::vsnprintf(dst, cap, fmt, ap2);
        va_end(ap2);
        return n;
    }

    static A_char* Strcpy(A_char* dst, const A_char* src) {
        if (!dst || !src) {
            if (Host* h = Host::current()) h->report_problem("strcpy called with a null argument");
            return dst;
        }
        const size_t n = std::strlen(src);
        Host* h = Host::current();
        std::string label;
        size_t cap = h ? h->guarded_capacity(dst, &label) : 0;
        if (cap != 0 && n + 1 > cap) {
            std::lock_guard<std::recursive_mutex> lock(h->mutex_);
            h->sprintf_overflows_++;
            h->report_problem("strcpy of " + std::to_string(n) + " characters overflows " + label);
            std::memcpy(dst, src, cap - 1);
            dst[cap - 1] = 0;
            return dst;
        }
        std::memcpy(dst, src, n + 1);
        return dst;
    }

    static A_FpLong Atan(A_FpLong x) { return std::atan(x); }
    static A_FpLong Atan2(A_FpLong y, A_FpLong x) { return std::atan2(y, x); }
    static A_FpLong Ceil(A_FpLong x) { return std::ceil(x); }
    static A_FpLong Cos(A_FpLong x) { return std::cos(x); }
    static A_FpLong Exp(A_FpLong x) { return std::exp(x); }
    static A_FpLong Fabs(A_FpLong x) { return std::fabs(x); }
    static A_FpLong Floor(A_FpLong x) { return std::floor(x); }
    static A_FpLong Fmod(A_FpLong x, A_FpLong y) { return std::fmod(x, y); }
    static A_FpLong Hypot(A_FpLong x, A_FpLong y) { return std::hypot(x, y); }
    static A_FpLong Log(A_FpLong x) { return std::log(x); }
    static A_FpLong Log10(A_FpLong x) { return std::log10(x); }
    static A_FpLong Pow(A_FpLong x, A_FpLong y) { return std::pow(x, y); }
    static A_FpLong Sin(A_FpLong x) { return std::sin(x); }
    static A_FpLong Sqrt(A_FpLong x) { return std::sqrt(x); }
    static A_FpLong Tan(A_FpLong x) { return std::tan(x); }
    static A_FpLong Asin(A_FpLong x) { return std::asin(x); }
    static A_FpLong Acos(A_FpLong x) { return std::acos(x); }

    template <typename Ansi>
    static void fill_ansi(Ansi& a) {
        a.atan = Atan;
        a.atan2 = Atan2;
        a.ceil = Ceil;
        a.cos = Cos;
        a.exp = Exp;
        a.fabs = Fabs;
        a.floor = Floor;
        a.fmod = Fmod;
        a.hypot = Hypot;
        a.log = Log;
        a.log10 = Log10;
        a.pow = Pow;
        a.sin = Sin;
        a.sqrt = Sqrt;
        a.tan = Tan;
        a.sprintf = Sprintf;
        a.strcpy = Strcpy;
        a.asin = Asin;
        a.acos = Acos;
    }

    // -- interact callbacks
    static Host* host_for(PF_ProgPtr ref, const char* what) {
        Host* h = host_or_complain(what);
        if (h && ref != h->effect_ref()) {
            h->report_problem(std::string(what) + " called with an effect_ref the host did not give");
            return nullptr;
        }
        return h;
    }

    static PF_Err AddParam(PF_ProgPtr ref, PF_ParamIndex index, PF_ParamDefPtr def) {
        Host* h = host_for(ref, "add_param");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        return h->record_param(index, def);
    }

    static PF_Err RegisterUI(PF_ProgPtr ref, PF_CustomUIInfo* info) {
        Host* h = host_for(ref, "register_ui");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        if (!info) {
            h->report_problem("register_ui with a null record");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        const A_long known = PF_CustomEFlag_COMP | PF_CustomEFlag_LAYER | PF_CustomEFlag_EFFECT | PF_CustomEFlag_PREVIEW;
        if (info->events & ~known) {
            h->report_problem("register_ui with unknown event flags " + std::to_string(info->events));
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        const A_long sizes[] = {info->comp_ui_width, info->comp_ui_height, info->layer_ui_width,
                                info->layer_ui_height, info->preview_ui_width, info->preview_ui_height};
        for (A_long s : sizes) {
            if (s < 0 || s > 30000) {
                h->report_problem("register_ui with an impossible size " + std::to_string(s));
                return PF_Err_BAD_CALLBACK_PARAM;
            }
        }
        RecordedUI ui;
        ui.params_before = static_cast<int>(h->params_.size());
        ui.info = *info;
        h->uis_.push_back(ui);
        return PF_Err_NONE;
    }

    static PF_Err CheckoutParam(PF_ProgPtr ref, PF_ParamIndex index, A_long time, A_long step, A_u_long scale,
                                PF_ParamDef* param) {
        Host* h = host_for(ref, "checkout_param");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        if (!param) {
            h->report_problem("checkout_param with a null result record");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (!h->checkout_) {
            h->report_problem("checkout_param while the host has no layer to give");
            return PF_Err_INVALID_INDEX;
        }
        return h->checkout_(index, time, step, scale, param);
    }

    static PF_Err CheckinParam(PF_ProgPtr ref, PF_ParamDef* param) {
        Host* h = host_for(ref, "checkin_param");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        if (!param || !h->checkin_) {
            h->report_problem("checkin_param of nothing checked out");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        return h->checkin_(param);
    }

    static PF_Err Abort(PF_ProgPtr) { return PF_Err_NONE; }
    static PF_Err Progress(PF_ProgPtr, A_long, A_long) { return PF_Err_NONE; }

    static PF_Err Copy(PF_ProgPtr ref, PF_EffectWorld* src, PF_EffectWorld* dst, PF_Rect* src_r, PF_Rect* dst_r) {
        Host* h = host_for(ref, "copy");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        const PF_Err err = copy_rect(src, dst, src_r, dst_r);
        if (err) h->report_problem("copy between worlds of different depth or without pixels");
        return err;
    }

    static PF_Err Fill(PF_ProgPtr ref, const PF_Pixel* color, const PF_Rect* rect, PF_EffectWorld* world) {
        Host* h = host_for(ref, "fill");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        const PF_Err err = fill_rect8(color, rect, world);
        if (err) h->report_problem("fill of a world without pixels");
        return err;
    }

    static PF_Err Fill16(PF_ProgPtr ref, const PF_Pixel16* color, const PF_Rect* rect, PF_EffectWorld* world) {
        Host* h = host_for(ref, "fill16");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        const PF_Err err = fill_rect16(color, rect, world);
        if (err) h->report_problem("fill16 of a world without pixels");
        return err;
    }

    static PF_Err NewWorld(PF_ProgPtr ref, A_long w, A_long ht, PF_NewWorldFlags flags, PF_EffectWorld* world) {
        Host* h = host_for(ref, "new_world");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        if (!world || w <= 0 || ht <= 0 || w > PF_MAX_WORLD_WIDTH || ht > PF_MAX_WORLD_HEIGHT) {
            h->report_problem("new_world with a bad size or null record");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        if (!h->take_allocation_slot()) return PF_Err_OUT_OF_MEMORY;
        auto owned = std::make_unique<World>(w, ht, (flags & PF_NewWorldFlag_DEEP_PIXELS) != 0);
        *world = owned->def();
        h->worlds_[world->data] = std::move(owned);
        return PF_Err_NONE;
    }

    static PF_Err DisposeWorld(PF_ProgPtr ref, PF_EffectWorld* world) {
        Host* h = host_for(ref, "dispose_world");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        std::lock_guard<std::recursive_mutex> lock(h->mutex_);
        if (!world || !h->worlds_.erase(world->data)) {
            h->report_problem("dispose_world of a world the host did not make or already disposed");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        world->data = nullptr;
        return PF_Err_NONE;
    }

    template <typename Pixel, typename Fn>
    static PF_Err IterateImpl(PF_InData* in, PF_EffectWorld* src, const PF_Rect* area, void* refcon, Fn fn,
                              PF_EffectWorld* dst, bool deep) {
        Host* h = host_or_complain("iterate");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        if (!in || !dst || !dst->data || !fn || (src && !src->data) ||
            ((dst->world_flags & PF_WorldFlag_DEEP) != 0) != deep || (src && ((src->world_flags & PF_WorldFlag_DEEP) != 0) != deep)) {
            h->report_problem("iterate with a missing world or function, or worlds of the wrong depth");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        PF_Rect r = area ? *area : PF_Rect{0, 0, dst->width, dst->height};
        r.left = std::max<A_long>(r.left, 0);
        r.top = std::max<A_long>(r.top, 0);
        r.right = std::min(r.right, dst->width);
        r.bottom = std::min(r.bottom, dst->height);
        for (A_long y = r.top; y < r.bottom; ++y) {
            auto* drow = reinterpret_cast<Pixel*>(reinterpret_cast<char*>(dst->data) + static_cast<ptrdiff_t>(y) * dst->rowbytes);
            auto* srow = src && y < src->height
                             ? reinterpret_cast<Pixel*>(reinterpret_cast<char*>(src->data) + static_cast<ptrdiff_t>(y) * src->rowbytes)
                             : nullptr;
            for (A_long x = r.left; x < r.right; ++x) {
                Pixel in_px{};
                Pixel* sp = srow && x < src->width ? &srow[x] : &in_px;
                if (PF_Err err = fn(refcon, x, y, sp, &drow[x])) return err;
            }
        }
        return PF_Err_NONE;
    }

    static PF_Err Iterate8(PF_InData* in, A_long, A_long, PF_EffectWorld* src, const PF_Rect* area, void* refcon,
                           PF_IteratePixel8Func fn, PF_EffectWorld* dst) {
        return IterateImpl<PF_Pixel>(in, src, area, refcon, fn, dst, false);
    }

    static PF_Err Iterate16(PF_InData* in, A_long, A_long, PF_EffectWorld* src, const PF_Rect* area, void* refcon,
                            PF_IteratePixel16Func fn, PF_EffectWorld* dst) {
        return IterateImpl<PF_Pixel16>(in, src, area, refcon, fn, dst, true);
    }

    static PF_Err PixelData8(PF_EffectWorld* world, PF_PixelPtr pixels, PF_Pixel8** out) {
        if (!world || !out) return PF_Err_BAD_CALLBACK_PARAM;
        *out = (world->world_flags & PF_WorldFlag_DEEP) ? nullptr : (pixels ? pixels : world->data);
        return PF_Err_NONE;
    }

    static PF_Err PixelData16(PF_EffectWorld* world, PF_PixelPtr pixels, PF_Pixel16** out) {
        if (!world || !out) return PF_Err_BAD_CALLBACK_PARAM;
        *out = (world->world_flags & PF_WorldFlag_DEEP) ? reinterpret_cast<PF_Pixel16*>(pixels ? pixels : world->data) : nullptr;
        return PF_Err_NONE;
    }

    static PF_Err GetPlatformData(PF_ProgPtr ref, PF_PlatDataID which, void* data) {
        Host* h = host_for(ref, "get_platform_data");
        if (!h) return PF_Err_BAD_CALLBACK_PARAM;
        if (!data) {
            h->report_problem("get_platform_data with a null result pointer");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (which == PF_PlatData_RES_DLLINSTANCE || which == PF_PlatData_MAIN_WND) {
            *static_cast<void**>(data) = which == PF_PlatData_RES_DLLINSTANCE ? h->dll_instance_ : nullptr;
            return PF_Err_NONE;
        }
        return PF_Err_BAD_CALLBACK_PARAM;
    }
};

// ---------------------------------------------------------------------------

Host::Host() : previous_(g_current.exchange(this)), dll_instance_(&dll_token_) {
    basic_.AcquireSuite = Impl::AcquireSuite;
    basic_.ReleaseSuite = Impl::ReleaseSuite;
    basic_.IsEqual = Impl::IsEqual;
    basic_.AllocateBlock = Impl::AllocateBlock;
    basic_.FreeBlock = Impl::FreeBlock;
    basic_.ReallocateBlock = Impl::ReallocateBlock;
    basic_.Undefined = Impl::Undefined;

    handle_suite_.host_new_handle = Impl::NewHandle;
    handle_suite_.host_lock_handle = Impl::LockHandle;
    handle_suite_.host_unlock_handle = Impl::UnlockHandle;
    handle_suite_.host_dispose_handle = Impl::DisposeHandle;
    handle_suite_.host_get_handle_size = Impl::GetHandleSize;
    handle_suite_.host_resize_handle = Impl::ResizeHandle;

    Impl::fill_ansi(ansi_suite_);
    Impl::fill_ansi(utils_.ansi);
    utils_.host_new_handle = Impl::NewHandle;
    utils_.host_lock_handle = Impl::LockHandle;
    utils_.host_unlock_handle = Impl::UnlockHandle;
    utils_.host_dispose_handle = Impl::DisposeHandle;
    utils_.host_get_handle_size = Impl::GetHandleSize;
    utils_.host_resize_handle = Impl::ResizeHandle;
    utils_.get_platform_data = Impl::GetPlatformData;
    utils_.copy = Impl::Copy;
    utils_.fill = Impl::Fill;
    utils_.fill16 = Impl::Fill16;
    utils_.new_world = Impl::NewWorld;
    utils_.dispose_world = Impl::DisposeWorld;
    utils_.iterate = Impl::Iterate8;
    utils_.iterate16 = Impl::Iterate16;
    utils_.get_pixel_data8 = Impl::PixelData8;
    utils_.get_pixel_data16 = Impl::PixelData16;
    // Callbacks not implemented answer with an error and a problem, never a null jump.
    stub_if_null(utils_.begin_sampling, 0);
    stub_if_null(utils_.subpixel_sample, 1);
    stub_if_null(utils_.area_sample, 2);
    stub_if_null(utils_.end_sampling, 4);
    stub_if_null(utils_.composite_rect, 5);
    stub_if_null(utils_.blend, 6);
    stub_if_null(utils_.convolve, 7);
    stub_if_null(utils_.gaussian_kernel, 10);
    stub_if_null(utils_.premultiply, 12);
    stub_if_null(utils_.premultiply_color, 13);
    stub_if_null(utils_.iterate_origin, 16);
    stub_if_null(utils_.iterate_lut, 17);
    stub_if_null(utils_.transfer_rect, 18);
    stub_if_null(utils_.transform_world, 19);
    stub_if_null(utils_.get_callback_addr, 24);
    stub_if_null(utils_.app, 25);
    stub_if_null(utils_.iterate_origin_non_clip_src, 29);
    stub_if_null(utils_.iterate_generic, 30);
    stub_if_null(utils_.subpixel_sample16, 32);
    stub_if_null(utils_.area_sample16, 33);
    stub_if_null(utils_.premultiply_color16, 35);
    stub_if_null(utils_.iterate_origin16, 37);
    stub_if_null(utils_.iterate_origin_non_clip_src16, 38);
    stub_if_null(utils_.colorCB.RGBtoHLS, 40);
    stub_if_null(utils_.colorCB.HLStoRGB, 41);
    stub_if_null(utils_.colorCB.RGBtoYIQ, 42);
    stub_if_null(utils_.colorCB.YIQtoRGB, 43);
    stub_if_null(utils_.colorCB.Luminance, 44);
    stub_if_null(utils_.colorCB.Hue, 45);
    stub_if_null(utils_.colorCB.Lightness, 46);
    stub_if_null(utils_.colorCB.Saturation, 47);
    stub_if_null(in_data_.inter.checkout_layer_audio, 50);
    stub_if_null(in_data_.inter.checkin_layer_audio, 51);
    stub_if_null(in_data_.inter.get_audio_data, 52);

    serve_suite("PF Handle Suite", kPFHandleSuiteVersion1, &handle_suite_);
    serve_suite("PF ANSI Suite", kPFANSISuiteVersion1, &ansi_suite_);

    in_data_.inter.checkout_param = Impl::CheckoutParam;
    in_data_.inter.checkin_param = Impl::CheckinParam;
    in_data_.inter.add_param = Impl::AddParam;
    in_data_.inter.abort = Impl::Abort;
    in_data_.inter.progress = Impl::Progress;
    in_data_.inter.register_ui = Impl::RegisterUI;
    in_data_.utils = &utils_;
    in_data_.effect_ref = effect_ref();
    in_data_.quality = PF_Quality_HI;
    in_data_.version.major = 13;
    in_data_.version.minor = 28;
    in_data_.appl_id = FourCC('F', 'X', 'T', 'C');
    in_data_.field = PF_Field_FRAME;
    in_data_.width = 720;
    in_data_.height = 480;
    in_data_.extent_hint = PF_Rect{0, 0, 720, 480};
    in_data_.time_scale = 2997;
    in_data_.local_time_step = 100;
    in_data_.time_step = 100;
    in_data_.total_time = 100 * 300;
    in_data_.downsample_x = PF_RationalScale{1, 1};
    in_data_.downsample_y = PF_RationalScale{1, 1};
    in_data_.pixel_aspect_ratio = PF_RationalScale{1, 1};
    in_data_.pica_basicP = &basic_;

    guard_buffer(out_data_.return_msg, sizeof out_data_.return_msg, "PF_OutData::return_msg");
    guard_buffer(out_data_.name, sizeof out_data_.name, "PF_OutData::name");
}

Host::~Host() {
    for (auto& kv : handles_) std::free(kv.second->block);
    free_spare_blocks();
    for (auto& kv : blocks_) std::free(kv.first);
    Host* expected = this;
    if (!g_current.compare_exchange_strong(expected, previous_)) {
        std::fprintf(stderr, "headless host: hosts destroyed out of order\n");
    }
}

Host* Host::current() { return g_current.load(); }

PF_ProgPtr Host::effect_ref() const {
    return reinterpret_cast<PF_ProgPtr>(const_cast<char*>(&effect_ref_token_));
}

void Host::set_version(A_short major, A_short minor) {
    in_data_.version.major = major;
    in_data_.version.minor = minor;
}

void Host::reset_out_data() {
    std::memset(&out_data_, 0, sizeof out_data_);
}

void Host::serve_suite(const std::string& name, int32 version, const void* table) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    suites_[{name, version}] = table;
}

void Host::withdraw_suite(const std::string& name, int32 version) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    suites_.erase({name, version});
}

bool Host::serves(const std::string& name, int32 version) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return suites_.count({name, version}) != 0;
}

SuiteCount Host::suite_count(const std::string& name, int32 version) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    auto it = counts_.find({name, version});
    return it == counts_.end() ? SuiteCount{} : it->second;
}

int Host::unreleased_suites() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    int n = 0;
    for (const auto& kv : counts_) n += kv.second.acquired - kv.second.released;
    return n;
}

int Host::total_acquisitions() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    int n = 0;
    for (const auto& kv : counts_) n += kv.second.acquired;
    return n;
}

std::map<std::pair<std::string, int32>, int> Host::suite_balances() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    std::map<std::pair<std::string, int32>, int> out;
    for (const auto& kv : counts_) {
        if (kv.second.acquired != kv.second.released) out[kv.first] = kv.second.acquired - kv.second.released;
    }
    return out;
}

void Host::set_recycle_memory(bool on) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    recycle_ = on;
    if (!on) free_spare_blocks();
}

// Blocks are kept by the size they hold: an effect asks for the same sizes
// frame after frame, give or take a few pages (images start their pixels at
// one of several offsets into their blocks), so the smallest kept block
// within that slack serves. The total kept is bounded so that an odd mix
// cannot hoard.
char* Host::take_spare_block(size_t size, size_t* capacity) {
    constexpr size_t kSlack = 64 * 1024;
    auto it = spare_blocks_.lower_bound(size);
    if (it == spare_blocks_.end() || it->first - size > kSlack) return nullptr;
    char* block = it->second;
    *capacity = it->first;
    spare_bytes_ -= it->first;
    spare_blocks_.erase(it);
    return block;
}

void Host::keep_spare_block(char* block, size_t size) {
    constexpr size_t kMaxSpareBytes = size_t(2) << 30;
    if (spare_bytes_ + size > kMaxSpareBytes) {
        std::free(block);
        return;
    }
    spare_blocks_.emplace(size, block);
    spare_bytes_ += size;
}

void Host::free_spare_blocks() {
    for (auto& kv : spare_blocks_) std::free(kv.second);
    spare_blocks_.clear();
    spare_bytes_ = 0;
}

Host::HandleRec* Host::find_handle(PF_Handle h) const {
    auto it = handles_.find(h);
    return it == handles_.end() ? nullptr : it->second.get();
}

size_t Host::live_handles() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return handles_.size();
}

size_t Host::locked_handles() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return static_cast<size_t>(
        std::count_if(handles_.begin(), handles_.end(), [](const auto& kv) { return kv.second->locks > 0; }));
}

size_t Host::allocation_requests() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return allocation_requests_;
}

void Host::fail_allocation(size_t n) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    fail_at_ = n == 0 ? 0 : allocation_requests_ + n;
}

void Host::fail_allocations_from(size_t n) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    fail_from_ = n == 0 ? 0 : allocation_requests_ + n;
}

void Host::clear_allocation_failures() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    fail_at_ = fail_from_ = 0;
}

bool Host::take_allocation_slot() {
    const size_t n = ++allocation_requests_;
    if (fail_at_ != 0 && n == fail_at_) return false;
    if (fail_from_ != 0 && n >= fail_from_) return false;
    return true;
}

size_t Host::handle_size(PF_Handle h) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    const HandleRec* r = find_handle(h);
    return r ? r->size : 0;
}

bool Host::is_live_handle(PF_Handle h) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return find_handle(h) != nullptr;
}

size_t Host::live_blocks() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return blocks_.size();
}

size_t Host::param_count() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return params_.size();
}

const RecordedParam& Host::param(size_t i) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return *params_.at(i);
}

const RecordedParam* Host::param_by_id(A_long id) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    for (const auto& p : params_) {
        if (p->def.uu.id == id) return p.get();
    }
    return nullptr;
}

void Host::clear_params() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    params_.clear();
    uis_.clear();
}

// What After Effects refuses in add_param: the checks keep the recorded list
// in the state the host would have.
PF_Err Host::record_param(PF_ParamIndex index, const PF_ParamDef* def) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    const PF_ParamIndex next = static_cast<PF_ParamIndex>(params_.size()) + 1;
    auto refuse = [&](const std::string& why) {
        std::string who = def ? "\"" + std::string(def->name, strnlen(def->name, sizeof def->name)) + "\"" : "";
        report_problem("add_param " + who + " (index " + std::to_string(next) + "): " + why);
        return PF_Err_BAD_CALLBACK_PARAM;
    };
    if (!def) return refuse("null record");
    if (index != -1 && index != next) return refuse("index " + std::to_string(index) + " is neither -1 nor the next index");
    if (!known_param_type(def->param_type)) return refuse("unknown parameter type " + std::to_string(def->param_type));
    if (def->param_type == PF_Param_LAYER) return refuse("layer parameters are not expected from this effect");
    if (strnlen(def->name, sizeof def->name) > PF_MAX_EFFECT_PARAM_NAME_LEN) return refuse("name longer than 31 characters");
    if (def->uu.id <= 0) return refuse("id " + std::to_string(def->uu.id) + " is not a positive number");
    for (const auto& p : params_) {
        if (p->def.uu.id == def->uu.id) return refuse("id " + std::to_string(def->uu.id) + " is already used");
    }

    auto rec = std::make_unique<RecordedParam>();
    rec->index = next;
    rec->def = *def;
    const PF_ParamDefUnion& u = def->u;
    switch (def->param_type) {
    case PF_Param_POPUP: {
        if (!u.pd.u.namesptr) return refuse("popup without a choice list");
        rec->text = u.pd.u.namesptr;
        const size_t choices = count_choices(u.pd.u.namesptr);
        if (u.pd.num_choices <= 0 || static_cast<size_t>(u.pd.num_choices) != choices)
            return refuse("num_choices " + std::to_string(u.pd.num_choices) + " but the list has " +
                          std::to_string(choices) + " entries");
        if (u.pd.dephault < 1 || u.pd.dephault > u.pd.num_choices)
            return refuse("popup default " + std::to_string(u.pd.dephault) + " outside 1.." + std::to_string(u.pd.num_choices));
        rec->def.u.pd.value = u.pd.dephault;
        break;
    }
    case PF_Param_CHECKBOX:
        if (u.bd.u.nameptr) {
            rec->text = u.bd.u.nameptr;
            if (rec->text.size() > PF_MAX_EFFECT_PARAM_NAME_LEN) return refuse("checkbox text longer than 31 characters");
        }
        rec->def.u.bd.value = u.bd.dephault ? 1 : 0;
        break;
    case PF_Param_SLIDER: {
        const PF_SliderDef& s = u.sd;
        if (!(s.valid_min <= s.slider_min && s.slider_min <= s.slider_max && s.slider_max <= s.valid_max))
            return refuse("slider ranges not nested (valid " + std::to_string(s.valid_min) + ".." + std::to_string(s.valid_max) +
                          ", slider " + std::to_string(s.slider_min) + ".." + std::to_string(s.slider_max) + ")");
        if (s.dephault < s.valid_min || s.dephault > s.valid_max) return refuse("slider default outside its valid range");
        rec->def.u.sd.value = s.dephault;
        break;
    }
    case PF_Param_FIX_SLIDER: {
        const PF_FixedSliderDef& s = u.fd;
        if (!(s.valid_min <= s.slider_min && s.slider_min <= s.slider_max && s.slider_max <= s.valid_max))
            return refuse("fixed slider ranges not nested");
        if (s.dephault < s.valid_min || s.dephault > s.valid_max) return refuse("fixed slider default outside its valid range");
        rec->def.u.fd.value = s.dephault;
        break;
    }
    case PF_Param_FLOAT_SLIDER: {
        const PF_FloatSliderDef& s = u.fs_d;
        if (!(s.valid_min <= s.slider_min && s.slider_min <= s.slider_max && s.slider_max <= s.valid_max))
            return refuse("float slider ranges not nested");
        if (!(s.dephault >= s.valid_min && s.dephault <= s.valid_max)) return refuse("float slider default outside its valid range");
        if (s.precision < 0 || s.precision > 6) return refuse("float slider precision " + std::to_string(s.precision));
        rec->def.u.fs_d.value = s.dephault;
        break;
    }
    default:
        break;
    }
    if (rec->def.param_type == PF_Param_POPUP) rec->def.u.pd.u.namesptr = rec->text.c_str();
    if (rec->def.param_type == PF_Param_CHECKBOX) rec->def.u.bd.u.nameptr = u.bd.u.nameptr ? rec->text.c_str() : nullptr;
    params_.push_back(std::move(rec));
    return PF_Err_NONE;
}

void Host::guard_buffer(const void* start, size_t size, std::string label) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    guards_.push_back(Guard{static_cast<const char*>(start), size, std::move(label)});
}

size_t Host::guarded_capacity(const void* dst, std::string* label) const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    const char* p = static_cast<const char*>(dst);
    for (const Guard& g : guards_) {
        if (p >= g.start && p < g.start + g.size) {
            *label = g.label;
            return static_cast<size_t>(g.start + g.size - p);
        }
    }
    return 0;
}

std::vector<std::string> Host::problems() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    return problems_;
}

void Host::clear_problems() {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    problems_.clear();
}

void Host::report_problem(std::string text) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    problems_.push_back(std::move(text));
}

void Host::add_leak_check(std::string name, std::function<std::string()> check) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    leak_checks_.emplace_back(std::move(name), std::move(check));
}

void Host::remove_leak_check(const std::string& name) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    leak_checks_.erase(std::remove_if(leak_checks_.begin(), leak_checks_.end(),
                                      [&](const auto& c) { return c.first == name; }),
                       leak_checks_.end());
}

void Host::set_checkout(CheckoutFn checkout, CheckinFn checkin) {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    checkout_ = std::move(checkout);
    checkin_ = std::move(checkin);
}

std::string Host::leak_report() const {
    std::lock_guard<std::recursive_mutex> lock(mutex_);
    std::ostringstream out;
    for (const auto& kv : counts_) {
        if (kv.second.acquired != kv.second.released) {
            out << "suite " << suite_label(kv.first.first, kv.first.second) << " acquired " << kv.second.acquired
                << " times, released " << kv.second.released << "\n";
        }
    }
    if (!handles_.empty()) {
        out << handles_.size() << " handle(s) not disposed:";
        for (const auto& kv : handles_) out << " [request " << kv.second->serial << ", " << kv.second->size << " bytes]";
        out << "\n";
    }
    for (const auto& kv : handles_) {
        if (!kv.second->tail_intact()) out << "handle of " << kv.second->size << " bytes written past its end\n";
    }
    if (!blocks_.empty()) out << blocks_.size() << " SPBasicSuite block(s) not freed\n";
    if (!worlds_.empty()) out << worlds_.size() << " world(s) from new_world not disposed\n";
    for (const auto& check : leak_checks_) {
        std::string s = check.second();
        if (!s.empty()) out << check.first << ": " << s << "\n";
    }
    return out.str();
}

std::string describe_error(A_long err) {
    switch (err) {
    case PF_Err_NONE: return "PF_Err_NONE (0)";
    case PF_Err_OUT_OF_MEMORY: return "PF_Err_OUT_OF_MEMORY (4)";
    case A_Err_MISSING_SUITE: return "A_Err_MISSING_SUITE (13)";
    case PF_Err_INTERNAL_STRUCT_DAMAGED: return "PF_Err_INTERNAL_STRUCT_DAMAGED (512)";
    case PF_Err_INVALID_INDEX: return "PF_Err_INVALID_INDEX (513)";
    case PF_Err_UNRECOGNIZED_PARAM_TYPE: return "PF_Err_UNRECOGNIZED_PARAM_TYPE (514)";
    case PF_Err_INVALID_CALLBACK: return "PF_Err_INVALID_CALLBACK (515)";
    case PF_Err_BAD_CALLBACK_PARAM: return "PF_Err_BAD_CALLBACK_PARAM (516)";
    case PF_Interrupt_CANCEL: return "PF_Interrupt_CANCEL (517)";
    default: return "error " + std::to_string(err);
    }
}

}  // namespace headless
