// Parameter records as the host receives them, and the readers and writers
// on a parameter array.
#include <gtest/gtest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <string>

#include "dae/exceptions.h"
#include "dae/params.h"
#include "dae/suites.h"
#include "headless/host.h"

namespace {

using headless::Host;

const char kShowChoices[] =
    "Result|(-|All Fields|Field -2|Field -1|Field 0|Field +1|(-|Gradient|Difference|Auto Levels|Match Points|"
    "Vector Magnitudes|Source|Data";

TEST(Params, RecordsAsTheHostReceivesThem) {
    Host host;
    PF_InData* in = &host.in_data();
    ASSERT_EQ(DAE::AddParamPrologue(in), PF_Err_NONE);
    {
        DAE::Param_Custom button(in, "Auto Setup", 12);
        button.SetUISize(113, 100);
        button.SetControl();
        button.ClearStartCollapsed();
        button.AlignLeft();
        button.AlignRight();
        button.Add();
    }
    {
        DAE::ParamGroupScope group(in, "Deinterlace", true, 1, 7);
        DAE::Param_Checkbox box(in, "Do Deinterlace", 2);
        box.SetDefault(true);
        box.SetSupervise();
        box.Add();
        DAE::Param_Popup_Menu source(in, "Source Video", 3);
        source.SetChoices("NTSC|PAL");
        EXPECT_EQ(source.Def().u.pd.dephault, 1);
        source.SetDefault(2);
        source.SetCannotTimeVary();
        source.Add();
        DAE::Param_Float_Slider motion(in, "Motion Detection Adjustment", 5);
        EXPECT_EQ(motion.Def().u.fs_d.precision, 2);
        motion.SetRange(-100, 100);
        motion.SetDefault(20);
        motion.SetPrecision(4);
        motion.Add();
        DAE::Param_Long_Slider size(in, "Detail Pattern Size", 6);
        size.SetValidRange(1, 12);
        size.SetSliderRange(2, 7);
        size.SetDefault(4);
        size.Add();
    }
    {
        DAE::ParamGroupScope group(in, "Deartifacting", false, 8, 10);
    }
    DAE::Param_Popup_Menu show(in, "Show", 11);
    show.SetChoices(kShowChoices);
    show.Add();

    ASSERT_EQ(host.param_count(), 11u) << (host.problems().empty() ? "" : host.problems()[0]);
    EXPECT_TRUE(host.problems().empty()) << host.problems()[0];

    const PF_ParamDef& header = host.param(0).def;  // host index 1
    EXPECT_EQ(host.param(0).index, 1);
    EXPECT_EQ(header.uu.id, 14);
    EXPECT_EQ(header.param_type, PF_Param_NO_DATA);
    EXPECT_EQ(header.ui_flags, PF_PUI_TOPIC);

    const PF_ParamDef& button = host.param(1).def;
    EXPECT_EQ(button.param_type, PF_Param_NO_DATA);
    EXPECT_EQ(button.flags & PF_ParamFlag_START_COLLAPSED, 0);
    EXPECT_EQ(button.ui_flags, PF_PUI_CONTROL);
    ASSERT_EQ(host.registered_uis().size(), 1u);  // the header registers none
    const PF_CustomUIInfo& ui = host.registered_uis()[0].info;
    EXPECT_EQ(ui.events, PF_CustomEFlag_EFFECT);
    for (const A_long* wha : {&ui.comp_ui_width, &ui.layer_ui_width, &ui.preview_ui_width}) {
        EXPECT_EQ(wha[0], 113);
        EXPECT_EQ(wha[1], 100);
        EXPECT_EQ(wha[2], 2 | 8);
    }

    // Every other parameter carries the collapsed flag, group starts too
    // whatever they were asked.
    for (size_t i = 2; i < host.param_count(); ++i) {
        EXPECT_NE(host.param(i).def.flags & PF_ParamFlag_START_COLLAPSED, 0) << i;
    }
    const PF_ParamDef& g1 = host.param(2).def;
    EXPECT_EQ(g1.param_type, PF_Param_GROUP_START);
    EXPECT_STREQ(g1.name, "Deinterlace");
    EXPECT_EQ(g1.uu.id, 1);

    const headless::RecordedParam& box = host.param(3);
    EXPECT_STREQ(box.def.name, "");
    EXPECT_EQ(box.text, "Do Deinterlace");
    EXPECT_EQ(box.def.u.bd.value, 1);
    EXPECT_EQ(box.def.u.bd.dephault, 1);
    EXPECT_NE(box.def.flags & PF_ParamFlag_SUPERVISE, 0);

    const PF_ParamDef& source = host.param(4).def;
    EXPECT_EQ(source.u.pd.num_choices, 2);
    EXPECT_EQ(source.u.pd.dephault, 2);
    EXPECT_NE(source.flags & PF_ParamFlag_CANNOT_TIME_VARY, 0);

    const PF_ParamDef& motion = host.param(5).def;
    EXPECT_EQ(motion.u.fs_d.valid_min, -100.0f);
    EXPECT_EQ(motion.u.fs_d.slider_max, 100.0f);
    EXPECT_EQ(motion.u.fs_d.dephault, 20.0f);
    EXPECT_EQ(motion.u.fs_d.value, 20.0);
    EXPECT_EQ(motion.u.fs_d.precision, 4);

    const PF_ParamDef& size = host.param(6).def;
    EXPECT_EQ(size.u.sd.valid_min, 1);
    EXPECT_EQ(size.u.sd.valid_max, 12);
    EXPECT_EQ(size.u.sd.slider_min, 2);
    EXPECT_EQ(size.u.sd.slider_max, 7);
    EXPECT_EQ(size.u.sd.dephault, 4);

    const PF_ParamDef& end1 = host.param(7).def;
    EXPECT_EQ(end1.param_type, PF_Param_GROUP_END);
    EXPECT_EQ(end1.uu.id, 7);
    EXPECT_STREQ(end1.name, "");
    EXPECT_EQ(host.param(8).def.param_type, PF_Param_GROUP_START);
    EXPECT_EQ(host.param(9).def.uu.id, 10);

    const headless::RecordedParam& showp = host.param(10);
    EXPECT_EQ(showp.def.u.pd.num_choices, 15);
    EXPECT_EQ(showp.def.u.pd.dephault, 1);
    EXPECT_EQ(showp.text, kShowChoices);
}

TEST(Params, PopupChoiceCounting) {
    Host host;
    for (auto [text, n] : {std::pair<const char*, int>{"", 1}, {"Only", 1}, {"a|b", 2}, {"(-|(-|(-", 3}, {"|", 2}}) {
        DAE::Param_Popup_Menu p(&host.in_data(), "P", 1);
        p.SetDefault(3);
        p.SetChoices(text);
        EXPECT_EQ(p.Def().u.pd.num_choices, n) << text;
        EXPECT_EQ(p.Def().u.pd.dephault, 1) << text;  // choices reset the default
        EXPECT_STREQ(p.Def().u.pd.u.namesptr, text);
    }
}

TEST(Params, LongTextsAreCutNotOverflowed) {
    Host host;
    const std::string long_name(100, 'n');
    DAE::Param_Popup_Menu p(&host.in_data(), long_name.c_str(), 1);
    EXPECT_EQ(std::strlen(p.Def().name), 31u);
    EXPECT_EQ(p.Def().uu.id, 1);
    const std::string many(400, '|');
    p.SetChoices(many.c_str());
    EXPECT_EQ(std::strlen(p.Def().u.pd.u.namesptr), 255u);
    EXPECT_EQ(host.sprintf_overflows(), 0u);
}

TEST(Params, FixedPointRoundsHalfAwayFromZero) {
    EXPECT_EQ(DAE::FloatToFixed(-0.5f), -32768);
    EXPECT_EQ(DAE::FloatToFixed(0.5f), 32768);
    EXPECT_EQ(DAE::FloatToFixed(1.0f / 65536 * 0.49f), 0);
    EXPECT_EQ(DAE::FloatToFixed(-1.0f / 65536 * 0.49f), 0);
    EXPECT_EQ(DAE::FloatToFixed(1.0f / 65536 * 0.5f), 1);
    EXPECT_EQ(DAE::FloatToFixed(-1.0f / 65536 * 0.5f), -1);
    EXPECT_EQ(DAE::FloatToFixed(100.0f), 100 << 16);
    EXPECT_EQ(DAE::DoubleToFixed(-0.5), -32768);
    EXPECT_EQ(DAE::DoubleToFixed(1.0 / 65536 * 0.49), 0);
    EXPECT_EQ(DAE::DoubleToFixed(-1.0 / 65536 * 1.5), -2);
    // Out of range and NaN: the x64 conversion's answer, not a crash.
    EXPECT_EQ(DAE::FloatToFixed(std::numeric_limits<float>::quiet_NaN()), std::numeric_limits<A_long>::min());
    EXPECT_EQ(DAE::DoubleToFixed(1e12), std::numeric_limits<A_long>::min());

    Host host;
    DAE::Param_Fixed_Slider f(&host.in_data(), "F", 1);
    EXPECT_EQ(f.Def().u.fd.precision, 2);
    f.SetDefault(-0.5f);
    EXPECT_EQ(f.Def().u.fd.dephault, -32768);
    EXPECT_EQ(f.Def().u.fd.value, -32768);
    f.SetPercent();
    EXPECT_EQ(f.Def().u.fd.valid_max, 100 << 16);
    EXPECT_EQ(f.Def().u.fd.slider_min, 0);
    EXPECT_NE(f.Def().u.fd.display_flags & PF_ValueDisplayFlag_PERCENT, 0);

    DAE::Param_Pixel_Slider px(&host.in_data(), "Px", 2);
    EXPECT_EQ(px.Def().param_type, PF_Param_FIX_SLIDER);
    EXPECT_NE(px.Def().u.fd.display_flags & PF_ValueDisplayFlag_PIXEL, 0);
    EXPECT_EQ(px.Def().u.fd.valid_max, 0x10000);
    EXPECT_EQ(px.Def().u.fd.slider_max, 0x10000);
}

TEST(Params, ReadersAndWritersOnTheParameterArray) {
    PF_ParamDef defs[4];
    std::memset(defs, 0, sizeof defs);
    PF_ParamDef* params[4] = {&defs[0], &defs[1], &defs[2], &defs[3]};

    defs[1].uu.change_flags = 4;
    DAE::Param_Popup_Menu::SetValue(params, 1, 3);
    EXPECT_EQ(DAE::Param_Popup_Menu::GetValue(params, 1), 3);
    EXPECT_EQ(defs[1].uu.change_flags, 4 | 1);  // popup/long writers OR the flag in

    defs[2].uu.change_flags = 4;
    DAE::Param_Fixed_Slider::SetValue(params, 2, -0.5);
    EXPECT_EQ(defs[2].u.fd.value, -32768);
    EXPECT_EQ(defs[2].uu.change_flags, 1);  // the others set it
    EXPECT_EQ(DAE::Param_Fixed_Slider::GetValue(params, 2), -0.5f);
    EXPECT_EQ(DAE::Param_Fixed_Slider::GetValueDouble(params, 2), -0.5);

    DAE::Param_Float_Slider::SetValue(params, 3, 0.25f);
    EXPECT_EQ(defs[3].u.fs_d.value, 0.25);
    EXPECT_EQ(DAE::Param_Float_Slider::GetValue(params, 3), 0.25f);

    defs[0].u.bd.value = 2;
    EXPECT_TRUE(DAE::Param_Checkbox::GetValue(params, 0));
}

TEST(Params, ColourConversions) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    PF_ParamDef* params[1] = {&def};
    def.u.cd.value.red = 255;
    def.u.cd.value.green = 128;
    def.u.cd.value.blue = 1;
    def.u.cd.value.alpha = 0;

