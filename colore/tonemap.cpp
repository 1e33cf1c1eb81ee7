// How a tone curve is solved.
#include "colore/tonemap.h"

#include "comune/elementari.h"

#include <algorithm>
#include <cmath>
#include <limits>

namespace varno {
namespace {

constexpr float GRIGIO_SCENA = 0.18f;
constexpr float GRIGIO_SCHERMO = 0.11698655f;  // of the value at the white point
constexpr int GIRI = 60;

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

float bianco_di(const Curva& k)
{
    constexpr float MARGINE = 1.0001f;  // the power's and the product's rounding, many times
    if (!(k.contrasto > 0.1f && k.gamma > 0.1f))
        return std::numeric_limits<float>::quiet_NaN();
    return potenza(1.0f / k.grigio, 1.0f / k.contrasto) * MARGINE;
}

}  // namespace varno
