// Fuzz target: bytes decoded into a session of host commands against the
// effect, linked in-process and driven through the headless host.
//
// Built twice. Legal (TESSEN_FUZZ_HOSTILE 0): a host After Effects could be:
// values within what its controls allow, commands in its order, layers of
// any size it makes, allocations and layer checkouts that fail or come back
// empty. Every command must end in success or in the error the host caused,
// and the host must see no misuse and nothing left behind.
// Hostile (TESSEN_FUZZ_HOSTILE 1): anything: values out of range, commands
// in any order, short records, missing worlds, checkouts of another size or
// depth, time bases and downsampling no host uses. The effect answers with
// error codes; a finding is a crash, a sanitizer report, a write past a host
// handle or an exception leaving the entry point.
#include "headless/effect.h"
#include "host/entry_point.h"
#include "image/cpu_features.h"
#include "render/render_settings.h"

#include <fuzzer/FuzzedDataProvider.h>

#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <exception>
#include <map>
#include <string>
#include <vector>

namespace {

using headless::EffectInstance;
using headless::InputClip;
using headless::World;

constexpr bool kHostile = TESSEN_FUZZ_HOSTILE != 0;

[[noreturn]] void Finding(const std::string& what)
{
    std::fprintf(stderr, "finding: %s\n", what.c_str());
    std::abort();
}

// ---- layer checkouts the host twists: the n-th one fails, comes back
// empty, smaller or at the other depth. The record is put back as the host
// gave it before it is checked in.
enum class Twist { None, Fail, Empty, Smaller, OtherDepth };
struct CheckoutTwist {
    Twist kind = Twist::None;
    int at = 0;
    int count = 0;
};
CheckoutTwist g_twist;
PF_Err (*g_checkout)(PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, PF_ParamDef*) = nullptr;
PF_Err (*g_checkin)(PF_ProgPtr, PF_ParamDef*) = nullptr;
std::map<PF_ParamDef*, PF_LayerDef> g_twisted;
constexpr PF_Err kCheckoutError = PF_Err_OUT_OF_MEMORY;

PF_Err TwistedCheckout(PF_ProgPtr ref, PF_ParamIndex index, A_long time, A_long step, A_u_long scale,
                       PF_ParamDef* param)
{
    if (++g_twist.count != g_twist.at || g_twist.kind == Twist::None)
        return g_checkout(ref, index, time, step, scale, param);
    if (g_twist.kind == Twist::Fail) return kCheckoutError;
    const PF_Err err = g_checkout(ref, index, time, step, scale, param);
    if (err != PF_Err_NONE || param == nullptr) return err;
    g_twisted[param] = param->u.ld;
    PF_LayerDef& ld = param->u.ld;
    switch (g_twist.kind) {
    case Twist::Empty:
        ld.data = nullptr;
        ld.width = ld.height = 0;
        break;
    case Twist::Smaller:
        ld.width /= 2;
        ld.height /= 2;
        break;
    case Twist::OtherDepth:
        // Still within the pixels the host holds.
        if (ld.world_flags & PF_WorldFlag_DEEP) {
            ld.world_flags &= ~PF_WorldFlag_DEEP;
        } else {
            ld.world_flags |= PF_WorldFlag_DEEP;
            ld.width /= 2;
        }
        break;
    default:
        break;
    }
    return PF_Err_NONE;
}

PF_Err TwistedCheckin(PF_ProgPtr ref, PF_ParamDef* param)
{
    const auto it = g_twisted.find(param);
    if (it != g_twisted.end()) {
        param->u.ld = it->second;
        g_twisted.erase(it);
    }
    return g_checkin(ref, param);
}

// ---- the input clip: a few kinds of picture, moving or still.
A_u_char Hash(uint32_t seed, A_long f, A_long x, A_long y)
{
    uint32_t h = seed ^ (static_cast<uint32_t>(f) * 0x9E3779B1u) ^ (static_cast<uint32_t>(x) * 0x85EBCA77u) ^
                 (static_cast<uint32_t>(y) * 0xC2B2AE3Du);
    h ^= h >> 15;
    h *= 0x2C1B3C6Du;
    h ^= h >> 12;
    return static_cast<A_u_char>(h);
}

PF_Pixel Picture(int kind, uint32_t seed, A_long f, A_long x, A_long y)
{
    const A_u_char a = static_cast<A_u_char>(128 + (seed & 127));
    switch (kind) {
    case 0: return PF_Pixel{a, Hash(seed, f, x, y), Hash(seed + 1, f, x, y), Hash(seed + 2, f, x, y)};
    case 1: {  // an edge moving across at a speed of its own, fields apart in time
        const A_long speed = static_cast<A_long>(seed % 7) - 3;
        const bool on = ((x + (2 * f + (y & 1)) * speed) / 5) % 2 == 0;
        return PF_Pixel{a, static_cast<A_u_char>(on ? 230 : 20), static_cast<A_u_char>(on ? 40 : 200), 90};
    }
    case 2: return PF_Pixel{a, static_cast<A_u_char>(seed), static_cast<A_u_char>(seed >> 8), 77};
    default: {  // a diagonal pattern that pans
        const A_long v = (x * 3 + y * 5 + f * static_cast<A_long>(seed % 11)) & 255;
        return PF_Pixel{a, static_cast<A_u_char>(v), static_cast<A_u_char>(255 - v), static_cast<A_u_char>(v / 2)};
    }
    }
}

InputClip MakeClip(FuzzedDataProvider& in)
{
    InputClip clip;
    // Mostly small layers (whole renders are quick); now and then one up to 4K.
    const int sizeClass = in.ConsumeIntegralInRange(0, 9);
    if (sizeClass < 7) {
        clip.width = in.ConsumeIntegralInRange<A_long>(1, 72);
        clip.height = in.ConsumeIntegralInRange<A_long>(1, 40);
    } else if (sizeClass < 9) {
        clip.width = in.ConsumeIntegralInRange<A_long>(1, 720);
        clip.height = in.ConsumeIntegralInRange<A_long>(1, 96);
    } else {
        // Odd and extreme aspects too: 4096 x 1 and 1 x 2160.
        clip.width = in.ConsumeIntegralInRange<A_long>(1, 4096);
        clip.height = in.ConsumeIntegralInRange<A_long>(1, 2160);
    }
    const double rates[] = {29.97, 25.0, 23.976, 24.0, 30.0, 59.94, 50.0};
    clip.fps = in.PickValueInArray(rates);
    clip.deep = in.ConsumeBool();
    clip.frame_count = in.ConsumeIntegralInRange<A_long>(1, 6);
    const int kind = in.ConsumeIntegralInRange(0, 3);
    const uint32_t seed = in.ConsumeIntegral<uint32_t>();
    clip.frame = [kind, seed](A_long f, World& into) {
        for (A_long y = 0; y < into.height(); ++y)
            for (A_long x = 0; x < into.width(); ++x) {
                const PF_Pixel p = Picture(kind, seed, f, x, y);
                if (into.deep())
                    *into.pixel16(x, y) = PF_Pixel16{static_cast<A_u_short>(p.alpha * 128), static_cast<A_u_short>(p.red * 128),
                                                     static_cast<A_u_short>(p.green * 128), static_cast<A_u_short>(p.blue * 128)};
                else
                    *into.pixel8(x, y) = p;
            }
    };
    return clip;
}

// Large layers render only at reduced resolution or draft quality, as a
// user scrubbing 4K footage would; full renders stay on small ones.
bool TooSlowAtFullQuality(const EffectInstance& fx)
{
    return static_cast<long long>(fx.layer_width()) * fx.layer_height() > 200000;
}

class Session {
public:
    explicit Session(FuzzedDataProvider& in) : in_(in), fx_(&EntryPointFunc, host_)
    {
        host_.set_recycle_memory(in_.ConsumeBool());
        if (in_.ConsumeBool()) fx_.project().set_preference("Wrenfold Suite", "Diagnostic Views", "1");
        // The processor's answer, or either image-operation variant.
        cpu_features::force_simd_answer(in_.ConsumeIntegralInRange(-1, 1));
        preset_ = in_.ConsumeIntegralInRange(0, 4);
        g_twist = CheckoutTwist{};
        g_twisted.clear();
        g_checkout = fx_.in_data().inter.checkout_param;
        g_checkin = fx_.in_data().inter.checkin_param;
        fx_.in_data().inter.checkout_param = TwistedCheckout;
        fx_.in_data().inter.checkin_param = TwistedCheckin;
        fx_.set_input(MakeClip(in_));
    }