    const PF_Pixel16 p16 = DAE::Param_Color::GetValue16(params, 0);
    EXPECT_EQ(p16.red, 255 << 8);
    EXPECT_EQ(p16.blue, 1 << 8);
    const PF_PixelFloat pf = DAE::Param_Color::GetValueFloat(params, 0);
    EXPECT_EQ(pf.alpha, 1.0f);  // stored alpha 0 is ignored
    EXPECT_FLOAT_EQ(pf.red, 1.0f);
    EXPECT_FLOAT_EQ(pf.green, 128 / 255.0f);
    EXPECT_EQ(DAE::Param_Color::GetPacked(params, 0), 0x000180FFu);

    PF_PixelFloat in{0.5f, 1.0f, 0.0f, 0.999f};  // alpha, red, green, blue
    DAE::Param_Color::SetValueFloat(params, 0, in);
    EXPECT_EQ(def.u.cd.value.alpha, 127);
    EXPECT_EQ(def.u.cd.value.red, 255);
    EXPECT_EQ(def.u.cd.value.green, 0);
    EXPECT_EQ(def.u.cd.value.blue, 254);
    EXPECT_EQ(def.uu.change_flags, 1);

    EXPECT_EQ(DAE::Convert8To16(255), 32640);
    EXPECT_EQ(DAE::Convert8To16(0), 0);
    EXPECT_EQ(DAE::Convert16To8(32768), 255);
    EXPECT_EQ(DAE::Convert16To8(32640), 254);
    EXPECT_EQ(DAE::Convert16To8(128), 0);

