// Parameter records as the host receives them, and the readers and writers
// on a parameter array.
#include <cstdint>
#include <limits>
#include <string>

#include "dae/params.h"
#include "dae/suites.h"
#include "support.h"

namespace {

using dae_test::Zeroed;
using headless::Host;

// The effect's full list (header, button, groups, every kind it uses) is
// checked end to end in the host tests; here what that list cannot show.
TEST(Params, GroupsStartCollapsedWhateverTheyAsk) {
    Host host;
    { DAE::ParamGroupScope group(&host.in_data(), "Open", true, 1, 2); }
    ASSERT_EQ(host.param_count(), 2u);
    EXPECT_NE(host.param(0).def.flags & PF_ParamFlag_START_COLLAPSED, 0);
    EXPECT_EQ(host.param(1).def.param_type, PF_Param_GROUP_END);
    EXPECT_EQ(host.param(1).def.uu.id, 2);
    EXPECT_HOST_CLEAN(host);
}

TEST(Params, PopupChoicesAndTextCuts) {
    Host host;
    for (auto [text, n] : {std::pair<const char*, int>{"", 1}, {"Only", 1}, {"a|b", 2}, {"(-|(-|(-", 3}, {"|", 2}}) {
        DAE::Param_Popup_Menu p(&host.in_data(), "P", 1);
        p.SetDefault(3);
        p.SetChoices(text);
        EXPECT_EQ(p.Def().u.pd.num_choices, n) << text;
        EXPECT_EQ(p.Def().u.pd.dephault, 1) << text;  // choices reset the default
        EXPECT_STREQ(p.Def().u.pd.u.namesptr, text);
    }
    // Long texts are cut, never overflowed.
    const std::string long_name(100, 'n');
    DAE::Param_Popup_Menu p(&host.in_data(), long_name.c_str(), 1);
    EXPECT_EQ(std::strlen(p.Def().name), 31u);
    p.SetChoices(std::string(400, '|').c_str());
    EXPECT_EQ(std::strlen(p.Def().u.pd.u.namesptr), 255u);
    EXPECT_EQ(p.Def().u.pd.num_choices, 256);
    EXPECT_EQ(host.sprintf_overflows(), 0u);
}

TEST(Params, FixedPointRoundsHalfAwayFromZero) {
    const double unit = 1.0 / 65536;
    const std::pair<double, A_long> cases[] = {
        {-0.5, -32768}, {0.5, 32768}, {unit * 0.49, 0}, {-unit * 0.49, 0}, {unit * 0.5, 1}, {-unit * 0.5, -1},
        {-unit * 1.5, -2}, {100.0, 100 << 16},
        // Out of range and NaN: the x64 conversion's answer, not a crash.
        {1e12, INT32_MIN}, {std::numeric_limits<double>::quiet_NaN(), INT32_MIN}};
    for (const auto& [value, fixed] : cases) {
        EXPECT_EQ(DAE::FloatToFixed(static_cast<float>(value)), fixed) << value;
        EXPECT_EQ(DAE::DoubleToFixed(value), fixed) << value;
    }
    Host host;
    DAE::Param_Fixed_Slider f(&host.in_data(), "F", 1);
    f.SetDefault(-0.5f);
    EXPECT_EQ(f.Def().u.fd.dephault, -32768);
}

TEST(Params, ReadersAndWritersOnTheParameterArray) {
    PF_ParamDef defs[5] = {Zeroed<PF_ParamDef>(), Zeroed<PF_ParamDef>(), Zeroed<PF_ParamDef>(),
                           Zeroed<PF_ParamDef>(), Zeroed<PF_ParamDef>()};
    PF_ParamDef* params[5] = {&defs[0], &defs[1], &defs[2], &defs[3], &defs[4]};
    for (PF_ParamDef& d : defs) d.uu.change_flags = 4;

    DAE::Param_Popup_Menu::SetValue(params, 1, 3);
    EXPECT_EQ(DAE::Param_Popup_Menu::GetValue(params, 1), 3);
    EXPECT_EQ(defs[1].uu.change_flags, 4 | 1);  // popup/long writers OR the flag in
    DAE::Param_Fixed_Slider::SetValue(params, 2, -0.5);
    EXPECT_EQ(defs[2].u.fd.value, -32768);
    EXPECT_EQ(defs[2].uu.change_flags, 1);  // the others set it
    EXPECT_EQ(DAE::Param_Fixed_Slider::GetValue(params, 2), -0.5f);
    DAE::Param_Float_Slider::SetValue(params, 3, 0.25f);
    EXPECT_EQ(defs[3].uu.change_flags, 1);
    defs[0].u.bd.value = 2;
    EXPECT_TRUE(DAE::Param_Checkbox::GetValue(params, 0));

    // Colour: 8 -> 16 bit shifts by 8, float alpha is always 1, packed 0x00BBGGRR.
    defs[4].u.cd.value.red = 255;
    defs[4].u.cd.value.green = 128;
    defs[4].u.cd.value.blue = 1;
    EXPECT_EQ(DAE::Param_Color::GetValue16(params, 4).blue, 1 << 8);
    const PF_PixelFloat pf = DAE::Param_Color::GetValueFloat(params, 4);
    EXPECT_EQ(pf.alpha, 1.0f);
    EXPECT_FLOAT_EQ(pf.green, 128 / 255.0f);
    EXPECT_EQ(DAE::Param_Color::GetPacked(params, 4), 0x000180FFu);
    DAE::Param_Color::SetValueFloat(params, 4, PF_PixelFloat{0.5f, 1.0f, 0.0f, 0.999f});  // truncated
    EXPECT_EQ(defs[4].u.cd.value.alpha, 127);
    EXPECT_EQ(defs[4].u.cd.value.red, 255);
    EXPECT_EQ(defs[4].u.cd.value.blue, 254);
    EXPECT_EQ(defs[4].uu.change_flags, 1);

    EXPECT_EQ(DAE::Convert8To16(255), 32640);
    EXPECT_EQ(DAE::Convert16To8(32768), 255);
    EXPECT_EQ(DAE::Convert16To8(32640), 254);
}

TEST(Params, HostRefusalIsThrownAsItsCode) {
    Host host;
    DAE::Param_Checkbox a(&host.in_data(), "A", 5);
    a.Add();
    DAE::Param_Checkbox dup(&host.in_data(), "B", 5);  // the host refuses a used id
    EXPECT_EQ(dae_test::RunCommand(&host.in_data(), &host.out_data(), [&] { dup.Add(); }), PF_Err_BAD_CALLBACK_PARAM);
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

// ---- run-time services through fake AEGP and PF suites

std::string g_calls;
A_Err g_fail_stream = 0;
PF_ParamDef g_updated;

class RuntimeServices : public ::testing::Test {
protected:
    void SetUp() override {
        g_calls.clear();
        g_fail_stream = 0;
        pfi.AEGP_GetNewEffectForEffect = [](AEGP_PluginID, PF_ProgPtr, AEGP_EffectRefH* out) -> A_Err {
            *out = reinterpret_cast<AEGP_EffectRefH>(&g_calls);
            return g_calls += "effect ", A_Err_NONE;
        };
        stream.AEGP_GetNewEffectStreamByIndex = [](AEGP_PluginID, AEGP_EffectRefH, PF_ParamIndex i,
                                                   AEGP_StreamRefH* out) -> A_Err {
            g_calls += "stream" + std::to_string(i) + " ";
            if (!g_fail_stream) *out = reinterpret_cast<AEGP_StreamRefH>(&g_fail_stream);
            return g_fail_stream;
        };
        stream.AEGP_DisposeStream = [](AEGP_StreamRefH) -> A_Err { return g_calls += "dispose-stream ", 0; };
        dyn.AEGP_SetDynamicStreamFlag = [](AEGP_StreamRefH, AEGP_DynStreamFlags f, A_Boolean u, A_Boolean set) -> A_Err {
            return g_calls += "flag" + std::to_string(f) + "/" + std::to_string(u) + "/" + std::to_string(set) + " ", 0;
        };
        effect.AEGP_DisposeEffect = [](AEGP_EffectRefH) -> A_Err { return g_calls += "dispose-effect ", 0; };
        utils.PF_UpdateParamUI = [](PF_ProgPtr, PF_ParamIndex i, const PF_ParamDef* def) -> PF_Err {
            g_updated = *def;
            return g_calls += "update" + std::to_string(i) + " ", PF_Err_NONE;
        };
        host.serve_suite("AEGP PF Interface Suite", 1, &pfi);
        host.serve_suite("AEGP Stream Suite", 7, &stream);
        host.serve_suite("AEGP Dynamic Stream Suite", 3, &dyn);
        host.serve_suite("AEGP Effect Suite", 3, &effect);
        host.serve_suite("PF Param Utils Suite", 3, &utils);
    }
    Host host;
    AEGP_PFInterfaceSuite1 pfi{};
    AEGP_StreamSuite2 stream{};
    AEGP_DynamicStreamSuite3 dyn{};
    AEGP_EffectSuite3 effect{};
    PF_ParamUtilsSuite3 utils{};
};

TEST_F(RuntimeServices, HideRenameAndGiveEveryReferenceBack) {
    PF_ParamDef def = Zeroed<PF_ParamDef>();
    std::strcpy(def.name, "Old");
    def.uu.id = 3;
    PF_ParamDef* params[6] = {nullptr, nullptr, nullptr, nullptr, nullptr, &def};
    {
        DAE::AEGP_SuiteHandler suites(host.basic());
        DAE::SetParamVisible(7, &host.in_data(), suites, 13, false);
        DAE::SetParamVisible(7, &host.in_data(), suites, 13, true);
        EXPECT_EQ(g_calls, "effect stream13 flag2/0/1 dispose-stream dispose-effect "
                           "effect stream13 flag2/0/0 dispose-stream dispose-effect ");
        g_calls.clear();
        g_fail_stream = A_Err_PARAMETER;
        EXPECT_THROW(DAE::SetParamVisible(7, &host.in_data(), suites, 13, true), A_long);
        EXPECT_EQ(g_calls, "effect stream13 dispose-effect ");  // the effect is still given back

        g_calls.clear();
        DAE::RenameParam(&host.in_data(), suites, params, 5, "New Name");
        EXPECT_EQ(g_calls, "update5 ");
        EXPECT_STREQ(g_updated.name, "New Name");
        EXPECT_EQ(g_updated.uu.id, 3);
        EXPECT_STREQ(def.name, "Old");  // the host's entry itself is untouched
    }
    EXPECT_HOST_CLEAN(host);

    host.withdraw_suite("AEGP Dynamic Stream Suite", 3);
    DAE::AEGP_SuiteHandler suites(host.basic());
    try {
        DAE::SetParamVisible(7, &host.in_data(), suites, 13, false);
        FAIL() << "no exception";
    } catch (const DAE::DAESuiteXCP& e) {
        EXPECT_STREQ(e.SuiteName(), "AEGP Dynamic Stream Suite");
    }
}

}  // namespace
