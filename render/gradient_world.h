// Horizontal edges of Field 0: +1 or -1 where the brightness along a row
// turns sharply, 0 elsewhere. Rows are independent.
#pragma once
#include "image/float_world.h"
#include "image/single_float_world.h"

class CVGradientWorld : public CVSingleFloatWorld {
public:
    CVGradientWorld(A_long w, A_long h);
    ~CVGradientWorld() override;

    void SetThreshold(float value) { threshold_ = value; }

    // field: same size as this image.
    void Compute(const CVFloatWorld& field);

    // Rows first .. end - 1 only (rows are independent), so that a caller
    // may have them made just before it reads them. `byPasses` picks the
    // in-place pass-by-pass form over the four-at-a-time one (same values;
    // tests compare the two).
    void ComputeRows(const CVFloatWorld& field, A_long first, A_long end, bool byPasses = false);

    // The "Gradient" view: opaque black, +1 edges in the first colour
    // channel, -1 edges in the second, over the area both images share.
    void DrawInto(CVFloatWorld& field) const;

private:
    float threshold_;
};
