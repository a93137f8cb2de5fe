// Motion map of one output frame: per pixel of the field grid, 0 (still) to
// 1 (moving), from the four working fields. Same-parity fields two fields
// apart are compared, evidence of change and of stillness is gathered over a
// small horizontal neighbourhood and three rows, then the map is smoothed by
// a 15 x 15 box mean and shaped by "Motion Detection Adjustment".
#pragma once
#include "image/float_world.h"
#include "image/single_float_world.h"

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
