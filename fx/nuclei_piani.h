// The kernels that every effect's planes go through: reduced, blurred, enlarged.
#pragma once

#include "fx/effetto.h"

#include <stddef.h>

namespace varno {

struct NucleiPiani {
    /// Luminance of n pixels of interleaved RGB.
    void (*luminanza)(const float* rgb, float* luma, ptrdiff_t n);
    /// Adds a row of the frame to the blocks of one row of the copy: the row of that number of
    /// them, from 0 in order; the first begins the sums, the last leaves the blocks' means. What
    /// fills no block is left out, but in a frame smaller than one.
    void (*riduci)(const float* riga, float* copia, const Forma& f, ptrdiff_t numero);
    /// A row of the frame between two rows of the copy, bilinear: sample k stands at k * riduzione.
    /// ty: place between them, 0 at sopra; above 1 past the last row.
    void (*ingrandisci)(const float* sopra, const float* sotto, float ty, float* riga,
                        const Forma& f);
    /// Running sum over 2 * raggio + 1 samples with replicated edges along rows of larghezza
    /// samples, passo floats apart, in place. anello: 8 * posti floats of scratch, where posti is a
    /// power of two that a window and 8 samples more fit in, or the whole row.
    void (*orizzontale)(float* piano, ptrdiff_t passo, float* anello, ptrdiff_t posti,
                        ptrdiff_t larghezza, ptrdiff_t righe, ptrdiff_t raggio);
    /// The same along the columns inizio to fine - 1 of a plane of larghezza x altezza, in place.
    /// anello: min(raggio + 1, altezza) + 1 rows of larghezza floats of scratch, of which the same
    /// columns are used.
    void (*verticale)(float* piano, ptrdiff_t passo, float* anello, ptrdiff_t larghezza,
                      ptrdiff_t altezza, ptrdiff_t inizio, ptrdiff_t fine, ptrdiff_t raggio);
    /// The sum of n samples, where each is a whole multiple of 1 / scala from 0 to 1, so that
    /// their order does not show; else -1. scala a power of two, to 2^30.
    double (*somma_intera)(const float* campioni, ptrdiff_t n, float scala);
};

}  // namespace varno
