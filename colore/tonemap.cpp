#include "colore/tonemap.h"

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

// Display-linear value of a scalar v, not below 0; may exceed 1.
float mappa(float v, const Curva& k)
{
    float y = curva_grezza(v * k.scala, k.spalla) / k.norma;
    y = std::max(1e-9f, y) / std::max(1e-9f, k.grigio);
    // A power of 1 is the value itself.
    y = (k.contrasto == 1.0f ? y : std::pow(y, k.contrasto)) * k.grigio;
    if (k.gamma != 1.0f)
        y = std::pow(y >= 0.0f ? y : 0.0f, k.gamma);
    return y;
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

RGB tonemap_ratio(RGB c, const Curva& k, float miscela, MemoriaCurva& memoria)
{
    const float Lc = std::max(1e-9f, luma_pixel(c.r, c.g, c.b));
    const float m = clamp01(mappa(Lc, k));
    const RGB q = {clamp01((c.r * m) / Lc), clamp01((c.g * m) / Lc), clamp01((c.b * m) / Lc)};
    // The channels by themselves lie in 0..1, so that a share of 0 of them adds +0 to q.
    if (miscela == 0.0f)
        return q;
    const auto canale = [&](float v, float per_luminanza, MemoriaCanale& ultimo) {
        const float luce = v > 0.0f ? v : 0.0f;
        if (luce != ultimo.luce)
            ultimo = {luce, clamp01(mappa(luce, k))};
        return ultimo.mappata * miscela + (1.0f - miscela) * per_luminanza;
    };
    return {canale(c.r, q.r, memoria.r), canale(c.g, q.g, memoria.g), canale(c.b, q.b, memoria.b)};
}

RGB tonemap_ratio(RGB c, const Curva& k, float miscela)
{
    MemoriaCurva memoria;
    return tonemap_ratio(c, k, miscela, memoria);
}

}  // namespace varno
