// Draws the Auto Setup button in each of its looks, exactly as the effect
// draws it for the host (Effect Controls events through EntryPointFunc, the
// headless host's DRAWBOT raster), and writes one PNG per look:
//   auto_setup_new.png      a new instance
//   auto_setup_pressed.png  held down
//   auto_setup_pulsing.png  the idle pulse part-way (pressed look at about 68%)
//   auto_setup_done.png     after Auto Setup has run
//
// Usage: render_button [output directory]   (default: docs/images)
#include "host/entry_point.h"

#include "headless/effect.h"
#include "headless/png.h"

#include <cstdio>
#include <string>

namespace {

bool Save(headless::EffectInstance& fx, const std::string& dir, const char* name) {
    std::string error;
    const std::string path = dir + "/" + name;
    if (!headless::write_file(path, headless::encode_png(fx.ui().raster()), &error)) {
        std::fprintf(stderr, "render_button: %s\n", error.c_str());
        return false;
    }
    std::printf("%s\n", path.c_str());
    return true;
}

bool Check(PF_Err err, const char* what) {
    if (err != PF_Err_NONE) std::fprintf(stderr, "render_button: %s failed with %d\n", what, static_cast<int>(err));
    return err == PF_Err_NONE;
}

}  // namespace

int main(int argc, char** argv) {
    const std::string dir = argc > 1 ? argv[1] : "docs/images";
    constexpr int kWidth = 113, kHeight = 100;  // the control's size in the Effect Controls
    constexpr PF_ParamIndex kButton = 2;
    const PF_Point centre{kWidth / 2, kHeight / 2};

    headless::EffectInstance fx(&EntryPointFunc);
    fx.set_comp_rate(29.97);
    headless::InputClip clip;
    clip.width = 720;
    clip.height = 480;
    fx.set_input(clip);
    if (!Check(fx.setup(), "set-up")) return 1;
    fx.set_control_frame(PF_Rect{0, 0, kWidth, kHeight});

    fx.ui().reset_raster(kWidth, kHeight);
    if (!Check(fx.draw(kButton), "draw") || !Save(fx, dir, "auto_setup_new.png")) return 1;

    // Twelve idle events into the pulse's 100-step cycle the pressed look
    // covers the normal one at about 68% (the peak, at 25, is the pressed look).
    for (int i = 0; i < 12; ++i) {
        fx.ui().reset_raster(kWidth, kHeight);
        if (!Check(fx.idle(kButton), "idle")) return 1;
    }
    if (!Save(fx, dir, "auto_setup_pulsing.png")) return 1;

    fx.ui().reset_raster(kWidth, kHeight);
    if (!Check(fx.press(kButton, centre), "press") || !Check(fx.drag(centre), "drag") ||
        !Check(fx.draw(kButton), "draw") || !Save(fx, dir, "auto_setup_pressed.png"))
        return 1;

    if (!Check(fx.release(centre), "release")) return 1;
    fx.ui().reset_raster(kWidth, kHeight);
    if (!Check(fx.draw(kButton), "draw") || !Save(fx, dir, "auto_setup_done.png")) return 1;

    const bool clean = fx.host().problems().empty() && fx.ui().live_drawbot_objects() == 0;
    if (!clean) std::fprintf(stderr, "render_button: the host reported problems\n");
    return clean ? 0 : 1;
}
