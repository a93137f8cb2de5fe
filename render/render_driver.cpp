#include "render/render_driver.h"

#include "dae/exceptions.h"
#include "image/box_filter.h"
#include "image/float_world.h"
#include "render/deartifact.h"
#include "render/difference_world.h"
#include "render/field_frames.h"
#include "render/field_timing.h"
#include "render/gradient_world.h"
#include "render/image_memory.h"
#include "render/merge.h"

#include <cmath>
#include <cstdio>
#include <cstring>
#include <optional>
#include <utility>

namespace {

constexpr A_long kMinimumHeight = 5;
constexpr A_long kPrepVerticalRadius = 2;

// One checkout of the input layer, checked in again however the scope ends.
class LayerCheckout {
public:
    LayerCheckout(PF_InData* in_data, A_long time) : in_data_(in_data)
    {
        std::memset(&param_, 0, sizeof(param_));
        if (in_data->inter.checkout_param == nullptr || in_data->inter.checkin_param == nullptr)
            throw static_cast<A_long>(PF_Err_INVALID_CALLBACK);
        DAE::ThrowIfError(in_data->inter.checkout_param(in_data->effect_ref, kParamInputLayer, time,
                                                        in_data->time_step, in_data->time_scale, &param_));
        held_ = true;
    }
    ~LayerCheckout()
    {
        if (held_) in_data_->inter.checkin_param(in_data_->effect_ref, &param_);
    }
    LayerCheckout(const LayerCheckout&) = delete;
    LayerCheckout& operator=(const LayerCheckout&) = delete;

