#pragma once

#include <stddef.h>

namespace varno {

/// One pass of a running sum over 2 * raggio + 1 samples with replicated edges. da and a are
/// different planes.
struct NucleiBlur {
    /// Along rows: righe rows of larghezza samples that follow each other.
    void (*orizzontale)(const float* da, float* a, ptrdiff_t larghezza, ptrdiff_t righe,
                        ptrdiff_t raggio);
    /// Along the columns inizio to fine - 1 of a plane of larghezza x altezza; somme holds
    /// larghezza floats, of which the same columns are used.
    void (*verticale)(const float* da, float* a, float* somme, ptrdiff_t larghezza,
                      ptrdiff_t altezza, ptrdiff_t inizio, ptrdiff_t fine, ptrdiff_t raggio);
};

}  // namespace varno
