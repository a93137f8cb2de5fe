// The project model behind the AEGP suites.
#include "headless/project.h"

#include "headless/stub_slots.h"

#include <atomic>
#include <cstring>

namespace headless {

namespace {
std::atomic<Project*> g_project{nullptr};
}  // namespace

struct Project::Impl {
    static Project* project(const char* what) {
        Project* p = g_project.load();
        if (!p) {
            if (Host* h = Host::current()) h->report_problem(std::string(what) + " called with no project");
        }
        return p;
    }

    static Token* token_of(const void* handle) {
        return handle ? static_cast<Token*>(const_cast<void*>(static_cast<const void*>(handle))) : nullptr;
    }

    // A handle is valid when it is one the current project gave out.
    static bool is(const void* handle, const Token& t) { return handle == &t.self; }

    static A_Err bad(Project* p, const std::string& text) {
        p->host_.report_problem(text);
        return A_Err_PARAMETER;
    }

    // -- PF Interface
    static A_Err GetEffectLayer(PF_ProgPtr ref, AEGP_LayerH* layer) {
        Project* p = project("AEGP_GetEffectLayer");
        if (!p) return A_Err_GENERIC;
        if (!layer) return bad(p, "AEGP_GetEffectLayer with a null result");
        if (ref != p->host_.effect_ref()) return bad(p, "AEGP_GetEffectLayer with an effect_ref the host did not give");
        *layer = reinterpret_cast<AEGP_LayerH>(&p->layer_.self);
        return A_Err_NONE;
    }

    static A_Err GetNewEffectForEffect(AEGP_PluginID, PF_ProgPtr ref, AEGP_EffectRefH* effect) {
        Project* p = project("AEGP_GetNewEffectForEffect");
        if (!p) return A_Err_GENERIC;
        if (!effect) return bad(p, "AEGP_GetNewEffectForEffect with a null result");
        if (ref != p->host_.effect_ref()) return bad(p, "AEGP_GetNewEffectForEffect with an effect_ref the host did not give");
        Token* t = new Token{nullptr, p, 0};
        t->self = t;
        p->effect_refs_.insert(t);
        *effect = reinterpret_cast<AEGP_EffectRefH>(&t->self);
        return A_Err_NONE;
    }

    // -- Layer
    static A_Err GetLayerSourceItem(AEGP_LayerH layer, AEGP_ItemH* item) {
        Project* p = project("AEGP_GetLayerSourceItem");
        if (!p) return A_Err_GENERIC;
        if (!is(layer, p->layer_) || !item) return bad(p, "AEGP_GetLayerSourceItem with an unknown layer or null result");
        *item = reinterpret_cast<AEGP_ItemH>(&p->item_.self);
        return A_Err_NONE;
    }

    // -- Item
    static A_Err GetItemType(AEGP_ItemH item, AEGP_ItemType* type) {
        Project* p = project("AEGP_GetItemType");
        if (!p) return A_Err_GENERIC;
        if (!is(item, p->item_) || !type) return bad(p, "AEGP_GetItemType with an unknown item or null result");
        switch (p->source_) {
        case Source::Footage: *type = static_cast<AEGP_ItemType>(AEGP_ItemType_FOOTAGE); break;
        case Source::Composition: *type = static_cast<AEGP_ItemType>(AEGP_ItemType_COMP); break;
        case Source::Solid: *type = static_cast<AEGP_ItemType>(AEGP_ItemType_SOLID_defunct); break;
        }
        return A_Err_NONE;
    }

    static A_Err GetItemDimensions(AEGP_ItemH item, A_long* w, A_long* h) {
        Project* p = project("AEGP_GetItemDimensions");
        if (!p) return A_Err_GENERIC;
        if (!is(item, p->item_) || !w || !h) return bad(p, "AEGP_GetItemDimensions with an unknown item or null result");
        *w = p->item_width_;
        *h = p->item_height_;
        return A_Err_NONE;
    }

    static A_Err GetItemPixelAspectRatio(AEGP_ItemH item, A_Ratio* r) {
        Project* p = project("AEGP_GetItemPixelAspectRatio");
        if (!p) return A_Err_GENERIC;
        if (!is(item, p->item_) || !r) return bad(p, "AEGP_GetItemPixelAspectRatio with an unknown item or null result");
        *r = p->interp_.pix_aspect_ratio;
        return A_Err_NONE;
    }

