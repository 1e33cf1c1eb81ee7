#pragma once

#include "comune/riga.h"

#include <stddef.h>
#include <stdint.h>

namespace varno {

/// Row kernels of the effects that are not glows. rgb is interleaved, n counts pixels.
struct NucleiEffetti {
    /// Luminance moved by pendenza * quantita of its limited difference from sfocata and carried to
    /// the channels as a ratio; leaves 0..1. r.luma may be luma.
    void (*dettaglio)(const RigaDiPixel& r, const float* luma, const float* sfocata, float quantita,
                      float pendenza);
    /// Channels times 1 - maschera * quantita, held to 0..1.
    void (*vignetta)(float* rgb, const float* maschera, ptrdiff_t n, float quantita);
    /// n floats held to 0..1.
    void (*limita)(float* valori, ptrdiff_t n);
    /// Grain on the two rows of pixels that the row y of cells begins; dispari is null where the
    /// frame ends with the first. larghezza in pixels; y1 is the next row of cells, or y again.
    void (*grana)(float* pari, float* dispari, ptrdiff_t larghezza, uint32_t y, uint32_t y1,
                  uint32_t fotogramma, float quantita);
    /// The red and the blue of a row, each to its own.
    void (*rosso_e_blu)(const float* rgb, float* rosso, float* blu, ptrdiff_t n);
    /// Red and blue of the row y from where the lens puts them in the planes of the frame;
    /// scala is the shift in the middle of an edge, of the way from the centre.
    void (*aberrazione)(const RigaDiPixel& r, const float* rosso, const float* blu,
                        ptrdiff_t altezza, ptrdiff_t y, float scala);
    /// somma[x] += peso * campioni[x].
    void (*somma_pesata)(float* somma, const float* campioni, ptrdiff_t n, float peso);
};

}  // namespace varno
