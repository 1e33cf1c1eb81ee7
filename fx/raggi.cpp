// The rays: where the lights are, and what each line through them adds up to.
#include "fx/raggi.h"

#include "fx/passo.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>

namespace varno {
namespace {

constexpr double LUNGHEZZA = 0.09;  // reach of a ray on each side, of the width
constexpr int MINIMA = 3;           // reduced pixels
constexpr int VUOTO = 16;           // reduced samples of nothing that end a run of light

constexpr int MASSIMO_LINEE = 4;

// Lines through a source, each two rays.
struct Raggiera {
    struct Direzione {
        float coseno;
        float seno;
    };
    int direzioni;
    Direzione linee[MASSIMO_LINEE];
};

// Four points stand diagonally; the other stars have a horizontal line. Of angles that are floats,
// so that not even a right angle's cosine is 0.
constexpr Raggiera DUE_DIAGONALI = {2, {{0.70710677f, 0.70710677f}, {-0.70710677f, 0.70710677f}}};
constexpr Raggiera DUE_DRITTE = {2, {{1.0f, 0.0f}, {-4.371139e-08f, 1.0f}}};
constexpr Raggiera TRE = {3,
                          {{1.0f, 0.0f}, {0.49999997f, 0.86602545f}, {-0.50000006f, 0.8660254f}}};
constexpr Raggiera QUATTRO = {4,
                              {{1.0f, 0.0f},
                               {0.70710677f, 0.70710677f},
                               {-4.371139e-08f, 1.0f},
                               {-0.70710677f, 0.70710677f}}};

const Raggiera& raggiera_di(int punte)
{
    if (punte == 4)
        return DUE_DIAGONALI;
    if (punte < 6)
        return DUE_DRITTE;
    return punte < 8 ? TRE : QUATTRO;
}

// A run of samples that hold light.
struct Tratto {
    int inizio;
    int fine;
};

// One tap of a line: where it takes a sample, from the pixel that it reaches.
struct Tocco {
    int dx;
    int dy;
    float peso;
};

int mezza_lunghezza(const Forma& f)
{
    return std::max(MINIMA,
                    static_cast<int>(std::lround(static_cast<double>(f.larghezza) * LUNGHEZZA /
                                                 static_cast<double>(f.riduzione))));
}

std::ptrdiff_t tocchi_di_linea(const Forma& f)
{
    return 2 * std::ptrdiff_t{mezza_lunghezza(f)} + 1;
}

// Of a row, at most: VUOTO samples lie between two.
std::ptrdiff_t tratti_di_riga(const Forma& f)
{
    return (f.colonne + VUOTO) / (VUOTO + 1);
}

template <class T> constexpr std::ptrdiff_t FLOAT = sizeof(T) / sizeof(float);

// The step's memory: taps, line after line; runs, row after row; how many of them a row has; and a
// row of sums for each thread.
struct Raggi {
    const Forma& f;
    Tocco* tocchi;
    Tratto* tratti;
    int* quanti;
    float* somme;
};

Raggi raggi_in(const Forma& f, float* memoria)
{
    float* const tratti = memoria + MASSIMO_LINEE * tocchi_di_linea(f) * FLOAT<Tocco>;
    float* const quanti = tratti + f.righe * tratti_di_riga(f) * FLOAT<Tratto>;
    return {f, reinterpret_cast<Tocco*>(memoria), reinterpret_cast<Tratto*>(tratti),
            reinterpret_cast<int*>(quanti), quanti + f.righe};
}

std::size_t memoria_di(const Forma& f, std::uint64_t thread)
{
    const std::ptrdiff_t n = MASSIMO_LINEE * tocchi_di_linea(f) * FLOAT<Tocco> +
                             f.righe * (tratti_di_riga(f) * FLOAT<Tratto> + 1);
    return static_cast<std::size_t>(n) + static_cast<std::size_t>(f.colonne) * thread;
}

// Whether VUOTO samples are 0; a negative zero passes for light here, and is found out one by one.
bool buio(const float* campioni)
{
    std::uint32_t bit[VUOTO];
    std::memcpy(bit, campioni, sizeof bit);
    std::uint32_t acceso = 0;
    for (const std::uint32_t b : bit)
        acceso |= b;
    return acceso == 0;
}

// The next sample of a row from x on that holds light, or the row's end.
int prossima_luce(const float* riga, int x, int larghezza)
{
    while (x < larghezza && riga[x] == 0.0f) {
        ++x;
        while (x + VUOTO <= larghezza && buio(riga + x))
            x += VUOTO;
    }
    return x;
}

// The runs of light of a row.
void trova_luci(const Raggi& r, const float* riga, std::ptrdiff_t y)
{
    const auto larghezza = static_cast<int>(r.f.colonne);
    Tratto* const tratti = r.tratti + y * tratti_di_riga(r.f);
    int n = 0;
    int x = prossima_luce(riga, 0, larghezza);
    while (x < larghezza) {
        if (n == 0 || x - tratti[n - 1].fine >= VUOTO)
            tratti[n++] = {x, x};
        tratti[n - 1].fine = x + 1;
        x = prossima_luce(riga, x + 1, larghezza);
    }
    r.quanti[y] = n;
}

// One line through a source: its taps from end to end, seen from the pixel that they reach.
void traccia(const Raggi& r, int linea, const Raggiera::Direzione& verso)
{
    const int mezza = mezza_lunghezza(r.f);
    Tocco* tocco = r.tocchi + linea * tocchi_di_linea(r.f);
    for (int k = -mezza; k <= mezza; ++k) {
        const auto passo = static_cast<float>(k);
        const float peso = 1.0f - static_cast<float>(std::abs(k)) / static_cast<float>(mezza + 1);
        *tocco++ = {static_cast<int>(std::lround(passo * verso.coseno)),
                    static_cast<int>(std::lround(passo * verso.seno)), peso};
    }
}

// Adds to a row what one line brings to it, each pixel's taps in the line's order. Where the taps
// are 0 they are left out: they would not change a sum that is never below 0. somma is a row of
// zeros, before and after.
void riga_linea(const Lavoro& l, const Raggi& r, int linea, std::ptrdiff_t y, float* somma,
                float* accumulo)
{
    const auto somma_pesata = static_cast<const NucleiRaggi*>(l.effetto.nuclei)->somma_pesata;
    const auto larghezza = static_cast<int>(r.f.colonne);
    const Tocco* const tocchi = r.tocchi + linea * tocchi_di_linea(r.f);
    float peso_totale = 0.0f;
    int inizio = larghezza;  // the part of the row that got something
    int fine = 0;
    for (const Tocco* tocco = tocchi; tocco < tocchi + tocchi_di_linea(r.f); ++tocco) {
        peso_totale += tocco->peso;
        const std::ptrdiff_t sorgente = y + tocco->dy;
        if (sorgente < 0 || sorgente >= r.f.righe)
            continue;
        const float* const riga = riga_di(l.piani, sorgente);
        const Tratto* const tratti = r.tratti + sorgente * tratti_di_riga(r.f);
        for (const Tratto* t = tratti; t < tratti + r.quanti[sorgente]; ++t) {
            const int da = std::max(0, t->inizio - tocco->dx);
            const int a = std::min(larghezza, t->fine - tocco->dx);
            if (da >= a)
                continue;
            somma_pesata(somma + da, riga + da + tocco->dx, a - da, tocco->peso);
            inizio = std::min(inizio, da);
            fine = std::max(fine, a);
        }
    }
    for (int x = inizio; x < fine; ++x) {
        accumulo[x] += somma[x] / peso_totale;
        somma[x] = 0.0f;
    }
}

void somma_raggi(const Lavoro& l)
{
    const Raggi r = raggi_in(l.forma, l.memoria);
    const Raggiera& raggiera = raggiera_di(l.quadro.punte);
    const std::ptrdiff_t W = r.f.colonne;
    l.io.per_parti(r.f.righe, [&](std::ptrdiff_t parte, std::ptrdiff_t da, std::ptrdiff_t a) {
        for (int d = 0; parte == 0 && d < raggiera.direzioni; ++d)
            traccia(r, d, raggiera.linee[d]);
        for (std::ptrdiff_t y = da; y < a; ++y)
            trova_luci(r, riga_di(l.piani, y), y);
    });
    l.io.per_parti(r.f.righe, [&](std::ptrdiff_t parte, std::ptrdiff_t da, std::ptrdiff_t a) {
        float* const somma = r.somme + parte * W;
        std::fill_n(somma, W, 0.0f);
        for (std::ptrdiff_t y = da; y < a; ++y) {
            float* const riga = riga_di(l.altri, y);
            std::fill_n(riga, W, 0.0f);
            for (int d = 0; d < raggiera.direzioni; ++d)
                riga_linea(l, r, d, y, somma, riga);
        }
    });
}

}  // namespace

constinit const Passo RAGGI = {
    .da_copia = true,
    .in_altri = true,
    .piani = somma_raggi,
    .memoria = memoria_di,
};

}  // namespace varno