    // -- Footage
    static A_Err GetMainFootageFromItem(AEGP_ItemH item, AEGP_FootageH* footage) {
        Project* p = project("AEGP_GetMainFootageFromItem");
        if (!p) return A_Err_GENERIC;
        if (!is(item, p->item_) || !footage) return bad(p, "AEGP_GetMainFootageFromItem with an unknown item or null result");
        if (p->source_ != Source::Footage) return A_Err_PARAMETER;
        *footage = reinterpret_cast<AEGP_FootageH>(&p->footage_.self);
        return A_Err_NONE;
    }

    static A_Err GetFootageInterpretation(AEGP_ItemH item, A_Boolean proxy, AEGP_FootageInterp* interp) {
        Project* p = project("AEGP_GetFootageInterpretation");
        if (!p) return A_Err_GENERIC;
        if (!is(item, p->item_) || !interp) return bad(p, "AEGP_GetFootageInterpretation with an unknown item or null result");
        if (p->source_ != Source::Footage || proxy) return A_Err_PARAMETER;  // no proxy in this project
        if (p->fail_interp_read_) return p->fail_interp_read_;
        *interp = p->interp_;
        return A_Err_NONE;
    }

    static A_Err SetFootageInterpretation(AEGP_ItemH item, A_Boolean proxy, const AEGP_FootageInterp* interp) {
        Project* p = project("AEGP_SetFootageInterpretation");
        if (!p) return A_Err_GENERIC;
        if (!is(item, p->item_) || !interp) return bad(p, "AEGP_SetFootageInterpretation with an unknown item or null record");
        if (p->source_ != Source::Footage || proxy) return A_Err_PARAMETER;
        if (p->fail_interp_write_) return p->fail_interp_write_;
        p->interp_ = *interp;
        p->interp_writes_++;
        return A_Err_NONE;
    }

    // -- Stream
    static A_Err GetNewEffectStreamByIndex(AEGP_PluginID, AEGP_EffectRefH effect, PF_ParamIndex index,
                                           AEGP_StreamRefH* stream) {
        Project* p = project("AEGP_GetNewEffectStreamByIndex");
        if (!p) return A_Err_GENERIC;
        Token* e = token_of(effect);
        if (!stream || !e || !p->effect_refs_.count(e)) return bad(p, "AEGP_GetNewEffectStreamByIndex with an unknown effect reference");
        if (index < 0 || static_cast<size_t>(index) > p->host_.param_count())
            return bad(p, "AEGP_GetNewEffectStreamByIndex with parameter index " + std::to_string(index) + " out of range");
        Token* t = new Token{nullptr, p, index};
        t->self = t;
        p->streams_.insert(t);
        *stream = reinterpret_cast<AEGP_StreamRefH>(&t->self);
        return A_Err_NONE;
    }

    static A_Err DisposeStream(AEGP_StreamRefH stream) {
        Project* p = project("AEGP_DisposeStream");
        if (!p) return A_Err_GENERIC;
        Token* t = token_of(stream);
        if (!t || !p->streams_.erase(t)) return bad(p, "AEGP_DisposeStream of an unknown or disposed stream");
        delete t;
        return A_Err_NONE;
    }

    // -- Dynamic Stream
    static A_Err SetFlag(Project* p, AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, A_Boolean set) {
        Token* t = token_of(stream);
        if (!t || !p->streams_.count(t)) return bad(p, "AEGP_SetDynamicStreamFlag on an unknown stream");
        if (flag == static_cast<AEGP_DynStreamFlags>(AEGP_DynStreamFlag_HIDDEN)) p->hidden_[t->index] = set != 0;
        return A_Err_NONE;
    }

    static A_Err SetDynamicStreamFlag(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, A_Boolean, A_Boolean set) {
        Project* p = project("AEGP_SetDynamicStreamFlag");
        return p ? SetFlag(p, stream, flag, set) : A_Err_GENERIC;
    }

    // Version 1 has no undoable argument.
    static A_Err SetDynamicStreamFlag1(AEGP_StreamRefH stream, AEGP_DynStreamFlags flag, A_Boolean set) {
        Project* p = project("AEGP_SetDynamicStreamFlag");
        return p ? SetFlag(p, stream, flag, set) : A_Err_GENERIC;
    }

