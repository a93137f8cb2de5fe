// The render command: one progressive output frame from the interlaced
// input layer (parameter 0), or one of the diagnostic views.
#pragma once
#include "hostapi/host_api.h"
#include "render/render_settings.h"

// Hands out an embedded picture by resource id (23409..23416) with its size,
// or null. The pixels are 4 bytes each, rows top-down, already prepared by
// the provider (for the message pictures: host channel order A, R, G, B).
using EmbeddedBitmapFn = const void* (*)(A_long id, A_long* width, A_long* height);

// Writes the frame into `output`. Failures of the host are thrown as a plain
// A_long error code, failed allocations as DAE::DAEAllocXCP; the caller (the
// entry point) maps them to the command's result. Every image and every layer
// checkout is released before an exception leaves.
void Render(PF_InData* in_data, PF_OutData* out_data, PF_ParamDef* params[],
            PF_LayerDef* output, EmbeddedBitmapFn pictures);

// Fills the settings from the parameters and in_data. Throws the A_long 514
// for a "Source Video" value other than NTSC or PAL.
RenderSettings ReadRenderSettings(const PF_InData* in_data, PF_ParamDef* params[]);

// Message pictures drawn into the output.
constexpr A_long kPictureLayerSize = 23409;   // layer size differs from the frame size
constexpr A_long kPictureConversion = 23411;  // unsupported source / composition rate pair

// Fills `output` opaque black through the host's fill callback and draws the
// picture centred over it: at its own size on frames up to 1920 pixels wide,
// larger in proportion on wider ones, shrunk by the downsampling, stretched
// against the pixel aspect ratio, and never larger than the output.
void DrawMessagePicture(PF_InData* in_data, PF_LayerDef* output, A_long id, EmbeddedBitmapFn pictures);
