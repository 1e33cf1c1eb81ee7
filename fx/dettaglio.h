// Detail of luminance, moved by a share of its difference from the blurred luminance and carried to
// the channels as a ratio: what enhance adds and skin diffusion takes out. For the files that are
// built once a level.
#pragma once

#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

// tanh(d) / 3 for d = 3 * differenza as a rational function, which meets its bound with zero slope.
// Not-a-number passes through.
template <class V> V limita_dettaglio(V differenza)
{
    const V d = differenza * 3.0f;
    const V t = ((d * d + 27.0f) * d / (d * d * 9.0f + 27.0f)) / 3.0f;
    return d > 3.0f ? tutti<V>(0.33333334f) : d < -3.0f ? tutti<V>(-0.33333334f) : t;
}

/// A glow whose mask is the luminance. D::PENDENZA is the share at an amount of 1. The result
/// lies in 0..1.
template <class D> struct Dettaglio {
    static constexpr int PIANI = 1;
    static constexpr float MINIMO = 0.000001f;  // floor of luminance, before and after

    template <class V> static V maschera(V luma) { return luma; }

    template <class V> static void componi(V (&rgb)[3], V sfocata, float quantita)
    {
        const V L = luma_pixel(rgb[0], rgb[1], rgb[2]);
        const V t = limita_dettaglio(L - sfocata);
        const V nuova = L + t * quantita * D::PENDENZA;
        const V tenuta = nuova > MINIMO ? minimo(nuova, 1.0f) : tutti<V>(MINIMO);
        const V q = tenuta / massimo(tutti<V>(MINIMO), L);
        for (V& c : rgb)
            c = clamp01(c * q);
    }
};

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