    Host host;
    DAE::Param_Color c(&host.in_data(), "C", 1);
    c.SetDefault(1, 2, 3, 4);
    EXPECT_EQ(c.Def().u.cd.dephault.red, 1);
    EXPECT_EQ(c.Def().u.cd.value.alpha, 4);
}

TEST(Params, HostRefusalIsThrownAsItsCode) {
    Host host;
    DAE::Param_Checkbox a(&host.in_data(), "A", 5);
    a.Add();
    DAE::Param_Checkbox dup(&host.in_data(), "B", 5);  // the host refuses a used id
    try {
        dup.Add();
        FAIL() << "no exception";
    } catch (A_long err) {
        EXPECT_EQ(err, PF_Err_BAD_CALLBACK_PARAM);
    }
    // A failing group keeps its end back while the exception passes.
    try {
        DAE::ParamGroupScope g(&host.in_data(), "G", true, 20, 21);
        throw 99.0;
    } catch (double) {
    }
    EXPECT_EQ(host.param_count(), 2u);
    EXPECT_EQ(host.param(1).def.param_type, PF_Param_GROUP_START);
    EXPECT_EQ(DAE::AddParamPrologue(&host.in_data()), PF_Err_NONE);
    EXPECT_NE(DAE::AddParamPrologue(&host.in_data()), PF_Err_NONE);  // id 14 again: refused, not thrown
    host.clear_problems();
}

