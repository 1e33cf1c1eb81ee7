// Where a frame's picture lives, and its rows in through the table and out.
#include "render/sviluppa.h"

#include "comune/nuclei.h"
#include "comune/piano.h"
#include "fx/fx.h"
#include "render/lut3d.h"
#include "render/nuclei_tabella.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <utility>
#include <vector>

namespace varno {
namespace {

constexpr std::ptrdiff_t BYTE_PIXEL = 16;  // RGBA, 32-bit float
constexpr std::ptrdiff_t BYTE_FLOAT = sizeof(float);

float* riga_di(const Finestra& f, std::ptrdiff_t y)
{
    return reinterpret_cast<float*>(f.inizio + y * f.passo);
}

// A row's alpha, bit for bit. Most rows have one value alone.
struct Alfa {
    float valore;
    bool unica;  // valore holds for the whole row
};

struct Sviluppo {
    const Lut3D& lut;
    Finestra sorgente;
    Finestra uscita;
    std::ptrdiff_t larghezza;
    std::vector<Alfa> alfa;
    float* da_parte;  // rows of alpha, where the source is overwritten before they are asked for
};

void passata_colore(Sviluppo& s, float* rgb, std::ptrdiff_t y)
{
    const float* rgba = riga_di(s.sorgente, y);
    float* const da_parte = s.da_parte == nullptr ? nullptr : s.da_parte + y * s.larghezza;
    Alfa& alfa = s.alfa[static_cast<std::size_t>(y)];
    alfa.unica =
        gNuclei->tabella.campiona(s.lut.dati.data(), s.lut.N, rgba, rgb, da_parte, s.larghezza);
    std::memcpy(&alfa.valore, rgba + 3, sizeof alfa.valore);
}

void passata_scrittura(const Sviluppo& s, const float* rgb, std::ptrdiff_t y)
{
    const NucleiTabella& k = gNuclei->tabella;
    float* const rgba = riga_di(s.uscita, y);
    const Alfa& alfa = s.alfa[static_cast<std::size_t>(y)];
    if (alfa.unica)
        k.unisci_uno(rgb, &alfa.valore, rgba, s.larghezza);
    else if (s.da_parte != nullptr)
        k.unisci(rgb, s.da_parte + y * s.larghezza, rgba, s.larghezza);
    else
        k.unisci_da(rgb, riga_di(s.sorgente, y), rgba, s.larghezza);
}

// Whether the picture's rows can be the window's: whole floats, and each with room for its own.
bool ospita(const Finestra& f, int larghezza, int altezza)
{
    return reinterpret_cast<std::uintptr_t>(f.inizio) % alignof(float) == 0 &&
           (altezza == 1 || (f.passo % BYTE_FLOAT == 0 &&
                             std::abs(f.passo) >= std::ptrdiff_t{larghezza} * BYTE_PIXEL));
}

}  // namespace

bool separate(const Finestra& a, const Finestra& b, int larghezza, int altezza)
{
    // First and last byte of all rows, whichever way they run.
    const auto estremi = [&](const Finestra& f) {
        const auto inizio = reinterpret_cast<std::intptr_t>(f.inizio);
        const auto ultima = inizio + f.passo * std::ptrdiff_t{altezza - 1};
        return std::pair{std::min(inizio, ultima),
                         std::max(inizio, ultima) + std::ptrdiff_t{larghezza} * BYTE_PIXEL};
    };
    const auto [inizio_a, fine_a] = estremi(a);
    const auto [inizio_b, fine_b] = estremi(b);
    return fine_a <= inizio_b || fine_b <= inizio_a;
}

void sviluppa(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita, int larghezza,
              int altezza, const FxRicetta& ricetta)
{
    const bool insieme = !separate(sorgente, uscita, larghezza, altezza);
    const Programma p =
        programma_di(ricetta, larghezza, altezza, insieme, riduzione_di(larghezza, altezza));
    if (solo_passaggio(p)) {
        parallel_for(static_cast<std::uint64_t>(altezza), [&](std::uint64_t riga) {
            const auto y = static_cast<std::ptrdiff_t>(riga);
            gNuclei->tabella.campiona_rgba(lut.dati.data(), lut.N, riga_di(sorgente, y),
                                           riga_di(uscita, y), larghezza);
        });
        return;
    }
    const auto righe = static_cast<std::size_t>(altezza);
    const auto riga = static_cast<std::size_t>(larghezza);
    const bool in_finestra = !insieme && ospita(uscita, larghezza, altezza);
    const std::size_t passo = (p.piano_in_quadro ? 4 : 3) * riga;
    const std::size_t immagine = !in_finestra && tiene_immagine(p) ? passo * righe : 0;
    // Alpha comes last: rows of one value never touch it, and what is not touched costs nothing.
    Piano memoria = piano_di_lavoro(p.memoria + immagine + (insieme ? riga * righe : 0), true);
    float* const quadro = memoria.data() + p.memoria;
    Sviluppo s = {.lut = lut,
                  .sorgente = sorgente,
                  .uscita = uscita,
                  .larghezza = larghezza,
                  .alfa = std::vector<Alfa>(righe),
                  .da_parte = insieme ? quadro + immagine : nullptr};
    applica_fx(p,
               in_finestra ? Immagine{riga_di(uscita, 0), uscita.passo / BYTE_FLOAT}
                           : Immagine{quadro, static_cast<std::ptrdiff_t>(passo)},
               memoria.data(),
               {.entra = [&](float* rgb, std::ptrdiff_t y) { passata_colore(s, rgb, y); },
                .esce = [&](const float* rgb, std::ptrdiff_t y) { passata_scrittura(s, rgb, y); }});
}

}  // namespace varno