    void Run()
    {
        if (!kHostile) {
            Expect("set-up", fx_.setup(), PF_Err_NONE);
            if (fx_.sequence_data() == nullptr) return;  // an allocation failed: nothing to drive
        }
        // Most sessions start from a conversion the effect supports, as after
        // Auto Setup; the last preset keeps the defaults (PAL at 29.97).
        const struct {
            double rate;
            A_long source;
        } presets[] = {{29.97, 1}, {23.976, 1}, {25.0, 2}, {23.976, 2}};
        if (preset_ < 4) {
            fx_.set_comp_rate(presets[preset_].rate);
            if (fx_.num_params() > kParamSourceVideo) fx_.param(kParamSourceVideo).u.pd.value = presets[preset_].source;
        }
        for (int op = 0; op < 40 && in_.remaining_bytes() > 0; ++op) Step();
        Finish();
    }

private:
    // ---- the result of one command
    void Expect(const char* what, PF_Err err, PF_Err caused)
    {
        if (kHostile) {
            CheckHostile(what);
            return;
        }
        if (err != PF_Err_NONE && err != caused && !(failing_ && err == PF_Err_OUT_OF_MEMORY) &&
            !(twisted_ && err == kCheckoutError))
            Finding(std::string(what) + " returned " + std::to_string(err));
        for (const std::string& p : host_.problems()) Finding(std::string(what) + ": host problem: " + p);
        if (fx_.outstanding_checkouts() != 0) Finding(std::string(what) + ": a layer checkout not checked in");
        DisarmFailures();
    }

