// The rays of the star, as the step of its effect.
#pragma once

#include <stddef.h>

namespace varno {

struct Passo;

struct NucleiRaggi {
    /// somma[x] += peso * campioni[x].
    void (*somma_pesata)(float* somma, const float* campioni, ptrdiff_t n, float peso);
};

/// The rays of the lights in a masked copy of a frame, summed on another of its size; their length
/// follows the frame's width. For an effect whose kernels are NucleiRaggi.
extern const Passo RAGGI;

}  // namespace varno
