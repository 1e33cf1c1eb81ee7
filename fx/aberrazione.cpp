#include "fx/aberrazione.h"

#include "fx/fx.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr float SPOSTAMENTO = 0.008f;  // of the way from the centre, in the middle of an edge
constexpr float MARGINE = 1.001f;      // keeps the second sample of a pair inside the frame

struct Asse {
    int lato;      // pixels
    float centro;  // half the side: half a pixel past the middle of the grid
    float limite;  // below 0 on a side of 1, where the pair is the one sample twice
};

Asse asse_di(int lato)
{
    return {lato, static_cast<float>(lato) * 0.5f, static_cast<float>(lato) - MARGINE};
}

// The two samples around a position and the weight of the second.
struct Coppia {
    std::size_t i0;
    std::size_t i1;
    float t;
};

// d: distance from the centre, pixels; a: its scale. Not-a-number falls to 0. Beyond 2^24 pixels
// the limit rounds past the last sample: both indices are held inside.
Coppia coppia(float d, float a, const Asse& asse)
{
    const float v = d * a + asse.centro;
    const float s = std::min(v > 0.0f ? v : 0.0f, asse.limite);
    const auto i = static_cast<std::int64_t>(s);
    const std::int64_t ultimo = asse.lato - 1;
    return {static_cast<std::size_t>(std::min(i, ultimo)),
            static_cast<std::size_t>(std::min(i + 1, ultimo)), s - static_cast<float>(i)};
}

float bilineare(const float* piano, std::size_t riga, const Coppia& x, const Coppia& y)
{
    const float* r0 = piano + y.i0 * riga;
    const float* r1 = piano + y.i1 * riga;
    return (r0[x.i0] * (1.0f - x.t) + r0[x.i1] * x.t) * (1.0f - y.t) +
           (r1[x.i0] * (1.0f - x.t) + r1[x.i1] * x.t) * y.t;
}

void riga_copia(const float* __restrict rgb, float* __restrict rosso, float* __restrict blu,
                std::size_t larghezza)
{
    for (std::size_t x = 0; x < larghezza; ++x) {
        rosso[x] = rgb[3 * x + 0];
        blu[x] = rgb[3 * x + 2];
    }
}

}  // namespace

// Only red and blue move, so only they are copied.
void applica_aberrazione(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto righe = static_cast<std::size_t>(q.altezza);
    Piano rosso = piano_di_lavoro(riga * righe, q.img.arena);
    Piano blu = piano_di_lavoro(riga * righe, q.img.arena);
    parallel_for(righe, [&](std::uint64_t y) {
        riga_copia(&q.img[y * riga * 3], &rosso[y * riga], &blu[y * riga], riga);
    });

    const Asse asse_x = asse_di(q.larghezza);
    const Asse asse_y = asse_di(q.altezza);
    const float scala = quantita * SPOSTAMENTO;
    parallel_for(righe, [&](std::uint64_t y) {
        float* rgb = &q.img[y * riga * 3];
        const float dy = static_cast<float>(y) - asse_y.centro;
        const float b = dy / asse_y.centro;
        const float b2 = b * b;
        for (std::size_t x = 0; x < riga; ++x) {
            const float dx = static_cast<float>(x) - asse_x.centro;
            const float a = dx / asse_x.centro;
            const float k = (a * a + b2) * scala;
            const float dentro = 1.0f - k;
            const float fuori = 1.0f + k;
            rgb[3 * x + 0] = bilineare(rosso.data(), riga, coppia(dx, dentro, asse_x),
                                       coppia(dy, dentro, asse_y));
            rgb[3 * x + 2] =
                bilineare(blu.data(), riga, coppia(dx, fuori, asse_x), coppia(dy, fuori, asse_y));
        }
    });
}

}  // namespace varno
