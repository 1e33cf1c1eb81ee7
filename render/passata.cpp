// Rows in through the table, and out.
#include "render/passata.h"

#include "comune/nuclei.h"
#include "render/lut3d.h"
#include "render/nuclei_tabella.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <utility>

namespace varno {
namespace {

// Position on an axis of the table; written so that not-a-number falls to 0.
float posizione(float v, float f)
{
    if (v > 0.0f && v < 1.0f)
        return v * f;
    return v >= 1.0f ? f : 0.0f;
}

// Any table, whatever stands in it.
void campiona_riga(const Lut3D& lut, const float* rgba, float* uscita, int canali,
                   std::size_t larghezza)
{
    const float* dati = lut.dati.data();
    const int N = lut.N;
    const int ultimo = N - 1;
    const auto f = static_cast<float>(ultimo);
    for (std::size_t x = 0; x < larghezza; ++x, rgba += 4, uscita += canali) {
        int i0[3];
        int i1[3];
        float t[3];
        for (int c = 0; c < 3; ++c) {
            const float p = posizione(rgba[c], f);
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
            uscita[c] = c0 * (1.0f - t[2]) + c1 * t[2];
        }
    }
}

const float* riga_di(const Finestra& f, std::uint64_t y)
{
    return reinterpret_cast<const float*>(f.inizio + static_cast<std::ptrdiff_t>(y) * f.passo);
}

float* riga_da_scrivere(const Finestra& f, std::uint64_t y)
{
    return reinterpret_cast<float*>(f.inizio + static_cast<std::ptrdiff_t>(y) * f.passo);
}

}  // namespace

Alfa alfa_di(int larghezza, int altezza, Arena* arena)
{
    const auto righe = static_cast<std::size_t>(altezza);
    return {piano_di_lavoro(static_cast<std::size_t>(larghezza) * righe, arena),
            std::vector<Alfa::Riga>(righe)};
}

void passata_colore(const Lut3D& lut, const Finestra& sorgente, int larghezza, std::uint64_t y,
                    float* rgb, Alfa& alfa)
{
    const float* rgba = riga_di(sorgente, y);
    const auto n = static_cast<std::size_t>(larghezza);
    float* a = &alfa.valori[y * n];
    Alfa::Riga& stato = alfa.righe[y];
    if (lut.regolare) {
        stato.unica = gNuclei->tabella.campiona(lut.dati.data(), lut.N, rgba, rgb, a, larghezza);
    } else {
        campiona_riga(lut, rgba, rgb, 3, n);
        for (std::size_t x = 0; x < n; ++x)
            std::memcpy(a + x, rgba + 4 * x + 3, sizeof(float));
        stato.unica = false;
    }
    if (stato.unica)
        std::memcpy(&stato.valore, rgba + 3, sizeof(float));
}

void passata_diretta(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita,
                     int larghezza, std::uint64_t y)
{
    const float* rgba = riga_di(sorgente, y);
    float* a = riga_da_scrivere(uscita, y);
    if (lut.regolare) {
        gNuclei->tabella.campiona_rgba(lut.dati.data(), lut.N, rgba, a, larghezza);
        return;
    }
    campiona_riga(lut, rgba, a, 4, static_cast<std::size_t>(larghezza));
    for (int x = 0; x < larghezza; ++x)
        std::memcpy(a + 4 * x + 3, rgba + 4 * x + 3, sizeof(float));
}

bool separate(const Finestra& a, const Finestra& b, int larghezza, int altezza)
{
    // First and last byte of all rows, whichever way they run.
    const auto estremi = [&](const Finestra& f) {
        const auto inizio = reinterpret_cast<std::intptr_t>(f.inizio);
        const auto ultima = inizio + f.passo * std::ptrdiff_t{altezza - 1};
        return std::pair{std::min(inizio, ultima),
                         std::max(inizio, ultima) + std::ptrdiff_t{larghezza} * 16};
    };
    const auto [inizio_a, fine_a] = estremi(a);
    const auto [inizio_b, fine_b] = estremi(b);
    return fine_a <= inizio_b || fine_b <= inizio_a;
}

void passata_scrittura(const float* rgb, const Alfa& alfa, const Finestra& uscita, int larghezza,
                       std::uint64_t y)
{
    float* rgba = riga_da_scrivere(uscita, y);
    const Alfa::Riga& stato = alfa.righe[y];
    if (stato.unica)
        gNuclei->tabella.unisci_uno(rgb, &stato.valore, rgba, larghezza);
    else
        gNuclei->tabella.unisci(rgb, &alfa.valori[y * static_cast<std::size_t>(larghezza)], rgba,
                                larghezza);
}

}  // namespace varno
