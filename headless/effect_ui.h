// The Effect Controls side of the headless host: PF_UpdateParamUI and
// PF_InvalidateRect recorders, the drawing reference of the event context and
// DRAWBOT suites that really draw into an RGBA raster.
//
// Serves on its Host: "PF Param Utils Suite" 3, "PF AE App Suite" 6
// (PFAppSuite4), "PF Effect Custom UI Suite" 1, "DRAWBOT Draw Suite" 1,
// "DRAWBOT Supplier Suite" 1, "DRAWBOT Surface Suite" 1 and 2 and
// "DRAWBOT Path Suite" 1.
//
// Drawing model: surface coordinates are the Effect Controls panel's, the
// same as PF_EventExtra::effect_win.current_frame; the raster is straight
// (not premultiplied) RGBA, 8 bits per channel, starting as an opaque panel
// grey. Images are drawn unscaled at their transformed origin; paths fill
// only the rectangles added with AddRect; text and strokes draw nothing.
#pragma once
#include "headless/host.h"

#include <cstdint>
#include <functional>
#include <memory>
#include <set>
#include <vector>

namespace headless {

struct Raster {
    int width = 0;
    int height = 0;
    std::vector<uint8_t> rgba;  // row-major, 4 bytes per pixel: R, G, B, A
    uint8_t* at(int x, int y) { return &rgba[(static_cast<size_t>(y) * width + x) * 4]; }
    const uint8_t* at(int x, int y) const { return &rgba[(static_cast<size_t>(y) * width + x) * 4]; }
};

struct ParamUIUpdate {
    PF_ParamIndex index = 0;
    PF_ParamDef def{};  // a copy of what the effect passed
};

struct Invalidation {
    bool whole = false;  // a null rectangle: the whole control
    PF_Rect rect{};
};

class EffectUI {
public:
    // Serves the suites on `host`, which must outlive this object. The newest
    // EffectUI is the one the suites answer for (LIFO, like Host).
    explicit EffectUI(Host& host);
    ~EffectUI();
    EffectUI(const EffectUI&) = delete;
    EffectUI& operator=(const EffectUI&) = delete;

    // ---- PF_UpdateParamUI
    const std::vector<ParamUIUpdate>& ui_updates() const { return updates_; }
    void clear_ui_updates() { updates_.clear(); }
    // Indices 1..n-1 are accepted once set (the effect's parameter count,
    // input layer included); 0 = not known yet, nothing is checked.
    void set_param_count(A_long n) { param_count_ = n; }
    // Called for every accepted update, so the owner can apply it.
    void on_update(std::function<void(PF_ParamIndex, const PF_ParamDef&)> fn) { on_update_ = std::move(fn); }

    // ---- PF_InvalidateRect
    const std::vector<Invalidation>& invalidations() const { return invalidations_; }
    void clear_invalidations() { invalidations_.clear(); }

    // ---- event context
    // The context handle events carry; its window type is settable.
    PF_ContextH context() { return &context_ptr_; }
    void set_window_type(PF_WindowType type) { context_.w_type = type; }
    // Where PF_GetMouse says the pointer is.
    void set_mouse(PF_Point p) { mouse_ = p; }

    // ---- drawing
    Raster& raster() { return raster_; }
    const Raster& raster() const { return raster_; }
    // New raster of the given size filled with one straight RGBA colour.
    void reset_raster(int width, int height, uint32_t rgba = 0x404040FF);
    // DRAWBOT objects (images, pens, brushes, fonts, paths) not yet released.
    int live_drawbot_objects() const { return static_cast<int>(objects_.size()); }
    int draw_image_calls() const { return draw_image_calls_; }
    int drawing_references() const { return drawing_refs_; }

    struct Impl;
    struct Object;

private:
    struct State {
        float m[3][3];
        int clip_l, clip_t, clip_r, clip_b;
    };

    Host& host_;
    EffectUI* previous_;
    std::vector<ParamUIUpdate> updates_;
    A_long param_count_ = 0;
    std::function<void(PF_ParamIndex, const PF_ParamDef&)> on_update_;
    std::vector<Invalidation> invalidations_;

    PF_Context context_{};
    PF_Context* context_ptr_ = &context_;
    PF_Point mouse_{};
    char draw_token_ = 0;
    char supplier_token_ = 0;
    char surface_token_ = 0;

    Raster raster_;
    std::set<Object*> objects_;
    std::vector<State> states_;
    int draw_image_calls_ = 0;
    int drawing_refs_ = 0;

    PF_ParamUtilsSuite3 param_utils_{};
    PFAppSuite4 app_{};
    PF_EffectCustomUISuite1 custom_ui_{};
    DRAWBOT_DrawbotSuite1 draw_{};
    DRAWBOT_SupplierSuite1 supplier_{};
    DRAWBOT_SurfaceSuite2 surface_{};
    DRAWBOT_PathSuite1 path_{};
};

}  // namespace headless
