// Four-channel 32-bit float image: the working image of every analysis and
// compositing step. Channel order is that of the host's integer pixel
// (alpha, red, green, blue); rows are padded to whole groups of four pixels.
//
// The class is exported from the module with its whole member set, so member
// names, argument types and const-ness are part of the module's interface.
// Sizes and coordinates are the host's 32-bit A_long, pitches A_u_long, so
// every platform computes alike (unsigned wrap-arounds included).
//
// Pixel memory comes from host memory handles (DAE::AllocateHandleMemory of
// the current command), never from the general heap. No operation checks
// bounds; callers keep sizes and coordinates consistent.
#pragma once
#include "dae/export.h"
#include "hostapi/host_api.h"

// Gives the tests reach to the private variants; defined only by tests.
class CVFloatWorldTestAccess;

class TESSEN_EXPORT CVFloatWorld {
public:
    struct tPixel {
        float alpha;
        float red;
        float green;
        float blue;
    };

    static const A_u_long kFloatsPerPixel = 4;
    static const A_u_long kBytesPerPixel = 16;

    CVFloatWorld();
    CVFloatWorld(A_long w, A_long h);
    // Sized from the layer's extent_hint and filled from it.
    explicit CVFloatWorld(const PF_LayerDef& layer);
    ~CVFloatWorld();

    // Releases the pixels and allocates a new block, even for the same size.
    void resize(A_long w, A_long h);

    A_long width() const;
    A_long height() const;
    A_u_long rowbytes() const;

    float* data_ptr() const;
    tPixel* pixel_ptr() const;
    float* data_row_ptr(A_long y) const;
    tPixel* pixel_row_ptr(A_long y) const;
    float* data_at_point(A_long x, A_long y) const;
    tPixel* pixel_at_point(A_long x, A_long y) const;
    // Row pointer of row height(): one past the last row.
    float* data_end_ptr() const;
    tPixel* pixel_end_ptr() const;

    // Integer pixels to float. w and h are not used: the image's own size
    // is converted, so the source must be at least as large as the image.
    void copy_from_8bit_integer_world(A_long w, A_long h, A_u_long rowbytes, const A_u_char* src);
    void copy_from_16bit_integer_world(A_long w, A_long h, A_u_long rowbytes, const A_u_short* src);
    // Float to integer pixels. The regular and SIMD variants differ in
    // rounding, clamping and row extent; which runs depends on cpu_has_simd.
    void copy_to_8bit_integer_world(A_long w, A_long h, A_u_long rowbytes, A_u_char* dst) const;
    void copy_to_16bit_integer_world(A_long w, A_long h, A_u_long rowbytes, A_u_short* dst) const;

    // Host layer <-> image; rect null means the layer's extent_hint. Image
    // pixel (0, 0) is layer pixel (rect.left, rect.top).
    void copy_from_PF_World(const PF_LayerDef& layer, const PF_LRect* rect);
    void copy_to_PF_World(PF_LayerDef& layer, const PF_LRect* rect) const;

    // Whole padded rows of this image into dst starting at (x, y).
    void copy_into_at(CVFloatWorld& dst, A_long x, A_long y) const;
    void copy_into(CVFloatWorld& dst) const;
    // Box-average rescale of the padded image into dst; the pointer is unused.
    void copy_scaling_into(CVFloatWorld& dst, CVFloatWorld* unused) const;

    // Every pixel, and for an odd width the padding pixel after the last.
    void fill(const tPixel& pixel);
    // dst = this * t + dst * (1 - t) per channel over the common area (pairs
    // of pixels, so an odd column count blends one more).
    void blend_over(CVFloatWorld& dst, float t) const;

private:
    friend class CVFloatWorldTestAccess;

    // Copying is disabled: the image owns its block.
    CVFloatWorld(const CVFloatWorld&);
    CVFloatWorld& operator=(const CVFloatWorld&);

    void copy_from_8bit_integer_world_regular(A_long w, A_long h, A_u_long rowbytes, const A_u_char* src);
    void copy_from_8bit_integer_world_simd(A_long w, A_long h, A_u_long rowbytes, const A_u_char* src);
    void copy_from_16bit_integer_world_regular(A_long w, A_long h, A_u_long rowbytes, const A_u_short* src);
    void copy_from_16bit_integer_world_simd(A_long w, A_long h, A_u_long rowbytes, const A_u_short* src);
    void copy_to_8bit_integer_world_regular(A_long w, A_long h, A_u_long rowbytes, A_u_char* dst) const;
    void copy_to_8bit_integer_world_simd(A_long w, A_long h, A_u_long rowbytes, A_u_char* dst) const;
    void copy_to_16bit_integer_world_regular(A_long w, A_long h, A_u_long rowbytes, A_u_short* dst) const;
    void copy_to_16bit_integer_world_simd(A_long w, A_long h, A_u_long rowbytes, A_u_short* dst) const;

    void ScaleRectAvg(tPixel* dst, tPixel* src, A_long srcW, A_long srcH, A_long dstW, A_long dstH) const;
    void scale_line(tPixel* dst, tPixel* src, A_long srcW, A_long dstW) const;

    // From the stored width; the argument is not used (callers store the
    // width first).
    A_u_long calculate_rowbytes(A_long w);
    void setup();
    void setdown();

    A_long width_;
    A_long height_;
    A_u_long start_offset;
    A_u_long rowbytes_;
    float* data_;

    // Counts allocations modulo 9; picks the 4096-byte stagger of the next
    // image so that images used together do not alias in the cache.
    static A_u_long world_number_;
};