    void CheckHostile(const char* what)
    {
        for (const std::string& p : host_.problems()) {
            if (p.find("past its end") != std::string::npos || p.find("exception left") != std::string::npos)
                Finding(std::string(what) + ": " + p);
        }
        host_.clear_problems();
        DisarmFailures();
    }

    void DisarmFailures()
    {
        host_.clear_allocation_failures();
        failing_ = false;
        twisted_ = false;
        g_twist = CheckoutTwist{};
    }

    // ---- values a host sets
    void SetParameter()
    {
        if (fx_.num_params() < 2) return;
        const PF_ParamIndex i = in_.ConsumeIntegralInRange<PF_ParamIndex>(1, fx_.num_params() - 1);
        PF_ParamDef& p = fx_.param(i);
        if (kHostile) {
            if (p.param_type == PF_Param_FLOAT_SLIDER)
                p.u.fs_d.value = in_.ConsumeFloatingPoint<double>();
            else
                p.u.sd.value = in_.ConsumeIntegral<A_long>();
            return;
        }
        // Through the host's own controls: what they refuse is never sent.
        try {
            switch (p.param_type) {
            case PF_Param_POPUP: fx_.set_popup(i, in_.ConsumeIntegralInRange<A_long>(1, p.u.pd.num_choices)); break;
            case PF_Param_SLIDER: fx_.set_slider(i, in_.ConsumeIntegralInRange<A_long>(p.u.sd.valid_min, p.u.sd.valid_max)); break;
            case PF_Param_FLOAT_SLIDER:
                fx_.set_float_slider(i, in_.ConsumeFloatingPointInRange<double>(p.u.fs_d.valid_min, p.u.fs_d.valid_max));
                break;
            case PF_Param_CHECKBOX: fx_.set_checkbox(i, in_.ConsumeBool()); break;
            default: break;
            }
        } catch (const std::exception&) {
        }
    }

    void SetTime()
    {
        if (kHostile) {
            switch (in_.ConsumeIntegralInRange(0, 2)) {
            case 0: fx_.set_time_base(in_.ConsumeIntegral<A_u_long>(), in_.ConsumeIntegral<A_long>()); break;
            case 1: fx_.set_current_time(in_.ConsumeIntegral<A_long>()); break;
            default: fx_.set_frame(in_.ConsumeIntegral<A_long>()); break;
            }
            return;
        }
        if (in_.ConsumeBool()) {
            const double rates[] = {23.976, 29.97, 25.0, 24.0, 30.0, 59.94, 50.0, 23.98};
            fx_.set_comp_rate(in_.PickValueInArray(rates));
        }
        fx_.set_frame(in_.ConsumeIntegralInRange<A_long>(-3, 400));
    }

