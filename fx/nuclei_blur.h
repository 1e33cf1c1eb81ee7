#pragma once

#include <stddef.h>

namespace varno {

/// One pass of a running sum over 2 * raggio + 1 samples with replicated edges.
struct NucleiBlur {
    /// Along rows: righe rows of larghezza samples that follow each other, from da into a, which
    /// may be one plane. anello: posti * min(righe, 8) floats of scratch, where posti is a power of
    /// two that a window and 8 samples more fit in, or the whole row.
    void (*orizzontale)(const float* da, float* a, float* anello, ptrdiff_t posti,
                        ptrdiff_t larghezza, ptrdiff_t righe, ptrdiff_t raggio);
    /// Along the columns inizio to fine - 1 of a plane of larghezza x altezza, in place. anello:
    /// min(raggio + 1, altezza) + 1 rows of larghezza floats of scratch, of which the same columns
    /// are used.
    void (*verticale)(float* piano, float* anello, ptrdiff_t larghezza, ptrdiff_t altezza,
                      ptrdiff_t inizio, ptrdiff_t fine, ptrdiff_t raggio);
};

}  // namespace varno
