// Output checksums: a fixed set of small clips rendered through the entry
// point in every view, at both depths, with both variants of the image
// operations, and with the settings that change the pipeline. Their hashes
// are recorded in golden_output.txt; speed work must keep every one.
//
// After a deliberate change of output, rewrite the file with
//     TESSEN_UPDATE_GOLDEN=1 build/tests/test_host --gtest_filter='GoldenOutput.*'
// and say in the commit why the output changed.
#include "support.h"

#include "headless/scenes.h"
#include "image/cpu_features.h"
#include "render/render_settings.h"

#include <cstdint>
#include <cstdlib>
#include <fstream>
#include <functional>
#include <map>
#include <sstream>
#include <string>
#include <vector>

namespace {

using headless::EffectInstance;
using headless::InputClip;
using headless::World;

const char* const kGoldenFile = TESSEN_SOURCE_DIR "/tests/host/golden_output.txt";

using headless::scenes::Scene;

struct ClipCase {
    const char* name;
    A_long width, height;
    double fps, compRate;
    A_long sourceVideo;
    Scene scene;
    const char* onlySetting = nullptr;  // a clip made for one setting
};

struct Setting {
    std::string name;
    std::function<void(EffectInstance&)> apply;
};

std::vector<Setting> Settings()
{
    std::vector<Setting> s;
    const std::pair<const char*, A_long> views[] = {
        {"result", kShowResult},         {"all-fields", kShowAllFields}, {"field-2", kShowFieldMinus2},
        {"field-1", kShowFieldMinus1},   {"field0", kShowField0},         {"field+1", kShowFieldPlus1},
        {"gradient", kShowGradient},     {"difference", kShowDifference}, {"auto-levels", kShowAutoLevels},
        {"match-points", kShowMatchPoints}, {"vectors", kShowVectorMagnitudes}, {"source", kShowSource},
        {"data", kShowData}};
    for (const auto& v : views) {
        const A_long show = v.second;
        s.push_back({std::string("view-") + v.first, [show](EffectInstance& fx) { fx.set_popup(kParamShow, show); }});
    }
    for (A_long mode : {2, 3, 4})
        s.push_back({"deartifact-" + std::to_string(mode), [mode](EffectInstance& fx) { fx.set_popup(kParamDeartifacting, mode); }});
    for (int adjust : {-100, -35, 0, 100})
        s.push_back({"motion" + std::to_string(adjust),
                     [adjust](EffectInstance& fx) { fx.set_float_slider(kParamMotionAdjust, adjust); }});
    for (A_long size : {1, 7})
        s.push_back({"pattern" + std::to_string(size), [size](EffectInstance& fx) { fx.set_slider(kParamPatternSize, size); }});
    s.push_back({"lower-first", [](EffectInstance& fx) { fx.set_popup(kParamFieldOrder, 2); }});
    s.push_back({"no-deinterlace-deartifact", [](EffectInstance& fx) {
                     fx.set_checkbox(kParamDoDeinterlace, false);
                     fx.set_popup(kParamDeartifacting, 4);
                 }});
    s.push_back({"fast-path", [](EffectInstance& fx) { fx.set_quality(PF_Quality_LO); }});
    s.push_back({"odd-extent", [](EffectInstance& fx) { fx.set_extent_hint(PF_Rect{3, 1, 62, 28}); }});
    return s;
}

// FNV-1a over the output's pixel bytes, row by row (row padding left out).
void Hash(std::uint64_t& h, const World& w)
{
    const A_long rowBytes = w.width() * (w.deep() ? 8 : 4);
    for (A_long y = 0; y < w.height(); ++y) {
        const unsigned char* p = reinterpret_cast<const unsigned char*>(w.pixel8(0, y));
        for (A_long i = 0; i < rowBytes; ++i) h = (h ^ p[i]) * 0x100000001b3ull;
    }
}

std::map<std::string, std::string> RenderAll()
{
    const ClipCase clips[] = {
        {"pan-ntsc-23.976", 71, 29, 29.97, 23.976, 1, headless::scenes::pan},
        {"mixed-pal-25", 96, 44, 25.0, 25.0, 2, headless::scenes::still_and_moving},
        // Match marks left of column 0 land on later pixels of Field 0's own
        // line with partial motion.
        {"diagonal-pal-25", 40, 16, 25.0, 25.0, 2, headless::scenes::diagonal_stripes, "view-match-points"},
    };
    std::map<std::string, std::string> hashes;
    for (const ClipCase& c : clips)
        for (bool deep : {false, true})
            for (int simd : {0, 1})
                for (const Setting& setting : Settings()) {
                    if (c.onlySetting != nullptr && setting.name != c.onlySetting) continue;
                    cpu_features::force_simd_answer(simd);
                    EffectInstance fx(&EntryPointFunc);
                    fx.project().set_preference("Wrenfold Suite", "Diagnostic Views", "1");
                    EXPECT_EQ(fx.setup(), PF_Err_NONE);
                    fx.set_input(headless::scenes::interlaced_clip(c.width, c.height, c.fps, deep, c.scene));
                    fx.set_comp_rate(c.compRate);
                    fx.set_popup(kParamSourceVideo, c.sourceVideo);
                    fx.set_popup(kParamFieldOrder, 1);
                    setting.apply(fx);
                    std::uint64_t h = 0xcbf29ce484222325ull;
                    for (A_long k = 0; k < 5; ++k) {
                        fx.set_frame(k);
                        EXPECT_EQ(fx.render(), PF_Err_NONE) << c.name << " " << setting.name << " frame " << k;
                        Hash(h, fx.output());
                    }
                    std::ostringstream key, value;
                    key << c.name << ' ' << (deep ? "16bit" : "8bit") << ' ' << (simd ? "simd" : "regular") << ' '
                        << setting.name;
                    value << std::hex << h;
                    hashes[key.str()] = value.str();
                }
    cpu_features::force_simd_answer(-1);
    return hashes;
}

std::map<std::string, std::string> Load()
{
    std::map<std::string, std::string> golden;
    std::ifstream in(kGoldenFile);
    std::string line;
    while (std::getline(in, line)) {
        if (line.empty() || line[0] == '#') continue;
        const size_t cut = line.rfind(' ');
        golden[line.substr(0, cut)] = line.substr(cut + 1);
    }
    return golden;
}

TEST(GoldenOutput, EveryViewDepthAndVariantKeepsItsChecksum)
{
    const std::map<std::string, std::string> got = RenderAll();
    if (std::getenv("TESSEN_UPDATE_GOLDEN") != nullptr) {
        std::ofstream out(kGoldenFile);
        out << "# clip, depth, variant, setting: FNV-1a 64 of five output frames\n";
        for (const auto& kv : got) out << kv.first << ' ' << kv.second << '\n';
        ASSERT_TRUE(out.good()) << kGoldenFile;
        GTEST_SKIP() << "rewrote " << kGoldenFile;
    }
    const std::map<std::string, std::string> golden = Load();
    ASSERT_EQ(golden.size(), got.size()) << "cases in " << kGoldenFile;
    int differing = 0;
    for (const auto& kv : got) {
        const auto it = golden.find(kv.first);
        if (it == golden.end() || it->second != kv.second) {
            if (++differing <= 20) ADD_FAILURE() << "output changed: " << kv.first;
        }
    }
    EXPECT_EQ(differing, 0);
    // The cases are not all alike: the two variants differ somewhere, and
    // the views differ from each other.
    EXPECT_NE(got.at("pan-ntsc-23.976 8bit regular view-result"), got.at("pan-ntsc-23.976 8bit simd view-result"));
    EXPECT_NE(got.at("pan-ntsc-23.976 8bit regular view-result"), got.at("pan-ntsc-23.976 8bit regular motion-100"));
}

}  // namespace