TEST(Params, LayerDefaults) {
    Host host;
    DAE::Param_Layer l(&host.in_data(), "L", 1);
    EXPECT_EQ(l.Def().param_type, PF_Param_LAYER);
    l.SetDefaultMyself();
    EXPECT_EQ(l.Def().u.ld.dephault, PF_LayerDefault_MYSELF);
    l.SetDefaultNone();
    EXPECT_EQ(l.Def().u.ld.dephault, PF_LayerDefault_NONE);
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    def.u.ld.width = 720;
    def.u.ld.height = 486;
    PF_ParamDef* params[1] = {&def};
    const PF_LayerDef got = DAE::Param_Layer::GetLayer(params, 0);
    EXPECT_EQ(got.width, 720);
    EXPECT_EQ(got.height, 486);
}

// ---- run-time services through fake AEGP and PF suites

struct Fakes {
    static std::string calls;
    static A_Err fail_stream;
    static PF_ParamDef updated;
    static A_Err GetNewEffectForEffect(AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH* out) {
        calls += "effect ";
        *out = reinterpret_cast<AEGP_EffectRefH>(&calls);
        return A_Err_NONE;
    }
    static A_Err GetNewEffectStreamByIndex(AEGP_PluginID, AEGP_EffectRefH, PF_ParamIndex i, AEGP_StreamRefH* out) {
        calls += "stream" + std::to_string(i) + " ";
        if (fail_stream) return fail_stream;
        *out = reinterpret_cast<AEGP_StreamRefH>(&fail_stream);
        return A_Err_NONE;
    }
    static A_Err SetFlag(AEGP_StreamRefH, AEGP_DynStreamFlags f, A_Boolean undoable, A_Boolean set) {
        calls += "flag" + std::to_string(f) + "/" + std::to_string(undoable) + "/" + std::to_string(set) + " ";
        return A_Err_NONE;
    }
    static A_Err DisposeStream(AEGP_StreamRefH) {
        calls += "dispose-stream ";
        return A_Err_NONE;
    }
    static A_Err DisposeEffect(AEGP_EffectRefH) {
        calls += "dispose-effect ";
        return A_Err_NONE;
    }
    static PF_Err UpdateParamUI(PF_ProgPtr, PF_ParamIndex i, const PF_ParamDef* def) {
        calls += "update" + std::to_string(i) + " ";
        updated = *def;
        return PF_Err_NONE;
    }
};
std::string Fakes::calls;
A_Err Fakes::fail_stream = 0;
PF_ParamDef Fakes::updated;

