// The effect's embedded pictures, handed out by resource id.
//
// Prepared pixels (what GetEmbeddedBitmap returns), 4 bytes a pixel, rows
// top-down, width x height pixels without padding:
//   23409, 23410, 23411  message pictures: bytes A, R, G, B (the host's
//                        PF_Pixel order), alpha 255 everywhere
//   23412, 23413         Auto Setup button, normal and pressed
//   23415, 23416         the same once Auto Setup has run, normal and pressed;
//                        the four button faces are bytes B, G, R, A with
//                        straight (not premultiplied) alpha, i.e. DRAWBOT's
//                        kDRAWBOT_PixelLayout_32BGRA_Straight
// Any other id (23414 included) has no picture.
#pragma once
#include "hostapi/host_api.h"

enum EmbeddedBitmapId : A_long {
    kBitmapLayerSizeMessage = 23409,     // the layer's size does not match the frame
    kBitmapNoticeMessage = 23410,        // general notice
    kBitmapConversionMessage = 23411,    // unsupported source / composition rate pair
    kBitmapButton = 23412,
    kBitmapButtonPressed = 23413,
    kBitmapButtonDone = 23415,
    kBitmapButtonDonePressed = 23416,
};

// Sets *width and *height to 0, then, for a known id, to the picture's size
// and returns its prepared pixels; null for an unknown id. The first request
// for an id prepares that picture in place (exactly once); later requests
// return the same pixels untouched. Not thread-safe by itself: callers hold
// the module's entry lock.
const void* GetEmbeddedBitmap(A_long id, A_long* width, A_long* height);
