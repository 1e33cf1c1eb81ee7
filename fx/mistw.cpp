#include "fx/mistw.h"

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

constexpr float INIZIO = 0.35f;    // luminance at which the mask leaves 0
constexpr float AMPIEZZA = 0.65f;  // written out: 1 - INIZIO rounds to another float
constexpr float GUADAGNO = 1.3f;
constexpr float FORZA_VELO = 0.22f;
constexpr double RAGGIO = 0.035;  // of the longer side

void riga_maschera(const float* __restrict rgb, const float* __restrict luma, float* __restrict r,
                   float* __restrict g, float* __restrict b, int larghezza)
{
    for (int x = 0; x < larghezza; ++x) {
        const float t = clamp01((luma[x] - INIZIO) / AMPIEZZA);
        const float peso = t * t;
        r[x] = rgb[3 * x + 0] * peso;
        g[x] = rgb[3 * x + 1] * peso;
        b[x] = rgb[3 * x + 2] * peso;
    }
}

void riga_composito(float* __restrict rgb, const float* __restrict r, const float* __restrict g,
                    const float* __restrict b, const float* __restrict velo, int larghezza,
                    float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const float alone[3] = {r[x], g[x], b[x]};
        const float v = quantita * FORZA_VELO * velo[x];
        for (int c = 0; c < 3; ++c) {
            const float h = std::min(alone[c] * quantita * GUADAGNO, 1.0f);
            const float s = mescola_schermo(rgb[3 * x + c], h);
            rgb[3 * x + c] = clamp01(s + v * (1.0f - s));
        }
    }
}

// One sum in index order, in 64 bits: no partial sums, whose rounding would show.
float media_di(const Piano& luma)
{
    double somma = 0.0;
    for (const float l : luma)
        somma += static_cast<double>(l);
    return static_cast<float>(somma / static_cast<double>(luma.size()));
}

}  // namespace

void applica_mistw(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto righe = static_cast<std::uint64_t>(q.altezza);
    const int raggio = std::max(3, static_cast<int>(std::lround(RAGGIO * q.lato_max)));
    const int riduzione = std::max(2, q.riduzione);
    Piano velo = copia_di(q.luma);
    blur_su_ridotta(velo, q.larghezza, q.altezza, raggio, riduzione);
    const float media = media_di(q.luma);
    parallel_for(righe, [&](std::uint64_t y) {
        for (std::size_t i = y * riga; i < (y + 1) * riga; ++i)
            velo[i] = velo[i] * 0.5f + media * 0.5f;
    });

    Piano r = piano_di_lavoro(q.luma.size(), q.img.arena);
    Piano g = piano_di_lavoro(q.luma.size(), q.img.arena);
    Piano b = piano_di_lavoro(q.luma.size(), q.img.arena);
    parallel_for(righe, [&](std::uint64_t y) {
        const std::size_t i = y * riga;
        riga_maschera(&q.img[i * 3], &q.luma[i], &r[i], &g[i], &b[i], q.larghezza);
    });
    for (Piano* alone : {&r, &g, &b})
        blur_su_ridotta(*alone, q.larghezza, q.altezza, raggio, riduzione);
    parallel_for(righe, [&](std::uint64_t y) {
        const std::size_t i = y * riga;
        riga_composito(&q.img[i * 3], &r[i], &g[i], &b[i], &velo[i], q.larghezza, quantita);
    });
    aggiorna_luma(q);
}

}  // namespace varno