class RuntimeServices : public ::testing::Test {
protected:
    void SetUp() override {
        Fakes::calls.clear();
        Fakes::fail_stream = 0;
        pfi.AEGP_GetNewEffectForEffect = Fakes::GetNewEffectForEffect;
        stream.AEGP_GetNewEffectStreamByIndex = Fakes::GetNewEffectStreamByIndex;
        stream.AEGP_DisposeStream = Fakes::DisposeStream;
        dyn.AEGP_SetDynamicStreamFlag = Fakes::SetFlag;
        effect.AEGP_DisposeEffect = Fakes::DisposeEffect;
        utils.PF_UpdateParamUI = Fakes::UpdateParamUI;
        host.serve_suite("AEGP PF Interface Suite", 1, &pfi);
        host.serve_suite("AEGP Stream Suite", 7, &stream);
        host.serve_suite("AEGP Dynamic Stream Suite", 3, &dyn);
        host.serve_suite("AEGP Effect Suite", 3, &effect);
        host.serve_suite("PF Param Utils Suite", 3, &utils);
    }
    Host host;
    AEGP_PFInterfaceSuite1 pfi{};
    AEGP_StreamSuite6 stream{};
    AEGP_DynamicStreamSuite3 dyn{};
    AEGP_EffectSuite3 effect{};
    PF_ParamUtilsSuite3 utils{};
};

TEST_F(RuntimeServices, SetParamVisibleHidesThroughDynamicStreamAndDisposes) {
    {
        DAE::AEGP_SuiteHandler suites(host.basic());
        DAE::SetParamVisible(7, &host.in_data(), suites, 13, false);
        EXPECT_EQ(Fakes::calls, "effect stream13 flag2/0/1 dispose-stream dispose-effect ");
        Fakes::calls.clear();
        DAE::SetParamVisible(7, &host.in_data(), suites, 13, true);
        EXPECT_EQ(Fakes::calls, "effect stream13 flag2/0/0 dispose-stream dispose-effect ");
        Fakes::calls.clear();
        Fakes::fail_stream = A_Err_PARAMETER;
        EXPECT_THROW(DAE::SetParamVisible(7, &host.in_data(), suites, 13, true), A_long);
        EXPECT_EQ(Fakes::calls, "effect stream13 dispose-effect ");  // the effect is still given back
    }
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST_F(RuntimeServices, RenameParamSendsARenamedCopy) {
    PF_ParamDef def;
    std::memset(&def, 0, sizeof def);
    std::strcpy(def.name, "Old");
    def.uu.id = 3;
    PF_ParamDef* params[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, &def};
    {
        DAE::AEGP_SuiteHandler suites(host.basic());
        DAE::RenameParam(&host.in_data(), suites, params, 5, "New Name");
    }
    EXPECT_EQ(Fakes::calls, "update5 ");
    EXPECT_STREQ(Fakes::updated.name, "New Name");
    EXPECT_EQ(Fakes::updated.uu.id, 3);
    EXPECT_STREQ(def.name, "Old");  // the host's entry itself is untouched
    EXPECT_TRUE(host.clean()) << host.leak_report();
}

TEST_F(RuntimeServices, MissingSuiteIsReportedByName) {
    host.withdraw_suite("AEGP Dynamic Stream Suite", 3);
    DAE::AEGP_SuiteHandler suites(host.basic());
    try {
        DAE::SetParamVisible(7, &host.in_data(), suites, 13, false);
        FAIL() << "no exception";
    } catch (const DAE::DAESuiteXCP& e) {
        EXPECT_STREQ(e.SuiteName(), "AEGP Dynamic Stream Suite");
    }
    EXPECT_EQ(Fakes::calls, "");
}

}  // namespace
