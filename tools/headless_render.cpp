// Loads an effect module the way the host does (on Windows with LoadLibrary
// and the PIPL resource, elsewhere with the loader and the exported record),
// checks the registration record against what global set-up declares, and
// runs a fixed set of renders and an Auto Setup press on pictures made here.
// Every output frame goes into one file, byte for byte, so that two builds
// of the module (the Windows one under Wine and the Linux one) can be
// compared with cmp; OUTPUT.index gives the byte offset where each render's
// frame starts, to name the first one that differs. A module that exports
// TessenForceVariant (the test copy TessenPlusVariants) is run once per code
// path: regular, and SIMD with 128-, 256- and 512-bit vectors (a width the
// processor lacks falls back to the widest it has).
//
//   headless_render MODULE OUTPUT
#include "headless/effect.h"
#include "headless/module.h"
#include "headless/scenes.h"

#include <climits>
#include <cstdio>
#include <cstring>
#include <functional>
#include <stdexcept>
#include <string>
#include <vector>

namespace {

// Parameter indices and "Show" entries of the effect's list.
constexpr PF_ParamIndex kAutoSetup = 2, kDoDeinterlace = 4, kSourceVideo = 5, kFieldOrder = 6, kMotion = 7,
                        kPatternSize = 8, kDeartifacting = 11, kShow = 13;

struct Case {
    std::string name;
    std::function<void(headless::EffectInstance&)> apply;
};

void Append(std::vector<unsigned char>& out, const headless::World& w) {
    const size_t row = static_cast<size_t>(w.width()) * (w.deep() ? 8 : 4);
    for (A_long y = 0; y < w.height(); ++y) {
        const auto* p = reinterpret_cast<const unsigned char*>(w.pixel8(0, y));
        out.insert(out.end(), p, p + row);
    }
}

void Require(bool ok, const std::string& what) {
    if (!ok) throw std::runtime_error(what);
}

}  // namespace

