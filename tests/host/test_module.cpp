// The built module as the host meets it: its registration record, read back
// by the headless host's reader, and a session through the exported entry.
#include "headless/module.h"
#include "headless/pipl.h"
#include "support.h"

#include <gtest/gtest.h>

#include <fstream>
#include <iterator>
#include <string>
#include <vector>

namespace {

using headless::four_cc;

TEST(PiPL, EveryPropertyAsTheHostReadsIt) {
    headless::Module module(TESSEN_MODULE_PATH);
    ASSERT_TRUE(module.has_pipl());
    const headless::PiPL p = module.pipl();

    std::vector<std::string> keys;
    for (const headless::PiPLProperty& prop : p.properties) {
        keys.push_back(headless::four_cc_text(prop.key));
        EXPECT_EQ(prop.id, 0u);
    }
    // No support URL: the maker publishes none for this effect.
    EXPECT_EQ(keys, (std::vector<std::string>{"kind", "name", "catg", "8664", "ePVR", "eSVR", "eVER", "eINF", "eGLO",
                                              "eGL2", "eMNA", "aeFL"}));
    EXPECT_EQ(p.kind, four_cc("eFKT"));
    EXPECT_EQ(p.name, "Tessen Plus");
    EXPECT_EQ(p.category, "VX Wrenfold Suite");
    EXPECT_EQ(p.entry_point, "EntryPointFunc");
    EXPECT_EQ(p.match_name, "ADBE Corvane SD");
    EXPECT_FALSE(p.support_url.has_value());
    EXPECT_EQ(p.pipl_major, 2);
    EXPECT_EQ(p.pipl_minor, 0);
    EXPECT_EQ(p.api_major, 13);
    EXPECT_EQ(p.api_minor, 28);
    EXPECT_EQ(p.version, 0x0008E600u);
    EXPECT_EQ(p.info_flags, 0);
    EXPECT_EQ(p.out_flags, 0x06008043u);
    EXPECT_EQ(p.out_flags2, 0x00800008u);
    EXPECT_EQ(p.ae_flags, 8u);
    // Stored lengths as the host's own tools write them: strings padded, eINF not.
    auto size_of = [&](uint32_t key) -> size_t {
        for (const headless::PiPLProperty& prop : p.properties)
            if (prop.key == key) return prop.data.size();
        return 0;
    };
    EXPECT_EQ(size_of(four_cc("8664")), 16u);
    EXPECT_EQ(size_of(four_cc("name")), 12u);
    EXPECT_EQ(size_of(four_cc("catg")), 20u);
    EXPECT_EQ(size_of(four_cc("eINF")), 2u);
}

TEST(PiPL, WindowsResourceHoldsTheSameBytes) {
    // The Windows resource script embeds this file; the exported copy must match it.
    std::ifstream f(TESSEN_BINARY_DIR "/resources/tessen_pipl.bin", std::ios::binary);
    ASSERT_TRUE(f) << "generated record missing";
    const std::vector<uint8_t> file((std::istreambuf_iterator<char>(f)), std::istreambuf_iterator<char>());
    headless::Module module(TESSEN_MODULE_PATH);
    EXPECT_EQ(file, module.pipl_bytes());
    std::ifstream rc(TESSEN_BINARY_DIR "/resources/tessen_pipl.rc");
    const std::string script((std::istreambuf_iterator<char>(rc)), std::istreambuf_iterator<char>());
    EXPECT_NE(script.find("16000 PIPL \""), std::string::npos) << script;
}

// A whole session through the exported entry, whose global set-up declares
// what the record says: nothing may be left behind.
TEST(Module, WholeSessionThroughTheExportedEntry) {
    headless::Module module(TESSEN_MODULE_PATH);
    headless::EffectInstance fx(module.entry());
    fx.set_comp_rate(29.97);
    ASSERT_EQ(fx.setup(), PF_Err_NONE);
    for (const std::string& d : module.check(module.pipl(), fx.my_version(), static_cast<uint32_t>(fx.out_flags()),
                                             static_cast<uint32_t>(fx.out_flags2())))
        ADD_FAILURE() << d;
    EXPECT_EQ(fx.num_params(), 13);
    fx.ui().reset_raster(400, 300);
    EXPECT_EQ(fx.update_params_ui(), PF_Err_NONE);
    EXPECT_EQ(fx.draw(2), PF_Err_NONE);
    EXPECT_TRUE(fx.last_event_handled());
    EXPECT_EQ(fx.idle(2), PF_Err_NONE);
    EXPECT_EQ(fx.press(2, PF_Point{100, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.drag(PF_Point{101, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.release(PF_Point{101, 90}), PF_Err_NONE);
    EXPECT_EQ(fx.draw(2), PF_Err_NONE);
    EXPECT_EQ(fx.render(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_flatten(), PF_Err_NONE);
    EXPECT_EQ(fx.get_flattened_sequence_data(), PF_Err_NONE);
    EXPECT_EQ(fx.about(), PF_Err_NONE);
    EXPECT_EQ(fx.sequence_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.global_setdown(), PF_Err_NONE);
    EXPECT_EQ(fx.outstanding_checkouts(), 0);
    host_test::ExpectClean(fx);
}

}  // namespace
