#include "colore/tonemap.h"

#include "colore/lotto.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr float GRIGIO_SCENA = 0.18f;
constexpr float GRIGIO_SCHERMO = 0.11698655f;  // of the value at the white point
constexpr int GIRI = 60;

// The rational curve before any normalisation.
float curva_grezza(float x, float spalla)
{
    return ((x * (spalla * 2.51f) + 0.03f) * x) / ((x * (spalla * 2.43f) + 0.59f) * x + 0.14f);
}

// Display-linear values of scalars, not below 0; may exceed 1.
void mappa(float* v, int n, const Curva& k)
{
    for (int i = 0; i < n; ++i) {
        const float y = curva_grezza(v[i] * k.scala, k.spalla) / k.norma;
        v[i] = std::max(1e-9f, y) / std::max(1e-9f, k.grigio);
    }
    eleva(v, n, k.contrasto);
    for (int i = 0; i < n; ++i)
        v[i] = v[i] * k.grigio;
    if (k.gamma != 1.0f) {
        for (int i = 0; i < n; ++i)
            v[i] = v[i] >= 0.0f ? v[i] : 0.0f;
        eleva(v, n, k.gamma);
    }
}

// The ratio-preserving value of a channel.
float per_luminanza(float c, float mappata, float Lc)
{
    return clamp01((c * clamp01(mappata)) / Lc);
}

}  // namespace

Curva normalizza_curva(float spalla, float bianco, float contrasto, float gamma)
{
    float lo = 0.0001f;
    float hi = 10000.0f;
    for (int giro = 0; giro < GIRI; ++giro) {
        const float m = std::sqrt(hi * lo);
        const float rapporto = curva_grezza(GRIGIO_SCENA * m, spalla) /
                               std::max(1e-12f, curva_grezza(bianco * m, spalla));
        if (rapporto < GRIGIO_SCHERMO)
            lo = m;
        else
            hi = m;
    }
    const float k = std::sqrt(hi * lo);
    const float norma = curva_grezza(bianco * k, spalla);
    return {.scala = k,
            .norma = norma,
            .grigio = curva_grezza(GRIGIO_SCENA * k, spalla) / norma,
            .spalla = spalla,
            .contrasto = contrasto,
            .gamma = gamma};
}

void tonemap_ratio(Lotto& c, const Curva& k, float miscela)
{
    float Lc[Lotto::CAPIENZA];
    float m[Lotto::CAPIENZA];
    for (int i = 0; i < c.n; ++i) {
        Lc[i] = std::max(1e-9f, luma_pixel(c.r[i], c.g[i], c.b[i]));
        m[i] = Lc[i];
    }
    mappa(m, c.n, k);
    for (float* canale : {c.r, c.g, c.b}) {
        // The channels by themselves lie in 0..1, so that a share of 0 of them would add +0.
        if (miscela == 0.0f) {
            for (int i = 0; i < c.n; ++i)
                canale[i] = per_luminanza(canale[i], m[i], Lc[i]);
            continue;
        }
        float p[Lotto::CAPIENZA];
        for (int i = 0; i < c.n; ++i)
            p[i] = canale[i] > 0.0f ? canale[i] : 0.0f;
        mappa(p, c.n, k);
        for (int i = 0; i < c.n; ++i) {
            const float q = per_luminanza(canale[i], m[i], Lc[i]);
            canale[i] = clamp01(p[i]) * miscela + (1.0f - miscela) * q;
        }
    }
}

RGB tonemap_ratio(RGB c, const Curva& k, float miscela)
{
    Lotto uno;
    uno.n = 1;
    uno.r[0] = c.r;
    uno.g[0] = c.g;
    uno.b[0] = c.b;
    tonemap_ratio(uno, k, miscela);
    return {uno.r[0], uno.g[0], uno.b[0]};
}

}  // namespace varno
