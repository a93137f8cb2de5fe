// The "Auto Setup" button in the Effect Controls window (parameter index 2):
// a push button drawn from the embedded pictures. A press released over it
// runs Auto Setup; once that has succeeded on the instance it shows its
// checked look. Until it is first used it pulses gently between its normal
// and pressed looks on idle events.
//
// Drawing choices: the picture (80 x 60) is centred in the control's frame,
// i.e. placed 40 pixels left of and 30 pixels above the frame's centre; that
// spot is also the hit rectangle. A second picture is laid over the first
// with opacity weight / 65535; a weight of 0 or below draws the first picture
// alone (the pulse rests in its negative half).
#pragma once
#include "dae/effect_control.h"
#include "hostapi/host_api.h"

// Picture shown at the next draw instead of the state's normal picture; -1
// for none. Module-wide: a running press sets it.
extern A_long g_button_image_override;

// The exception a failed DRAWBOT call throws; the entry point turns it into
// an error like any other unexpected exception.
struct DRAWBOT_Exception {
    SPErr err;
};

class CVAutoCheckButton : public DAE::DAE_Effect_Control {
public:
    CVAutoCheckButton(PF_Handle handle, A_long value);
    ~CVAutoCheckButton() override;

    bool DoClick(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra) override;
    bool Drag(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra) override;
    bool Draw(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra) override;
    bool Idle(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_EventExtra* extra) override;

    // Where the picture was last drawn, in the window's coordinates.
    struct HitRect {
        A_short top, left, bottom, right;
    };
    const HitRect& Hit() const { return hit_; }
    A_u_long PulseCounter() const { return pulse_; }

    // Click states kept in continue_refcon[0] across one press.
    static constexpr A_intptr_t kPressedInside = 1;
    static constexpr A_intptr_t kPressedOutside = 2;

    // The idle pulse's share of the pressed look for a counter value:
    // 65535 x sin(6.28318 x counter / 100) in single precision, truncated.
    static A_long PulseWeight(A_u_long counter);

private:
    void DrawImages(PF_InData* in_data, PF_OutData* out_data, PF_EventExtra* extra, A_long first, A_long second,
                    A_long weight);
    void Redraw(PF_InData* in_data, PF_OutData* out_data, PF_EventExtra* extra);

    A_u_long pulse_;
    HitRect hit_;
};
