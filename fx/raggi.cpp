// The rays: where the lights are, and what each line through them adds up to.
#include "fx/raggi.h"

#include "comune/nuclei.h"
#include "fx/nuclei_piani.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <vector>

namespace varno {
namespace {

constexpr double LUNGHEZZA = 0.09;  // reach of a ray on each side, of the width
constexpr int MINIMA = 3;           // reduced pixels
constexpr int VUOTO = 16;           // reduced samples of nothing that end a run of light

// Lines through a source, each two rays.
struct Raggiera {
    struct Direzione {
        float coseno;
        float seno;
    };
    int direzioni;
    Direzione linee[4];
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

// Where there is light in the reduced mask.
struct Luci {
    struct Tratto {
        int inizio;
        int fine;
    };
    std::vector<Tratto> tratti;      // runs of samples, row after row
    std::vector<std::size_t> primo;  // first run of each row, and the end of the last
};

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

Luci luci_di(const float* campioni, const Forma& f)
{
    Luci luci;
    for (int y = 0; y < f.altezza; ++y) {
        const float* riga = campioni + std::ptrdiff_t{y} * f.larghezza;
        luci.primo.push_back(luci.tratti.size());
        int x = prossima_luce(riga, 0, f.larghezza);
        while (x < f.larghezza) {
            if (luci.tratti.size() == luci.primo.back() || x - luci.tratti.back().fine >= VUOTO)
                luci.tratti.push_back({x, x});
            luci.tratti.back().fine = x + 1;
            x = prossima_luce(riga, x + 1, f.larghezza);
        }
    }
    luci.primo.push_back(luci.tratti.size());
    return luci;
}

// One line through a source: its taps from end to end, seen from the pixel that they reach.
struct Linea {
    struct Tocco {
        int dx;
        int dy;
        float peso;
    };
    std::vector<Tocco> tocchi;
    float peso_totale = 0.0f;
};

Linea linea_di(int mezza_lunghezza, const Raggiera::Direzione& verso)
{
    Linea linea;
    for (int k = -mezza_lunghezza; k <= mezza_lunghezza; ++k) {
        const auto passo = static_cast<float>(k);
        const float peso =
            1.0f - static_cast<float>(std::abs(k)) / static_cast<float>(mezza_lunghezza + 1);
        linea.tocchi.push_back({static_cast<int>(std::lround(passo * verso.coseno)),
                                static_cast<int>(std::lround(passo * verso.seno)), peso});
        linea.peso_totale += peso;
    }
    return linea;
}

// Adds to a row what one line brings to it, each pixel's taps in the line's order. Where the taps
// are 0 they are left out: they would not change a sum that is never below 0. somma is a row of
// zeros, before and after.
void riga_linea(const float* ridotta, const Forma& f, const Luci& luci, const Linea& linea, int y,
                float* somma, float* accumulo)
{
    const int larghezza = f.larghezza;
    int inizio = larghezza;  // the part of the row that got something
    int fine = 0;
    for (const Linea::Tocco& tocco : linea.tocchi) {
        const int sorgente = y + tocco.dy;
        if (sorgente < 0 || sorgente >= f.altezza)
            continue;
        const float* riga = ridotta + std::ptrdiff_t{sorgente} * larghezza;
        for (std::size_t t = luci.primo[sorgente]; t < luci.primo[sorgente + 1]; ++t) {
            const int da = std::max(0, luci.tratti[t].inizio - tocco.dx);
            const int a = std::min(larghezza, luci.tratti[t].fine - tocco.dx);
            if (da >= a)
                continue;
            gNuclei->piani.somma_pesata(somma + da, riga + da + tocco.dx, a - da, tocco.peso);
            inizio = std::min(inizio, da);
            fine = std::max(fine, a);
        }
    }
    for (int x = inizio; x < fine; ++x) {
        accumulo[x] += somma[x] / linea.peso_totale;
        somma[x] = 0.0f;
    }
}

}  // namespace

Piano raggi_di(const Piano& luci, const Forma& forma, std::int32_t punte, Arena* arena)
{
    const int mezza_lunghezza = std::max(
        MINIMA,
        static_cast<int>(std::lround(forma.quadro_larghezza * LUNGHEZZA / forma.riduzione)));
    const Raggiera& raggiera = raggiera_di(punte);
    std::vector<Linea> linee;
    for (int d = 0; d < raggiera.direzioni; ++d)
        linee.push_back(linea_di(mezza_lunghezza, raggiera.linee[d]));
    const Luci tratti = luci_di(luci.data(), forma);

    const auto riga = static_cast<std::size_t>(forma.larghezza);
    Piano raggi = piano_di_lavoro(campioni_di(forma), arena);
    const Parti parti = parti_di(static_cast<std::uint64_t>(forma.altezza));
    Piano somme = piano_di_lavoro(riga * parti.quante, arena);
    parallel_for_parti(parti, [&](std::uint64_t parte, std::uint64_t inizio, std::uint64_t fine) {
        float* const somma = &somme[parte * riga];
        std::fill_n(somma, riga, 0.0f);
        std::fill(&raggi[inizio * riga], raggi.data() + fine * riga, 0.0f);
        for (std::uint64_t y = inizio; y < fine; ++y)
            for (const Linea& linea : linee)
                riga_linea(luci.data(), forma, tratti, linea, static_cast<int>(y), somma,
                           &raggi[y * riga]);
    });
    return raggi;
}

}  // namespace varno
