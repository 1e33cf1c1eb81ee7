#include "fx/streak.h"

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

constexpr float INIZIO = 0.8f;                    // luminance at which the mask leaves 0
constexpr float AMPIEZZA = 0.2f;                  // written out: 1 - INIZIO rounds to another float
constexpr float GUADAGNO = 2.2f;                  // of the layer, before it is held to 1
constexpr double RAGGIO = 0.1;                    // of the width, also on a portrait frame
constexpr float COLORE[3] = {0.3f, 0.55f, 1.0f};  // of the flare

void riga_maschera(const float* __restrict luma, float* __restrict maschera, int larghezza)
{
    for (int x = 0; x < larghezza; ++x) {
        const float t = clamp01((luma[x] - INIZIO) / AMPIEZZA);
        maschera[x] = t * t * luma[x];
    }
}

void riga_composito(float* __restrict rgb, const float* __restrict maschera, int larghezza,
                    float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const float s = std::min(maschera[x] * quantita * GUADAGNO, 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[3 * x + c] = mescola_schermo(rgb[3 * x + c], COLORE[c] * s);
    }
}

}  // namespace

void applica_streak(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto righe = static_cast<std::uint64_t>(q.altezza);
    const int raggio = std::max(4, static_cast<int>(std::lround(RAGGIO * q.larghezza)));
    Piano maschera = piano_di_lavoro(q.luma.size(), q.img.arena);

    parallel_for(righe, [&](std::uint64_t y) {
        riga_maschera(&q.luma[y * riga], &maschera[y * riga], q.larghezza);
    });
    blur_orizz_su_ridotta(maschera, q.larghezza, q.altezza, raggio, q.riduzione);
    parallel_for(righe, [&](std::uint64_t y) {
        riga_composito(&q.img[y * riga * 3], &maschera[y * riga], q.larghezza, quantita);
    });
    aggiorna_luma(q);
}

}  // namespace varno