    const PF_LayerDef& layer() const { return param_.u.ld; }

private:
    PF_InData* in_data_;
    PF_ParamDef param_;
    bool held_ = false;
};

bool IsDeep(const PF_LayerDef& layer) { return (layer.world_flags & PF_WorldFlag_DEEP) != 0; }

bool Covers(const PF_LayerDef& layer, const PF_LRect& r)
{
    return layer.data != nullptr && r.left >= 0 && r.top >= 0 && r.right <= layer.width &&
           r.bottom <= layer.height;
}

void MakeImage(CVFloatWorld& image, A_long w, A_long h)
{
    image.resize(w, h);
    RequireImage(image);
}

void CopyLayer(PF_InData* in_data, PF_LayerDef* src, PF_LayerDef* dst)
{
    if (dst->width <= 0 || dst->height <= 0) return;  // a layer of no pixels (a tiny one at low resolution)
    if (in_data->utils == nullptr || in_data->utils->copy == nullptr)
        throw static_cast<A_long>(PF_Err_INVALID_CALLBACK);
    DAE::ThrowIfError(in_data->utils->copy(in_data->effect_ref, src, dst, nullptr, nullptr));
}

// The effect never changes alpha: the input's alpha goes back over whatever
// was written into the extent.
void CopyAlpha(const PF_LayerDef& input, PF_LayerDef& output, const PF_LRect& r)
{
    const bool inDeep = IsDeep(input);
    const bool outDeep = IsDeep(output);
    for (A_long y = r.top; y < r.bottom; ++y) {
        const char* in = reinterpret_cast<const char*>(input.data) + static_cast<std::ptrdiff_t>(y) * input.rowbytes;
        char* out = reinterpret_cast<char*>(output.data) + static_cast<std::ptrdiff_t>(y) * output.rowbytes;
        for (A_long x = r.left; x < r.right; ++x) {
            if (inDeep && outDeep) {
                reinterpret_cast<PF_Pixel16*>(out)[x].alpha = reinterpret_cast<const PF_Pixel16*>(in)[x].alpha;
            } else if (!inDeep && !outDeep) {
                reinterpret_cast<PF_Pixel*>(out)[x].alpha = reinterpret_cast<const PF_Pixel*>(in)[x].alpha;
            } else if (outDeep) {
                const A_u_long a = reinterpret_cast<const PF_Pixel*>(in)[x].alpha;
                reinterpret_cast<PF_Pixel16*>(out)[x].alpha = static_cast<A_u_short>((a * 32768u + 127u) / 255u);
            } else {
                const A_u_long a = reinterpret_cast<const PF_Pixel16*>(in)[x].alpha;
                reinterpret_cast<PF_Pixel*>(out)[x].alpha = static_cast<A_u_char>((a * 255u + 16384u) / 32768u);
            }
        }
    }
}

void WriteOutput(const CVFloatWorld& image, const PF_LayerDef& input, PF_LayerDef& output, const PF_LRect& r)
{
    // 16-bit rows are written in pixel pairs, so an odd width also writes the
    // pixel just right of the extent, from the image's row padding. Inside
    // the layer that is intended. At the layer's right edge the row has no
    // room for it: there the last column is converted on its own, through
    // the same conversion, and only its first pixel is kept.
    const A_long rows = r.bottom - r.top;
    const A_long w = r.right - r.left;
    if (!IsDeep(output) || (w & 1) == 0 || r.right < output.width || rows <= 0) {
        image.copy_to_PF_World(output, &r);
    } else {
        PF_LRect most = r;
        most.right -= 1;
        if (w > 1) image.copy_to_PF_World(output, &most);
        CVFloatWorld column(1, rows);
        RequireImage(column);
        CVSingleFloatWorld pairs(4, rows);  // two 16-bit pixels per row
        RequireImage(pairs);
        for (A_long i = 0; i < rows; ++i) std::memcpy(column.data_row_ptr(i), image.data_at_point(w - 1, i), 16);
        column.copy_to_16bit_integer_world(1, rows, pairs.rowbytes, reinterpret_cast<A_u_short*>(pairs.data));
        for (A_long i = 0; i < rows; ++i) {
            char* row = reinterpret_cast<char*>(output.data) + static_cast<std::ptrdiff_t>(r.top + i) * output.rowbytes;
            std::memcpy(row + static_cast<std::ptrdiff_t>(r.right - 1) * 8, pairs.row_ptr(i), 8);
        }
    }
    CopyAlpha(input, output, r);
}

// The extent r of a host layer converted into its fields: even rows into
// `upper`, odd rows into `lower` (either may be left out), by walking the
// layer two rows at a time.
void ConvertIntoFields(const PF_LayerDef& layer, const PF_LRect& r, CVFloatWorld* upper, CVFloatWorld* lower)
{
    const bool deep = IsDeep(layer);
    const std::ptrdiff_t pitch = layer.rowbytes;
    const char* start = reinterpret_cast<const char*>(layer.data) + r.top * pitch + r.left * (deep ? 8 : 4);
    const A_long w = r.right - r.left;
    const A_u_long twoRows = static_cast<A_u_long>(2 * pitch);
    const std::pair<CVFloatWorld*, const char*> parts[2] = {{upper, start}, {lower, start + pitch}};
    for (const auto& part : parts) {
        CVFloatWorld* field = part.first;
        if (field == nullptr || field->height() <= 0) continue;
        if (deep)
            field->copy_from_16bit_integer_world(w, field->height(), twoRows,
                                                 reinterpret_cast<const A_u_short*>(part.second));
        else
            field->copy_from_8bit_integer_world(w, field->height(), twoRows,
                                                reinterpret_cast<const A_u_char*>(part.second));
    }
}

A_long ScaledSize(A_long size, const PF_RationalScale& scale)
{
    if (scale.den == 0) return size;
    // Wide enough that no factor a host can hand over wraps the product.
    const A_u_longlong num = static_cast<A_u_long>(scale.num);
    const A_u_longlong scaled = (num * static_cast<A_u_long>(size) + scale.den / 2) / scale.den;
    return scaled > 0x7FFFFFFF ? -1 : static_cast<A_long>(scaled);
}

bool FullResolution(const PF_RationalScale& s) { return s.num == 1 && s.den == 1; }

double Ratio(const PF_RationalScale& s, double fallback)
{
    if (s.den == 0 || s.num <= 0) return fallback;
    return static_cast<double>(s.num) / static_cast<double>(s.den);
}

}  // namespace

