#include "fx/grana.h"

#include "colore/aritmetica.h"
#include "fx/fx.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr int CELLA_GRANA = 2;     // pixels, at every frame size
constexpr float FORZA = 0.14f;     // swing of a mid grey at an amount of 1
constexpr int CELLE_TRATTO = 256;  // cells whose noise is made at a time, on the stack

int celle(int lato)
{
    return lato / CELLA_GRANA + lato % CELLA_GRANA;
}

// Triangular noise, -1 to nearly 1, of n cells of the row y from the column x on.
void riga_rumore(float* rumore, int x, int y, int n, std::uint32_t f)
{
    const auto u = static_cast<std::uint32_t>(x);
    const auto v = static_cast<std::uint32_t>(y);
    for (std::uint32_t i = 0; i < static_cast<std::uint32_t>(n); ++i)
        rumore[i] = hash_grana(u + i, v, f) + hash_grana(u + i + 7919u, v + 104729u, f) - 1.0f;
}

// Strongest in the midtones, nothing at black and white.
void pixel_grana(float* rgb, float n, float quantita)
{
    const float l = luma_pixel(rgb[0], rgb[1], rgb[2]);
    const float d = n * quantita * FORZA * (l * (1.0f - l) * 4.0f);
    rgb[0] = clamp01(rgb[0] + d);
    rgb[1] = clamp01(rgb[1] + d);
    rgb[2] = clamp01(rgb[2] + d);
}

// An even row lies on the grid: even pixels take a cell, odd ones the mean with the next.
void riga_pari(float* rgb, const float* rumore, int larghezza, float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const int c = x / CELLA_GRANA;
        const float n = x % CELLA_GRANA == 0 ? rumore[c] : rumore[c] * 0.5f + rumore[c + 1] * 0.5f;
        pixel_grana(rgb + std::size_t{3} * x, n, quantita);
    }
}

// An odd row lies half way between two rows of cells.
void riga_dispari(float* rgb, const float* sopra, const float* sotto, int larghezza, float quantita)
{
    for (int x = 0; x < larghezza; ++x) {
        const int c = x / CELLA_GRANA;
        const float n = x % CELLA_GRANA == 0 ? sopra[c] * 0.5f + sotto[c] * 0.5f
                                             : (sopra[c] * 0.5f + sopra[c + 1] * 0.5f) * 0.5f +
                                                   (sotto[c] * 0.5f + sotto[c + 1] * 0.5f) * 0.5f;
        pixel_grana(rgb + std::size_t{3} * x, n, quantita);
    }
}

}  // namespace

// The hash costs less than storing its values: the noise of a stretch of two rows of pixels is
// made where it is used.
void applica_grana(const Quadro& q, float quantita, int fotogramma)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const auto f = static_cast<std::uint32_t>(fotogramma);
    const int larghezza_grana = celle(q.larghezza);
    const int altezza_grana = celle(q.altezza);
    parallel_for(static_cast<std::uint64_t>(altezza_grana), [&](std::uint64_t cella_y) {
        const int y0 = static_cast<int>(cella_y);
        const int y1 = std::min(altezza_grana - 1, y0 + 1);
        float* pari = &q.img[cella_y * CELLA_GRANA * riga * 3];
        float sopra[CELLE_TRATTO + 1];
        float sotto[CELLE_TRATTO + 1];
        for (int c = 0; c < larghezza_grana; c += CELLE_TRATTO) {
            const int n = std::min(CELLE_TRATTO, larghezza_grana - c);
            const int x = c * CELLA_GRANA;
            const int pixel = std::min(n * CELLA_GRANA, q.larghezza - x);
            // One cell more than the stretch has; past the frame the last one counts again.
            const auto rumore = [&](float* cella, int y) {
                const bool altra = c + n < larghezza_grana;
                riga_rumore(cella, c, y, n + (altra ? 1 : 0), f);
                if (!altra)
                    cella[n] = cella[n - 1];
            };
            rumore(sopra, y0);
            riga_pari(pari + std::size_t{3} * x, sopra, pixel, quantita);
            if (y0 * CELLA_GRANA + 1 == q.altezza)
                continue;
            rumore(sotto, y1);
            riga_dispari(pari + riga * 3 + std::size_t{3} * x, sopra, sotto, pixel, quantita);
        }
    });
}

}  // namespace varno
