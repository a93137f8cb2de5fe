#include "host/auto_check_button.h"

#include "dae/aefx_suites.h"
#include "dae/context.h"
#include "dae/exceptions.h"
#include "dae/suites.h"
#include "host/auto_setup.h"
#include "host/embedded_bitmaps.h"
#include "host/sequence_state.h"

#include <cmath>

A_long g_button_image_override = -1;

namespace {

constexpr char kAppSuite[] = "PF AE App Suite";
constexpr float kImageOffsetX = 40.0f;
constexpr float kImageOffsetY = 30.0f;

void ThrowIfDrawbot(SPErr err) {
    if (err != 0) throw DRAWBOT_Exception{err};
}

// The four DRAWBOT suites for the length of one drawing.
class DrawbotSuites {
public:
    DrawbotSuites(PF_InData* in_data, PF_OutData* out_data) : in_data_(in_data), out_data_(out_data), suites_{} {
        const PF_Err err = DAE::AEFX_AcquireDrawbotSuites(in_data, out_data, &suites_);
        if (err != PF_Err_NONE) {
            ReleasePartial();
            throw static_cast<A_long>(err);
        }
    }
    ~DrawbotSuites() { DAE::AEFX_ReleaseDrawbotSuites(in_data_, out_data_); }
    DrawbotSuites(const DrawbotSuites&) = delete;
    DrawbotSuites& operator=(const DrawbotSuites&) = delete;
    const DRAWBOT_Suites& operator*() const { return suites_; }

private:
    // Acquisition stopped at a failure: give back what was taken.
    void ReleasePartial() {
        if (suites_.drawbot_suiteP)
            DAE::AEFX_ReleaseSuite(in_data_, out_data_, "DRAWBOT Draw Suite", 1, nullptr);
        if (suites_.supplier_suiteP)
            DAE::AEFX_ReleaseSuite(in_data_, out_data_, "DRAWBOT Supplier Suite", 1, nullptr);
        if (suites_.surface_suiteP)
            DAE::AEFX_ReleaseSuite(in_data_, out_data_, "DRAWBOT Surface Suite",
                                   DAE::DrawbotSurfaceSuiteVersion(in_data_), nullptr);
    }

    PF_InData* in_data_;
    PF_OutData* out_data_;
    DRAWBOT_Suites suites_;
};

// A DRAWBOT image released when the scope ends.
class DrawbotImage {
public:
    DrawbotImage(const DRAWBOT_SupplierSuite1& supplier, DRAWBOT_SupplierRef ref, A_long width, A_long height,
                 const void* pixels)
        : supplier_(supplier), image_(nullptr) {
        ThrowIfDrawbot(supplier.NewImageFromBuffer(ref, width, height, width * 4,
                                                   kDRAWBOT_PixelLayout_32BGRA_Straight, pixels, &image_));
    }
    ~DrawbotImage() {
        if (image_) supplier_.ReleaseObject(reinterpret_cast<DRAWBOT_ObjectRef>(image_));
    }
    DrawbotImage(const DrawbotImage&) = delete;
    DrawbotImage& operator=(const DrawbotImage&) = delete;
    DRAWBOT_ImageRef get() const { return image_; }

private:
    const DRAWBOT_SupplierSuite1& supplier_;
    DRAWBOT_ImageRef image_;
};

// "PF AE App Suite" version 6 (PFAppSuite4) for one redraw request.
void InvalidateControl(PF_InData* in_data, PF_OutData* out_data, PF_EventExtra* extra) {
    void* suite = nullptr;
    PF_Err err = DAE::AEFX_AcquireSuite(in_data, out_data, kAppSuite, kPFAppSuiteVersion4,
                                        "Failed to acquire PFAppSuite4.", &suite);
    if (err != PF_Err_NONE) throw static_cast<A_long>(err);
    const PF_UnionableRect& f = extra->effect_win.current_frame;
    PF_Rect frame;
    frame.left = f.left;
    frame.top = f.top;
    frame.right = f.right;
    frame.bottom = f.bottom;
    err = static_cast<PFAppSuite4*>(suite)->PF_InvalidateRect(extra->contextH, &frame);
    const PF_Err release =
        DAE::AEFX_ReleaseSuite(in_data, out_data, kAppSuite, kPFAppSuiteVersion4, "Failed to release PFAppSuite4.");
    DAE::ThrowIfError(err);
    DAE::ThrowIfError(release);
}

void EnableGroups(PF_InData* in_data, PF_ParamDef* params[]) {
    SetParamDisabled(in_data, params, kParamDeinterlaceGroup, false);
    SetParamDisabled(in_data, params, kParamDeartifactingGroup, false);
}

}  // namespace

CVAutoCheckButton::CVAutoCheckButton(PF_Handle handle, A_long value)
    : DAE::DAE_Effect_Control(handle, value), pulse_(0), hit_{0, 0, 0, 0} {}

CVAutoCheckButton::~CVAutoCheckButton() = default;

A_long CVAutoCheckButton::PulseWeight(A_u_long counter) {
    const float w = 65535.0f * std::sin(6.28318f * static_cast<float>(counter) / 100.0f);
    return static_cast<A_long>(w);
}

void CVAutoCheckButton::Redraw(PF_InData* in_data, PF_OutData* out_data, PF_EventExtra* extra) {
    InvalidateControl(in_data, out_data, extra);
}

