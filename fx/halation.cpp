#include "fx/halation.h"

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

constexpr float INIZIO = 0.62f;    // luminance at which the mask leaves 0
constexpr float AMPIEZZA = 0.38f;  // written out: 1 - INIZIO rounds to another float
constexpr float POTENZA = 1.6f;
constexpr float COLORE[3] = {1.0f, 0.36f, 0.12f};  // of the glow

void riga_maschera(const float* __restrict luma, float* __restrict maschera, int larghezza)
{
    for (int x = 0; x < larghezza; ++x) {
        const float t = clamp01((luma[x] - INIZIO) / AMPIEZZA);
        maschera[x] = std::pow(t, POTENZA);
    }
}

void riga_composito(float* __restrict rgb, const float* __restrict maschera, int larghezza,
                    float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const float a = maschera[x] * quantita;
        for (int c = 0; c < 3; ++c)
            rgb[3 * x + c] = mescola_schermo(rgb[3 * x + c], std::min(COLORE[c] * a, 1.0f));
    }
}

}  // namespace

void applica_halation(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto righe = static_cast<std::uint64_t>(q.altezza);
    const int raggio = std::max(2, q.raggio_halation);
    Piano maschera = piano_di_lavoro(q.luma.size(), q.img.arena);

    parallel_for(righe, [&](std::uint64_t y) {
        riga_maschera(&q.luma[y * riga], &maschera[y * riga], q.larghezza);
    });
    blur_su_ridotta(maschera, q.larghezza, q.altezza, raggio, q.riduzione);
    parallel_for(righe, [&](std::uint64_t y) {
        riga_composito(&q.img[y * riga * 3], &maschera[y * riga], q.larghezza, quantita);
    });
    aggiorna_luma(q);
}

}  // namespace varno