RenderSettings ReadRenderSettings(const PF_InData* in_data, PF_ParamDef* params[])
{
    RequireDeclaredParams(in_data, params);
    RenderSettings s;
    s.show = in_data->num_params > kParamShow && params[kParamShow] != nullptr ? params[kParamShow]->u.pd.value
                                                                                 : kShowResult;
    s.fieldOrder = params[kParamFieldOrder]->u.pd.value == 1 ? 1 : 2;
    s.deinterlace = params[kParamDoDeinterlace]->u.bd.value != 0;
    const double motionAdjust = params[kParamMotionAdjust]->u.fs_d.value;
    // Beyond the slider's valid range (or not a number): no host sends it.
    if (!(motionAdjust >= kMotionAdjustMin && motionAdjust <= kMotionAdjustMax))
        throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
    s.motionAdjust = static_cast<float>(motionAdjust);
    s.diffLow = kDiffLow;
    s.diffHigh = kDiffHigh;
    s.diffSpread = kDiffSpread;
    s.gradientThreshold = kGradientThreshold;
    s.patternSize = params[kParamPatternSize]->u.sd.value;
    // Beyond what the host lets a user type, and the search span would overflow.
    if (s.patternSize < kPatternSizeMin || s.patternSize > kPatternSizeMax)
        throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);
    s.searchSpan = 2 * s.patternSize;
    s.blendLimit = kBlendLimit;
    s.compRate = CompositionRate(in_data->time_scale, in_data->local_time_step);
    s.sourceRate = SourceRate(params[kParamSourceVideo]->u.pd.value, RateColumn(s.compRate));
    s.deartifacting = params[kParamDeartifacting]->u.pd.value;
    return s;
}

void DrawMessagePicture(PF_InData* in_data, PF_LayerDef* output, A_long id, EmbeddedBitmapFn pictures)
{
    const bool deep = IsDeep(*output);
    PF_UtilCallbacks* utils = in_data->utils;
    if (utils == nullptr || (deep ? utils->fill16 == nullptr : utils->fill == nullptr))
        throw static_cast<A_long>(PF_Err_INVALID_CALLBACK);
    if (deep) {
        const PF_Pixel16 black = {32768, 0, 0, 0};
        DAE::ThrowIfError(utils->fill16(in_data->effect_ref, &black, nullptr, output));
    } else {
        const PF_Pixel black = {255, 0, 0, 0};
        DAE::ThrowIfError(utils->fill(in_data->effect_ref, &black, nullptr, output));
    }

    A_long pw = 0, ph = 0;
    const A_u_char* pixels =
        pictures != nullptr ? static_cast<const A_u_char*>(pictures(id, &pw, &ph)) : nullptr;
    if (pixels == nullptr || pw <= 0 || ph <= 0 || output->width <= 0 || output->height <= 0) return;

    // The pictures are drawn for a frame 1920 pixels wide: wider frames get
    // them larger in proportion, narrower ones at their own size so that
    // the text stays readable. Downsampling shrinks them with the frame, and
    // the pixel aspect ratio is undone so that they look undistorted.
    const double par = Ratio(in_data->pixel_aspect_ratio, 1.0);
    const double share = std::fmax(1.0, static_cast<double>(in_data->width) / 1920.0);
    double sx = share / par * Ratio(in_data->downsample_x, 1.0);
    double sy = share * Ratio(in_data->downsample_y, 1.0);
    // Never larger than the output.
    const double fit = std::fmin(output->width / (pw * sx), output->height / (ph * sy));
    if (fit < 1.0) {
        sx *= fit;
        sy *= fit;
    }
    const A_long dw = static_cast<A_long>(pw * sx);
    const A_long dh = static_cast<A_long>(ph * sy);
    if (dw <= 0 || dh <= 0) return;
    const A_long left = (output->width - dw) / 2;
    const A_long top = (output->height - dh) / 2;
    for (A_long y = 0; y < dh; ++y) {
        const A_long py = static_cast<A_long>((y + 0.5) / sy) < ph ? static_cast<A_long>((y + 0.5) / sy) : ph - 1;
        char* row = reinterpret_cast<char*>(output->data) + static_cast<std::ptrdiff_t>(top + y) * output->rowbytes;
        for (A_long x = 0; x < dw; ++x) {
            const A_long pxRaw = static_cast<A_long>((x + 0.5) / sx);
            const A_long px = pxRaw < pw ? pxRaw : pw - 1;
            const A_u_char* p = pixels + (static_cast<std::ptrdiff_t>(py) * pw + px) * 4;
            if (deep) {
                PF_Pixel16& o = reinterpret_cast<PF_Pixel16*>(row)[left + x];
                o.alpha = 32768;
                o.red = static_cast<A_u_short>((p[1] * 32768u + 127u) / 255u);
                o.green = static_cast<A_u_short>((p[2] * 32768u + 127u) / 255u);
                o.blue = static_cast<A_u_short>((p[3] * 32768u + 127u) / 255u);
            } else {
                PF_Pixel& o = reinterpret_cast<PF_Pixel*>(row)[left + x];
                o.alpha = 255;
                o.red = p[1];
                o.green = p[2];
                o.blue = p[3];
            }
        }
    }
}