bool CVAutoCheckButton::DoClick(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef*[], PF_EventExtra* extra) {
    extra->u.do_click.send_drag = 1;
    extra->u.do_click.continue_refcon[0] = kPressedOutside;
    g_button_image_override = -1;
    Redraw(in_data, out_data, extra);
    return true;
}

bool CVAutoCheckButton::Drag(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
                             PF_EventExtra* extra) {
    // Every drag ends by writing parameters: without them, nothing happens.
    RequireDeclaredParams(in_data, params);
    const bool done = AutoSetupDone(in_data);
    const A_long normal = done ? kBitmapButtonDone : kBitmapButton;
    const A_long pressed = done ? kBitmapButtonDonePressed : kBitmapButtonPressed;
    g_button_image_override = -1;

    PF_DoClickEventInfo& click = extra->u.do_click;
    // Only the horizontal position counts: a press dragged above or below
    // the button but within its width still counts as inside.
    const A_long x = click.screen_point.h;
    if (x >= hit_.left && x <= hit_.right) {
        if (click.continue_refcon[0] == kPressedOutside) {
            g_button_image_override = pressed;
            Redraw(in_data, out_data, extra);
            click.continue_refcon[0] = kPressedInside;
        }
    } else if (click.continue_refcon[0] == kPressedInside) {
        g_button_image_override = normal;
        Redraw(in_data, out_data, extra);
        click.continue_refcon[0] = kPressedOutside;
    }

    if (click.last_time) {
        g_button_image_override = -1;
        if (click.continue_refcon[0] == kPressedInside) ApplyAutoSetup(in_data, out_data, params);
        Redraw(in_data, out_data, extra);
    } else {
        ReportAutoSetup(in_data, out_data);
    }
    EnableGroups(in_data, params);
    return true;
}

bool CVAutoCheckButton::Idle(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef*[], PF_EventExtra* extra) {
    if (AutoSetupDone(in_data)) return true;
    if (++pulse_ > 100) pulse_ = 0;
    DrawImages(in_data, out_data, extra, kBitmapButton, kBitmapButtonPressed, PulseWeight(pulse_));
    Redraw(in_data, out_data, extra);
    return true;
}

bool CVAutoCheckButton::Draw(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef*[], PF_EventExtra* extra) {
    A_long first = kBitmapButton;
    A_long second = 0;
    A_long weight = 0;
    if (AutoSetupDone(in_data)) {
        first = kBitmapButtonDone;
        second = kBitmapButtonDonePressed;
        weight = 2;
    }
    if (g_button_image_override != -1) first = g_button_image_override;
    DrawImages(in_data, out_data, extra, first, second, weight);
    return true;
}

void CVAutoCheckButton::DrawImages(PF_InData* in_data, PF_OutData* out_data, PF_EventExtra* extra, A_long first,
                                   A_long second, A_long weight) {
    A_long width = 0;
    A_long height = 0;
    const void* pixels = GetEmbeddedBitmap(first, &width, &height);
    if (!pixels) return;  // no picture: the control stays undrawn this time

    DAE::AEGP_SuiteHandler* handler = DAE::CurrentSuites();
    PF_EffectCustomUISuite1* custom_ui = handler ? handler->EffectCustomUISuite1() : nullptr;
    if (!custom_ui) throw DAE::DAESuiteXCP("PF Effect Custom UI Suite");
    DRAWBOT_DrawRef draw_ref = nullptr;
    DAE::ThrowIfError(custom_ui->PF_GetDrawingReference(extra->contextH, &draw_ref));

    DrawbotSuites suites(in_data, out_data);
    DRAWBOT_SupplierRef supplier = nullptr;
    DRAWBOT_SurfaceRef surface = nullptr;
    ThrowIfDrawbot((*suites).drawbot_suiteP->GetSupplier(draw_ref, &supplier));
    ThrowIfDrawbot((*suites).drawbot_suiteP->GetSurface(draw_ref, &surface));

    const PF_UnionableRect& frame = extra->effect_win.current_frame;
    DRAWBOT_PointF32 origin;
    origin.x = static_cast<float>(frame.left + frame.right) / 2.0f - kImageOffsetX;
    origin.y = static_cast<float>(frame.top + frame.bottom) / 2.0f - kImageOffsetY;
    origin.x = std::floor(origin.x);
    origin.y = std::floor(origin.y);

    {
        DrawbotImage image(*(*suites).supplier_suiteP, supplier, width, height, pixels);
        ThrowIfDrawbot((*suites).surface_suiteP->DrawImage(surface, image.get(), &origin, 1.0f));
    }
    if (second != 0 && weight > 0) {
        A_long w2 = 0;
        A_long h2 = 0;
        const void* over = GetEmbeddedBitmap(second, &w2, &h2);
        if (over) {
            const float opacity = weight >= 65535 ? 1.0f : static_cast<float>(weight) / 65535.0f;
            DrawbotImage image(*(*suites).supplier_suiteP, supplier, w2, h2, over);
            ThrowIfDrawbot((*suites).surface_suiteP->DrawImage(surface, image.get(), &origin, opacity));
        }
    }

    hit_.left = static_cast<A_short>(origin.x);
    hit_.top = static_cast<A_short>(origin.y);
    hit_.right = static_cast<A_short>(hit_.left + width);
    hit_.bottom = static_cast<A_short>(hit_.top + height);
    extra->evt_out_flags |= PF_EO_HANDLED_EVENT;
}
