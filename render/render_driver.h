// The render command: one progressive output frame from the interlaced
// input layer (parameter 0), or one of the diagnostic views.
#pragma once
#include "hostapi/host_api.h"

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
