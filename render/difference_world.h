// Motion map of one output frame: per pixel of the field grid, 0 (still) to
// 1 (moving), from the four working fields. Same-parity fields two fields
// apart are compared, evidence of change and of stillness is gathered over a
// small horizontal neighbourhood and three rows, then the map is smoothed by
// a 15 x 15 box mean and shaped by "Motion Detection Adjustment".
#pragma once
#include "image/float_world.h"
#include "image/single_float_world.h"

#include <cstddef>

// Where the map reads the rows of a field it only compares: a float image, or
// the rows of that field in the host's 8- or 16-bit layer, converted value
// by value as they are read (the same conversion as the image's), so that
// the field need not be made as an image at all.
struct FieldRows {
    const CVFloatWorld* image = nullptr;  // the field as an image, or null
    const char* first = nullptr;          // else: the field's row 0 in the layer
    std::ptrdiff_t pitch = 0;             // bytes from one field row to the next
    bool deep = false;                    // 16-bit layer
    A_long rows = 0;                      // field rows

    static FieldRows Of(const CVFloatWorld& image)
    {
        FieldRows f;
        f.image = &image;
        f.rows = image.height();
        return f;
    }
};

class CVDifferenceWorld : public CVSingleFloatWorld {
public:
    CVDifferenceWorld(A_long w, A_long h);
    ~CVDifferenceWorld() override;

    void SetParameters(float lowThreshold, float highThreshold, A_long spread, float motionAdjust);

    // upper: Field 0 is the upper field. All fields are at least this wide
    // and tall. Runs the three steps below in order.
    void Compute(bool upper, const CVFloatWorld& fieldMinus2, const CVFloatWorld& fieldMinus1,
                 const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1);

    // The steps of Compute, public so that each can be checked on its own.
    // The first two take scratch rows from host memory and throw
    // DAE::DAEAllocXCP when they get none.
    void ComputeEvidence(bool upper, const CVFloatWorld& fieldMinus2, const CVFloatWorld& fieldMinus1,
                         const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1);

    // Compute and ComputeEvidence with Field -2 and Field -1 (which only the
    // map reads) taken from wherever they are: the same map, to the bit.
    void Compute(bool upper, const FieldRows& fieldMinus2, const FieldRows& fieldMinus1,
                 const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1);
    void ComputeEvidence(bool upper, const FieldRows& fieldMinus2, const FieldRows& fieldMinus1,
                         const CVFloatWorld& field0, const CVFloatWorld& fieldPlus1);
    void Smooth();
    void ApplyMotionCurve();

    // The "Difference" view: the map as opaque grey into a field image of
    // this width. Field rows beyond the map's height repeat its last row.
    void DrawInto(CVFloatWorld& field) const;

private:
    float lowThreshold_;
    float highThreshold_;
    A_long spread_;
    float motionAdjust_;
};
