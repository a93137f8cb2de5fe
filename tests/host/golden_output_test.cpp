// Output checksums: a fixed set of small clips rendered through the entry
// point in every view, at both depths, with both variants of the image
// operations, and with the settings that change the pipeline. Their hashes
// are recorded in golden_output.txt; speed work must keep every one.
//
// After a deliberate change of output, rewrite the file with
//     TESSEN_UPDATE_GOLDEN=1 build/tests/test_host --gtest_filter='GoldenOutput.*'
// and say in the commit why the output changed.
#include "support.h"

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

// Triangle wave of period 2p between 0 and p.
A_long Tri(A_long u, A_long p)
{
    const A_long m = ((u % (2 * p)) + 2 * p) % (2 * p);
    return m < p ? m : 2 * p - m;
}

// Rows are sampled at their own field's instant (upper field first), so
// motion combs as real interlaced video does. Values are 0..255 per channel.
using Scene = std::function<PF_Pixel(A_long x, A_long y, A_long halfFields)>;

// A textured pan: soft ramps drifting half a pixel a field (motion near
// the detector's thresholds), hard stripes and a block moving fast the
// other way.
PF_Pixel Pan(A_long x, A_long y, A_long t)
{
    const A_long u = 2 * x + t;
    A_long r = 40 + 6 * Tri(u + 3 * y, 30);
    A_long g = 60 + 2 * Tri(u / 3 + y, 20);
    A_long b = (x / 7 + y / 3 + t / 4) % 2 ? 210 : 35;
    const A_long bx = 50 - 3 * t;  // a block moving left
    if (x >= bx && x < bx + 11 && y >= 6 && y < 21) {
        r = 250;
        g = 20 + 10 * (y - 6);
        b = 90;
    }
    return PF_Pixel{static_cast<A_u_char>(128 + (x * 3 + y * 5) % 127), static_cast<A_u_char>(r),
                    static_cast<A_u_char>(g), static_cast<A_u_char>(b)};
}

// Half of the picture still and detailed, half a soft-edged disc crossing it.
PF_Pixel StillAndMoving(A_long x, A_long y, A_long t)
{
    if (x < 48) {
        const A_u_char v = static_cast<A_u_char>((x * 37 + y * 91) % 256);
        return PF_Pixel{255, v, static_cast<A_u_char>(255 - v), static_cast<A_u_char>((x * 8) % 256)};
    }
    const A_long cx = 60 + 4 * t, cy = 22;
    const A_long d2 = (x - cx) * (x - cx) + 4 * (y - cy) * (y - cy);
    const A_long inside = d2 < 100 ? 255 : d2 > 200 ? 0 : (200 - d2) * 255 / 100;
    return PF_Pixel{255, static_cast<A_u_char>(30 + inside * 200 / 255), static_cast<A_u_char>(80),
                    static_cast<A_u_char>(200 - inside * 150 / 255)};
}

InputClip MakeClip(A_long w, A_long h, double fps, bool deep, Scene scene)
{
    InputClip clip;
    clip.fps = fps;
    clip.width = w;
    clip.height = h;
    clip.deep = deep;
    clip.frame_count = 8;
    clip.frame = [scene](A_long index, World& into) {
        for (A_long y = 0; y < into.height(); ++y)
            for (A_long x = 0; x < into.width(); ++x) {
                const PF_Pixel p = scene(x, y, 2 * index + (y & 1));
                if (into.deep())
                    *into.pixel16(x, y) = PF_Pixel16{static_cast<A_u_short>(p.alpha * 128 + p.alpha / 2),
                                                     static_cast<A_u_short>(p.red * 128 + 3),
                                                     static_cast<A_u_short>(p.green * 128 + p.red / 4),
                                                     static_cast<A_u_short>(p.blue * 128 + 127)};
                else
                    *into.pixel8(x, y) = p;
            }
    };
    return clip;
}

struct ClipCase {
    const char* name;
    A_long width, height;
    double fps, compRate;
    A_long sourceVideo;
    Scene scene;
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
        {"pan-ntsc-23.976", 71, 29, 29.97, 23.976, 1, Pan},
        {"mixed-pal-25", 96, 44, 25.0, 25.0, 2, StillAndMoving},
    };
    std::map<std::string, std::string> hashes;
    for (const ClipCase& c : clips)
        for (bool deep : {false, true})
            for (int simd : {0, 1})
                for (const Setting& setting : Settings()) {
                    cpu_features::force_simd_answer(simd);
                    EffectInstance fx(&EntryPointFunc);
                    fx.project().set_preference("Wrenfold Suite", "Diagnostic Views", "1");
                    EXPECT_EQ(fx.setup(), PF_Err_NONE);
                    fx.set_input(MakeClip(c.width, c.height, c.fps, deep, c.scene));
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
