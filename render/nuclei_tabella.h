// The kernels of the table of the grade.
#pragma once

#include <stddef.h>

namespace varno {

/// One row through the table of the grade. tavola: N samples an axis, three floats each, red
/// fastest, with a float of slack behind the last. A row writes nothing beside its own pixels.
struct NucleiTabella {
    /// RGBA into RGB, and alpha into alfa unless that is null. Where the whole row has one alpha,
    /// bit for bit, alfa is left alone and the answer is true.
    bool (*campiona)(const float* tavola, int N, const float* rgba, float* rgb, float* alfa,
                     ptrdiff_t larghezza);
    /// RGBA into RGBA elsewhere in memory.
    void (*campiona_rgba)(const float* tavola, int N, const float* rgba, float* uscita,
                          ptrdiff_t larghezza);
    /// RGB and alpha into RGBA, as they are.
    void (*unisci)(const float* rgb, const float* alfa, float* rgba, ptrdiff_t larghezza);
    /// The same with the alpha of an RGBA row elsewhere.
    void (*unisci_da)(const float* rgb, const float* sorgente, float* rgba, ptrdiff_t larghezza);
    /// The same with one alpha for the whole row.
    void (*unisci_uno)(const float* rgb, const float* alfa, float* rgba, ptrdiff_t larghezza);
};

}  // namespace varno
