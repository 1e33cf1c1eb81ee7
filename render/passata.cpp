#include "render/passata.h"

#include "render/lut3d.h"
#include "render/parallel_for.h"

#include <algorithm>

namespace varno {
namespace {

// Position on an axis of the table; written so that not-a-number falls to 0.
float posizione(float v, float f)
{
    if (v > 0.0f && v < 1.0f)
        return v * f;
    return v >= 1.0f ? f : 0.0f;
}

}  // namespace

void passata_colore(const Lut3D& lut, const Finestra& sorgente, Immagine& immagine, Piano& alfa,
                    int larghezza, int altezza)
{
    const auto riga = static_cast<std::size_t>(larghezza);
    parallel_for_blocchi(
        static_cast<std::uint64_t>(altezza), [&](std::uint64_t inizio, std::uint64_t fine) {
            const float* dati = lut.dati.data();
            const int N = lut.N;
            const int ultimo = N - 1;
            const auto f = static_cast<float>(ultimo);
            for (std::uint64_t y = inizio; y < fine; ++y) {
                const auto* rgba = reinterpret_cast<const float*>(
                    sorgente.inizio + static_cast<std::ptrdiff_t>(y) * sorgente.passo);
                float* rgb = &immagine[y * riga * 3];
                float* a = &alfa[y * riga];
                for (std::size_t x = 0; x < riga; ++x) {
                    int i0[3];
                    int i1[3];
                    float t[3];
                    for (int c = 0; c < 3; ++c) {
                        const float p = posizione(rgba[4 * x + c], f);
                        i0[c] = static_cast<int>(p);
                        i1[c] = std::min(i0[c] + 1, ultimo);
                        t[c] = p - static_cast<float>(i0[c]);
                    }
                    for (int c = 0; c < 3; ++c) {
                        const auto S = [&](int r, int g, int b) {
                            return dati[((static_cast<std::size_t>(b) * N + g) * N + r) * 3 + c];
                        };
                        const float c00 =
                            S(i0[0], i0[1], i0[2]) * (1.0f - t[0]) + S(i1[0], i0[1], i0[2]) * t[0];
                        const float c10 =
                            S(i0[0], i1[1], i0[2]) * (1.0f - t[0]) + S(i1[0], i1[1], i0[2]) * t[0];
                        const float c01 =
                            S(i0[0], i0[1], i1[2]) * (1.0f - t[0]) + S(i1[0], i0[1], i1[2]) * t[0];
                        const float c11 =
                            S(i0[0], i1[1], i1[2]) * (1.0f - t[0]) + S(i1[0], i1[1], i1[2]) * t[0];
                        const float c0 = c00 * (1.0f - t[1]) + c10 * t[1];
                        const float c1 = c01 * (1.0f - t[1]) + c11 * t[1];
                        rgb[3 * x + c] = c0 * (1.0f - t[2]) + c1 * t[2];
                    }
                    a[x] = rgba[4 * x + 3];
                }
            }
        });
}

void passata_scrittura(const Immagine& immagine, const Piano& alfa, const Finestra& uscita,
                       int larghezza, int altezza)
{
    const auto riga = static_cast<std::size_t>(larghezza);
    parallel_for(static_cast<std::uint64_t>(altezza), [&](std::uint64_t y) {
        auto* rgba =
            reinterpret_cast<float*>(uscita.inizio + static_cast<std::ptrdiff_t>(y) * uscita.passo);
        const float* rgb = &immagine[y * riga * 3];
        const float* a = &alfa[y * riga];
        for (std::size_t x = 0; x < riga; ++x) {
            rgba[4 * x + 0] = rgb[3 * x + 0];
            rgba[4 * x + 1] = rgb[3 * x + 1];
            rgba[4 * x + 2] = rgb[3 * x + 2];
            rgba[4 * x + 3] = a[x];
        }
    });
}

}  // namespace varno