    void SetRenderSettings()
    {
        switch (in_.ConsumeIntegralInRange(0, 3)) {
        case 0:
            if (kHostile) {
                fx_.in_data().downsample_x = PF_RationalScale{in_.ConsumeIntegral<A_long>(), in_.ConsumeIntegral<A_u_long>()};
                fx_.in_data().downsample_y = PF_RationalScale{in_.ConsumeIntegral<A_long>(), in_.ConsumeIntegral<A_u_long>()};
            } else {
                const A_u_long dx = in_.ConsumeIntegralInRange<A_u_long>(1, 16);
                const A_u_long dy = in_.ConsumeBool() ? dx : in_.ConsumeIntegralInRange<A_u_long>(1, 16);
                fx_.set_downsample(1, dx, 1, dy);
            }
            break;
        case 1:
            fx_.set_quality(kHostile ? static_cast<PF_Quality>(in_.ConsumeIntegral<A_long>())
                                     : (in_.ConsumeBool() ? PF_Quality_HI : PF_Quality_LO));
            break;
        case 2: {
            if (in_.ConsumeBool()) {
                fx_.clear_extent_hint();
                break;
            }
            PF_Rect r;
            if (kHostile) {
                r = PF_Rect{in_.ConsumeIntegral<A_long>(), in_.ConsumeIntegral<A_long>(), in_.ConsumeIntegral<A_long>(),
                            in_.ConsumeIntegral<A_long>()};
            } else {
                // Inside, outside and across the layer.
                const A_long w = fx_.input().width, h = fx_.input().height;
                r.left = in_.ConsumeIntegralInRange<A_long>(-w, w);
                r.top = in_.ConsumeIntegralInRange<A_long>(-h, h);
                r.right = in_.ConsumeIntegralInRange<A_long>(r.left, 2 * w);
                r.bottom = in_.ConsumeIntegralInRange<A_long>(r.top, 2 * h);
            }
            fx_.set_extent_hint(r);
            break;
        }
        default:
            if (kHostile)
                fx_.set_pixel_aspect_ratio(in_.ConsumeIntegral<A_long>(), in_.ConsumeIntegral<A_u_long>());
            else
                fx_.set_pixel_aspect_ratio(in_.ConsumeIntegralInRange<A_long>(1, 4), in_.ConsumeIntegralInRange<A_u_long>(1, 3));
            break;
        }
    }

    // ---- failures a host may cause in the next command
    void ArmFailures()
    {
        if (in_.ConsumeBool()) {
            host_.fail_allocation(in_.ConsumeIntegralInRange<size_t>(1, 40));
            failing_ = true;
        } else {
            const Twist kinds[] = {Twist::Fail, Twist::Empty, Twist::Smaller, Twist::OtherDepth};
            g_twist.kind = in_.PickValueInArray(kinds);
            if (!kHostile && (g_twist.kind == Twist::Smaller || g_twist.kind == Twist::OtherDepth))
                g_twist.kind = Twist::Empty;
            g_twist.at = in_.ConsumeIntegralInRange(1, 3);
            twisted_ = g_twist.kind == Twist::Fail;
        }
    }

    void Render()
    {
        if (!kHostile && TooSlowAtFullQuality(fx_) && fx_.in_data().quality == PF_Quality_HI)
            fx_.set_quality(PF_Quality_LO);
        if (kHostile && TooSlowAtFullQuality(fx_)) return;
        Expect("render", fx_.render(), PF_Err_NONE);
    }

    void AutoSetup()
    {
        const PF_Rect f = fx_.control_frame();
        const PF_Point inside{(f.left + f.right) / 2, (f.top + f.bottom) / 2};
        const PF_Point outside{f.right + 40, inside.v};
        Expect("press", fx_.press(kParamAutoSetup, in_.ConsumeBool() ? inside : outside), PF_Err_NONE);
        const int drags = in_.ConsumeIntegralInRange(0, 3);
        for (int i = 0; i < drags; ++i) Expect("drag", fx_.drag(in_.ConsumeBool() ? inside : outside), PF_Err_NONE);
        Expect("release", fx_.release(in_.ConsumeBool() ? inside : outside), PF_Err_NONE);
        if (in_.ConsumeBool()) Expect("draw", fx_.draw(kParamAutoSetup), PF_Err_NONE);
    }

