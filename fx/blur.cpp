#include "fx/blur.h"

#include "fx/nuclei.h"
#include "fx/nuclei_blur.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace varno {
namespace {

void passata_orizzontale(const Piano& da, Piano& a, int larghezza, int altezza, int raggio)
{
    const auto riga = static_cast<std::size_t>(larghezza);
    parallel_for_blocchi(
        static_cast<std::uint64_t>(altezza), [&](std::uint64_t inizio, std::uint64_t fine) {
            gNuclei->blur.orizzontale(&da[inizio * riga], &a[inizio * riga], larghezza,
                                      static_cast<std::ptrdiff_t>(fine - inizio), raggio);
        });
}

void passata_verticale(const Piano& da, Piano& a, Piano& somme, int larghezza, int altezza,
                       int raggio)
{
    parallel_for_blocchi(static_cast<std::uint64_t>(larghezza),
                         [&](std::uint64_t inizio, std::uint64_t fine) {
                             gNuclei->blur.verticale(da.data(), a.data(), somme.data(), larghezza,
                                                     altezza, static_cast<std::ptrdiff_t>(inizio),
                                                     static_cast<std::ptrdiff_t>(fine), raggio);
                         });
}

struct Copia {
    Piano piano;
    int larghezza;
    int altezza;
};

// Means of whole blocks; what does not fill a block at the right and bottom edge is not read.
Copia riduci(const Piano& piano, int larghezza, int altezza, int riduzione)
{
    Copia c{{}, std::max(1, larghezza / riduzione), std::max(1, altezza / riduzione)};
    c.piano = Piano(static_cast<std::size_t>(c.larghezza) * static_cast<std::size_t>(c.altezza));
    parallel_for(static_cast<std::uint64_t>(c.altezza), [&](std::uint64_t Y) {
        for (int X = 0; X < c.larghezza; ++X) {
            float somma = 0.0f;
            int quanti = 0;
            for (int dy = 0; dy < riduzione; ++dy)
                for (int dx = 0; dx < riduzione; ++dx) {
                    const std::int64_t y = static_cast<std::int64_t>(Y) * riduzione + dy;
                    const std::int64_t x = std::int64_t{X} * riduzione + dx;
                    if (y < altezza && x < larghezza) {
                        somma += piano[static_cast<std::size_t>(y * larghezza + x)];
                        ++quanti;
                    }
                }
            c.piano[Y * c.larghezza + X] = somma / static_cast<float>(std::max(1, quanti));
        }
    });
    return c;
}

// Not centred: sample k of the copy lies at k * riduzione.
void ingrandisci(const Copia& c, Piano& piano, int larghezza, int altezza, int riduzione)
{
    const auto r = static_cast<float>(riduzione);
    parallel_for(static_cast<std::uint64_t>(altezza), [&](std::uint64_t y) {
        const float fy = static_cast<float>(static_cast<int>(y)) / r;
        const int y0 = std::min(c.altezza - 1, static_cast<int>(fy));
        const int y1 = std::min(c.altezza - 1, y0 + 1);
        const float ty = fy - static_cast<float>(y0);
        const float* sopra = &c.piano[static_cast<std::size_t>(y0) * c.larghezza];
        const float* sotto = &c.piano[static_cast<std::size_t>(y1) * c.larghezza];
        float* uscita = &piano[y * static_cast<std::size_t>(larghezza)];
        for (int x = 0; x < larghezza; ++x) {
            const float fx = static_cast<float>(x) / r;
            const int x0 = std::min(c.larghezza - 1, static_cast<int>(fx));
            const int x1 = std::min(c.larghezza - 1, x0 + 1);
            const float tx = fx - static_cast<float>(x0);
            uscita[x] = ((1.0f - tx) * sotto[x0] + tx * sotto[x1]) * ty +
                        ((1.0f - tx) * sopra[x0] + tx * sopra[x1]) * (1.0f - ty);
        }
    });
}

}  // namespace

void box_blur(Piano& piano, int larghezza, int altezza, int raggio, int passate)
{
    if (raggio < 1)
        return;
    Piano altro = piano_di_lavoro(piano.size(), piano.arena);
    Piano somme = piano_di_lavoro(static_cast<std::size_t>(larghezza), piano.arena);
    for (int i = 0; i < passate; ++i) {
        passata_orizzontale(piano, altro, larghezza, altezza, raggio);
        passata_verticale(altro, piano, somme, larghezza, altezza, raggio);
    }
}

void blur_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    if (riduzione < 2) {
        box_blur(piano, larghezza, altezza, raggio, 3);
        return;
    }
    Copia c = riduci(piano, larghezza, altezza, riduzione);
    box_blur(c.piano, c.larghezza, c.altezza, std::max(1, raggio / riduzione), 3);
    ingrandisci(c, piano, larghezza, altezza, riduzione);
}

void blur_orizz_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    Copia c = riduci(piano, larghezza, altezza, riduzione);
    Piano altro(c.piano.size());
    for (int i = 0; i < 3; ++i) {
        passata_orizzontale(c.piano, altro, c.larghezza, c.altezza,
                            std::max(1, raggio / riduzione));
        std::swap(c.piano, altro);
    }
    ingrandisci(c, piano, larghezza, altezza, riduzione);
}

}  // namespace varno
