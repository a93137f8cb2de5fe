// Grey image of one float per pixel: the base of the analysis images of the
// render pipeline, expandable into a CVFloatWorld for the diagnostic views.
#pragma once
#include "hostapi/host_api.h"

class CVFloatWorld;

class CVSingleFloatWorld {
public:
    // Allocates height * rowbytes bytes from host memory; the contents are
    // not initialised. A failed allocation leaves data null.
    CVSingleFloatWorld(A_long w, A_long h);
    virtual ~CVSingleFloatWorld();

    CVSingleFloatWorld(const CVSingleFloatWorld&) = delete;
    CVSingleFloatWorld& operator=(const CVSingleFloatWorld&) = delete;

    // data + y * rowbytes bytes; no bounds check.
    float* row_ptr(A_long y) const;

    // Over the common area, dst pixel = (1.0, v, v, v); the rest of dst is
    // left as it was.
    void copy_to_float_world(CVFloatWorld& dst) const;

    A_long width;
    A_long height;
    // Rows padded to whole groups of four floats.
    A_u_long rowbytes;
    float* data;
};
