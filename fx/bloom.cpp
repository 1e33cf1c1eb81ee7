#include "fx/bloom.h"

#include "colore/aritmetica.h"
#include "fx/blur.h"
#include "fx/fx.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr float INIZIO = 0.72f;    // luminance at which the mask leaves 0
constexpr float AMPIEZZA = 0.28f;  // written out: 1 - INIZIO rounds to another float

void riga_maschera(const float* __restrict luma, float* __restrict maschera, int larghezza)
{
    for (int x = 0; x < larghezza; ++x) {
        const float t = clamp01((luma[x] - INIZIO) / AMPIEZZA);
        maschera[x] = luma[x] * t * t;
    }
}

void riga_composito(float* __restrict rgb, const float* __restrict maschera, int larghezza,
                    float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const float s = std::min(quantita * maschera[x], 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[3 * x + c] = mescola_schermo(rgb[3 * x + c], s);
    }
}

}  // namespace

// q.luma stays as it was: the stage that follows masks by the picture before the glow.
void applica_bloom(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto righe = static_cast<std::uint64_t>(q.altezza);
    const int raggio = std::max(1, q.raggio_bloom);
    Piano maschera = piano_di_lavoro(q.luma.size(), q.img.arena);

    parallel_for(righe, [&](std::uint64_t y) {
        riga_maschera(&q.luma[y * riga], &maschera[y * riga], q.larghezza);
    });
    blur_su_ridotta(maschera, q.larghezza, q.altezza, raggio, q.riduzione);
    parallel_for(righe, [&](std::uint64_t y) {
        riga_composito(&q.img[y * riga * 3], &maschera[y * riga], q.larghezza, quantita);
    });
}

}  // namespace varno
