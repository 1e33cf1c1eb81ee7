// Blurs of planes, on threads. The sums themselves: fx/nuclei_piani.h.
#include "fx/blur.h"

#include "comune/nuclei.h"
#include "fx/nuclei_piani.h"
#include "fx/passo.h"

#include <algorithm>

namespace varno {
namespace {

constexpr int PASSATE = 3;  // of every blur of the chain

// Columns that a thread sums at a time: at least as many as the processor reads ahead, and no more
// strips than it takes, as each goes over all rows.
constexpr std::ptrdiff_t STRISCIA = 240;
constexpr std::ptrdiff_t MASSIMO_STRISCE = 4;

// Places of the ring in which a row's samples wait while the sum needs them.
std::ptrdiff_t posti_di(const Forma& f)
{
    std::ptrdiff_t posti = 1;
    while (posti < std::min<std::ptrdiff_t>(2 * f.raggio + 9, f.colonne))
        posti *= 2;
    return posti;
}

std::size_t anello_di_righe(const Forma& f)
{
    return static_cast<std::size_t>(RIGHE_FRESCHE * posti_di(f));
}

// One plane's ring: the rows that the sum has still to lose, and the sums.
std::ptrdiff_t anello_di_colonne(const Forma& f)
{
    return (std::min<std::ptrdiff_t>(f.raggio + 1, f.righe) + 1) * f.colonne;
}

std::size_t memoria_di(const Forma& f, std::uint64_t thread)
{
    return std::max(anello_di_righe(f) * thread,
                    static_cast<std::size_t>(anello_di_colonne(f) * f.piani));
}

void una_passata(const Forma& f, float* righe, std::ptrdiff_t passo, std::ptrdiff_t quante,
                 float* anello)
{
    gNuclei->piani.orizzontale(righe, passo, anello, posti_di(f), f.colonne, quante, f.raggio);
}

void tutte_le_passate(const Forma& f, float* righe, std::ptrdiff_t passo, std::ptrdiff_t quante,
                      float* anello)
{
    for (int i = 0; i < PASSATE; ++i)
        una_passata(f, righe, passo, quante, anello);
}

// All rows of all planes, which follow each other.
void passata_orizzontale(const Lavoro& l)
{
    const Forma& f = l.forma;
    const std::size_t anello = anello_di_righe(f);
    l.io.per_parti(
        f.righe * f.piani, [&](std::ptrdiff_t parte, std::ptrdiff_t da, std::ptrdiff_t a) {
            una_passata(f, riga_di(l.piani, da), l.piani.passo, a - da, l.memoria + parte * anello);
        });
}

// The threads share out the columns of all planes together. Each walks down its own in a few
// strips, left to right: where two threads work side by side in a row, the processor, reading
// ahead, takes each one's cache lines from the other, and two are as slow as one.
void passata_verticale(const Lavoro& l)
{
    const Forma& f = l.forma;
    const std::ptrdiff_t W = f.colonne;
    const auto striscia = [&](std::ptrdiff_t inizio, std::ptrdiff_t fine) {
        for (std::ptrdiff_t p = 0; p < f.piani; ++p) {
            const std::ptrdiff_t x0 = std::max<std::ptrdiff_t>(inizio - p * W, 0);
            const std::ptrdiff_t x1 = std::min(fine - p * W, W);
            if (x0 < x1)
                gNuclei->piani.verticale(riga_di(l.piani, f, p, 0), l.piani.passo,
                                         l.memoria + p * anello_di_colonne(f), W, f.righe, x0, x1,
                                         f.raggio);
        }
    };
    l.io.per_parti(W * f.piani, [&](std::ptrdiff_t, std::ptrdiff_t da, std::ptrdiff_t a) {
        const std::ptrdiff_t strisce =
            std::clamp<std::ptrdiff_t>((a - da) / STRISCIA, 1, MASSIMO_STRISCE);
        for (std::ptrdiff_t i = 0; i < strisce; ++i)
            striscia(da + (a - da) * i / strisce, da + (a - da) * (i + 1) / strisce);
    });
}

// What is left of it when the rows of the first pass have been done as they were fed.
void box_blur(const Lavoro& l)
{
    for (int i = 0; i < PASSATE; ++i) {
        if (i > 0)
            passata_orizzontale(l);
        passata_verticale(l);
    }
}

}  // namespace

constinit const Passo BOX_BLUR = {
    .righe = una_passata,
    .appoggio = anello_di_righe,
    .piani = box_blur,
    .memoria = memoria_di,
};

constinit const Passo BLUR_ORIZZ = {
    .da_copia = true,
    .righe = tutte_le_passate,
    .appoggio = anello_di_righe,
};

}  // namespace varno
