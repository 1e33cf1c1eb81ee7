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
    stato.unica = gNuclei->tabella.campiona(lut.dati.data(), lut.N, rgba, rgb, a, larghezza);
    if (stato.unica)
        std::memcpy(&stato.valore, rgba + 3, sizeof(float));
}

void passata_diretta(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita,
                     int larghezza, std::uint64_t y)
{
    gNuclei->tabella.campiona_rgba(lut.dati.data(), lut.N, riga_di(sorgente, y),
                                   riga_da_scrivere(uscita, y), larghezza);
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
