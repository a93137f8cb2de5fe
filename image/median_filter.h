// Square median filters for the deartifacting stage: red, green and blue are
// filtered separately, alpha of every interior pixel becomes 1.0, and a
// border as wide as the filter's radius is copied from src unchanged.
//
//   filter 1: 3 x 3, border 1     filter 2: 5 x 5, border 2
//   filter 3: 7 x 7, border 3     any other value: dst is left untouched
//
// src and dst are distinct images of the same size; src is only read.
#pragma once
#include "hostapi/host_api.h"

class CVFloatWorld;

void deartifact_median(const CVFloatWorld& src, A_long filter, CVFloatWorld& dst);
