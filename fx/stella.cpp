#include "fx/stella.h"

#include "colore/aritmetica.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <vector>

namespace varno {
namespace {

constexpr float INIZIO = 0.85f;  // luminance at which the mask leaves 0; it is whole at 1
constexpr float AMPIEZZA = 0.15f;
constexpr double LUNGHEZZA = 0.09;  // reach of a ray on each side, of the width
constexpr int MINIMA = 3;           // reduced pixels
constexpr float FORZA = 2.4f;       // of the sum of all rays, at an amount of 1
constexpr float PI = 3.1415927f;
constexpr int VUOTO = 16;  // reduced samples of nothing that end a run of light

struct Raggiera {
    int direzioni;  // lines through a source, each two rays
    float angolo0;  // of the first line, radians
};

// Four points stand diagonally; the other stars have a horizontal line.
Raggiera raggiera_di(int punte)
{
    if (punte == 4)
        return {2, 0.7853982f};
    if (punte < 6)
        return {2, 0.0f};
    return {punte < 8 ? 3 : 4, 0.0f};
}

// The mask at reduced size, and where in it there is light.
struct Luci {
    struct Tratto {
        int inizio;
        int fine;
    };
    int larghezza;
    int altezza;
    Piano ridotta;
    std::vector<Tratto> tratti;      // runs of samples, row after row
    std::vector<std::size_t> primo;  // first run of each row, and the end of the last
};

// Brightness under a squared ramp, not a weight: above 1 it stays the luminance itself.
float maschera(float l)
{
    const float t = (l - INIZIO) / AMPIEZZA;
    if (!(t > 0.0f))
        return 0.0f;
    return t >= 1.0f ? l : t * t * l;
}

void riga_ridotta(const Quadro& q, float* ridotta, int larghezza, int y0)
{
    const int r = q.riduzione;
    const int y1 = std::min(q.altezza, y0 + r);
    for (int x = 0; x < larghezza; ++x) {
        const int x0 = x * r;
        const int x1 = std::min(q.larghezza, x0 + r);
        float somma = 0.0f;
        for (int y = y0; y < y1; ++y)
            for (int i = x0; i < x1; ++i)
                somma += maschera(q.luma[static_cast<std::size_t>(y) * q.larghezza + i]);
        ridotta[x] = somma / static_cast<float>(std::max(1, (y1 - y0) * (x1 - x0)));
    }
}

void trova_tratti(Luci& luci)
{
    const auto riga = static_cast<std::size_t>(luci.larghezza);
    for (int y = 0; y < luci.altezza; ++y) {
        luci.primo.push_back(luci.tratti.size());
        const float* ridotta = &luci.ridotta[static_cast<std::size_t>(y) * riga];
        for (int x = 0; x < luci.larghezza; ++x) {
            if (ridotta[x] == 0.0f)
                continue;
            if (luci.tratti.size() == luci.primo.back() || x - luci.tratti.back().fine >= VUOTO)
                luci.tratti.push_back({x, x});
            luci.tratti.back().fine = x + 1;
        }
    }
    luci.primo.push_back(luci.tratti.size());
}

Luci luci_di(const Quadro& q)
{
    Luci luci{
        std::max(1, q.larghezza / q.riduzione), std::max(1, q.altezza / q.riduzione), {}, {}, {}};
    const auto riga = static_cast<std::size_t>(luci.larghezza);
    const auto righe = static_cast<std::size_t>(luci.altezza);
    luci.ridotta = piano_di_lavoro(riga * righe, q.img.arena);
    parallel_for(righe, [&](std::uint64_t y) {
        riga_ridotta(q, &luci.ridotta[y * riga], luci.larghezza, static_cast<int>(y) * q.riduzione);
    });
    trova_tratti(luci);
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

Linea linea_di(int mezza_lunghezza, float angolo)
{
    const float seno = std::sin(angolo);
    const float coseno = std::cos(angolo);
    Linea linea;
    for (int k = -mezza_lunghezza; k <= mezza_lunghezza; ++k) {
        const auto passo = static_cast<float>(k);
        const float peso =
            1.0f - static_cast<float>(std::abs(k)) / static_cast<float>(mezza_lunghezza + 1);
        linea.tocchi.push_back({static_cast<int>(std::lround(passo * coseno)),
                                static_cast<int>(std::lround(passo * seno)), peso});
        linea.peso_totale += peso;
    }
    return linea;
}

// Adds to a row what one line brings to it, each pixel's taps in the line's order. Where the taps
// are 0 they are left out: they would not change a sum that is never below 0. somma is a row of
// zeros, before and after.
void riga_linea(const Luci& luci, const Linea& linea, int y, float* somma, float* accumulo)
{
    const auto riga = static_cast<std::size_t>(luci.larghezza);
    int inizio = luci.larghezza;  // the part of the row that got something
    int fine = 0;
    for (const Linea::Tocco& tocco : linea.tocchi) {
        const int sorgente = y + tocco.dy;
        if (sorgente < 0 || sorgente >= luci.altezza)
            continue;
        const float* ridotta = &luci.ridotta[static_cast<std::size_t>(sorgente) * riga];
        for (std::size_t t = luci.primo[sorgente]; t < luci.primo[sorgente + 1]; ++t) {
            const int da = std::max(0, luci.tratti[t].inizio - tocco.dx);
            const int a = std::min(luci.larghezza, luci.tratti[t].fine - tocco.dx);
            if (da >= a)
                continue;
            gNuclei->effetti.somma_pesata(somma + da, ridotta + da + tocco.dx, a - da, tocco.peso);
            inizio = std::min(inizio, da);
            fine = std::max(fine, a);
        }
    }
    for (int x = inizio; x < fine; ++x) {
        accumulo[x] += somma[x] / linea.peso_totale;
        somma[x] = 0.0f;
    }
}

// The sum of all rays, on the reduced copy.
Piano raggi_di(const Luci& luci, const Raggiera& raggiera, int mezza_lunghezza, Arena* arena)
{
    std::vector<Linea> linee;
    for (int d = 0; d < raggiera.direzioni; ++d)
        linee.push_back(linea_di(mezza_lunghezza, static_cast<float>(d) * PI /
                                                          static_cast<float>(raggiera.direzioni) +
                                                      raggiera.angolo0));

    const auto riga = static_cast<std::size_t>(luci.larghezza);
    const auto righe = static_cast<std::size_t>(luci.altezza);
    Piano accumulo = piano_di_lavoro(riga * righe, arena);
    Piano somme = piano_di_lavoro(riga * righe, arena);
    std::fill(accumulo.begin(), accumulo.end(), 0.0f);
    std::fill(somme.begin(), somme.end(), 0.0f);
    if (luci.tratti.empty())
        return accumulo;
    parallel_for(righe, [&](std::uint64_t y) {
        for (const Linea& linea : linee)
            riga_linea(luci, linea, static_cast<int>(y), &somme[y * riga], &accumulo[y * riga]);
    });
    return accumulo;
}

// The rays enlarged and screened, all channels alike; luma is refreshed behind them.
void riga_composito(const Quadro& q, const Luci& luci, const Piano& accumulo, int y, float quantita)
{
    const auto r = static_cast<float>(q.riduzione);
    const auto riga = static_cast<std::size_t>(luci.larghezza);
    const float fy = static_cast<float>(y) / r;
    const int y0 = std::min(luci.altezza - 1, static_cast<int>(fy));
    const int y1 = std::min(y0 + 1, luci.altezza - 1);
    const float ty = fy - static_cast<float>(y0);
    const float* sopra = &accumulo[static_cast<std::size_t>(y0) * riga];
    const float* sotto = &accumulo[static_cast<std::size_t>(y1) * riga];
    float* luma = &q.luma[static_cast<std::size_t>(y) * static_cast<std::size_t>(q.larghezza)];
    float* rgb = &q.img[static_cast<std::size_t>(y) * static_cast<std::size_t>(q.larghezza) * 3];
    for (int x = 0; x < q.larghezza; ++x) {
        const float fx = static_cast<float>(x) / r;
        const int x0 = std::min(luci.larghezza - 1, static_cast<int>(fx));
        const int x1 = std::min(x0 + 1, luci.larghezza - 1);
        const float tx = fx - static_cast<float>(x0);
        const float a = (sopra[x0] * (1.0f - tx) + sopra[x1] * tx) * (1.0f - ty) +
                        (sotto[x0] * (1.0f - tx) + sotto[x1] * tx) * ty;
        const float h = std::min(a * quantita * FORZA, 1.0f);
        float* p = rgb + std::size_t{3} * x;
        p[0] = mescola_schermo(p[0], h);
        p[1] = mescola_schermo(p[1], h);
        p[2] = mescola_schermo(p[2], h);
        luma[x] = luma_pixel(p[0], p[1], p[2]);
    }
}

}  // namespace

void applica_stella(const Quadro& q, float quantita, int punte)
{
    const Luci luci = luci_di(q);
    const int mezza_lunghezza =
        std::max(MINIMA, static_cast<int>(std::lround(q.larghezza * LUNGHEZZA / q.riduzione)));
    const Piano accumulo = raggi_di(luci, raggiera_di(punte), mezza_lunghezza, q.img.arena);
    parallel_for(static_cast<std::uint64_t>(q.altezza), [&](std::uint64_t y) {
        riga_composito(q, luci, accumulo, static_cast<int>(y), quantita);
    });
}

}  // namespace varno
