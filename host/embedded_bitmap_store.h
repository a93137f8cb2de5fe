// The embedded pictures as the module stores them (generated at build time by
// resources/make_pictures.py): 4 bytes a pixel, pictures rows bottom-up, masks
// top-down (pixel i of a mask belongs to pixel i of the flipped face). Only the
// bitmap provider (embedded_bitmaps.cpp) reads this; everyone else asks
// GetEmbeddedBitmap for prepared pixels.
#pragma once
#include "hostapi/host_api.h"

struct StoredBitmap {
    A_long id;
    A_long width;
    A_long height;
    unsigned char* pixels;       // prepared in place on first use
    const unsigned char* mask;   // button faces only: coverage in byte 1 of each pixel
};

extern const StoredBitmap kStoredBitmaps[];
extern const int kStoredBitmapCount;
