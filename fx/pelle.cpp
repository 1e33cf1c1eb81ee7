#include "fx/pelle.h"

#include "colore/aritmetica.h"
#include "fx/blur.h"
#include "fx/fx.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr double RAGGIO = 0.007;        // of the longer side: pores, not features
constexpr float MINIMO = 0.000001f;     // floor of luminance, before and after
constexpr float LIMITE = 3.0f;          // where the limiter meets its bound with zero slope
constexpr float ESTREMO = 0.33333334f;  // that bound
constexpr float PENDENZA = 1.6f;        // detail taken out at an amount of 1

// tanh(d) / 3 for d = 3 * dettaglio, as a rational function. Not-a-number passes through.
float limita_dettaglio(float dettaglio)
{
    const float d = dettaglio * 3.0f;
    if (d > LIMITE)
        return ESTREMO;
    if (d < -LIMITE)
        return -ESTREMO;
    return ((d * d + 27.0f) * d / (d * d * 9.0f + 27.0f)) / 3.0f;
}

// The change of luminance reaches the channels as a ratio; luma is refreshed behind it.
void riga_pelle(float* __restrict rgb, float* __restrict luma, const float* __restrict sfocata,
                int larghezza, float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const float L = luma[x];
        const float t = limita_dettaglio(L - sfocata[x]);
        float n = L - t * quantita * PENDENZA;
        n = n > MINIMO ? std::min(n, 1.0f) : MINIMO;
        const float q = n / std::max(MINIMO, L);
        const float r = clamp01(rgb[3 * x + 0] * q);
        const float g = clamp01(rgb[3 * x + 1] * q);
        const float b = clamp01(rgb[3 * x + 2] * q);
        rgb[3 * x + 0] = r;
        rgb[3 * x + 1] = g;
        rgb[3 * x + 2] = b;
        luma[x] = luma_pixel(r, g, b);
    }
}

}  // namespace

void applica_pelle(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const int raggio = std::max(1, static_cast<int>(std::lround(RAGGIO * q.lato_max)));
    Piano sfocata = copia_di(q.luma);
    box_blur(sfocata, q.larghezza, q.altezza, raggio, 3);
    parallel_for(static_cast<std::uint64_t>(q.altezza), [&](std::uint64_t y) {
        riga_pelle(&q.img[y * riga * 3], &q.luma[y * riga], &sfocata[y * riga], q.larghezza,
                   quantita);
    });
}

}  // namespace varno