    // A project saved and reopened: the record's bytes come back.
    void Reopen()
    {
        if (!kHostile && fx_.sequence_data() == nullptr) return;
        // A copy the host has no memory for is the effect's 512.
        const bool copyMayFail = failing_;
        const PF_Err copied = fx_.get_flattened_sequence_data();
        Expect("flattened copy", copied, copyMayFail ? PF_Err_INTERNAL_STRUCT_DAMAGED : PF_Err_NONE);
        if (copied != PF_Err_NONE && !kHostile) return;
        std::vector<uint8_t> bytes = fx_.flattened_bytes();
        if (kHostile) bytes = in_.ConsumeBytes<uint8_t>(in_.ConsumeIntegralInRange<size_t>(0, 16));
        if (bytes.empty() && !kHostile) bytes.assign(8, 0);
        Expect("set-down", fx_.sequence_setdown(), PF_Err_NONE);
        Expect("re-set-up", fx_.reload_sequence(bytes), PF_Err_NONE);
    }

    // Commands in any order, with any world or none.
    void AnyCommand()
    {
        const PF_Cmd cmd = in_.ConsumeIntegralInRange<PF_Cmd>(-1, 31);
        switch (in_.ConsumeIntegralInRange(0, 3)) {
        case 0: fx_.in_data().num_params = in_.ConsumeIntegralInRange<A_long>(0, fx_.num_params()); break;
        case 1: host_.set_appl_id(in_.ConsumeBool() ? 0x50724D72 : 0x46585443); break;  // 'PrMr' or 'FXTC'
        default: break;
        }
        if (cmd == PF_Cmd_RENDER && TooSlowAtFullQuality(fx_)) return;
        World* out = in_.ConsumeBool() ? &fx_.output() : nullptr;
        // The set-ups through the instance, so that it keeps what they declare.
        if (cmd == PF_Cmd_GLOBAL_SETUP)
            fx_.global_setup();
        else if (cmd == PF_Cmd_PARAMS_SETUP)
            fx_.params_setup();
        else
            fx_.call(cmd, out != nullptr ? &out->def() : nullptr, nullptr);
        fx_.in_data().num_params = fx_.num_params();
        host_.set_appl_id(0x46585443);
        CheckHostile("command");
    }

    void Step()
    {
        const int choice = in_.ConsumeIntegralInRange(0, kHostile ? 11 : 10);
        switch (choice) {
        case 0: SetParameter(); break;
        case 1: SetTime(); break;
        case 2: SetRenderSettings(); break;
        case 3: ArmFailures(); break;
        case 4: Render(); break;
        case 5: AutoSetup(); break;
        case 6: Expect("UI update", fx_.update_params_ui(), PF_Err_NONE); break;
        case 7: Reopen(); break;
        case 8:
            try {
                fx_.set_input(MakeClip(in_));
            } catch (const std::exception&) {
            }
            break;
        case 9: Expect("flatten", fx_.sequence_flatten(), PF_Err_NONE); break;
        case 10: Render(); break;
        default: AnyCommand(); break;
        }
    }

    void Finish()
    {
        DisarmFailures();
        // Set-down disposes the record: the host checks its tail guard then.
        Expect("sequence set-down", fx_.sequence_setdown(), PF_Err_NONE);
        Expect("global set-down", fx_.global_setdown(), PF_Err_NONE);
        if (kHostile) return;  // commands out of order may leave the host's own records behind
        const std::string leaks = host_.leak_report();
        if (!leaks.empty()) Finding("left behind: " + leaks);
    }

    FuzzedDataProvider& in_;
    headless::Host host_;
    EffectInstance fx_;
    bool failing_ = false;
    bool twisted_ = false;
    int preset_ = 4;
};

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    FuzzedDataProvider in(data, size);
    try {
        Session session(in);
        session.Run();
        cpu_features::force_simd_answer(-1);
    } catch (const std::exception& e) {
        // The headless host refuses what no host does (a clip of no frames,
        // a parameter setter out of range); the effect never throws here.
        const std::string what = e.what();
        if (what.find("entry point") != std::string::npos) Finding(what);
    }
    return 0;
}
