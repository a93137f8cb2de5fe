#include "cli/effect_runner.h"

#include <filesystem>
#include <system_error>

#include "cli/cli_error.h"
#include "headless/effect.h"
#include "headless/module.h"

#include <algorithm>
#include <climits>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <optional>

namespace tessen::cli {

namespace {

// Host parameter indices of the effect's controls.
constexpr PF_ParamIndex kAutoSetup = 2;
constexpr PF_ParamIndex kDoDeinterlace = 4;
constexpr PF_ParamIndex kSourceVideo = 5;
constexpr PF_ParamIndex kFieldOrder = 6;
constexpr PF_ParamIndex kMotion = 7;
constexpr PF_ParamIndex kPatternSize = 8;
constexpr PF_ParamIndex kDeartifacting = 11;
constexpr PF_ParamIndex kShow = 13;

constexpr char kPrefsSection[] = "Wrenfold Suite";
constexpr char kPrefsKey[] = "Diagnostic Views";

// Loads the module as the host does and makes sure it is the effect this
// tool drives: its registration record names it.
std::unique_ptr<headless::Module> load_module(const std::string& path) {
    std::unique_ptr<headless::Module> module;
    try {
        module = std::make_unique<headless::Module>(path);
    } catch (const std::exception& e) {
        throw CliError("", e.what());  // names the module and the loader's reason
    }
    if (module->has_pipl()) {
        std::optional<std::string> match;
        try {
            match = module->pipl().match_name;
        } catch (const std::exception& e) {
            throw CliError(path, std::string("the module's registration record is damaged: ") + e.what());
        }
        if (match && *match != "ADBE Corvane SD")
            throw CliError(path, "not the Tessen Plus effect (it registers as \"" + *match + "\")");
    }
    return module;
}

// The output world's rows, packed.
void render_into_rows(const headless::World& w, uint8_t* out) {
    const size_t row = static_cast<size_t>(w.width()) * 4 * (w.deep() ? 2 : 1);
    const auto* base = static_cast<const uint8_t*>(static_cast<const void*>(w.def().data));
    for (int y = 0; y < w.height(); ++y)
        std::memcpy(out + static_cast<size_t>(y) * row, base + static_cast<size_t>(y) * w.def().rowbytes, row);
}

std::string trimmed(std::string s) {
    while (!s.empty() && (s.back() == '\n' || s.back() == '\r' || s.back() == ' ')) s.pop_back();
    return s;
}

}  // namespace

struct EffectRunner::Impl {
    EffectSetup setup;
    // Declared before the instance: the module outlives the instance's set-downs.
    std::unique_ptr<headless::Module> module;
    std::unique_ptr<headless::EffectInstance> effect;
    // An error met while the host served the effect (e.g. reading a frame);
    // it must not cross the effect's entry point, so it waits here.
    std::exception_ptr pending;
    bool closed = false;

    std::string what_went_wrong(PF_Err err) {
        std::string msg = trimmed(effect->message());
        std::string s = "the effect failed";
        if (err) s += " with " + headless::describe_error(err);
        if (!msg.empty()) s += ": " + msg;
        return s;
    }

    void rethrow_pending() {
        if (pending) {
            std::exception_ptr p = pending;
            pending = nullptr;
            std::rethrow_exception(p);
        }
    }