    // -- Effect
    static A_Err DisposeEffect(AEGP_EffectRefH effect) {
        Project* p = project("AEGP_DisposeEffect");
        if (!p) return A_Err_GENERIC;
        Token* t = token_of(effect);
        if (!t || !p->effect_refs_.erase(t)) return bad(p, "AEGP_DisposeEffect of an unknown or disposed effect reference");
        delete t;
        return A_Err_NONE;
    }

    // -- Persistent Data
    static bool blob_ok(Project* p, AEGP_PersistentBlobH blob) { return is(blob, p->blob_); }

    static A_Err GetApplicationBlob(AEGP_PersistentBlobH* blob) {
        Project* p = project("AEGP_GetApplicationBlob");
        if (!p) return A_Err_GENERIC;
        if (!blob) return bad(p, "AEGP_GetApplicationBlob with a null result");
        if (p->fail_blob_) return p->fail_blob_;
        *blob = reinterpret_cast<AEGP_PersistentBlobH>(&p->blob_.self);
        return A_Err_NONE;
    }

    static A_Err DoesKeyExist(AEGP_PersistentBlobH blob, const A_char* section, const A_char* key, A_Boolean* exists) {
        Project* p = project("AEGP_DoesKeyExist");
        if (!p) return A_Err_GENERIC;
        if (!blob_ok(p, blob) || !section || !key || !exists) return bad(p, "AEGP_DoesKeyExist with a bad argument");
        *exists = p->prefs_.count({section, key}) ? 1 : 0;
        return A_Err_NONE;
    }

    static A_Err GetString(AEGP_PersistentBlobH blob, const A_char* section, const A_char* key, const A_char* dflt,
                           A_u_long size, A_char* buf, A_u_long* actual) {
        Project* p = project("AEGP_GetString");
        if (!p) return A_Err_GENERIC;
        if (!blob_ok(p, blob) || !section || !key) return bad(p, "AEGP_GetString with a bad argument");
        auto it = p->prefs_.find({section, key});
        std::string v = it != p->prefs_.end() ? it->second : (dflt ? dflt : "");
        if (actual) *actual = static_cast<A_u_long>(v.size() + 1);
        if (buf && size > 0) {
            const size_t n = std::min<size_t>(v.size(), size - 1);
            std::memcpy(buf, v.data(), n);
            buf[n] = 0;
        }
        return A_Err_NONE;
    }

    static A_Err GetLong(AEGP_PersistentBlobH blob, const A_char* section, const A_char* key, A_long dflt, A_long* value) {
        Project* p = project("AEGP_GetLong");
        if (!p) return A_Err_GENERIC;
        if (!blob_ok(p, blob) || !section || !key || !value) return bad(p, "AEGP_GetLong with a bad argument");
        auto it = p->prefs_.find({section, key});
        *value = it != p->prefs_.end() ? static_cast<A_long>(std::strtol(it->second.c_str(), nullptr, 10)) : dflt;
        return A_Err_NONE;
    }

    static A_Err SetString(AEGP_PersistentBlobH blob, const A_char* section, const A_char* key, const A_char* value) {
        Project* p = project("AEGP_SetString");
        if (!p) return A_Err_GENERIC;
        if (!blob_ok(p, blob) || !section || !key || !value) return bad(p, "AEGP_SetString with a bad argument");
        p->prefs_[{section, key}] = value;
        return A_Err_NONE;
    }

    static A_Err SetLong(AEGP_PersistentBlobH blob, const A_char* section, const A_char* key, A_long value) {
        Project* p = project("AEGP_SetLong");
        if (!p) return A_Err_GENERIC;
        if (!blob_ok(p, blob) || !section || !key) return bad(p, "AEGP_SetLong with a bad argument");
        p->prefs_[{section, key}] = std::to_string(value);
        return A_Err_NONE;
    }

    static A_Err DeleteEntry(AEGP_PersistentBlobH blob, const A_char* section, const A_char* key) {
        Project* p = project("AEGP_DeleteEntry");
        if (!p) return A_Err_GENERIC;
        if (!blob_ok(p, blob) || !section || !key) return bad(p, "AEGP_DeleteEntry with a bad argument");
        p->prefs_.erase({section, key});
        return A_Err_NONE;
    }

