// The planes that an effect makes of a frame: how large they are and where they lie.
#pragma once

#include <stddef.h>

namespace varno {

/// Planes one after the other, of the frame's size or reduced: a sample then stands for a block of
/// riduzione x riduzione pixels.
struct Forma {
    ptrdiff_t larghezza = 0;  // of the frame, pixels
    ptrdiff_t altezza = 0;
    ptrdiff_t riduzione = 1;  // side of a block, 1 to 4
    ptrdiff_t piani = 0;
    ptrdiff_t colonne = 0;  // of a plane, samples: larghezza / riduzione, at least 1
    ptrdiff_t righe = 0;    // likewise
    ptrdiff_t raggio = 0;   // of its blur, samples
};

}  // namespace varno
