#pragma once

#include "comune/riga.h"

#include <stddef.h>

namespace varno {

/// How many planes a glow may have: three channels and a veil.
constexpr int MASSIMO_PIANI = 4;

/// One row of a reduced copy, and the rows of the frame that its blocks cover.
struct RigaDaRidurre {
    const float* rgb;     // first of the rows, larghezza pixels each; for glows with a colour
    const float* luma;    // likewise
    ptrdiff_t larghezza;  // of the frame, pixels
    ptrdiff_t righe;      // of the block, that lie inside the frame: 1 to riduzione
    ptrdiff_t riduzione;  // side of a block
    ptrdiff_t ridotta;    // samples in a row of the copy
    float* uscita[MASSIMO_PIANI];
};

/// One row of the frame, and the rows of the blurred copy between which it lies.
struct RigaDaComporre {
    RigaDiPixel riga;
    ptrdiff_t riduzione;  // 0: sopra are rows of the frame's own size, nothing is enlarged
    ptrdiff_t ridotta;    // samples in a row of the copy
    const float* sopra[MASSIMO_PIANI];
    const float* sotto[MASSIMO_PIANI];
    float ty;        // place between them, 0 at sopra; above 1 past the last row
    float quantita;  // amount of the effect
    float media;     // mean of the frame's luminance, for the veil of the white mist
};

/// What a glow is made of.
struct NucleiAlone {
    int piani;                                   // planes to blur
    void (*maschera)(const RigaDaRidurre& r);    // mask of each pixel, mean of each block
    void (*composito)(const RigaDaComporre& r);  // enlarges bilinearly and lays it over the picture
};

struct NucleiAloni {
    NucleiAlone halation;
    NucleiAlone bloom;
    NucleiAlone streak;
    NucleiAlone promist;
    NucleiAlone stella;
    NucleiAlone mistw;
    NucleiAlone glimmer;
    NucleiAlone luminanza;  // luma as it is, and the enlarged plane as it is, written over luma
};

}  // namespace varno
