#include "host/embedded_bitmaps.h"

#include "host/embedded_bitmap_store.h"

#include <utility>

namespace {

// One preparation flag per stored picture, set until the picture is first
// handed out. Plain bytes: the entry lock serialises every caller.
constexpr int kMaxPictures = 8;
unsigned char g_unprepared[kMaxPictures] = {1, 1, 1, 1, 1, 1, 1, 1};

void FlipRows(unsigned char* pixels, A_long width, A_long height) {
    if (height < 2) return;
    const size_t row = static_cast<size_t>(width) * 4;
    for (A_long i = 0; i < height / 2; ++i) {
        unsigned char* a = pixels + row * static_cast<size_t>(i);
        unsigned char* b = pixels + row * static_cast<size_t>(height - 1 - i);
        for (size_t k = 0; k < row; ++k) std::swap(a[k], b[k]);
    }
}

void ReverseBytes(unsigned char* pixels, size_t count) {
    for (size_t i = 0; i < count; ++i) {
        unsigned char* p = pixels + i * 4;
        std::swap(p[0], p[3]);
        std::swap(p[1], p[2]);
    }
}

// Pixel i of the mask gives the alpha of pixel i of the (already flipped)
// face: masks are stored top-down, in the order the face ends up in.
void ApplyMask(unsigned char* pixels, const unsigned char* mask, size_t count) {
    for (size_t i = 0; i < count; ++i) pixels[i * 4 + 3] = mask[i * 4 + 1];
}

bool IsMessage(A_long id) { return id >= kBitmapLayerSizeMessage && id <= kBitmapConversionMessage; }

}  // namespace

const void* GetEmbeddedBitmap(A_long id, A_long* width, A_long* height) {
    *width = 0;
    *height = 0;
    if (id < kBitmapLayerSizeMessage || id > kBitmapButtonDonePressed || id == 23414) return nullptr;
    for (int i = 0; i < kStoredBitmapCount && i < kMaxPictures; ++i) {
        const StoredBitmap& bm = kStoredBitmaps[i];
        if (bm.id != id) continue;
        if (g_unprepared[i]) {
            g_unprepared[i] = 0;
            FlipRows(bm.pixels, bm.width, bm.height);
            const size_t count = static_cast<size_t>(bm.width) * static_cast<size_t>(bm.height);
            if (IsMessage(id)) {
                ReverseBytes(bm.pixels, count);
            } else if (bm.mask) {
                ApplyMask(bm.pixels, bm.mask, count);
            }
        }
        *width = bm.width;
        *height = bm.height;
        return bm.pixels;
    }
    return nullptr;
}