    void check(PF_Err err, const char* command) {
        rethrow_pending();
        if (err) throw CliError(setup.module_path, std::string(command) + ": " + what_went_wrong(err));
    }
};

void print_effect_message(std::FILE* out, const std::string& message) {
    std::string line;
    auto flush = [&] {
        if (line.empty())
            std::fputc('\n', out);
        else
            std::fprintf(out, "  %s\n", line.c_str());
        line.clear();
    };
    for (char c : message) {
        if (c == '\n' || c == '\r')
            flush();
        else
            line += c;
    }
    if (!line.empty()) flush();
    // Printed whole: the only cut is the effect's own, at the 255 characters
    // the host's message field holds.
    if (message.size() >= 255)
        std::fprintf(out, "  [the effect cut its message at 255 characters, the length of the host's message field]\n");
}

std::string resolve_module_path(const std::string& option) {
    if (!option.empty()) return option;
    if (const char* env = std::getenv("TESSEN_MODULE"); env && *env) return env;
    // Beside the program: installed as PREFIX/bin/tessen with
    // PREFIX/lib/tessen/TessenPlus.so, or in the build folder as
    // BUILD/cli/tessen with BUILD/TessenPlus.so.
    std::error_code ec;
    const std::filesystem::path exe = std::filesystem::read_symlink("/proc/self/exe", ec);
    if (ec) throw CliError("", "cannot find where tessen itself is (" + ec.message() + "); name the effect module with --module");
    const std::filesystem::path dir = exe.parent_path();
    const std::filesystem::path candidates[] = {dir / ".." / "lib" / "tessen" / "TessenPlus.so", dir / ".." / "TessenPlus.so"};
    for (const auto& c : candidates)
        if (std::filesystem::is_regular_file(c, ec)) return c.lexically_normal().string();
    throw CliError("", "the effect module TessenPlus.so is not installed beside tessen (looked in " +
                           candidates[0].lexically_normal().string() + " and " + candidates[1].lexically_normal().string() +
                           "); name it with --module or $TESSEN_MODULE");
}

EffectRunner::EffectRunner(const EffectSetup& setup) : impl_(std::make_unique<Impl>()) {
    Impl& m = *impl_;
    m.setup = setup;
    m.module = load_module(setup.module_path);
    m.effect = std::make_unique<headless::EffectInstance>(m.module->entry());
    headless::EffectInstance& fx = *m.effect;
    // As a host in production runs: memory as it lies and reused from frame
    // to frame (the test host's poisoning costs a fill of every image).
    fx.host().set_recycle_memory(true);

    // The composition.
    fx.set_time_base(setup.time_base.time_scale, setup.time_base.time_step);
    fx.set_quality(PF_Quality_HI);

    // The layer: footage interpreted at the layer rate, served frame by frame.
    headless::InputClip clip;
    clip.fps = setup.layer_rate.value();
    clip.width = setup.width;
    clip.height = setup.height;
    clip.deep = setup.depth == 16;
    // The caller decides what stands outside the clip (its length may not be
    // known before the last frame is read), so the host never clamps.
    clip.frame_count = INT_MAX / 2;
    clip.frame_serves_outside = true;
    Impl* mp = impl_.get();
    clip.frame = [mp](A_long index, headless::World& into) {
        if (mp->pending) return;
        try {
            const size_t row = static_cast<size_t>(into.width()) * 4 * (into.deep() ? 2 : 1);
            const uint8_t* src;
            if (mp->setup.rows_at) {
                src = mp->setup.rows_at(index);
            } else {
                const HostFrame& f = mp->setup.frame_at(index);
                if (f.width != into.width() || f.height != into.height() || (f.depth == 16) != into.deep())
                    throw CliError("", "a source frame changed size or depth");
                src = f.row8(0);
            }
            auto* base = static_cast<uint8_t*>(static_cast<void*>(into.def().data));
            for (int y = 0; y < into.height(); ++y)
                std::memcpy(base + static_cast<size_t>(y) * into.def().rowbytes, src + y * row, row);
        } catch (...) {
            mp->pending = std::current_exception();
        }
    };
    fx.set_input(std::move(clip));

    // The footage item as a host would find it: interlaced, with its rate.
    AEGP_FootageInterp& interp = fx.project().interpretation();
    interp.native_fpsF = setup.layer_rate.value();
    interp.conform_fpsF = setup.layer_rate.value();
    fx.project().set_interlaced(FIEL_Order_LOWER_FIRST, AEGP_PulldownPhase_NO_PULLDOWN);

    if (setup.diagnostic_views) fx.project().set_preference(kPrefsSection, kPrefsKey, "1");

    m.check(fx.global_setup(), "global set-up");
    m.check(fx.params_setup(), "parameter set-up");
    m.check(fx.sequence_setup(), "sequence set-up");
    if (fx.num_params() <= kDeartifacting)
        throw CliError(setup.module_path, "the effect declared " + std::to_string(fx.num_params()) +
                                              " parameters, too few for Tessen Plus");
    if (setup.diagnostic_views && fx.num_params() <= kShow)
        throw CliError(setup.module_path, "the effect offers no \"Show\" menu although diagnostic views are on");
}

EffectRunner::~EffectRunner() {
    if (impl_ && impl_->effect && !impl_->closed) {
        // Set-downs on an error path; the destructor of the instance sends them.
        impl_->effect.reset();
    }
}

AutoSetupResult EffectRunner::press_auto_setup() {
    Impl& m = *impl_;
    headless::EffectInstance& fx = *m.effect;
    headless::EffectUI& ui = fx.ui();

    // Draw the panel first: the button learns where it is when it is drawn.
    const PF_Rect frame = fx.control_frame();
    ui.reset_raster(std::max<int>(frame.right + 64, 320), std::max<int>(frame.bottom + 64, 200));
    std::vector<uint8_t> before = ui.raster().rgba;
    m.check(fx.draw(kAutoSetup), "drawing Auto Setup");

    // Aim at the middle of what it drew (the control's frame if nothing changed).
    const headless::Raster& r = ui.raster();
    int l = INT_MAX, t = INT_MAX, rr = -1, b = -1;
    for (int y = 0; y < r.height; ++y)
        for (int x = 0; x < r.width; ++x)
            if (std::memcmp(r.at(x, y), &before[(static_cast<size_t>(y) * r.width + x) * 4], 4) != 0) {
                l = std::min(l, x);
                t = std::min(t, y);
                rr = std::max(rr, x);
                b = std::max(b, y);
            }
    PF_Point where = rr >= 0 ? PF_Point{(l + rr) / 2, (t + b) / 2}
                             : PF_Point{(frame.left + frame.right) / 2, (frame.top + frame.bottom) / 2};

    AutoSetupResult result;
    m.check(fx.press(kAutoSetup, where), "clicking Auto Setup");
    if (!fx.dragging())
        throw CliError(m.setup.module_path, "the Auto Setup button did not follow the press (no drag events asked for)");
    // A drag or two inside the button, as a hand would; the effect explains
    // itself in the message of each.
    for (int i = 0; i < 2; ++i) {
        m.check(fx.drag(where), "dragging on Auto Setup");
        std::string msg = trimmed(fx.message());
        if (!msg.empty()) result.message = msg;
    }
    m.check(fx.release(where), "releasing Auto Setup");
    m.check(fx.update_params_ui(), "updating the controls");
    m.check(fx.draw(kAutoSetup), "drawing Auto Setup");

    result.source_video = static_cast<int>(fx.popup(kSourceVideo));
    result.field_order = static_cast<int>(fx.popup(kFieldOrder));
    result.succeeded = result.message.rfind("Auto Setup Successful!", 0) == 0;
    if (result.message.empty())
        throw CliError(m.setup.module_path, "Auto Setup said nothing while the button was held");
    return result;
}

void EffectRunner::set_params(const EffectParams& p) {
    headless::EffectInstance& fx = *impl_->effect;
    try {
        fx.set_checkbox(kDoDeinterlace, p.deinterlace);
        fx.set_popup(kSourceVideo, p.source_video);
        fx.set_popup(kFieldOrder, p.field_order);
        fx.set_float_slider(kMotion, p.motion);
        fx.set_slider(kPatternSize, p.pattern_size);
        fx.set_popup(kDeartifacting, p.deartifact);
        if (fx.num_params() > kShow) fx.set_popup(kShow, p.show);
    } catch (const std::exception& e) {
        throw CliError(impl_->setup.module_path, std::string("the effect refused a value: ") + e.what());
    }
    fx.set_quality(p.draft ? PF_Quality_LO : PF_Quality_HI);
}

void EffectRunner::render(int64_t k, HostFrame& out) {
    render_world(k);
    const headless::World& w = impl_->effect->output();
    out.allocate(w.width(), w.height(), w.deep() ? 16 : 8);
    render_into_rows(w, out.row8(0));
}

void EffectRunner::render_into(int64_t k, uint8_t* out) {
    render_world(k);
    render_into_rows(impl_->effect->output(), out);
}

void EffectRunner::render_world(int64_t k) {
    Impl& m = *impl_;
    headless::EffectInstance& fx = *m.effect;
    fx.set_current_time(static_cast<A_long>(k * m.setup.time_base.time_step));
    PF_Err err = fx.render();
    m.check(err, "render");
    if (fx.out_data().out_flags & PF_OutFlag_DISPLAY_ERROR_MESSAGE || !trimmed(fx.message()).empty())
        throw CliError(m.setup.module_path, "render of frame " + std::to_string(k) + ": " + m.what_went_wrong(0));
    if (fx.outstanding_checkouts() != 0)
        throw CliError(m.setup.module_path, "render of frame " + std::to_string(k) + " left layers checked out");
}

std::string EffectRunner::close() {
    Impl& m = *impl_;
    headless::EffectInstance& fx = *m.effect;
    std::string report;
    if (PF_Err e = fx.sequence_setdown()) report += "sequence set-down: " + m.what_went_wrong(e) + "\n";
    if (PF_Err e = fx.global_setdown()) report += "global set-down: " + m.what_went_wrong(e) + "\n";
    m.closed = true;
    report += fx.host().leak_report();
    for (const std::string& p : fx.host().problems()) report += "host: " + p + "\n";
    return trimmed(report);
}

}  // namespace tessen::cli
