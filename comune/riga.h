#pragma once

#include <stddef.h>

namespace varno {

/// A row of the picture that an effect changes.
struct RigaDiPixel {
    const float* da;      // interleaved RGB, as the effect finds it
    float* a;             // where the result goes: da itself, or memory apart from it
    float* luma;          // gets the result's luminance; null: it is left as it is
    ptrdiff_t larghezza;  // pixels
};

}  // namespace varno
