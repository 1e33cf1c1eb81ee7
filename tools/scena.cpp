#include "tools/scena.h"

#include "tools/etichette.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <cmath>
#include <cstdint>
#include <string>
#include <thread>
#include <vector>

// Scene light is linear with Rec.709 primaries, 0.18 a mid grey and 0.9 a white sheet of paper.
// Places are in heights of the frame: u to the right from the middle, v downward from the top.
namespace varno::provino {
namespace {

struct Luce {
    double r = 0.0, g = 0.0, b = 0.0;
};
constexpr Luce operator+(Luce a, Luce b)
{
    return {a.r + b.r, a.g + b.g, a.b + b.b};
}
constexpr Luce operator*(Luce a, Luce b)
{
    return {a.r * b.r, a.g * b.g, a.b * b.b};
}
constexpr Luce operator*(double k, Luce a)
{
    return {k * a.r, k * a.g, k * a.b};
}
constexpr Luce misto(Luce a, Luce b, double t)
{
    return (1.0 - t) * a + t * b;
}

double rampa(double da, double a, double x)
{
    const double t = std::clamp((x - da) / (a - da), 0.0, 1.0);
    return t * t * (3.0 - 2.0 * t);
}

// --- Noise ---------------------------------------------------------------------------------------

double caso(std::int64_t x, std::int64_t y)
{
    auto h = static_cast<std::uint64_t>(x) * 0x9e3779b97f4a7c15u ^
             static_cast<std::uint64_t>(y) * 0xc2b2ae3d27d4eb4fu;
    h = (h ^ h >> 29) * 0xbf58476d1ce4e5b9u;
    h ^= h >> 32;
    return static_cast<double>(h & 0xffffff) / 16777216.0;
}

double rumore(double x, double y)
{
    const double fx = std::floor(x);
    const double fy = std::floor(y);
    const auto ix = static_cast<std::int64_t>(fx);
    const auto iy = static_cast<std::int64_t>(fy);
    const double tx = rampa(0.0, 1.0, x - fx);
    const double ty = rampa(0.0, 1.0, y - fy);
    const double a = caso(ix, iy) + tx * (caso(ix + 1, iy) - caso(ix, iy));
    const double b = caso(ix, iy + 1) + tx * (caso(ix + 1, iy + 1) - caso(ix, iy + 1));
    return a + ty * (b - a);
}

double nuvole(double x, double y, int ottave)
{
    double somma = 0.0;
    double peso = 0.5;
    for (int i = 0; i < ottave; ++i, peso *= 0.5, x *= 2.03, y *= 2.03)
        somma += peso * rumore(x + 7.1 * i, y - 3.7 * i);
    return somma;
}

// --- The view: sky, hills, lake, lamps -----------------------------------------------------------

constexpr double ORIZZONTE = 0.43;
constexpr double RIVA = 0.555;    // where the wall with the spheres begins
constexpr double TAVOLA = 0.745;  // where the chart begins
constexpr double SOLE_U = 0.40;
constexpr double SOLE_V = 0.313;
constexpr Luce LUCE_SOLE = {46.0, 21.0, 6.5};
constexpr Luce TUNGSTENO = {1.0, 0.60, 0.26};

// A glowing disc as a lens shows it: full inside, falling by a stop every few pixels outside.
double fonte(double distanza, double raggio)
{
    return distanza < raggio ? 1.0 : std::exp2(-9.0 * (distanza - raggio) / (0.25 * raggio));
}

Luce cielo(double u, double v)
{
    const double h = std::clamp((ORIZZONTE - v) / ORIZZONTE, 0.0, 1.0);
    const double lontano = std::abs(u - SOLE_U);
    Luce c = misto({0.62, 0.30, 0.17}, {0.13, 0.16, 0.27}, rampa(0.0, 0.42, h));
    c = misto(c, {0.018, 0.034, 0.088}, rampa(0.25, 1.0, h));
    c = c + std::exp(-3.2 * lontano - 7.0 * h) * Luce{1.7, 0.62, 0.15};
    const double n = nuvole(2.3 * u + 3.0, 15.0 * v, 5);
    const double banco = rampa(0.47, 0.72, n) * rampa(0.02, 0.16, h) * (1.0 - rampa(0.55, 0.95, h));
    const Luce sotto = Luce{0.70, 0.26, 0.16} + std::exp(-2.5 * lontano) * Luce{2.2, 0.8, 0.25};
    return misto(c, misto({0.10, 0.09, 0.13}, sotto, rampa(0.75, 0.2, h) * 0.8), 0.75 * banco);
}

double cresta(double u, double quota, double ampiezza, double passo, double seme)
{
    return quota - ampiezza * (nuvole(passo * u + seme, seme, 6) - 0.5);
}

Luce sfondo(double u, double v)
{
    const double lontana = cresta(u, 0.375, 0.22, 2.1, 11.3);
    const double vicina = cresta(u, 0.408, 0.17, 3.7, 47.9);
    if (v > vicina) {
        // A town on the near shore: small windows, a few of them lit.
        const double cu = u * 150.0;
        const double cv = v * 170.0;
        const auto iu = static_cast<std::int64_t>(std::floor(cu));
        const auto iv = static_cast<std::int64_t>(std::floor(cv));
        const double bordo =
            std::max(std::abs(cu - std::floor(cu) - 0.5), std::abs(cv - std::floor(cv) - 0.5));
        const double abitato =
            rampa(0.35, 0.6, nuvole(2.0 * u + 31.0, 5.0, 3)) * rampa(0.0, 0.02, v - vicina);
        const Luce terra =
            (0.6 + 0.8 * nuvole(60.0 * u, 60.0 * v, 3)) * Luce{0.0085, 0.0075, 0.0085};
        if (bordo < 0.24 && caso(iu, iv) < 0.42 * abitato)
            return std::exp2(4.5 * caso(iu + 5, iv)) * Luce{0.75, 0.44, 0.18};
        return terra;
    }
    if (v > lontana) {
        const Luce aria = misto(cielo(u, ORIZZONTE), {0.10, 0.09, 0.13}, 0.75);
        return misto(aria, {0.035, 0.038, 0.055}, rampa(0.33, ORIZZONTE, v)) *
               Luce{0.55, 0.52, 0.6};
    }
    const double d = std::hypot(u - SOLE_U, v - SOLE_V);
    return cielo(u, v) + fonte(d, 0.025) * LUCE_SOLE +
           2.2 / (1.0 + 9000.0 * d * d) * Luce{1.0, 0.52, 0.2};
}

// Mirrored sky, the rows of waves longer toward the viewer; the sun breaks up into glitter.
Luce lago(double u, double v)
{
    const double p = (v - ORIZZONTE) / (RIVA - ORIZZONTE);
    const double scala = 900.0 / (0.25 + 3.0 * p);
    const double onda = nuvole(u * scala * 0.16, v * scala, 4) - 0.47;
    const double specchio = ORIZZONTE - (v - ORIZZONTE) * 1.35 + onda * (0.02 + 0.16 * p);
    Luce c = 0.62 * sfondo(u + 0.004 * (rumore(60.0 * u, scala * v + 31.0) - 0.5),
                           std::min(specchio, ORIZZONTE - 0.004));
    const double striscia = std::exp(-std::pow((u - SOLE_U) / (0.035 + 0.09 * p), 2.0));
    c = c + rampa(0.02, 0.20, onda) * striscia * (9.0 - 5.0 * p) * Luce{1.0, 0.45, 0.13};
    return c + (0.25 * p) * Luce{0.012, 0.02, 0.035};
}

double filo(double u)
{
    const double t = (u + 0.93) / 1.86;
    return 0.036 + 0.34 * t * (1.0 - t) + 0.015 * std::sin(9.0 * t);
}

struct Lampada {
    double u, v, raggio;
    Luce colore;
    double stop;  // above white
};

// A string of lamps from dim to bright in mixed order; coloured glass takes more of the light.
std::vector<Lampada> ghirlanda()
{
    struct Vetro {
        Luce colore;
        double stop;
    };
    // clang-format off
    constexpr Vetro VETRI[] = {
        {TUNGSTENO, 5.0}, {{1.0, 0.06, 0.03}, 0.4}, {TUNGSTENO, 1.0}, {{1.0, 0.86, 0.66}, 7.0},
        {{0.06, 0.80, 0.14}, 0.0}, {TUNGSTENO, 3.5}, {{0.05, 0.16, 1.0}, 1.0}, {TUNGSTENO, 8.0},
        {{1.0, 0.06, 0.03}, 1.4}, {TUNGSTENO, 2.0}, {{0.8, 0.92, 1.0}, 6.0},
        {{0.06, 0.80, 0.14}, 1.2}, {TUNGSTENO, 4.5}, {{0.05, 0.16, 1.0}, 2.0}, {TUNGSTENO, 6.0},
    };
    // clang-format on
    std::vector<Lampada> lampade;
    for (std::size_t i = 0; i < std::size(VETRI); ++i) {
        const double t = (static_cast<double>(i) + 0.5) / std::size(VETRI);
        const double u = -0.93 + 1.86 * t;
        lampade.push_back({u, filo(u) + 0.0120, 0.0082, VETRI[i].colore, VETRI[i].stop});
    }
    return lampade;
}

const std::vector<Lampada>& lampade()
{
    static const std::vector<Lampada> tutte = ghirlanda();
    return tutte;
}

// --- Wall and spheres ----------------------------------------------------------------------------

struct Sfera {
    double u, raggio;
    Luce colore;
    double lucido;  // 0 matte to 1 mirror
};

// Six skins from light to deep, mid grey, a mirror, and two strong colours.
constexpr Sfera SFERE[] = {
    {-0.760, 0.062, {0.18, 0.18, 0.18}, 0.0},    {-0.600, 0.066, {0.78, 0.55, 0.44}, 0.05},
    {-0.435, 0.066, {0.60, 0.36, 0.25}, 0.05},   {-0.270, 0.066, {0.44, 0.24, 0.155}, 0.05},
    {-0.105, 0.066, {0.29, 0.145, 0.088}, 0.06}, {0.060, 0.066, {0.145, 0.070, 0.044}, 0.07},
    {0.225, 0.066, {0.068, 0.035, 0.024}, 0.08}, {0.400, 0.076, {0.9, 0.9, 0.9}, 1.0},
    {0.580, 0.062, {0.55, 0.030, 0.025}, 0.22},  {0.735, 0.055, {0.03, 0.12, 0.50}, 0.22},
};

constexpr double PIEDE = 0.712;  // where the spheres stand

Luce muro(double u, double v)
{
    const double p = (v - RIVA) / (TAVOLA - RIVA);
    const double fibra = nuvole(14.0 * u, 420.0 * v, 4) - 0.47;
    const double trama = 0.5 + 0.5 * std::sin(900.0 * u) * std::sin(900.0 * v);
    const double tono = 0.75 + 0.9 * fibra + 0.18 * trama * rampa(-0.05, 0.35, u);
    Luce c = tono * misto({0.055, 0.036, 0.026}, {0.115, 0.072, 0.046}, p);
    c = c *
        (Luce{0.75, 0.85, 1.15} + std::exp(-2.0 * std::abs(u - SOLE_U)) * Luce{1.5, 0.75, 0.25});
    for (const Sfera& s : SFERE) {  // shadows where they stand
        if (v < PIEDE - 2.0 * s.raggio || std::abs(u - s.u) > 5.0 * s.raggio)
            continue;
        const double du = (u - s.u + 0.35 * s.raggio) / (1.35 * s.raggio);
        const double dv = (v - PIEDE) / (0.34 * s.raggio);
        c = (1.0 - 0.82 * std::exp(-1.3 * (du * du + dv * dv))) * c;
    }
    return c;
}

// A low warm sun from behind on the right, the blue sky from above, warm lamps from the front left.
Luce sfera(const Sfera& s, double x, double y)
{
    const double z = std::sqrt(std::max(0.0, 1.0 - x * x - y * y));
    const auto da = [&](double lx, double ly, double lz) {
        return std::max(0.0, (x * lx - y * ly + z * lz) / std::sqrt(lx * lx + ly * ly + lz * lz));
    };
    if (s.lucido == 1.0) {
        // What a mirror ball sees: the view turned over its rim.
        const double ru = s.u + 1.4 * x * z;
        const double rv = std::clamp(0.36 + 0.75 * y * (0.35 + z), 0.0, 1.0);
        const Luce c = rv < ORIZZONTE
                           ? cielo(ru, rv)
                           : misto(muro(ru, 0.70), {0.02, 0.02, 0.03}, rampa(0.5, 0.9, rv));
        const double punto = std::hypot(x - 0.30, y + 0.34);
        return 0.82 * c + (punto < 0.055 ? 0.8 : 0.0) * LUCE_SOLE;
    }
    const Luce luce = 1.55 * std::pow(da(0.75, 0.45, 0.30), 1.1) * Luce{1.55, 0.92, 0.50} +
                      (0.30 + 0.34 * da(0.0, 1.0, 0.15)) * Luce{0.50, 0.66, 1.0} +
                      0.62 * da(-0.55, 0.35, 0.75) * Luce{1.0, 0.80, 0.60} +
                      0.16 * da(0.0, -1.0, 0.2) * Luce{0.9, 0.6, 0.4};
    const double riflesso = std::pow(da(0.50, 0.52, 0.69), 90.0);
    return s.colore * luce + s.lucido * riflesso * 26.0 * Luce{1.0, 0.72, 0.45};
}

Luce veduta(double u, double v)
{
    Luce c;
    if (v < ORIZZONTE)
        c = sfondo(u, v);
    else if (v < RIVA)
        c = lago(u, v);
    else
        c = misto(muro(u, v), {0.015, 0.014, 0.016}, 1.0 - rampa(0.0, 0.006, v - RIVA));
    if (v > RIVA)
        for (const Sfera& s : SFERE) {
            const double x = (u - s.u) / s.raggio;
            const double y = (v - (PIEDE - 0.92 * s.raggio)) / s.raggio;
            if (x * x + y * y < 1.0)
                c = sfera(s, x, y);
        }
    if (v > 0.2)
        return c;
    if (std::abs(v - filo(u)) < 0.0007)
        c = {0.004, 0.004, 0.005};
    for (const Lampada& l : lampade()) {
        const double d = std::hypot(u - l.u, v - l.v);
        if (d < 6.0 * l.raggio)
            c = c + 0.9 * std::exp2(l.stop) * fonte(d, l.raggio) * l.colore;
    }
    return c;
}

// --- The chart -----------------------------------------------------------------------------------

constexpr Luce CARTONE = {0.030, 0.030, 0.030};
constexpr Luce INCHIOSTRO = {0.42, 0.42, 0.42};

constexpr int PRIMO_STOP = -8;
constexpr int STOP = 16;

// Everyday things: foliage, sky, brick and so on, then six skins.
constexpr Luce COLORI[] = {
    {0.045, 0.075, 0.020}, {0.135, 0.195, 0.055}, {0.33, 0.36, 0.085},   {0.14, 0.22, 0.42},
    {0.045, 0.085, 0.24},  {0.20, 0.13, 0.42},    {0.055, 0.030, 0.115}, {0.26, 0.045, 0.13},
    {0.42, 0.085, 0.055},  {0.60, 0.19, 0.030},   {0.70, 0.39, 0.030},   {0.78, 0.62, 0.12},
    {0.62, 0.52, 0.38},    {0.085, 0.30, 0.26},   {0.88, 0.86, 0.80},    {0.74, 0.51, 0.41},
    {0.58, 0.34, 0.235},   {0.42, 0.225, 0.145},  {0.275, 0.135, 0.082}, {0.14, 0.066, 0.041},
    {0.066, 0.034, 0.023},
};

// Primaries and secondaries near the edge of the display's colours, each also two stops brighter.
constexpr Luce SATURI[] = {
    {0.55, 0.012, 0.012}, {0.55, 0.42, 0.008}, {0.012, 0.45, 0.02},
    {0.012, 0.42, 0.48},  {0.012, 0.02, 0.58}, {0.50, 0.012, 0.45},
};

double frazione(double x)
{
    return x - std::floor(x);
}

Luce tinta(double h)
{
    const auto canale = [h](double da) {
        return std::clamp(std::abs(frazione(h + da) * 6.0 - 3.0) - 1.0, 0.0, 1.0);
    };
    return {canale(0.0), canale(2.0 / 3.0), canale(1.0 / 3.0)};
}

// The cell of a row of patches, or -1 in the gaps between them.
int casella(double x, int quante, double fuga)
{
    const double c = x * quante;
    const double f = frazione(c);
    return x < 0.0 || x >= 1.0 || f < fuga || f > 1.0 - fuga ? -1 : static_cast<int>(c);
}

// Fine texture: a star of rays, line pairs in four steps, and a weave.
Luce trama(double x, double y, double lato)
{
    if (x < lato) {
        const double a = std::atan2(y - 0.5 * lato, x - 0.5 * lato);
        const double d = std::hypot(y - 0.5 * lato, x - 0.5 * lato);
        return d > 0.49 * lato ? Luce{0.18, 0.18, 0.18}
                               : (std::sin(36.0 * a) > 0.0 ? 0.72 : 0.025) * Luce{1.0, 1.0, 1.0};
    }
    const double z = x - lato;
    if (z < lato) {
        const double passo[4] = {0.0111, 0.0074, 0.0056, 0.0037};
        const auto quale = static_cast<std::size_t>(std::clamp(4.0 * z / lato, 0.0, 3.0));
        const double lungo = y < 0.5 * lato ? x : y;
        return (frazione(lungo / passo[quale]) < 0.5 ? 0.72 : 0.025) * Luce{1.0, 1.0, 1.0};
    }
    const double filo_u = std::sin(560.0 * x + 3.0 * rumore(60.0 * x, 60.0 * y));
    const double filo_v = std::sin(560.0 * y + 3.0 * rumore(60.0 * y, 60.0 * x + 9.0));
    return (0.10 + 0.05 * filo_u + 0.05 * filo_v +
            0.10 * (nuvole(240.0 * x, 240.0 * y, 3) - 0.45)) *
           Luce{1.15, 0.95, 0.70};
}

Luce scritta(Luce fondo, const std::string& testo, double centro, double alto, double u, double v)
{
    constexpr double CELLA = 0.00145;
    const auto x = static_cast<float>((u - centro) / CELLA) + 0.5f * larghezza_testo(testo);
    return copertura(testo, x, static_cast<float>((v - alto) / CELLA)) > 0.0f ? INCHIOSTRO : fondo;
}

Luce carta(double u, double v)
{
    constexpr double META = 0.86;  // half the chart's width
    const double x = (u + META) / (2.0 * META);
    if (x < 0.0 || x >= 1.0)
        return CARTONE;
    // Grey in stops about mid grey; beyond white the patches glow.
    if (v >= 0.762 && v < 0.822) {
        const int i = casella(x, STOP, 0.0);
        return 0.18 * std::exp2(static_cast<double>(PRIMO_STOP + i)) * Luce{1.0, 1.0, 1.0};
    }
    if (v >= 0.826 && v < 0.846) {
        const int i = std::clamp(static_cast<int>(x * STOP), 0, STOP - 1);
        const int stop = PRIMO_STOP + i;
        const double centro = -META + 2.0 * META * (i + 0.5) / STOP;
        return scritta(CARTONE, (stop > 0 ? "+" : "") + std::to_string(stop), centro, 0.8305, u, v);
    }
    if (v >= 0.850 && v < 0.902) {
        const int i = casella(x, std::size(COLORI), 0.03);
        return i < 0 ? CARTONE : COLORI[i];
    }
    if (v >= 0.910 && v < 0.985) {
        const double y = (v - 0.910) / 0.075;
        if (x < 0.30) {
            const int i = casella(x / 0.30, std::size(SATURI), 0.03);
            return i < 0 || std::abs(y - 0.5) < 0.02 ? CARTONE : (y < 0.5 ? 1.0 : 4.0) * SATURI[i];
        }
        if (x >= 0.315 &&
            x < 0.70) {  // ramps: hues at mid level, grey over twelve stops, black to white
            const double t = (x - 0.315) / 0.385;
            if (y < 0.36)
                return 0.5 * tinta(t) + Luce{0.004, 0.004, 0.004};
            if (y < 0.68)
                return 0.18 * std::exp2(-6.0 + 12.0 * t) * Luce{1.0, 1.0, 1.0};
            return 0.9 * t * misto({1.0, 0.12, 0.06}, {0.06, 0.2, 1.0}, t);
        }
        const double lato = 0.075;
        const double da = u - (-META + 0.715 * 2.0 * META);
        if (da >= 0.0)
            return trama(da, v - 0.910, lato);
    }
    return CARTONE;
}

// --- The camera ----------------------------------------------------------------------------------

using Matrice = std::array<std::array<double, 3>, 3>;

Matrice inversa(const Matrice& m)
{
    Matrice n{};
    for (std::size_t i = 0; i < 3; ++i)
        for (std::size_t j = 0; j < 3; ++j) {
            const std::size_t a = (j + 1) % 3;
            const std::size_t b = (j + 2) % 3;
            const std::size_t c = (i + 1) % 3;
            const std::size_t d = (i + 2) % 3;
            n[i][j] = m[a][c] * m[b][d] - m[a][d] * m[b][c];
        }
    const double det = m[0][0] * n[0][0] + m[0][1] * n[1][0] + m[0][2] * n[2][0];
    for (auto& riga : n)
        for (double& v : riga)
            v /= det;
    return n;
}

Luce per(const Matrice& m, Luce c)
{
    return {m[0][0] * c.r + m[0][1] * c.g + m[0][2] * c.b,
            m[1][0] * c.r + m[1][1] * c.g + m[1][2] * c.b,
            m[2][0] * c.r + m[2][1] * c.g + m[2][2] * c.b};
}

// Linear RGB to XYZ from the x and y of the primaries, white D65.
Matrice in_xyz(const double (&p)[3][2])
{
    Matrice m{};
    for (std::size_t c = 0; c < 3; ++c)
        for (std::size_t r = 0; r < 3; ++r)
            m[r][c] = (r == 0 ? p[c][0] : r == 1 ? p[c][1] : 1.0 - p[c][0] - p[c][1]) / p[c][1];
    const Luce s = per(inversa(m), {0.3127 / 0.3290, 1.0, (1.0 - 0.3127 - 0.3290) / 0.3290});
    for (auto& riga : m)
        riga = {riga[0] * s.r, riga[1] * s.g, riga[2] * s.b};
    return m;
}

// Rec.709 to the camera's own primaries.
Luce in_gamut(Luce c)
{
    static const Matrice DA = in_xyz({{0.640, 0.330}, {0.300, 0.600}, {0.150, 0.060}});
    static const Matrice A = inversa(in_xyz({{0.766, 0.275}, {0.225, 0.800}, {0.089, -0.087}}));
    return per(A, per(DA, c));
}

float slog3(double x)
{
    const double codice = x >= 0.01125
                              ? (420.0 + std::log10((x + 0.01) / (0.18 + 0.01)) * 261.5) / 1023.0
                              : (x * (171.2102946929 - 95.0) / 0.01125 + 95.0) / 1023.0;
    return static_cast<float>(std::clamp(codice, 0.0, 1.0));
}

}  // namespace

Foto disegna_scena(int larghezza, int altezza)
{
    constexpr int CAMPIONI = 3;  // a side of a pixel
    Foto f = foto_nuova(larghezza, altezza);
    const auto disegna_riga = [&](int y) {
        for (int x = 0; x < larghezza; ++x) {
            Luce c;
            for (int s = 0; s < CAMPIONI * CAMPIONI; ++s) {
                const double px = x + (s % CAMPIONI + 0.5) / CAMPIONI;
                const double py = y + (s / CAMPIONI + 0.5) / CAMPIONI;
                const double u = (px - 0.5 * larghezza) / altezza;
                const double v = py / altezza;
                c = c + (v < TAVOLA ? veduta(u, v) : carta(u, v));
            }
            c = in_gamut((1.0 / (CAMPIONI * CAMPIONI)) * c);
            float* p =
                &f.rgba[4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(larghezza) +
                             static_cast<std::size_t>(x))];
            p[0] = slog3(c.r);
            p[1] = slog3(c.g);
            p[2] = slog3(c.b);
            p[3] = 1.0f;
        }
    };
    lampade();
    std::atomic<int> prossima{0};
    const auto lavora = [&] {
        for (int y = prossima++; y < altezza; y = prossima++)
            disegna_riga(y);
    };
    std::vector<std::thread> fili;
    for (unsigned i = 1; i < std::thread::hardware_concurrency(); ++i)
        fili.emplace_back(lavora);
    lavora();
    for (std::thread& t : fili)
        t.join();
    f.testata.attribute("ImageDescription", "Test scene, S-Log3 / S-Gamut3.Cine");
    return f;
}

}  // namespace varno::provino