int main(int argc, char** argv) {
    if (argc != 3) {
        std::fprintf(stderr, "usage: headless_render MODULE OUTPUT\n");
        return 2;
    }
    try {
        headless::Module module(argv[1]);
        const headless::PiPL pipl = module.pipl();
        std::vector<unsigned char> out;
        std::vector<Case> cases;
        for (A_long show : {1, 3, 6, 9, 10, 11, 12, 13, 14})
            cases.push_back({"view " + std::to_string(show), [show](headless::EffectInstance& fx) { fx.set_popup(kShow, show); }});
        for (A_long mode : {2, 3, 4})
            cases.push_back({"deartifacting " + std::to_string(mode),
                             [mode](headless::EffectInstance& fx) { fx.set_popup(kDeartifacting, mode); }});
        cases.push_back({"motion -60, pattern 2, lower first", [](headless::EffectInstance& fx) {
                             fx.set_float_slider(kMotion, -60);
                             fx.set_slider(kPatternSize, 2);
                             fx.set_popup(kFieldOrder, 2);
                         }});
        cases.push_back({"no deinterlacing", [](headless::EffectInstance& fx) { fx.set_checkbox(kDoDeinterlace, false); }});
        cases.push_back({"odd extent", [](headless::EffectInstance& fx) { fx.set_extent_hint(PF_Rect{3, 1, 62, 28}); }});

        using ForceVariant = void (*)(int simd, int vector_bits);
        const auto force = reinterpret_cast<ForceVariant>(module.symbol("TessenForceVariant"));
        struct Variant {
            std::string name;
            int simd, bits;
        };
        std::vector<Variant> variants{{"", -1, -1}};
        if (force)
            variants = {{"regular, ", 0, -1}, {"SIMD 128, ", 1, 128}, {"SIMD 256, ", 1, 256}, {"SIMD 512, ", 1, 512}};

        int renders = 0;
        bool checked = false;
        std::string index;
        for (const Variant& v : variants) {
            if (force) force(v.simd, v.bits);
            for (bool deep : {false, true})
                for (const Case& c : cases) {
                    const std::string what = v.name + (deep ? "16-bit " : "8-bit ") + c.name;
                    headless::EffectInstance fx(module.entry());
                    fx.project().set_preference("Wrenfold Suite", "Diagnostic Views", "1");
                    Require(fx.setup() == PF_Err_NONE, what + ": set-up failed");
                    if (!checked) {
                        // The record against what global set-up declared.
                        for (const std::string& p :
                             module.check(pipl, fx.my_version(), fx.out_flags(), fx.out_flags2()))
                            throw std::runtime_error("registration record: " + p);
                        checked = true;
                    }
                    fx.set_input(headless::scenes::interlaced_clip(71, 29, 29.97, deep, headless::scenes::pan));
                    fx.set_comp_rate(23.976);
                    fx.set_popup(kSourceVideo, 1);
                    fx.set_popup(kFieldOrder, 1);
                    c.apply(fx);
                    for (A_long k = 0; k < 4; ++k) {
                        fx.set_frame(k);
                        Require(fx.render() == PF_Err_NONE, what + ": render failed");
                        index += std::to_string(out.size()) + " " + what + ", frame " + std::to_string(k) + "\n";
                        Append(out, fx.output());
                        ++renders;
                    }
                    const std::vector<std::string> problems = fx.host().problems();
                    Require(problems.empty(), what + ": " + (problems.empty() ? "" : problems.front()));
                }
        }
        if (force) force(-1, -1);

        // Auto Setup pressed in Effect Controls on an NTSC DV-sized layer.
        {
            headless::EffectInstance fx(module.entry());
            Require(fx.setup() == PF_Err_NONE, "Auto Setup: set-up failed");
            fx.set_input(headless::scenes::interlaced_clip(720, 480, 29.97, false, headless::scenes::pan));
            fx.set_comp_rate(23.976);
            const PF_Rect frame = fx.control_frame();
            fx.ui().reset_raster(frame.right + 64, frame.bottom + 64);
            Require(fx.draw(kAutoSetup) == PF_Err_NONE, "drawing Auto Setup");
            const PF_Point where{(frame.left + frame.right) / 2, (frame.top + frame.bottom) / 2};
            Require(fx.press(kAutoSetup, where) == PF_Err_NONE, "pressing Auto Setup");
            std::string message;
            if (fx.dragging()) {
                Require(fx.drag(where) == PF_Err_NONE, "dragging on Auto Setup");
                message = fx.message();
                Require(fx.release(where) == PF_Err_NONE, "releasing Auto Setup");
            }
            Require(fx.update_params_ui() == PF_Err_NONE, "updating the controls");
            index += std::to_string(out.size()) + " Auto Setup press (message, controls, drawn button)\n";
            const std::string record = message + "|" + std::to_string(fx.popup(kSourceVideo)) + "|" +
                                       std::to_string(fx.popup(kFieldOrder)) + "\n";
            out.insert(out.end(), record.begin(), record.end());
            const auto& raster = fx.ui().raster().rgba;
            out.insert(out.end(), raster.begin(), raster.end());
            std::printf("Auto Setup: %s", record.c_str());
        }

        auto save = [](const std::string& path, const void* data, size_t size) {
            FILE* f = std::fopen(path.c_str(), "wb");
            Require(f != nullptr, "cannot write " + path);
            const bool written = std::fwrite(data, 1, size, f) == size;
            Require(std::fclose(f) == 0 && written, "cannot write " + path);
        };
        save(argv[2], out.data(), out.size());
        save(std::string(argv[2]) + ".index", index.data(), index.size());
        std::printf("%s: record checked, %d renders and an Auto Setup press, %zu bytes\n", argv[1], renders, out.size());
        return 0;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "headless_render: %s\n", e.what());
        return 1;
    }
}
