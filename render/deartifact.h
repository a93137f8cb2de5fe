// Deartifacting: smooths the colour fringes of chroma-subsampled video by a
// median filter of the chosen format and puts the filtered colour back under
// the unfiltered brightness, so that only colour is smoothed.
#pragma once
#include "image/float_world.h"

// "Deartifacting" popup value to the filter mode of the chroma median:
// 2 "Broadcast 4:2:2" -> 1, 3 "HDCAM 3:1:1" -> 2, 4 "DV/HDV 4:1:1, 4:2:0" -> 3,
// anything else ("None" included) -> 0, which means no filtering.
long DeartifactMode(long popupValue);

// Filters `image` in place; `scratch` is an image of the same size owned by
// the caller and receives the filtered picture on the way. Mode 0 returns
// without touching either image. Alpha is always kept.
void Deartifact(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch);

// The two builds (chosen by Deartifact from the processor); identical results.
void Deartifact_regular(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch);
void Deartifact_simd(long popupValue, CVFloatWorld& image, CVFloatWorld& scratch);

// The step after the median in each build: every pixel of `image` gets the
// colour of `filtered` at its own luma, pulled back toward grey where a
// channel leaves 0..1, and keeps its alpha.
void RestoreLuma_regular(CVFloatWorld& image, const CVFloatWorld& filtered);
void RestoreLuma_simd(CVFloatWorld& image, const CVFloatWorld& filtered);