void Render(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[], PF_LayerDef* output,
            EmbeddedBitmapFn pictures)
{
    RequireDeclaredParams(in_data, params);
    // No output world, or a layer without pixels: nothing can be drawn or
    // read, and nothing is touched.
    PF_LayerDef* input = &params[kParamInputLayer]->u.ld;
    if (output == nullptr || (output->data == nullptr && output->width > 0 && output->height > 0) ||
        (input->data == nullptr && input->width > 0 && input->height > 0))
        throw static_cast<A_long>(PF_Err_BAD_CALLBACK_PARAM);

    // The layer must be the frame at the current downsampling.
    if (input->width != ScaledSize(in_data->width, in_data->downsample_x) ||
        input->height != ScaledSize(in_data->height, in_data->downsample_y)) {
        DrawMessagePicture(in_data, output, kPictureLayerSize, pictures);
        return;
    }

    const RenderSettings settings = ReadRenderSettings(in_data, params);

    // The extent, kept inside both the layer and the output.
    PF_LRect E = {in_data->extent_hint.left, in_data->extent_hint.top, in_data->extent_hint.right,
                  in_data->extent_hint.bottom};
    auto clampTo = [](A_long v, A_long lo, A_long hi) { return v < lo ? lo : (v > hi ? hi : v); };
    const A_long maxW = input->width < output->width ? input->width : output->width;
    const A_long maxH = input->height < output->height ? input->height : output->height;
    E.left = clampTo(E.left, 0, maxW);
    E.right = clampTo(E.right, E.left, maxW);
    E.top = clampTo(E.top, 0, maxH);
    E.bottom = clampTo(E.bottom, E.top, maxH);
    const A_long W = E.right - E.left;
    const A_long H = E.bottom - E.top;

    const A_long minWidth = settings.searchSpan + settings.patternSize;
    if (input->width < minWidth || input->height < kMinimumHeight) {
        const char* fmt = "%s will only work on a layer with dimensions of at least %d x %d.";
        if (in_data->utils != nullptr && in_data->utils->ansi.sprintf != nullptr)
            in_data->utils->ansi.sprintf(out_data->return_msg, fmt, DAE::kFamilyName, static_cast<int>(minWidth),
                                         static_cast<int>(kMinimumHeight));
        else
            std::snprintf(out_data->return_msg, sizeof(out_data->return_msg), fmt, DAE::kFamilyName,
                          static_cast<int>(minWidth), static_cast<int>(kMinimumHeight));
        CopyLayer(in_data, input, output);
        return;
    }
    if (W < minWidth || H < kMinimumHeight) {
        CopyLayer(in_data, input, output);
        return;
    }

    const bool full = in_data->quality == PF_Quality_HI && FullResolution(in_data->downsample_x) &&
                      FullResolution(in_data->downsample_y);

    const A_long sourceKind = params[kParamSourceVideo]->u.pd.value;
    if (LookupConversion(sourceKind, RateColumn(settings.compRate)).unsupported) {
        DrawMessagePicture(in_data, output, kPictureConversion, pictures);
        // The layer is the right size here, so the picture keeps its alpha
        // like every other output (a layer whose size is wrong has none to give).
        CopyAlpha(*input, *output, PF_LRect{0, 0, maxW, maxH});
        out_data->out_flags |= PF_OutFlag_DISPLAY_ERROR_MESSAGE;
        return;
    }

    if (!settings.deinterlace && settings.deartifacting == 1) {
        CopyLayer(in_data, input, output);
        return;
    }

    // A frame-sized image for the paths that show a built frame; the full
    // "Result" never needs it, so it is allocated on first use only.
    CVFloatWorld result;
    auto resultFrame = [&]() -> CVFloatWorld& {
        if (result.data_ptr() == nullptr) MakeImage(result, W, H);
        return result;
    };
    const FieldSelection sel =
        SelectFields(FieldNumber(in_data->current_time, in_data->time_scale, settings.sourceRate),
                     settings.fieldOrder, in_data->extent_hint.top);
    const bool upper = sel.upper;
    const A_long HU = (H + 1) / 2;
    const A_long HL = H / 2;

    // Each checked-out frame is converted straight into its fields: the even
    // rows of the extent into the upper field, the odd rows into the lower
    // one (the conversion is per value, so this is the frame converted and
    // then split). Only the four working fields are ever read, and the
    // previous and next frames only in full processing with deinterlacing,
    // so the other fields are left empty.
    CVFloatWorld fields[6];
    bool wanted[6] = {false, false, true, true, false, false};
    if (full && settings.deinterlace) wanted[sel.minus2] = wanted[sel.minus1] = wanted[sel.plus1] = true;
    // "Result" reads Field -2 and Field -1 only through the motion map, which
    // takes their rows straight from the checked-out layers: those two are
    // never made as images, and their checkouts are held until the map is.
    const bool comparedInLayers = full && settings.deinterlace && settings.show == kShowResult;
    FieldRows inLayer[6];
    std::optional<LayerCheckout> held[3];
    {
        const SourceFrameTimes times = SourceTimes(in_data->current_time, in_data->time_scale, settings.sourceRate);
        // A time outside the layer may come back empty; the current frame
        // stands in for it.
        auto fetch = [&](A_long time, A_long upperIndex) {
            std::optional<LayerCheckout>& checkout = held[upperIndex / 2];
            checkout.emplace(in_data, time);
            const PF_LayerDef& layer = Covers(checkout->layer(), E) ? checkout->layer() : *input;
            bool keep = false;
            for (A_long i = upperIndex; i < upperIndex + 2; ++i) {
                if (!comparedInLayers || !wanted[i] || (i != sel.minus2 && i != sel.minus1)) continue;
                wanted[i] = false;
                keep = true;
                FieldRows& f = inLayer[i];
                f.deep = IsDeep(layer);
                f.pitch = 2 * static_cast<std::ptrdiff_t>(layer.rowbytes);
                f.first = reinterpret_cast<const char*>(layer.data) +
                          static_cast<std::ptrdiff_t>(E.top + (i - upperIndex)) * layer.rowbytes +
                          static_cast<std::ptrdiff_t>(E.left) * (f.deep ? 8 : 4);
                f.rows = i == upperIndex ? HU : HL;
            }
            CVFloatWorld* upperField = wanted[upperIndex] ? &fields[upperIndex] : nullptr;
            CVFloatWorld* lowerField = wanted[upperIndex + 1] ? &fields[upperIndex + 1] : nullptr;
            if (upperField != nullptr) MakeImage(*upperField, W, HU);
            if (lowerField != nullptr) MakeImage(*lowerField, W, HL);
            ConvertIntoFields(layer, E, upperField, lowerField);
            if (!keep) checkout.reset();
        };
        fetch(times.current, 2);
        fetch(times.next, 4);
        fetch(times.previous, 0);
    }
    CVFloatWorld& field0 = fields[sel.zero];
    const A_long h0 = field0.height();
    CVFloatWorld out;
    MakeImage(out, W, H);

    if (!settings.deinterlace) {
        resultFrame().copy_from_PF_World(*input, &E);
        result.copy_into(out);
    } else if (!full) {
        BuildFrameFromField(field0, resultFrame(), upper);
    }

    if (!full) {
        WriteOutput(result, *input, *output, E);
        return;
    }

    if (settings.deinterlace) {
        CVFloatWorld& fieldMinus2 = fields[sel.minus2];
        CVFloatWorld& fieldMinus1 = fields[sel.minus1];
        CVFloatWorld& fieldPlus1 = fields[sel.plus1];

        // Field 0 is not written before the merge has read it (only the
        // views that return early draw into it), so it serves as its own
        // copy for the pattern windows.
        const CVFloatWorld& field0Copy = field0;
        CVFloatWorld prepA, prepB;
        MakeImage(prepA, W, h0);
        if (!box_filter_horizontal_vertical(field0Copy, prepA, settings.patternSize, kPrepVerticalRadius)) {
            MakeImage(prepB, W, h0);
            box_filter_horizontal(field0Copy, prepB, settings.patternSize);
            box_filter_vertical(prepB, prepA, kPrepVerticalRadius);
        }

        // The blend of both fields' frames is built where the merge wants
        // its base; the views that need no base never read it, and the ones
        // that show `result` build it anew. The "Result" walk rebuilds every
        // line below a Field 0 line whole (its segments join from column 0
        // to the width), so it gets its base row by row inside the walk
        // (below); the other views keep parts of the base below.
        const bool baseByRow = settings.show == kShowResult;
        if (!baseByRow) BuildBlendedFrame(field0, fieldPlus1, upper, out);

        CVDifferenceWorld difference(W, HL);
        RequireImage(difference);
        if (settings.show != kShowGradient) {
            difference.SetParameters(settings.diffLow, settings.diffHigh, settings.diffSpread, settings.motionAdjust);
            if (comparedInLayers) {
                difference.Compute(upper, inLayer[sel.minus2], inLayer[sel.minus1], field0, fieldPlus1);
                for (auto& checkout : held) checkout.reset();
            } else {
                difference.Compute(upper, fieldMinus2, fieldMinus1, field0, fieldPlus1);
            }
            if (settings.show == kShowDifference) {
                difference.DrawInto(field0);
                BuildFrameFromField(field0, resultFrame(), upper);
                WriteOutput(result, *input, *output, E);
                return;
            }
        }

        switch (settings.show) {
        case kShowAllFields:
            // A quarter of each field.
            fieldMinus2.blend_over(fieldMinus1, 0.5f);
            fieldPlus1.blend_over(field0, 0.5f);
            fieldMinus1.blend_over(field0, 0.5f);
            BuildFrameFromField(field0, resultFrame(), upper);
            WriteOutput(result, *input, *output, E);
            return;
        case kShowFieldMinus2:
            // Built with Field 0's parity flag, as the view has always shown it.
            BuildFrameFromField(fieldMinus2, resultFrame(), upper);
            WriteOutput(result, *input, *output, E);
            return;
        case kShowFieldMinus1:
            BuildFrameFromField(fieldMinus1, resultFrame(), !upper);
            WriteOutput(result, *input, *output, E);
            return;
        case kShowField0:
            BuildFrameFromField(field0, resultFrame(), upper);
            WriteOutput(result, *input, *output, E);
            return;
        case kShowFieldPlus1:
            BuildFrameFromField(fieldPlus1, resultFrame(), !upper);
            WriteOutput(result, *input, *output, E);
            return;
        default:
            break;
        }

        CVGradientWorld gradient(W, h0);
        RequireImage(gradient);
        gradient.SetThreshold(settings.gradientThreshold);
        gradient.Compute(field0);
        if (settings.show == kShowGradient) {
            gradient.DrawInto(fieldPlus1);
            BuildFrameFromField(fieldPlus1, resultFrame(), !upper);
            WriteOutput(result, *input, *output, E);
            return;
        }

        if (settings.show == kShowSource || settings.show == kShowVectorMagnitudes)
            out.fill(CVFloatWorld::tPixel{1.0f, 0.0f, 0.0f, 0.0f});

        if (!baseByRow) {
            Merge(settings, field0, fieldPlus1, upper, gradient, difference, field0Copy, prepA, out, 0, h0);
        } else {
            // Field row y's walk blends its own line r0 with the base and
            // writes every real pixel of the line below; only that line's
            // row padding (which the 16-bit output reads for an odd width)
            // keeps the base. The rows the walk never reaches are built
            // first.
            const A_long offset = upper ? 0 : 1;
            BuildBlendedRows(field0, fieldPlus1, upper, out, 0, offset, 0);
            BuildBlendedRows(field0, fieldPlus1, upper, out, 2 * (h0 - 1) + offset, H, 0);
            const MergeRowHook baseRows = [&](long y) {
                const A_long r0 = 2 * static_cast<A_long>(y) + offset;
                // A still pixel of the line takes Field 0's pixel, so only
                // the moving ones need the base.
                BuildBlendedRows(field0, fieldPlus1, upper, out, r0, r0 + 1, 0,
                                 difference.row_ptr(static_cast<A_long>(y)));
                BuildBlendedRows(field0, fieldPlus1, upper, out, r0 + 1, r0 + 2, W);
            };
            Merge(settings, field0, fieldPlus1, upper, gradient, difference, field0Copy, prepA, out, 0, h0,
                  &baseRows);
        }
    }

    if (settings.deartifacting != 1) {
        CVFloatWorld scratch;
        MakeImage(scratch, W, H);
        Deartifact(settings.deartifacting, out, scratch);
    }

    WriteOutput(out, *input, *output, E);
}
