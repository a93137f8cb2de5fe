// The command lifecycle, the project model, Effect Controls events and the
// DRAWBOT raster, driven through a scripted stand-in effect.
#include "headless/effect.h"

#include <gtest/gtest.h>

#include <cstring>
#include <functional>
#include <string>

namespace {

using headless::EffectInstance;
using headless::Host;

using Script = std::function<PF_Err(PF_Cmd, PF_InData*, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*)>;
Script* g_script = nullptr;

PF_Err Entry(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef* output, void* extra) {
    return g_script && *g_script ? (*g_script)(cmd, in, out, params, output, extra) : PF_Err_NONE;
}

struct ScriptScope {
    Script script;
    explicit ScriptScope(Script s) : script(std::move(s)) { g_script = &script; }
    ~ScriptScope() { g_script = nullptr; }
};

template <typename T>
T* acquire(PF_InData* in, const char* name, int32 version) {
    const void* s = nullptr;
    in->pica_basicP->AcquireSuite(name, version, &s);
    return static_cast<T*>(const_cast<void*>(s));
}

PF_Err add_popup(PF_InData* in, const char* name, A_long id, const char* choices, A_short n) {
    PF_ParamDef d{};
    d.param_type = PF_Param_POPUP;
    std::strcpy(d.name, name);
    d.uu.id = id;
    d.u.pd.u.namesptr = choices;
    d.u.pd.num_choices = n;
    d.u.pd.dephault = n;
    return in->inter.add_param(in->effect_ref, -1, &d);
}

// A small effect: two parameters, an 8-byte sequence record, flat copies.
PF_Err small_effect(PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef*, void*) {
    PF_UtilCallbacks* u = in->utils;
    switch (cmd) {
    case PF_Cmd_GLOBAL_SETUP:
        out->my_version = 0x8E600;
        out->out_flags = 0x06008043;
        return PF_Err_NONE;
    case PF_Cmd_PARAMS_SETUP: {
        add_popup(in, "Source Video", 3, "NTSC|PAL", 2);
        PF_ParamDef s{};
        s.param_type = PF_Param_SLIDER;
        std::strcpy(s.name, "Detail Pattern Size");
        s.uu.id = 6;
        s.u.sd.valid_min = 1;
        s.u.sd.valid_max = 12;
        s.u.sd.slider_min = 2;
        s.u.sd.slider_max = 7;
        s.u.sd.dephault = 4;
        in->inter.add_param(in->effect_ref, -1, &s);
        out->num_params = 3;
        return PF_Err_NONE;
    }
    case PF_Cmd_SEQUENCE_SETUP: {
        PF_Handle h = u->host_new_handle(8);
        if (!h) return PF_Err_OUT_OF_MEMORY;
        std::memset(u->host_lock_handle(h), 0, 8);
        u->host_unlock_handle(h);
        out->sequence_data = h;
        return PF_Err_NONE;
    }
    case PF_Cmd_SEQUENCE_RESETUP: {
        auto* p = static_cast<char*>(u->host_lock_handle(in->sequence_data));
        std::memset(p + 1, 0, 7);
        u->host_unlock_handle(in->sequence_data);
        return PF_Err_NONE;
    }
    case PF_Cmd_GET_FLATTENED_SEQUENCE_DATA: {
        PF_Handle h = u->host_new_handle(8);
        std::memcpy(u->host_lock_handle(h), u->host_lock_handle(in->sequence_data), 8);
        u->host_unlock_handle(h);
        u->host_unlock_handle(in->sequence_data);
        out->sequence_data = h;
        return PF_Err_NONE;
    }
    case PF_Cmd_SEQUENCE_SETDOWN:
        u->host_dispose_handle(in->sequence_data);
        out->sequence_data = nullptr;
        return PF_Err_NONE;
    case PF_Cmd_USER_CHANGED_PARAM: {  // used here to mark the record and write a value
        static_cast<char*>(u->host_lock_handle(in->sequence_data))[0] = 1;
        static_cast<char*>(*in->sequence_data)[5] = 9;
        u->host_unlock_handle(in->sequence_data);
        params[1]->u.pd.value = 1;
        params[1]->uu.change_flags |= PF_ChangeFlag_CHANGED_VALUE;
        return PF_Err_NONE;
    }
    default:
        return PF_Err_NONE;
    }
}

TEST(EffectLifecycle, SetupRecordsAndTeardownLeaveNothing) {
    ScriptScope s(small_effect);
    Host host;
    {
        EffectInstance fx(Entry, host);
        ASSERT_EQ(fx.setup(), PF_Err_NONE);
        EXPECT_EQ(fx.my_version(), 0x8E600u);
        EXPECT_EQ(fx.out_flags(), 0x06008043);
        ASSERT_EQ(fx.num_params(), 3);
        EXPECT_EQ(fx.param(0).param_type, PF_Param_LAYER);
        EXPECT_EQ(fx.popup(1), 2);
        EXPECT_EQ(fx.param_id(2), 6);
        EXPECT_EQ(fx.sequence_bytes(), std::vector<uint8_t>(8, 0));

        // Typed values are range-checked like the host's UI: 12 is valid though the slider stops at 7.
        fx.set_slider(2, 12);
        EXPECT_THROW(fx.set_slider(2, 0), std::invalid_argument);
        EXPECT_THROW(fx.set_popup(1, 3), std::invalid_argument);
        EXPECT_THROW(fx.set_checkbox(1, true), std::invalid_argument);

        // A value the effect writes stays, and the change is counted.
        ASSERT_EQ(fx.call(PF_Cmd_USER_CHANGED_PARAM), PF_Err_NONE);
        EXPECT_EQ(fx.popup(1), 1);
        EXPECT_EQ(fx.changes_by_effect(1), 1);
        EXPECT_EQ(fx.param_id(1), 3);

        // The flattened copy is a separate, host-owned handle with the same bytes.
        ASSERT_EQ(fx.get_flattened_sequence_data(), PF_Err_NONE);
        EXPECT_NE(fx.flattened(), fx.sequence_data());
        EXPECT_EQ(fx.flattened_bytes(), fx.sequence_bytes());
        EXPECT_EQ(fx.sequence_bytes()[0], 1);

        // Re-set-up keeps byte 0.
        ASSERT_EQ(fx.sequence_resetup(), PF_Err_NONE);
        EXPECT_EQ(fx.sequence_bytes(), (std::vector<uint8_t>{1, 0, 0, 0, 0, 0, 0, 0}));

        // Project reopened from the saved bytes.
        const auto saved = fx.flattened_bytes();
        ASSERT_EQ(fx.sequence_setdown(), PF_Err_NONE);
        ASSERT_EQ(fx.reload_sequence(saved), PF_Err_NONE);
        EXPECT_EQ(fx.sequence_bytes()[0], 1);
        EXPECT_EQ(fx.sequence_bytes()[5], 0);
    }
    EXPECT_TRUE(host.clean()) << host.leak_report() << (host.problems().empty() ? "" : host.problems()[0]);
}

TEST(EffectLifecycle, HostChecksWhatTheEffectGetsWrong) {
    // A wrong parameter count, a sequence record never disposed and an
    // exception thrown out of the entry point.
    ScriptScope s([](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef**, PF_LayerDef*, void*) -> PF_Err {
        if (cmd == PF_Cmd_PARAMS_SETUP) {
            add_popup(in, "Field Order", 4, "Upper Field First|Lower Field First", 2);
            out->num_params = 3;
        }
        if (cmd == PF_Cmd_SEQUENCE_SETUP) out->sequence_data = in->utils->host_new_handle(8);
        if (cmd == PF_Cmd_RENDER) throw 42;
        return PF_Err_NONE;
    });
    Host host;
    {
        EffectInstance fx(Entry, host);
        ASSERT_EQ(fx.setup(), PF_Err_NONE);
        EXPECT_EQ(fx.render(), PF_Err_INTERNAL_STRUCT_DAMAGED);
    }
    const auto problems = host.problems();
    ASSERT_EQ(problems.size(), 2u);
    EXPECT_NE(problems[0].find("num_params is 3 but 2"), std::string::npos);
    EXPECT_NE(problems[1].find("exception left the entry point"), std::string::npos);
    EXPECT_NE(host.leak_report().find("1 handle(s) not disposed"), std::string::npos);
}

TEST(EffectLifecycle, SuitesHeldPastTheirCommandAreReported) {
    ScriptScope s([](PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) -> PF_Err {
        if (cmd == PF_Cmd_FRAME_SETUP) acquire<PFAppSuite4>(in, "PF AE App Suite", 6);
        if (cmd == PF_Cmd_FRAME_SETDOWN) in->pica_basicP->ReleaseSuite("PF AE App Suite", 6);
        return PF_Err_NONE;
    });
    EffectInstance fx(Entry);
    fx.frame_setup();
    fx.frame_setdown();
    ASSERT_EQ(fx.host().problems().size(), 1u);
    EXPECT_EQ(fx.host().problems()[0], "command 10 left \"PF AE App Suite\" v6 acquired");
    EXPECT_EQ(fx.host().unreleased_suites(), 0);
}

TEST(EffectLifecycle, AllocationFailureReachesTheEffect) {
    ScriptScope s(small_effect);
    Host host;
    EffectInstance fx(Entry, host);
    ASSERT_EQ(fx.global_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
    host.fail_allocation(1);
    EXPECT_EQ(fx.sequence_setup(), PF_Err_OUT_OF_MEMORY);
    EXPECT_EQ(fx.sequence_data(), nullptr);
    EXPECT_EQ(fx.sequence_setup(), PF_Err_NONE);
}

// ---- project model through the AEGP suites, at the versions served

struct Seen {
    AEGP_ItemType type = -1;
    A_Err get = -1, set = -1;
    A_Boolean key = 2;
};
Seen g_seen;

PF_Err project_effect(PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void*) {
    if (cmd == PF_Cmd_SEQUENCE_SETUP) {
        auto* pfi = acquire<AEGP_PFInterfaceSuite1>(in, "AEGP PF Interface Suite", 1);
        auto* layers = acquire<AEGP_LayerSuite9>(in, "AEGP Layer Suite", kAEGPLayerSuiteVersion1);
        auto* items = acquire<AEGP_ItemSuite9>(in, "AEGP Item Suite", kAEGPItemSuiteVersion9);
        auto* footage = acquire<AEGP_FootageSuite5>(in, "AEGP Footage Suite", kAEGPFootageSuiteVersion5);
        AEGP_LayerH layer = nullptr;
        AEGP_ItemH item = nullptr;
        pfi->AEGP_GetEffectLayer(in->effect_ref, &layer);
        layers->AEGP_GetLayerSourceItem(layer, &item);
        items->AEGP_GetItemType(item, &g_seen.type);
        AEGP_FootageInterp interp{};
        g_seen.get = footage->AEGP_GetFootageInterpretation(item, 0, &interp);
        interp.il.type = FIEL_Type_FRAME_RENDERED;
        interp.pd = AEGP_PulldownPhase_NO_PULLDOWN;
        if (g_seen.get == A_Err_NONE) g_seen.set = footage->AEGP_SetFootageInterpretation(item, 0, &interp);
        in->pica_basicP->ReleaseSuite("AEGP PF Interface Suite", 1);
        in->pica_basicP->ReleaseSuite("AEGP Layer Suite", kAEGPLayerSuiteVersion1);
        in->pica_basicP->ReleaseSuite("AEGP Item Suite", kAEGPItemSuiteVersion9);
        in->pica_basicP->ReleaseSuite("AEGP Footage Suite", kAEGPFootageSuiteVersion5);
    }
    if (cmd == PF_Cmd_PARAMS_SETUP) {
        auto* pd = acquire<AEGP_PersistentDataSuite3>(in, "AEGP Persistent Data Suite", 3);
        AEGP_PersistentBlobH blob = nullptr;
        pd->AEGP_GetApplicationBlob(&blob);
        pd->AEGP_DoesKeyExist(blob, "Wrenfold Suite", "Diagnostic Views", &g_seen.key);
        in->pica_basicP->ReleaseSuite("AEGP Persistent Data Suite", 3);
    }
    return PF_Err_NONE;
}

TEST(EffectProject, FootageInterpretationAndItemTypes) {
    ScriptScope s(project_effect);
    {
        EffectInstance fx(Entry);
        fx.project().set_interlaced(FIEL_Order_UPPER_FIRST, AEGP_PulldownPhase_WSSWW);
        ASSERT_EQ(fx.sequence_setup(), PF_Err_NONE);
        EXPECT_EQ(g_seen.type, AEGP_ItemType_FOOTAGE);
        EXPECT_EQ(FIEL_Type{fx.project().interpretation().il.type}, static_cast<FIEL_Type>(FIEL_Type_FRAME_RENDERED));  // packed member: read by value
        EXPECT_EQ(fx.project().interpretation().pd, AEGP_PulldownPhase_NO_PULLDOWN);
        EXPECT_EQ(fx.project().interpretation_writes(), 1);
        EXPECT_TRUE(fx.host().problems().empty());
        EXPECT_EQ(fx.host().unreleased_suites(), 0);
    }
    for (auto source : {headless::Project::Source::Composition, headless::Project::Source::Solid}) {
        EffectInstance fx(Entry);
        fx.project().set_source(source);
        fx.project().set_interlaced(FIEL_Order_LOWER_FIRST, AEGP_PulldownPhase_WSSWW);
        ASSERT_EQ(fx.sequence_setup(), PF_Err_NONE);
        EXPECT_NE(g_seen.type, AEGP_ItemType_FOOTAGE);
        EXPECT_NE(g_seen.get, A_Err_NONE);
        EXPECT_EQ(fx.project().interpretation_writes(), 0);
        EXPECT_EQ(FIEL_Type{fx.project().interpretation().il.type}, static_cast<FIEL_Type>(FIEL_Type_INTERLACED));  // packed member: read by value
    }
    {
        EffectInstance fx(Entry);
        fx.project().fail_interpretation_write(A_Err_GENERIC);
        ASSERT_EQ(fx.sequence_setup(), PF_Err_NONE);
        EXPECT_EQ(g_seen.set, A_Err_GENERIC);
        EXPECT_EQ(fx.project().interpretation_writes(), 0);
    }
}

TEST(EffectProject, PreferenceKeyPresenceAndServedVersions) {
    ScriptScope s(project_effect);
    EffectInstance fx(Entry);
    fx.params_setup();
    EXPECT_EQ(g_seen.key, 0);
    fx.project().set_preference("Wrenfold Suite", "Diagnostic Views", "false");
    fx.params_setup();
    EXPECT_EQ(g_seen.key, 1);

    Host& h = fx.host();
    for (int32 v : {5, 7, 8, 10, 11, 12, 13, 14, 15}) EXPECT_TRUE(h.serves("AEGP Layer Suite", v)) << v;
    for (int32 v : {3, 4, 5, 6, 7, 10, 11, 13, 14}) EXPECT_TRUE(h.serves("AEGP Item Suite", v)) << v;
    for (int32 v : {4, 7, 8, 9, 10, 11}) EXPECT_TRUE(h.serves("AEGP Stream Suite", v)) << v;
    EXPECT_TRUE(h.serves("AEGP Footage Suite", 11));
    EXPECT_FALSE(h.serves("AEGP Footage Suite", 5));
    EXPECT_TRUE(h.serves("PF AE App Suite", 6));
    EXPECT_FALSE(h.serves("PF AE App Suite", 4));
    EXPECT_TRUE(h.serves("DRAWBOT Surface Suite", 1));
    EXPECT_TRUE(h.serves("DRAWBOT Surface Suite", 2));
}

TEST(EffectProject, OldItemSuiteHasTheTypeInSlotFour) {
    ScriptScope s(nullptr);
    EffectInstance fx(Entry);
    PF_InData* in = &fx.in_data();
    auto* pfi = acquire<AEGP_PFInterfaceSuite1>(in, "AEGP PF Interface Suite", 1);
    auto* layers = acquire<AEGP_LayerSuite9>(in, "AEGP Layer Suite", kAEGPLayerSuiteVersion9);
    using GetType = A_Err (*)(AEGP_ItemH, AEGP_ItemType*);
    auto** old_items = static_cast<void**>(static_cast<void*>(acquire<AEGP_ItemSuite9>(in, "AEGP Item Suite", kAEGPItemSuiteVersion1)));
    AEGP_LayerH layer = nullptr;
    AEGP_ItemH item = nullptr;
    pfi->AEGP_GetEffectLayer(in->effect_ref, &layer);
    layers->AEGP_GetLayerSourceItem(layer, &item);
    AEGP_ItemType type = 0;
    EXPECT_EQ(reinterpret_cast<GetType>(old_items[4])(item, &type), A_Err_NONE);
    EXPECT_EQ(type, AEGP_ItemType_FOOTAGE);
    // Slot 5 of the old layout is not implemented: it answers with an error and a problem.
    EXPECT_EQ(reinterpret_cast<GetType>(old_items[5])(item, &type), A_Err_GENERIC);
    EXPECT_EQ(fx.host().problems().size(), 1u);

    // Effect references and streams are accounted.
    auto* streams = acquire<AEGP_StreamSuite6>(in, "AEGP Stream Suite", kAEGPStreamSuiteVersion6);
    auto* dyn = acquire<AEGP_DynamicStreamSuite3>(in, "AEGP Dynamic Stream Suite", 3);
    AEGP_EffectRefH effect = nullptr;
    AEGP_StreamRefH stream = nullptr;
    ASSERT_EQ(pfi->AEGP_GetNewEffectForEffect(0, in->effect_ref, &effect), A_Err_NONE);
    ASSERT_EQ(streams->AEGP_GetNewEffectStreamByIndex(0, effect, 0, &stream), A_Err_NONE);
    EXPECT_EQ(dyn->AEGP_SetDynamicStreamFlag(stream, AEGP_DynStreamFlag_HIDDEN, 0, 1), A_Err_NONE);
    EXPECT_TRUE(fx.project().param_hidden(0));
    EXPECT_NE(fx.host().leak_report().find("1 effect reference(s) not disposed; 1 stream(s) not disposed"), std::string::npos);
    streams->AEGP_DisposeStream(stream);
    EXPECT_NE(streams->AEGP_DisposeStream(stream), A_Err_NONE);
}

// ---- Effect Controls events and DRAWBOT drawing

struct Drawn {
    int clicks = 0, drags = 0, lasts = 0;
    A_intptr_t refcon_seen = 0;
    bool leak_image = false;
};
Drawn g_drawn;

PF_Err ui_effect(PF_Cmd cmd, PF_InData* in, PF_OutData*, PF_ParamDef**, PF_LayerDef*, void* extra) {
    if (cmd != PF_Cmd_EVENT) return PF_Err_NONE;
    auto* e = static_cast<PF_EventExtra*>(extra);
    auto* basic = in->pica_basicP;
    if (e->e_type == PF_Event_DO_CLICK) {
        g_drawn.clicks++;
        e->u.do_click.send_drag = 1;
        e->u.do_click.continue_refcon[0] = 2;
    } else if (e->e_type == PF_Event_DRAG) {
        (e->u.do_click.last_time ? g_drawn.lasts : g_drawn.drags)++;
        g_drawn.refcon_seen = e->u.do_click.continue_refcon[0];
        e->u.do_click.continue_refcon[0]++;
        auto* app = acquire<PFAppSuite4>(in, "PF AE App Suite", 6);
        app->PF_InvalidateRect(e->contextH, nullptr);
        basic->ReleaseSuite("PF AE App Suite", 6);
    } else if (e->e_type == PF_Event_DRAW) {
        auto* cui = acquire<PF_EffectCustomUISuite1>(in, "PF Effect Custom UI Suite", 1);
        auto* draw = acquire<DRAWBOT_DrawbotSuite1>(in, "DRAWBOT Draw Suite", 1);
        auto* sup = acquire<DRAWBOT_SupplierSuite1>(in, "DRAWBOT Supplier Suite", 1);
        auto* surf = acquire<DRAWBOT_SurfaceSuite2>(in, "DRAWBOT Surface Suite", 2);
        DRAWBOT_DrawRef ref = nullptr;
        DRAWBOT_SupplierRef s = nullptr;
        DRAWBOT_SurfaceRef f = nullptr;
        cui->PF_GetDrawingReference(e->contextH, &ref);
        draw->GetSupplier(ref, &s);
        draw->GetSurface(ref, &f);
        // 2 × 1 BGRA: opaque red, then half-transparent blue.
        const uint8_t px[8] = {0, 0, 255, 255, 255, 0, 0, 128};
        DRAWBOT_ImageRef img = nullptr;
        sup->NewImageFromBuffer(s, 2, 1, 8, kDRAWBOT_PixelLayout_32BGRA_Straight, px, &img);
        const DRAWBOT_ColorRGBA white{1, 1, 1, 1};
        const DRAWBOT_RectF32 r{0, 0, 4, 2};
        surf->PaintRect(f, &white, &r);
        const DRAWBOT_PointF32 at{static_cast<float>(e->effect_win.current_frame.left - 40),
                                  static_cast<float>(e->effect_win.current_frame.top - 30)};
        surf->DrawImage(f, img, &at, 1.0f);
        if (!g_drawn.leak_image) sup->ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(img));
        e->evt_out_flags |= PF_EO_HANDLED_EVENT;
        basic->ReleaseSuite("PF Effect Custom UI Suite", 1);
        basic->ReleaseSuite("DRAWBOT Draw Suite", 1);
        basic->ReleaseSuite("DRAWBOT Supplier Suite", 1);
        basic->ReleaseSuite("DRAWBOT Surface Suite", 2);
    }
    return PF_Err_NONE;
}

TEST(EffectEvents, PressDragReleaseCarriesTheClickState) {
    ScriptScope s(ui_effect);
    g_drawn = Drawn{};
    EffectInstance fx(Entry);
    ASSERT_EQ(fx.press(2, PF_Point{70, 50}), PF_Err_NONE);
    EXPECT_TRUE(fx.dragging());
    fx.drag(PF_Point{75, 50});
    EXPECT_EQ(g_drawn.refcon_seen, 2);
    fx.drag(PF_Point{300, 50});
    EXPECT_EQ(g_drawn.refcon_seen, 3);
    fx.release(PF_Point{300, 50});
    EXPECT_EQ(g_drawn.refcon_seen, 4);
    EXPECT_EQ(g_drawn.clicks, 1);
    EXPECT_EQ(g_drawn.drags, 2);
    EXPECT_EQ(g_drawn.lasts, 1);
    EXPECT_FALSE(fx.dragging());
    fx.drag(PF_Point{1, 1});  // no press going on: nothing is sent
    EXPECT_EQ(g_drawn.drags, 2);
    EXPECT_EQ(fx.ui().invalidations().size(), 3u);
    EXPECT_TRUE(fx.ui().invalidations()[0].whole);
    EXPECT_TRUE(fx.host().clean()) << fx.host().leak_report();
}

TEST(EffectEvents, DrawPaintsTheRasterAndAccountsObjects) {
    ScriptScope s(ui_effect);
    g_drawn = Drawn{};
    EffectInstance fx(Entry);
    fx.set_control_frame(PF_Rect{50, 40, 163, 140});
    ASSERT_EQ(fx.draw(2), PF_Err_NONE);
    EXPECT_TRUE(fx.last_event_handled());
    const headless::Raster& r = fx.ui().raster();
    auto rgba = [&](int x, int y) {
        const uint8_t* p = r.at(x, y);
        return std::vector<int>{p[0], p[1], p[2], p[3]};
    };
    EXPECT_EQ(rgba(10, 10), (std::vector<int>{255, 0, 0, 255}));  // opaque red
    EXPECT_EQ(rgba(11, 10), (std::vector<int>{32, 32, 160, 255}));  // half blue over the panel grey
    EXPECT_EQ(rgba(3, 1), (std::vector<int>{255, 255, 255, 255}));  // the painted rectangle
    EXPECT_EQ(rgba(12, 10), (std::vector<int>{64, 64, 64, 255}));   // panel grey untouched
    EXPECT_TRUE(fx.host().clean()) << fx.host().leak_report();

    g_drawn.leak_image = true;
    fx.draw(2);
    EXPECT_EQ(fx.ui().live_drawbot_objects(), 1);
    EXPECT_NE(fx.host().leak_report().find("DRAWBOT: 1 object(s) not released"), std::string::npos);
}

TEST(EffectEvents, UpdateParamUIIsRecordedAndApplied) {
    ScriptScope s([](PF_Cmd cmd, PF_InData* in, PF_OutData* out, PF_ParamDef** params, PF_LayerDef*, void*) -> PF_Err {
        if (cmd == PF_Cmd_PARAMS_SETUP) {
            add_popup(in, "Source Video", 3, "NTSC|PAL", 2);
            out->num_params = 2;
        }
        if (cmd == PF_Cmd_UPDATE_PARAMS_UI) {
            auto* pu = acquire<PF_ParamUtilsSuite3>(in, "PF Param Utils Suite", 3);
            PF_ParamDef copy = *params[1];
            copy.ui_flags |= PF_PUI_DISABLED;
            pu->PF_UpdateParamUI(in->effect_ref, 1, &copy);
            EXPECT_NE(pu->PF_UpdateParamUI(in->effect_ref, 2, &copy), PF_Err_NONE);  // no parameter 2
            in->pica_basicP->ReleaseSuite("PF Param Utils Suite", 3);
        }
        return PF_Err_NONE;
    });
    EffectInstance fx(Entry);
    ASSERT_EQ(fx.params_setup(), PF_Err_NONE);
    ASSERT_EQ(fx.update_params_ui(), PF_Err_NONE);
    ASSERT_EQ(fx.ui().ui_updates().size(), 1u);
    EXPECT_EQ(fx.ui().ui_updates()[0].index, 1);
    EXPECT_TRUE(fx.param(1).ui_flags & PF_PUI_DISABLED);
    EXPECT_EQ(fx.host().problems().size(), 1u);
}

}  // namespace
