// The test scene, drawn.
#include "tools/scena/scena.h"

#include "tools/scena/tabelle.h"

#include <OpenImageIO/imagebufalgo_util.h>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <iterator>

namespace varno::provino {
namespace {

using Imath::lerp;
using namespace tabelle;

double rampa(double da, double a, double x)
{
    const double t = std::clamp((x - da) / (a - da), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

double caso(double x, double y)
{
    auto h = static_cast<std::uint64_t>(static_cast<std::int64_t>(x)) * 0x9e3779b97f4a7c15u ^
             static_cast<std::uint64_t>(static_cast<std::int64_t>(y)) * 0xc2b2ae3d27d4eb4fu;
    h = (h ^ h >> 29) * 0xbf58476d1ce4e5b9u;
    return static_cast<double>((h ^ h >> 32) & 0xffffff) / 16777216.0;
}

double nuvole(double x, double y, int ottave)
{
    double somma = 0.0;
    for (int i = 0; i < ottave; ++i, x *= 2.03, y *= 2.03) {
        const double ix = std::floor(x + 7.1 * i);
        const double iy = std::floor(y - 3.7 * i);
        const double t = rampa(0.0, 1.0, x + 7.1 * i - ix);
        somma += std::exp2(-1.0 - i) * lerp(lerp(caso(ix, iy), caso(ix + 1.0, iy), t),
                                            lerp(caso(ix, iy + 1.0), caso(ix + 1.0, iy + 1.0), t),
                                            rampa(0.0, 1.0, y - 3.7 * i - iy));
    }
    return somma;
}

// Warm near the sun: 1 below it, less to its sides.
double caldo(double u, double quanto)
{
    return std::exp(-quanto * std::abs(u - SOLE_U));
}

Luce cielo(double u, double v)
{
    const double h = std::clamp((ORIZZONTE - v) / ORIZZONTE, 0.0, 1.0);
    Luce c = lerp(Luce{0.62, 0.30, 0.17}, Luce{0.13, 0.16, 0.27}, rampa(0.0, 0.42, h));
    c = lerp(c, Luce{0.018, 0.034, 0.088}, rampa(0.25, 1.0, h)) +
        caldo(u, 3.2) * std::exp(-7.0 * h) * Luce{1.7, 0.62, 0.15};
    const double banco = rampa(0.47, 0.72, nuvole(2.3 * u + 3.0, 15.0 * v, 5)) *
                         rampa(0.02, 0.16, h) * (1.0 - rampa(0.55, 0.95, h));
    const Luce sotto = Luce{0.70, 0.26, 0.16} + caldo(u, 2.5) * Luce{2.2, 0.8, 0.25};
    c = lerp(c, lerp(Luce{0.10, 0.09, 0.13}, sotto, rampa(0.75, 0.2, h) * 0.8), 0.75 * banco);
    const double d = std::hypot(u - SOLE_U, v - SOLE_V);
    return c + 2.2 / (1.0 + 9000.0 * d * d) * Luce{1.0, 0.52, 0.2};
}

Luce sfondo(double u, double v)
{
    Luce c;
    const double t = (u + 0.93) / 1.86;
    const double colle = 0.10 * std::exp(-std::pow((u + 0.50) / 0.24, 4.0));
    if (v > 0.408 - colle - 0.17 * (nuvole(3.7 * u + 47.9, 47.9, 6) - 0.5))  // the near ridge
        c = (0.6 + 0.8 * nuvole(60.0 * u, 60.0 * v, 3)) * Luce{0.0085, 0.0075, 0.0085};
    else if (v > 0.375 - 0.22 * (nuvole(2.1 * u + 11.3, 11.3, 6) - 0.5))  // the far one, in haze
        c = lerp(lerp(cielo(u, ORIZZONTE), Luce{0.10, 0.09, 0.13}, 0.75), Luce{0.035, 0.038, 0.055},
                 rampa(0.33, ORIZZONTE, v)) *
            Luce{0.55, 0.52, 0.6};
    else if (std::abs(v - 0.036 - 0.34 * t * (1.0 - t) - 0.015 * std::sin(9.0 * t)) < 0.0007)
        c = {0.004, 0.004, 0.005};  // the wire of the lamps
    else
        c = cielo(u, v);
    for (const Lampade& l : LAMPADE) {
        if (std::abs(v - l.v) > 2.0 * l.raggio)
            continue;
        const double i = std::clamp(std::round((u - l.u) / l.passo), 0.0, l.quante - 1.0);
        const double d = std::hypot(u - l.u - i * l.passo, v - l.v) / l.raggio;
        // As a lens shows it: full inside, falling by a stop every few pixels outside.
        c += 0.9 * std::exp2(l.stop - 36.0 * std::max(0.0, d - 1.0)) * l.colore;
    }
    return c;
}

// Mirrored sky, the rows of waves longer toward the viewer; the sun breaks up into glitter.
Luce lago(double u, double v)
{
    const double p = (v - ORIZZONTE) / (RIVA - ORIZZONTE);
    const double scala = 900.0 / (0.25 + 3.0 * p);
    const double onda = nuvole(u * scala * 0.16, v * scala, 4) - 0.47;
    const double specchio = ORIZZONTE - (v - ORIZZONTE) * 1.35 + onda * (0.02 + 0.16 * p);
    const double striscia = std::exp(-std::pow((u - SOLE_U) / (0.035 + 0.09 * p), 2.0));
    return 0.62 * sfondo(u + 0.004 * (nuvole(60.0 * u, scala * v + 31.0, 1) - 0.25),
                         std::min(specchio, ORIZZONTE - 0.004)) +
           rampa(0.02, 0.20, onda) * striscia * (9.0 - 5.0 * p) * Luce{1.0, 0.45, 0.13} +
           0.25 * p * Luce{0.012, 0.02, 0.035};
}

Luce muro(double u, double v)
{
    const double p = (v - RIVA) / (TAVOLA - RIVA);
    Luce c = (0.33 + 0.9 * nuvole(14.0 * u, 420.0 * v, 4)) * rampa(0.0, 0.03, p) *
             lerp(Luce{0.055, 0.036, 0.026}, Luce{0.115, 0.072, 0.046}, p) *
             (Luce{0.75, 0.85, 1.15} + caldo(u, 2.0) * Luce{1.5, 0.75, 0.25});
    for (const Sfera& s : SFERE)  // shadows where they stand
        if (std::abs(u - s.u) < 5.0 * s.raggio)
            c *= 1.0 - 0.82 * std::exp(-0.71 * std::pow((u - s.u) / s.raggio + 0.35, 2.0) -
                                       11.2 * std::pow((v - PIEDE) / s.raggio, 2.0));
    return c;
}

// A low warm sun from behind on the right, the blue sky from above, warm lamps from the front left.
Luce sfera(const Sfera& s, double x, double y)
{
    const double z = std::sqrt(std::max(0.0, 1.0 - x * x - y * y));
    if (s.lucido == 1.0) {  // what a mirror ball sees: the view turned over its rim
        const double v = std::clamp(0.36 + 0.75 * y * (0.35 + z), 0.0, 1.0);
        const Luce c = v < ORIZZONTE ? cielo(s.u + 1.4 * x * z, v)
                                     : rampa(0.9, 0.5, v) * muro(s.u + 1.4 * x * z, 0.70);
        return 0.82 * c + (std::hypot(x - 0.30, y + 0.34) < 0.055 ? 37.0 : 0.0) * SOLE;
    }
    const auto da = [&](double lx, double ly, double lz, double potenza) {
        return std::pow(std::max(0.0, Luce(x, -y, z) ^ Luce(lx, ly, lz).normalized()), potenza);
    };
    return s.colore * (1.55 * da(0.75, 0.45, 0.30, 1.1) * Luce{1.55, 0.92, 0.50} +
                       (0.30 + 0.34 * da(0.0, 1.0, 0.15, 1.0)) * Luce{0.50, 0.66, 1.0} +
                       0.62 * da(-0.55, 0.35, 0.75, 1.0) * Luce{1.0, 0.80, 0.60} +
                       0.16 * da(0.0, -1.0, 0.2, 1.0) * Luce{0.9, 0.6, 0.4}) +
           s.lucido * 26.0 * da(0.50, 0.52, 0.69, 90.0) * Luce{1.0, 0.72, 0.45};
}

Luce veduta(double u, double v)
{
    if (v < RIVA)
        return v < ORIZZONTE ? sfondo(u, v) : lago(u, v);
    for (const Sfera& s : SFERE) {
        const double x = (u - s.u) / s.raggio;
        const double y = (v - PIEDE) / s.raggio + 0.92;
        if (x * x + y * y < 1.0)
            return sfera(s, x, y);
    }
    return muro(u, v);
}

// A place in a strip: the cell, how far along the whole strip from 0 to 1, and from the middle of
// the cell, in heights of the frame.
struct Punto {
    int casella;
    double lungo, du, dv;
};

struct Striscia {
    double u0, u1, v0, v1;
    int caselle;
    double fuga;  // of a cell's width, on each side
    Luce (*colore)(const Punto&);
};

// clang-format off
constexpr Striscia CARTA[] = {
    // Grey in stops from -8 to +7; beyond white they glow, and are small so as not to flood.
    {-0.86, 0.86, 0.762, 0.822, 16, 0.0, [](const Punto& p) {
         return p.casella > 9 && std::hypot(p.du, p.dv) > 0.008
                    ? CARTONE : 0.18 * std::exp2(p.casella - 8.0) * BIANCO; }},
    // A mark for each stop, a larger one for mid grey.
    {-0.86, 0.86, 0.828, 0.842, 16, 0.0, [](const Punto& p) {
         const double raggio = p.casella == 8 ? 0.005 : 0.0018;
         return std::hypot(p.du, p.dv) < raggio ? 0.42 * BIANCO : CARTONE; }},
    {-0.86, 0.86, 0.850, 0.902, std::size(COLORI), 0.03,
     [](const Punto& p) { return COLORI[p.casella]; }},
    // Saturated, and the same two stops brighter.
    {-0.86, -0.344, 0.910, 0.985, std::size(SATURI), 0.03,
     [](const Punto& p) { return (p.dv < 0.0 ? 1.0 : 4.0) * SATURI[p.casella]; }},
    // Ramps: hues at mid level, grey over twelve stops, black to colours.
    {-0.318, 0.344, 0.910, 0.937, 1, 0.0, [](const Punto& p) {
         const auto canale = [&p](double da) {
             const double h = std::fmod(p.lungo + da, 1.0) * 6.0 - 3.0;
             return std::clamp(std::abs(h) - 1.0, 0.0, 1.0); };
         return 0.5 * Luce{canale(0.0), canale(2.0 / 3.0), canale(1.0 / 3.0)} + 0.004 * BIANCO; }},
    {-0.318, 0.344, 0.937, 0.961, 1, 0.0,
     [](const Punto& p) { return 0.18 * std::exp2(-9.5 + 12.0 * p.lungo) * BIANCO; }},
    {-0.318, 0.344, 0.961, 0.985, 1, 0.0, [](const Punto& p) {
         return 0.9 * p.lungo * lerp(Luce{1.0, 0.12, 0.06}, Luce{0.06, 0.2, 1.0}, p.lungo); }},
    // Fine texture: a star of rays, line pairs in four steps, and a weave.
    {0.370, 0.445, 0.910, 0.985, 1, 0.0, [](const Punto& p) {
         const bool raggio = std::sin(36.0 * std::atan2(p.dv, p.du)) > 0.0;
         return (std::hypot(p.du, p.dv) > 0.037 ? 0.18 : raggio ? 0.72 : 0.025) * BIANCO; }},
    {0.445, 0.520, 0.910, 0.985, 4, 0.0, [](const Punto& p) {
         constexpr double PASSO[] = {0.0111, 0.0074, 0.0056, 0.0037};
         const double lungo = (p.dv < 0.0 ? 1.0 + p.du : p.dv) / PASSO[p.casella];
         return (std::fmod(lungo, 1.0) < 0.5 ? 0.72 : 0.025) * BIANCO; }},
    {0.520, 0.860, 0.910, 0.985, 1, 0.0, [](const Punto& p) {
         return (0.02 + 0.16 * nuvole(240.0 * p.du, 240.0 * p.dv, 3) +
                 0.08 * std::sin(560.0 * p.du) * std::sin(560.0 * p.dv)) *
                Luce{1.15, 0.95, 0.70}; }},
};
// clang-format on

Luce carta(double u, double v)
{
    for (const Striscia& s : CARTA) {
        const double lungo = (u - s.u0) / (s.u1 - s.u0);
        const double du = lungo * s.caselle - std::floor(lungo * s.caselle) - 0.5;
        if (lungo >= 0.0 && lungo < 1.0 && v >= s.v0 && v < s.v1 && std::abs(du) < 0.5 - s.fuga)
            return s.colore({static_cast<int>(lungo * s.caselle), lungo,
                             du * (s.u1 - s.u0) / s.caselle, v - 0.5 * (s.v0 + s.v1)});
    }
    return CARTONE;
}

// Rec.709 to S-Gamut3.Cine, both with a white of D65.
constexpr Luce GAMUT[] = {{0.6456794776, 0.2591145470, 0.0952059754},
                          {0.0875299915, 0.7596995626, 0.1527704459},
                          {0.0369574199, 0.1292809048, 0.8337616753}};

float slog3(double x)
{
    const double codice = x >= 0.01125 ? 420.0 + std::log10((x + 0.01) / (0.18 + 0.01)) * 261.5
                                       : x * (171.2102946929 - 95.0) / 0.01125 + 95.0;
    return static_cast<float>(std::clamp(codice / 1023.0, 0.0, 1.0));
}

}  // namespace

Foto disegna_scena(int larghezza, int altezza)
{
    constexpr int CAMPIONI = 3;  // a side of a pixel
    Foto f = foto_nuova(larghezza, altezza);
    OIIO::ImageBufAlgo::parallel_image(f.testata.roi(), [&](OIIO::ROI parte) {
        for (int y = parte.ybegin; y < parte.yend; ++y)
            for (int x = parte.xbegin; x < parte.xend; ++x) {
                Luce c{0.0};
                for (int s = 0; s < CAMPIONI * CAMPIONI; ++s) {
                    const double u = x + (s % CAMPIONI + 0.5) / CAMPIONI - 0.5 * larghezza;
                    const double v = (y + (s / CAMPIONI + 0.5) / CAMPIONI) / altezza;
                    c += v < TAVOLA ? veduta(u / altezza, v) : carta(u / altezza, v);
                }
                float* p = &f.rgba[4 * (static_cast<std::size_t>(y) * larghezza + x)];
                for (const Luce& riga : GAMUT)
                    *p++ = slog3((riga ^ c) / (CAMPIONI * CAMPIONI));
                *p = 1.0f;
            }
    });
    f.testata.attribute("ImageDescription", "Test scene, S-Log3 / S-Gamut3.Cine");
    return f;
}

}  // namespace varno::provino