    static void serve(Project& p, const char* name, int32 version, std::unique_ptr<SlotTable> t) {
        p.host_.serve_suite(name, version, t->data());
        p.tables_.push_back(std::move(t));
    }
};

Project::Project(Host& host) : host_(host), previous_(g_project.exchange(this)) {
    layer_ = Token{nullptr, this, 0};
    layer_.self = &layer_;
    item_ = Token{nullptr, this, 0};
    item_.self = &item_;
    footage_ = Token{nullptr, this, 0};
    footage_.self = &footage_;
    blob_ = Token{nullptr, this, 0};
    blob_.self = &blob_;

    interp_.il.signature = static_cast<uint32_t>(FIEL_Tag);
    interp_.il.version = static_cast<int16_t>(FIEL_Label_VERSION);
    interp_.il.type = FIEL_Type_FRAME_RENDERED;
    interp_.il.order = FIEL_Order_UPPER_FIRST;
    interp_.pd = AEGP_PulldownPhase_NO_PULLDOWN;
    interp_.loop.loops = 1;
    interp_.pix_aspect_ratio = A_Ratio{1, 1};
    interp_.native_fpsF = 29.97;
    interp_.conform_fpsF = 29.97;
    interp_.depthL = 24;

    using I = Impl;
    {
        auto t = make_slot_table(5);
        set_slot(*t, 0, &I::GetEffectLayer);
        set_slot(*t, 1, &I::GetNewEffectForEffect);
        I::serve(*this, "AEGP PF Interface Suite", kAEGPPFInterfaceSuiteVersion1, std::move(t));
    }
    // Layer suites 1-9: the source item is slot 4 in all of them.
    for (int32 v : {kAEGPLayerSuiteVersion1, kAEGPLayerSuiteVersion2, kAEGPLayerSuiteVersion3, kAEGPLayerSuiteVersion4,
                    kAEGPLayerSuiteVersion5, kAEGPLayerSuiteVersion6, kAEGPLayerSuiteVersion7, kAEGPLayerSuiteVersion8,
                    kAEGPLayerSuiteVersion9}) {
        auto t = make_slot_table(53);
        set_slot(*t, 4, &I::GetLayerSourceItem);
        I::serve(*this, "AEGP Layer Suite", v, std::move(t));
    }
    // Item suites: the type is slot 4 up to version 5, slot 5 from version 6.
    for (int32 v : {kAEGPItemSuiteVersion1, kAEGPItemSuiteVersion2, kAEGPItemSuiteVersion3, kAEGPItemSuiteVersion4,
                    kAEGPItemSuiteVersion5}) {
        auto t = make_slot_table(26);
        set_slot(*t, 4, &I::GetItemType);
        I::serve(*this, "AEGP Item Suite", v, std::move(t));
    }
    for (int32 v : {kAEGPItemSuiteVersion6, kAEGPItemSuiteVersion7, kAEGPItemSuiteVersion8, kAEGPItemSuiteVersion9}) {
        auto t = make_slot_table(26);
        set_slot(*t, 5, &I::GetItemType);
        if (v == kAEGPItemSuiteVersion9) {
            set_slot(*t, 16, &I::GetItemDimensions);
            set_slot(*t, 17, &I::GetItemPixelAspectRatio);
        }
        I::serve(*this, "AEGP Item Suite", v, std::move(t));
    }
    {
        auto t = make_slot_table(21);
        set_slot(*t, 0, &I::GetMainFootageFromItem);
        set_slot(*t, 10, &I::GetFootageInterpretation);
        set_slot(*t, 11, &I::SetFootageInterpretation);
        I::serve(*this, "AEGP Footage Suite", kAEGPFootageSuiteVersion5, std::move(t));
    }
    {
        auto t = make_slot_table(23);
        set_slot(*t, 4, &I::GetNewEffectStreamByIndex);
        set_slot(*t, 6, &I::DisposeStream);
        I::serve(*this, "AEGP Stream Suite", kAEGPStreamSuiteVersion1, std::move(t));
    }
    for (int32 v : {kAEGPStreamSuiteVersion2, kAEGPStreamSuiteVersion3, kAEGPStreamSuiteVersion4, kAEGPStreamSuiteVersion5,
                    kAEGPStreamSuiteVersion6}) {
        auto t = make_slot_table(23);
        set_slot(*t, 5, &I::GetNewEffectStreamByIndex);
        set_slot(*t, 7, &I::DisposeStream);
        I::serve(*this, "AEGP Stream Suite", v, std::move(t));
    }
    {
        auto t = make_slot_table(18);
        set_slot(*t, 5, &I::SetDynamicStreamFlag1);
        I::serve(*this, "AEGP Dynamic Stream Suite", kAEGPDynamicStreamSuiteVersion1, std::move(t));
    }
    for (int32 v : {kAEGPDynamicStreamSuiteVersion2, kAEGPDynamicStreamSuiteVersion3}) {
        auto t = make_slot_table(18);
        set_slot(*t, 5, &I::SetDynamicStreamFlag);
        I::serve(*this, "AEGP Dynamic Stream Suite", v, std::move(t));
    }
    {
        auto t = make_slot_table(20);
        set_slot(*t, 6, &I::SetDynamicStreamFlag);
        I::serve(*this, "AEGP Dynamic Stream Suite", kAEGPDynamicStreamSuiteVersion4, std::move(t));
    }
    for (int32 v : {kAEGPEffectSuiteVersion1, kAEGPEffectSuiteVersion2, kAEGPEffectSuiteVersion3, kAEGPEffectSuiteVersion4}) {
        auto t = make_slot_table(20);
        set_slot(*t, 8, &I::DisposeEffect);
        I::serve(*this, "AEGP Effect Suite", v, std::move(t));
    }
    {
        auto t = make_slot_table(18);
        set_slot(*t, 0, &I::GetApplicationBlob);
        set_slot(*t, 3, &I::DoesKeyExist);
        set_slot(*t, 8, &I::GetString);
        set_slot(*t, 9, &I::GetLong);
        set_slot(*t, 13, &I::SetString);
        set_slot(*t, 14, &I::SetLong);
        set_slot(*t, 16, &I::DeleteEntry);
        I::serve(*this, "AEGP Persistent Data Suite", kAEGPPersistentDataSuiteVersion3, std::move(t));
    }

    host_.add_leak_check("AEGP", [this]() -> std::string {
        std::string s;
        if (!effect_refs_.empty()) s += std::to_string(effect_refs_.size()) + " effect reference(s) not disposed; ";
        if (!streams_.empty()) s += std::to_string(streams_.size()) + " stream(s) not disposed; ";
        return s;
    });
}

Project::~Project() {
    host_.remove_leak_check("AEGP");
    for (Token* t : effect_refs_) delete t;
    for (Token* t : streams_) delete t;
    // The host may outlive the project: stop serving tables that die now.
    for (const auto& name : {"AEGP PF Interface Suite", "AEGP Layer Suite", "AEGP Item Suite", "AEGP Footage Suite",
                             "AEGP Stream Suite", "AEGP Dynamic Stream Suite", "AEGP Effect Suite",
                             "AEGP Persistent Data Suite"}) {
        for (int32 v = 0; v < 32; ++v) {
            if (host_.serves(name, v)) host_.withdraw_suite(name, v);
        }
    }
    Project* expected = this;
    g_project.compare_exchange_strong(expected, previous_);
}

void Project::set_item_size(A_long width, A_long height) {
    item_width_ = width;
    item_height_ = height;
}

void Project::set_interlaced(FIEL_Order order, AEGP_PulldownPhase pulldown) {
    interp_.il.type = FIEL_Type_INTERLACED;
    interp_.il.order = order;
    interp_.pd = pulldown;
}

void Project::set_preference(const std::string& section, const std::string& key, const std::string& value) {
    prefs_[{section, key}] = value;
}

void Project::remove_preference(const std::string& section, const std::string& key) { prefs_.erase({section, key}); }

bool Project::has_preference(const std::string& section, const std::string& key) const {
    return prefs_.count({section, key}) != 0;
}

bool Project::param_hidden(PF_ParamIndex index) const {
    auto it = hidden_.find(index);
    return it != hidden_.end() && it->second;
}

}  // namespace headless
