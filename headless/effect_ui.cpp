// Effect Controls recorders and the DRAWBOT raster.
#include "headless/effect_ui.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <string>

namespace headless {

namespace {
std::atomic<EffectUI*> g_ui{nullptr};

void identity(float m[3][3]) {
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) m[r][c] = r == c ? 1.f : 0.f;
}
}  // namespace

struct EffectUI::Object {
    enum Kind { Image, Pen, Brush, Font, Path } kind;
    explicit Object(Kind k) : kind(k) {}
    int refs = 1;
    int width = 0, height = 0;
    std::vector<uint8_t> rgba;  // images: straight RGBA
    DRAWBOT_ColorRGBA color{};  // pens and brushes
    std::vector<DRAWBOT_RectF32> rects;  // paths
};

struct EffectUI::Impl {
    static EffectUI* ui(const char* what) {
        EffectUI* u = g_ui.load();
        if (!u) {
            if (Host* h = Host::current()) h->report_problem(std::string(what) + " called with no Effect Controls host");
        }
        return u;
    }

    static void problem(EffectUI* u, const std::string& text) { u->host_.report_problem(text); }

    // -- Param Utils
    static PF_Err UpdateParamUI(PF_ProgPtr ref, PF_ParamIndex index, const PF_ParamDef* def) {
        EffectUI* u = ui("PF_UpdateParamUI");
        if (!u) return PF_Err_BAD_CALLBACK_PARAM;
        if (ref != u->host_.effect_ref()) {
            problem(u, "PF_UpdateParamUI with an effect_ref the host did not give");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (!def) {
            problem(u, "PF_UpdateParamUI with a null record");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        if (index <= 0 || (u->param_count_ > 0 && index >= u->param_count_)) {
            problem(u, "PF_UpdateParamUI of parameter index " + std::to_string(index) + " out of range");
            return PF_Err_INVALID_INDEX;
        }
        u->updates_.push_back(ParamUIUpdate{index, *def});
        if (u->on_update_) u->on_update_(index, *def);
        return PF_Err_NONE;
    }

    // -- App suite
    static PF_Err GetBgColor(PF_App_Color* c) {
        if (c) {
            const A_u_short rgb[3] = {0x4040, 0x4040, 0x4040};
            std::memcpy(c, rgb, sizeof rgb);
        }
        return PF_Err_NONE;
    }
    static PF_Err GetColor(PF_App_ColorType, PF_App_Color* c) { return GetBgColor(c); }
    static PF_Err GetPersonalInfo(PF_AppPersonalTextInfo* info) {
        if (info) std::memset(info, 0, 192);
        return PF_Err_NONE;
    }
    static PF_Err GetFontStyleSheet(PF_FontStyleSheet, PF_FontName* name, A_short* id, A_short* size, A_short* style) {
        if (name) {
            std::memset(name, 0, 256);
            std::memcpy(name, "Arial", 5);
        }
        if (id) *id = 0;
        if (size) *size = 12;
        if (style) *style = 0;
        return PF_Err_NONE;
    }
    static PF_Err SetCursor(PF_CursorType) { return PF_Err_NONE; }
    static PF_Err IsRenderEngine(PF_Boolean* b) {
        if (b) *b = 0;
        return PF_Err_NONE;
    }
    static PF_Err ColorPicker(const A_char*, const PF_PixelFloat* start, PF_Boolean, PF_PixelFloat* result) {
        if (start && result) *result = *start;
        return PF_Err_NONE;
    }
    static PF_Err GetMouse(PF_Point* p) {
        EffectUI* u = ui("PF_GetMouse");
        if (p) *p = u ? u->mouse_ : PF_Point{};
        return PF_Err_NONE;
    }
    static PF_Err InvalidateRect(const PF_ContextH ctx, const PF_Rect* rect) {
        EffectUI* u = ui("PF_InvalidateRect");
        if (!u) return PF_Err_BAD_CALLBACK_PARAM;
        if (ctx != u->context()) {
            problem(u, "PF_InvalidateRect with a context the host did not give");
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        Invalidation inv;
        inv.whole = rect == nullptr;
        if (rect) inv.rect = *rect;
        u->invalidations_.push_back(inv);
        return PF_Err_NONE;
    }
    static PF_Err LocalToGlobal(const PF_Point* local, PF_Point* global) {
        if (local && global) *global = *local;
        return PF_Err_NONE;
    }
    static PF_Err ColorAtGlobalPoint(const PF_Point* p, A_short, PF_EyeDropperSampleMode, PF_PixelFloat* out) {
        EffectUI* u = ui("PF_GetColorAtGlobalPoint");
        if (!u || !p || !out) return PF_Err_BAD_CALLBACK_PARAM;
        *out = PF_PixelFloat{1.f, 0.f, 0.f, 0.f};
        if (p->h >= 0 && p->v >= 0 && p->h < u->raster_.width && p->v < u->raster_.height) {
            const uint8_t* px = u->raster_.at(p->h, p->v);
            *out = PF_PixelFloat{px[3] / 255.f, px[0] / 255.f, px[1] / 255.f, px[2] / 255.f};
        }
        return PF_Err_NONE;
    }

    // -- Custom UI
    static PF_Err GetDrawingReference(const PF_ContextH ctx, DRAWBOT_DrawRef* ref) {
        EffectUI* u = ui("PF_GetDrawingReference");
        if (!u) return PF_Err_BAD_CALLBACK_PARAM;
        if (!ref || ctx != u->context()) {
            problem(u, "PF_GetDrawingReference with a context the host did not give or a null result");
            if (ref) *ref = nullptr;
            return PF_Err_BAD_CALLBACK_PARAM;
        }
        u->drawing_refs_++;
        *ref = reinterpret_cast<DRAWBOT_DrawRef>(&u->draw_token_);
        return PF_Err_NONE;
    }

    // -- DRAWBOT Draw
    static SPErr GetSupplier(DRAWBOT_DrawRef d, DRAWBOT_SupplierRef* s) {
        EffectUI* u = ui("DRAWBOT GetSupplier");
        if (!u || !s || d != reinterpret_cast<DRAWBOT_DrawRef>(&u->draw_token_)) return kSPBadParameterError;
        *s = reinterpret_cast<DRAWBOT_SupplierRef>(&u->supplier_token_);
        return kSPNoError;
    }
    static SPErr GetSurface(DRAWBOT_DrawRef d, DRAWBOT_SurfaceRef* s) {
        EffectUI* u = ui("DRAWBOT GetSurface");
        if (!u || !s || d != reinterpret_cast<DRAWBOT_DrawRef>(&u->draw_token_)) return kSPBadParameterError;
        *s = reinterpret_cast<DRAWBOT_SurfaceRef>(&u->surface_token_);
        return kSPNoError;
    }

    // -- DRAWBOT Supplier
    static EffectUI* supplier(DRAWBOT_SupplierRef s, const char* what) {
        EffectUI* u = ui(what);
        if (u && s != reinterpret_cast<DRAWBOT_SupplierRef>(&u->supplier_token_)) {
            problem(u, std::string(what) + " with a supplier the host did not give");
            return nullptr;
        }
        return u;
    }
    template <typename Ref>
    static SPErr add(EffectUI* u, Object* o, Ref* out) {
        u->objects_.insert(o);
        *out = reinterpret_cast<Ref>(o);
        return kSPNoError;
    }
    static SPErr NewPen(DRAWBOT_SupplierRef s, const DRAWBOT_ColorRGBA* c, float, DRAWBOT_PenRef* out) {
        EffectUI* u = supplier(s, "DRAWBOT NewPen");
        if (!u || !c || !out) return kSPBadParameterError;
        auto* o = new Object(Object::Pen);
        o->color = *c;
        return add(u, o, out);
    }
    static SPErr NewBrush(DRAWBOT_SupplierRef s, const DRAWBOT_ColorRGBA* c, DRAWBOT_BrushRef* out) {
        EffectUI* u = supplier(s, "DRAWBOT NewBrush");
        if (!u || !c || !out) return kSPBadParameterError;
        auto* o = new Object(Object::Brush);
        o->color = *c;
        return add(u, o, out);
    }
    static SPErr SupportsText(DRAWBOT_SupplierRef, DRAWBOT_Boolean* b) {
        if (b) *b = 1;
        return kSPNoError;
    }
    static SPErr DefaultFontSize(DRAWBOT_SupplierRef, float* f) {
        if (f) *f = 12.f;
        return kSPNoError;
    }
    static SPErr NewDefaultFont(DRAWBOT_SupplierRef s, float, DRAWBOT_FontRef* out) {
        EffectUI* u = supplier(s, "DRAWBOT NewDefaultFont");
        if (!u || !out) return kSPBadParameterError;
        return add(u, new Object(Object::Font), out);
    }

    // Converts one pixel of a DRAWBOT layout to straight RGBA.
    static void to_rgba(DRAWBOT_PixelLayout layout, const uint8_t* p, uint8_t* o) {
        switch (layout) {
        case kDRAWBOT_PixelLayout_24RGB: o[0] = p[0], o[1] = p[1], o[2] = p[2], o[3] = 255; return;
        case kDRAWBOT_PixelLayout_24BGR: o[0] = p[2], o[1] = p[1], o[2] = p[0], o[3] = 255; return;
        case kDRAWBOT_PixelLayout_32RGB: o[0] = p[1], o[1] = p[2], o[2] = p[3], o[3] = 255; return;
        case kDRAWBOT_PixelLayout_32BGR: o[0] = p[2], o[1] = p[1], o[2] = p[0], o[3] = 255; return;
        case kDRAWBOT_PixelLayout_32ARGB_Straight:
        case kDRAWBOT_PixelLayout_32ARGB_Premul: o[0] = p[1], o[1] = p[2], o[2] = p[3], o[3] = p[0]; break;
        default: o[0] = p[2], o[1] = p[1], o[2] = p[0], o[3] = p[3]; break;  // 32BGRA
        }
        if ((layout == kDRAWBOT_PixelLayout_32ARGB_Premul || layout == kDRAWBOT_PixelLayout_32BGRA_Premul) && o[3] != 0) {
            for (int i = 0; i < 3; ++i) o[i] = static_cast<uint8_t>(std::min(255, (o[i] * 255 + o[3] / 2) / o[3]));
        }
    }

    static SPErr NewImageFromBuffer(DRAWBOT_SupplierRef s, int w, int h, int row_bytes, DRAWBOT_PixelLayout layout,
                                    const void* data, DRAWBOT_ImageRef* out) {
        EffectUI* u = supplier(s, "DRAWBOT NewImageFromBuffer");
        if (!u || !out) return kSPBadParameterError;
        *out = nullptr;
        const int bpp = layout <= kDRAWBOT_PixelLayout_24BGR ? 3 : 4;
        if (layout < kDRAWBOT_PixelLayout_24RGB || layout > kDRAWBOT_PixelLayout_32BGRA_Premul || w <= 0 || h <= 0 ||
            w > 30000 || h > 30000 || row_bytes < w * bpp || !data) {
            problem(u, "DRAWBOT NewImageFromBuffer with a bad size, row length, layout or null data");
            return kSPBadParameterError;
        }
        auto* o = new Object(Object::Image);
        o->width = w;
        o->height = h;
        o->rgba.resize(static_cast<size_t>(w) * h * 4);
        for (int y = 0; y < h; ++y) {
            const uint8_t* row = static_cast<const uint8_t*>(data) + static_cast<size_t>(y) * row_bytes;
            for (int x = 0; x < w; ++x) to_rgba(layout, row + x * bpp, &o->rgba[(static_cast<size_t>(y) * w + x) * 4]);
        }
        return add(u, o, out);
    }

    static SPErr NewPath(DRAWBOT_SupplierRef s, DRAWBOT_PathRef* out) {
        EffectUI* u = supplier(s, "DRAWBOT NewPath");
        if (!u || !out) return kSPBadParameterError;
        return add(u, new Object(Object::Path), out);
    }
    static SPErr SupportsBGRA(DRAWBOT_SupplierRef, DRAWBOT_Boolean* b) {
        if (b) *b = 1;
        return kSPNoError;
    }
    static SPErr PrefersBGRA(DRAWBOT_SupplierRef, DRAWBOT_Boolean* b) {
        if (b) *b = 1;
        return kSPNoError;
    }
    static SPErr SupportsARGB(DRAWBOT_SupplierRef, DRAWBOT_Boolean* b) {
        if (b) *b = 1;
        return kSPNoError;
    }
    static SPErr PrefersARGB(DRAWBOT_SupplierRef, DRAWBOT_Boolean* b) {
        if (b) *b = 0;
        return kSPNoError;
    }
    static Object* object(EffectUI* u, const void* ref) {
        auto* o = static_cast<Object*>(const_cast<void*>(ref));
        return u->objects_.count(o) ? o : nullptr;
    }
    static SPErr RetainObject(DRAWBOT_ObjectRef ref) {
        EffectUI* u = ui("DRAWBOT RetainObject");
        Object* o = u ? object(u, ref) : nullptr;
        if (!o) {
            if (u) problem(u, "DRAWBOT RetainObject of an unknown or released object");
            return kSPBadParameterError;
        }
        o->refs++;
        return kSPNoError;
    }
    static SPErr ReleaseObject(DRAWBOT_ObjectRef ref) {
        EffectUI* u = ui("DRAWBOT ReleaseObject");
        Object* o = u ? object(u, ref) : nullptr;
        if (!o) {
            if (u) problem(u, "DRAWBOT ReleaseObject of an unknown or already released object");
            return kSPBadParameterError;
        }
        if (--o->refs == 0) {
            u->objects_.erase(o);
            delete o;
        }
        return kSPNoError;
    }

    // -- DRAWBOT Surface
    static EffectUI* surface(DRAWBOT_SurfaceRef s, const char* what) {
        EffectUI* u = ui(what);
        if (u && s != reinterpret_cast<DRAWBOT_SurfaceRef>(&u->surface_token_)) {
            problem(u, std::string(what) + " with a surface the host did not give");
            return nullptr;
        }
        return u;
    }
    static State& state(EffectUI* u) { return u->states_.back(); }
    static void apply(const State& s, float x, float y, float* ox, float* oy) {
        *ox = x * s.m[0][0] + y * s.m[1][0] + s.m[2][0];
        *oy = x * s.m[0][1] + y * s.m[1][1] + s.m[2][1];
    }
    // Straight-alpha "over" of one pixel with coverage `a` (0..1).
    static void blend(uint8_t* d, float r, float g, float b, float a) {
        if (a <= 0.f) return;
        const float da = d[3] / 255.f;
        const float oa = a + da * (1.f - a);
        const float src[3] = {r, g, b};
        for (int i = 0; i < 3; ++i) {
            const float c = (src[i] * a + d[i] / 255.f * da * (1.f - a)) / (oa > 0.f ? oa : 1.f);
            d[i] = static_cast<uint8_t>(std::lround(std::min(1.f, std::max(0.f, c)) * 255.f));
        }
        d[3] = static_cast<uint8_t>(std::lround(std::min(1.f, oa) * 255.f));
    }
    static void fill_rect(EffectUI* u, const DRAWBOT_ColorRGBA& c, const DRAWBOT_RectF32& r) {
        const State& s = state(u);
        float x0, y0, x1, y1;
        apply(s, r.left, r.top, &x0, &y0);
        apply(s, r.left + r.width, r.top + r.height, &x1, &y1);
        int l = static_cast<int>(std::lround(std::min(x0, x1))), t = static_cast<int>(std::lround(std::min(y0, y1)));
        int rr = static_cast<int>(std::lround(std::max(x0, x1))), b = static_cast<int>(std::lround(std::max(y0, y1)));
        l = std::max({l, s.clip_l, 0});
        t = std::max({t, s.clip_t, 0});
        rr = std::min({rr, s.clip_r, u->raster_.width});
        b = std::min({b, s.clip_b, u->raster_.height});
        for (int y = t; y < b; ++y)
            for (int x = l; x < rr; ++x) blend(u->raster_.at(x, y), c.red, c.green, c.blue, c.alpha);
    }
    static SPErr PushState(DRAWBOT_SurfaceRef sr) {
        EffectUI* u = surface(sr, "DRAWBOT PushStateStack");
        if (!u) return kSPBadParameterError;
        u->states_.push_back(u->states_.back());
        return kSPNoError;
    }
    static SPErr PopState(DRAWBOT_SurfaceRef sr) {
        EffectUI* u = surface(sr, "DRAWBOT PopStateStack");
        if (!u) return kSPBadParameterError;
        if (u->states_.size() <= 1) {
            problem(u, "DRAWBOT PopStateStack without a matching push");
            return kSPBadParameterError;
        }
        u->states_.pop_back();
        return kSPNoError;
    }
    static SPErr PaintRect(DRAWBOT_SurfaceRef sr, const DRAWBOT_ColorRGBA* c, const DRAWBOT_RectF32* r) {
        EffectUI* u = surface(sr, "DRAWBOT PaintRect");
        if (!u || !c || !r) return kSPBadParameterError;
        fill_rect(u, *c, *r);
        return kSPNoError;
    }
    static SPErr FillPath(DRAWBOT_SurfaceRef sr, DRAWBOT_BrushRef br, DRAWBOT_PathRef pr, DRAWBOT_FillType) {
        EffectUI* u = surface(sr, "DRAWBOT FillPath");
        if (!u) return kSPBadParameterError;
        Object* b = object(u, br);
        Object* p = object(u, pr);
        if (!b || !p || b->kind != Object::Brush || p->kind != Object::Path) {
            problem(u, "DRAWBOT FillPath with an unknown brush or path");
            return kSPBadParameterError;
        }
        for (const auto& r : p->rects) fill_rect(u, b->color, r);
        return kSPNoError;
    }
    static SPErr StrokePath(DRAWBOT_SurfaceRef sr, DRAWBOT_PenRef pen, DRAWBOT_PathRef path) {
        EffectUI* u = surface(sr, "DRAWBOT StrokePath");
        if (!u) return kSPBadParameterError;
        if (!object(u, pen) || !object(u, path)) {
            problem(u, "DRAWBOT StrokePath with an unknown pen or path");
            return kSPBadParameterError;
        }
        return kSPNoError;
    }
    static SPErr Clip(DRAWBOT_SurfaceRef sr, DRAWBOT_SupplierRef, const DRAWBOT_Rect32* r) {
        EffectUI* u = surface(sr, "DRAWBOT Clip");
        if (!u || !r) return kSPBadParameterError;
        State& s = state(u);
        s.clip_l = std::max(s.clip_l, r->left);
        s.clip_t = std::max(s.clip_t, r->top);
        s.clip_r = std::min(s.clip_r, r->left + r->width);
        s.clip_b = std::min(s.clip_b, r->top + r->height);
        return kSPNoError;
    }
    static SPErr GetClipBounds(DRAWBOT_SurfaceRef sr, DRAWBOT_Rect32* r) {
        EffectUI* u = surface(sr, "DRAWBOT GetClipBounds");
        if (!u || !r) return kSPBadParameterError;
        const State& s = state(u);
        *r = DRAWBOT_Rect32{s.clip_l, s.clip_t, s.clip_r - s.clip_l, s.clip_b - s.clip_t};
        return kSPNoError;
    }
    static SPErr IsWithinClip(DRAWBOT_SurfaceRef sr, const DRAWBOT_Rect32* r, DRAWBOT_Boolean* b) {
        EffectUI* u = surface(sr, "DRAWBOT IsWithinClipBounds");
        if (!u || !r || !b) return kSPBadParameterError;
        const State& s = state(u);
        *b = r->left < s.clip_r && r->top < s.clip_b && r->left + r->width > s.clip_l && r->top + r->height > s.clip_t;
        return kSPNoError;
    }
    static SPErr Transform(DRAWBOT_SurfaceRef sr, const DRAWBOT_MatrixF32* m) {
        EffectUI* u = surface(sr, "DRAWBOT Transform");
        if (!u || !m) return kSPBadParameterError;
        State& s = state(u);
        float r[3][3];
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) {
                r[i][j] = 0.f;
                for (int k = 0; k < 3; ++k) r[i][j] += m->mat[i][k] * s.m[k][j];
            }
        for (int i = 0; i < 3; ++i)
            for (int j = 0; j < 3; ++j) s.m[i][j] = r[i][j];
        return kSPNoError;
    }
    static SPErr DrawString(DRAWBOT_SurfaceRef sr, DRAWBOT_BrushRef, DRAWBOT_FontRef, const DRAWBOT_UTF16Char*,
                            const DRAWBOT_PointF32*, DRAWBOT_TextAlignment, DRAWBOT_TextTruncation, float) {
        return surface(sr, "DRAWBOT DrawString") ? kSPNoError : kSPBadParameterError;
    }
    static SPErr DrawImage(DRAWBOT_SurfaceRef sr, DRAWBOT_ImageRef ir, const DRAWBOT_PointF32* origin, float alpha) {
        EffectUI* u = surface(sr, "DRAWBOT DrawImage");
        if (!u || !origin) return kSPBadParameterError;
        Object* img = object(u, ir);
        if (!img || img->kind != Object::Image) {
            problem(u, "DRAWBOT DrawImage of an unknown or released image");
            return kSPBadParameterError;
        }
        u->draw_image_calls_++;
        const State& s = state(u);
        float fx, fy;
        apply(s, origin->x, origin->y, &fx, &fy);
        const int ox = static_cast<int>(std::lround(fx)), oy = static_cast<int>(std::lround(fy));
        const float opacity = std::min(1.f, std::max(0.f, alpha));
        for (int y = 0; y < img->height; ++y) {
            const int ty = oy + y;
            if (ty < std::max(0, s.clip_t) || ty >= std::min(u->raster_.height, s.clip_b)) continue;
            for (int x = 0; x < img->width; ++x) {
                const int tx = ox + x;
                if (tx < std::max(0, s.clip_l) || tx >= std::min(u->raster_.width, s.clip_r)) continue;
                const uint8_t* p = &img->rgba[(static_cast<size_t>(y) * img->width + x) * 4];
                blend(u->raster_.at(tx, ty), p[0] / 255.f, p[1] / 255.f, p[2] / 255.f, p[3] / 255.f * opacity);
            }
        }
        return kSPNoError;
    }
    static SPErr SetPolicy(DRAWBOT_SurfaceRef sr, int) { return surface(sr, "DRAWBOT policy") ? kSPNoError : kSPBadParameterError; }
    static SPErr GetPolicy(DRAWBOT_SurfaceRef sr, int* p) {
        if (!surface(sr, "DRAWBOT policy") || !p) return kSPBadParameterError;
        *p = 0;
        return kSPNoError;
    }
    static SPErr Flush(DRAWBOT_SurfaceRef sr) { return surface(sr, "DRAWBOT Flush") ? kSPNoError : kSPBadParameterError; }
    static SPErr ScreenScale(DRAWBOT_SurfaceRef sr, float* f) {
        if (!surface(sr, "DRAWBOT GetTransformToScreenScale") || !f) return kSPBadParameterError;
        *f = 1.f;
        return kSPNoError;
    }

    // -- DRAWBOT Path
    static Object* path(DRAWBOT_PathRef p, const char* what) {
        EffectUI* u = ui(what);
        if (!u) return nullptr;
        Object* o = object(u, p);
        if (!o || o->kind != Object::Path) {
            problem(u, std::string(what) + " on an unknown path");
            return nullptr;
        }
        return o;
    }
    static SPErr MoveTo(DRAWBOT_PathRef p, float, float) { return path(p, "DRAWBOT MoveTo") ? kSPNoError : kSPBadParameterError; }
    static SPErr LineTo(DRAWBOT_PathRef p, float, float) { return path(p, "DRAWBOT LineTo") ? kSPNoError : kSPBadParameterError; }
    static SPErr BezierTo(DRAWBOT_PathRef p, const DRAWBOT_PointF32*, const DRAWBOT_PointF32*, const DRAWBOT_PointF32*) {
        return path(p, "DRAWBOT BezierTo") ? kSPNoError : kSPBadParameterError;
    }
    static SPErr AddRect(DRAWBOT_PathRef p, const DRAWBOT_RectF32* r) {
        Object* o = path(p, "DRAWBOT AddRect");
        if (!o || !r) return kSPBadParameterError;
        o->rects.push_back(*r);
        return kSPNoError;
    }
    static SPErr AddArc(DRAWBOT_PathRef p, const DRAWBOT_PointF32*, float, float, float) {
        return path(p, "DRAWBOT AddArc") ? kSPNoError : kSPBadParameterError;
    }
    static SPErr Close(DRAWBOT_PathRef p) { return path(p, "DRAWBOT Close") ? kSPNoError : kSPBadParameterError; }
};

EffectUI::EffectUI(Host& host) : host_(host), previous_(g_ui.exchange(this)) {
    context_.magic = static_cast<A_u_long>(FourCC('c', 'n', 't', 'x'));
    context_.w_type = PF_Window_EFFECT;
    reset_raster(320, 200);

    using I = Impl;
    param_utils_.PF_UpdateParamUI = I::UpdateParamUI;
    param_utils_.PF_GetCurrentState = [](PF_ProgPtr, PF_ParamIndex, const A_Time*, const A_Time*, PF_State*) -> PF_Err {
        return PF_Err_BAD_CALLBACK_PARAM;
    };
    param_utils_.PF_AreStatesIdentical = [](PF_ProgPtr, const PF_State*, const PF_State*, A_Boolean*) -> PF_Err {
        return PF_Err_BAD_CALLBACK_PARAM;
    };
    param_utils_.PF_IsIdenticalCheckout = [](PF_ProgPtr, PF_ParamIndex, A_long, A_long, A_u_long, A_long, A_long, A_u_long,
                                             PF_Boolean*) -> PF_Err { return PF_Err_BAD_CALLBACK_PARAM; };
    param_utils_.PF_FindKeyframeTime = [](PF_ProgPtr, PF_ParamIndex, A_long, A_u_long, PF_TimeDir, PF_Boolean* found,
                                          PF_KeyIndex*, A_long*, A_u_long*) -> PF_Err {
        if (found) *found = 0;
        return PF_Err_NONE;
    };
    param_utils_.PF_GetKeyframeCount = [](PF_ProgPtr, PF_ParamIndex, PF_KeyIndex* n) -> PF_Err {
        if (n) *n = 0;
        return PF_Err_NONE;
    };
    param_utils_.PF_CheckoutKeyframe = [](PF_ProgPtr, PF_ParamIndex, PF_KeyIndex, A_long*, A_u_long*, PF_ParamDef*) -> PF_Err {
        return PF_Err_INVALID_INDEX;
    };
    param_utils_.PF_CheckinKeyframe = [](PF_ProgPtr, PF_ParamDef*) -> PF_Err { return PF_Err_NONE; };
    param_utils_.PF_KeyIndexToTime = [](PF_ProgPtr, PF_ParamIndex, PF_KeyIndex, A_long*, A_u_long*) -> PF_Err {
        return PF_Err_INVALID_INDEX;
    };

    app_.PF_AppGetBgColor = I::GetBgColor;
    app_.PF_AppGetColor = I::GetColor;
    app_.PF_GetPersonalInfo = I::GetPersonalInfo;
    app_.PF_GetFontStyleSheet = I::GetFontStyleSheet;
    app_.PF_SetCursor = I::SetCursor;
    app_.PF_IsRenderEngine = I::IsRenderEngine;
    app_.PF_AppColorPickerDialog = I::ColorPicker;
    app_.PF_GetMouse = I::GetMouse;
    app_.PF_InvalidateRect = I::InvalidateRect;
    app_.PF_ConvertLocalToGlobal = I::LocalToGlobal;
    app_.PF_GetColorAtGlobalPoint = I::ColorAtGlobalPoint;

    custom_ui_.PF_GetDrawingReference = I::GetDrawingReference;

    draw_.GetSupplier = I::GetSupplier;
    draw_.GetSurface = I::GetSurface;

    supplier_.NewPen = I::NewPen;
    supplier_.NewBrush = I::NewBrush;
    supplier_.SupportsText = I::SupportsText;
    supplier_.GetDefaultFontSize = I::DefaultFontSize;
    supplier_.NewDefaultFont = I::NewDefaultFont;
    supplier_.NewImageFromBuffer = I::NewImageFromBuffer;
    supplier_.NewPath = I::NewPath;
    supplier_.SupportsPixelLayoutBGRA = I::SupportsBGRA;
    supplier_.PrefersPixelLayoutBGRA = I::PrefersBGRA;
    supplier_.SupportsPixelLayoutARGB = I::SupportsARGB;
    supplier_.PrefersPixelLayoutARGB = I::PrefersARGB;
    supplier_.RetainObject = I::RetainObject;
    supplier_.ReleaseObject = I::ReleaseObject;

    surface_.PushStateStack = I::PushState;
    surface_.PopStateStack = I::PopState;
    surface_.PaintRect = I::PaintRect;
    surface_.FillPath = I::FillPath;
    surface_.StrokePath = I::StrokePath;
    surface_.Clip = I::Clip;
    surface_.GetClipBounds = I::GetClipBounds;
    surface_.IsWithinClipBounds = I::IsWithinClip;
    surface_.Transform = I::Transform;
    surface_.DrawString = I::DrawString;
    surface_.DrawImage = I::DrawImage;
    surface_.SetInterpolationPolicy = I::SetPolicy;
    surface_.GetInterpolationPolicy = I::GetPolicy;
    surface_.SetAntiAliasPolicy = I::SetPolicy;
    surface_.GetAntiAliasPolicy = I::GetPolicy;
    surface_.Flush = I::Flush;
    surface_.GetTransformToScreenScale = I::ScreenScale;

    path_.MoveTo = I::MoveTo;
    path_.LineTo = I::LineTo;
    path_.BezierTo = I::BezierTo;
    path_.AddRect = I::AddRect;
    path_.AddArc = I::AddArc;
    path_.Close = I::Close;

    host_.serve_suite("PF Param Utils Suite", kPFParamUtilsSuiteVersion3, &param_utils_);
    host_.serve_suite("PF AE App Suite", kPFAppSuiteVersion4, &app_);
    host_.serve_suite("PF Effect Custom UI Suite", kPFEffectCustomUISuiteVersion1, &custom_ui_);
    host_.serve_suite("DRAWBOT Draw Suite", kDRAWBOT_DrawSuite_Version1, &draw_);
    host_.serve_suite("DRAWBOT Supplier Suite", kDRAWBOT_SupplierSuite_Version1, &supplier_);
    host_.serve_suite("DRAWBOT Surface Suite", kDRAWBOT_SurfaceSuite_Version1, &surface_);  // its first 16 slots
    host_.serve_suite("DRAWBOT Surface Suite", kDRAWBOT_SurfaceSuite_Version2, &surface_);
    host_.serve_suite("DRAWBOT Path Suite", kDRAWBOT_PathSuite_Version1, &path_);

    host_.add_leak_check("DRAWBOT", [this]() -> std::string {
        return objects_.empty() ? std::string() : std::to_string(objects_.size()) + " object(s) not released";
    });
}

EffectUI::~EffectUI() {
    host_.remove_leak_check("DRAWBOT");
    for (Object* o : objects_) delete o;
    host_.withdraw_suite("PF Param Utils Suite", kPFParamUtilsSuiteVersion3);
    host_.withdraw_suite("PF AE App Suite", kPFAppSuiteVersion4);
    host_.withdraw_suite("PF Effect Custom UI Suite", kPFEffectCustomUISuiteVersion1);
    host_.withdraw_suite("DRAWBOT Draw Suite", kDRAWBOT_DrawSuite_Version1);
    host_.withdraw_suite("DRAWBOT Supplier Suite", kDRAWBOT_SupplierSuite_Version1);
    host_.withdraw_suite("DRAWBOT Surface Suite", kDRAWBOT_SurfaceSuite_Version1);
    host_.withdraw_suite("DRAWBOT Surface Suite", kDRAWBOT_SurfaceSuite_Version2);
    host_.withdraw_suite("DRAWBOT Path Suite", kDRAWBOT_PathSuite_Version1);
    EffectUI* expected = this;
    g_ui.compare_exchange_strong(expected, previous_);
}

void EffectUI::reset_raster(int width, int height, uint32_t rgba) {
    raster_.width = std::max(0, width);
    raster_.height = std::max(0, height);
    raster_.rgba.resize(static_cast<size_t>(raster_.width) * raster_.height * 4);
    for (size_t i = 0; i < raster_.rgba.size(); i += 4) {
        raster_.rgba[i] = static_cast<uint8_t>(rgba >> 24);
        raster_.rgba[i + 1] = static_cast<uint8_t>(rgba >> 16);
        raster_.rgba[i + 2] = static_cast<uint8_t>(rgba >> 8);
        raster_.rgba[i + 3] = static_cast<uint8_t>(rgba);
    }
    State s;
    identity(s.m);
    s.clip_l = 0;
    s.clip_t = 0;
    s.clip_r = raster_.width;
    s.clip_b = raster_.height;
    states_.assign(1, s);
}

}  // namespace headless
