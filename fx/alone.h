// How a glow, written as arithmetic on pixels, becomes an effect: for the files that are built once
// a level. A glow G says how many PIANI it has and gives two templates over a vector of pixels or
// one pixel: maschera(), from luminance (and colour, with more than one plane) to its planes, and
// componi(), which lays the blurred planes over the pixels.
#pragma once

#include "comune/vettore.h"
#include "fx/blur.h"
#include "fx/effetto.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

template <class G, bool CON_LUMA>
void maschera_riga(const float* rgb, const float* luma, float* const* piani, ptrdiff_t n)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        V l;
        if constexpr (CON_LUMA)
            l = carica<V>(luma + x);
        else
            l = luma_pixel(c[0], c[1], c[2]);
        V m[G::PIANI];
        if constexpr (G::PIANI == 1)
            m[0] = G::maschera(l);
        else
            G::maschera(l, c, m);
        for (int p = 0; p < G::PIANI; ++p)
            scrivi(piani[p] + x, m[p]);
    });
}

template <class G>
void maschera(const float* rgb, const float* luma, float* const* piani, ptrdiff_t n)
{
    if (luma != nullptr)
        maschera_riga<G, true>(rgb, luma, piani, n);
    else
        maschera_riga<G, false>(rgb, nullptr, piani, n);
}

template <class G>
void componi(const float* da, float* a, const float* const* piani, ptrdiff_t n, float quantita,
             const Quadro& q)
{
    const float media = q.media;
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(da + 3 * x, c);
        V m[G::PIANI];
        for (int p = 0; p < G::PIANI; ++p)
            m[p] = carica<V>(piani[p] + x);
        if constexpr (G::PIANI == 1)
            G::componi(c, m[0], quantita);
        else
            G::componi(c, m, quantita, media);
        scrivi_rgb(a + 3 * x, c);
    });
}

/// The glow as an effect, with its numbers.
template <class G> constexpr Effetto alone(Effetto numeri)
{
    numeri.piani = G::PIANI;
    numeri.maschera = maschera<G>;
    numeri.componi = componi<G>;
    return numeri;
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
