// White balance and curves of a frame.
#include "render/contesto.h"

#include "colore/profili.h"
#include "looks/look.h"
#include "render/lut3d.h"

#include <algorithm>

namespace varno {
namespace {

// Warm raises red and lowers blue; a positive tint raises green.
RGB bilanciamento(double temp, double tinta)
{
    const float t = static_cast<float>(temp) * 0.25f;
    const float x = static_cast<float>(tinta);
    const float u = 0.1f * x;
    return {(1.0f + t) - u, x * 0.2f + 1.0f, (1.0f - t) - u};
}

}  // namespace

Contesto contesto_di(const LookDef& look, const Chiave& k)
{
    return {.look = &look,
            .curva_look = normalizza_curva(look.spalla, look.bianco, look.contrasto, look.gamma),
            .forza = static_cast<float>(k.forza),
            .ev = static_cast<float>(k.ev),
            .guadagno = bilanciamento(k.temp, k.tinta),
            .curva_neutra = normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f),
            .profilo = std::clamp(k.profilo, 0, NUMERO_PROFILI - 1)};
}

}  // namespace varno
