#include "colore/colore.h"

#include "colore/lotto.h"
#include "colore/profili.h"
#include "looks/look.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr float GAMMA_SCHERMO = 0.41666666f;   // 1 / 2.4
constexpr float GINOCCHIO_STAMPA = 0.88f;      // whatever the look's own knee says
constexpr float SPAZIO_STAMPA = 0.120000005f;  // 1 - GINOCCHIO_STAMPA
constexpr double PI = 3.14159265358979323846;
constexpr int TINTE = 7;
// Hue sectors in radians: red, orange, yellow, green, cyan, blue, magenta.
constexpr float centri[TINTE] = {0.0f, 0.52f, 1.05f, 2.09f, 3.14f, -2.09f, -1.05f};

// A base that the optimiser cannot see: of a literal 2, Clang makes exp2f, which rounds otherwise
// than powf.
const volatile float DUE = 2.0f;

float luminanza(const Lotto& v, int i)
{
    return luma_pixel(v.r[i], v.g[i], v.b[i]);
}

// Moves a channel towards (k below 1) or away from the luminance.
float satura(float c, float L, float k)
{
    return (c - L) * k + L;
}

float solleva(float v, float sollevamento)
{
    return clamp01(v * (1.0f - sollevamento) + sollevamento);
}

float comprimi(float v, float ginocchio, float spazio)
{
    const float d = (v - ginocchio) / spazio;
    return v > ginocchio ? (d / (d + 1.0f)) * spazio + ginocchio : std::max(v, 0.0f);
}

void codifica(Lotto& v)
{
    for (float* c : {v.r, v.g, v.b}) {
        for (int i = 0; i < v.n; ++i)
            c[i] = clamp01(c[i]);
        eleva(c, v.n, GAMMA_SCHERMO);
    }
}

// --- Print pipeline -----------------------------------------------------------------------------

// Each channel gives up twice its share and takes one share of either neighbour. The clamp holds
// scene light to 1 ahead of the curve: the print looks' flat ceiling.
void diafonia(Lotto& luce, const Palette& p)
{
    const float ar = p.diafonia * p.diafonia_canale.r;
    const float ag = p.diafonia * p.diafonia_canale.g;
    const float ab = p.diafonia * p.diafonia_canale.b;
    for (int i = 0; i < luce.n; ++i) {
        const float R = luce.r[i] * p.bilancio.r;
        const float G = luce.g[i] * p.bilancio.g;
        const float B = luce.b[i] * p.bilancio.b;
        luce.r[i] = clamp01((1.0f - (ar + ar)) * R + G * ar + B * ar);
        luce.g[i] = clamp01((1.0f - (ag + ag)) * G + R * ag + B * ag);
        luce.b[i] = clamp01(R * ab + G * ab + (1.0f - (ab + ab)) * B);
    }
}

void desatura_luci(Lotto& v, const Palette& p)
{
    float u[Lotto::CAPIENZA];
    for (int i = 0; i < v.n; ++i)
        u[i] = clamp01((luminanza(v, i) - p.desat_soglia) / std::max(1.0f - p.desat_soglia, 1e-6f));
    eleva(u, v.n, 1.8f);
    for (int i = 0; i < v.n; ++i) {
        const float L = luminanza(v, i);
        const float k = 1.0f - p.desat_quantita * u[i];
        v.r[i] = clamp01(satura(v.r[i], L, k));
        v.g[i] = clamp01(satura(v.g[i], L, k));
        v.b[i] = clamp01(satura(v.b[i], L, k));
    }
}

// Angle around the hexagon: red 0, yellow 60 degrees, green 120; 0 for a grey.
float tinta_di(float r, float g, float b)
{
    return std::atan2((g - b) * 1.7320508f, ((r + r) - g) - b);
}

// An angle brought back to a turn. It lies within two of them here, so that one step each way does;
// in double, narrowed after each step.
float avvolgi(float d)
{
    d = static_cast<double>(d) > PI ? static_cast<float>(static_cast<double>(d) - 2.0 * PI) : d;
    return static_cast<double>(d) < -PI ? static_cast<float>(static_cast<double>(d) + 2.0 * PI) : d;
}

// Saturation by hue, blended from the sectors by gaussians of 0.62 radians.
void satura_tinte(Lotto& v, const Palette& p)
{
    float tinta[Lotto::CAPIENZA];
    float w[Lotto::CAPIENZA];
    float W[Lotto::CAPIENZA] = {};
    float V[Lotto::CAPIENZA] = {};
    for (int i = 0; i < v.n; ++i) {
        // Runs of one colour, which the clamp of the crosstalk makes, are looked up once.
        if (i > 0 && v.r[i] == v.r[i - 1] && v.g[i] == v.g[i - 1] && v.b[i] == v.b[i - 1])
            tinta[i] = tinta[i - 1];
        else
            tinta[i] = tinta_di(v.r[i], v.g[i], v.b[i]);
    }
    for (int k = 0; k < TINTE; ++k) {
        for (int i = 0; i < v.n; ++i) {
            const float d = avvolgi(tinta[i] - centri[k]);
            w[i] = -(d * d) / 0.7688f;
        }
        esponenziale(w, v.n);
        for (int i = 0; i < v.n; ++i) {
            W[i] += w[i];
            V[i] += p.sat_tinte[k] * w[i];
        }
    }
    for (int i = 0; i < v.n; ++i) {
        const float L = luminanza(v, i);
        const float S = W[i] > 1e-6f ? V[i] / W[i] : 1.0f;
        v.r[i] = clamp01(satura(v.r[i], L, S));
        v.g[i] = clamp01(satura(v.g[i], L, S));
        v.b[i] = clamp01(satura(v.b[i], L, S));
    }
}

bool tinge(const RGB& t)
{
    return t.r != 0.0f || t.g != 0.0f || t.b != 0.0f;
}

// Shadows fade out at 0.4 and highlights begin at 0.55: the tones between get no tint.
void tingi_stampa(Lotto& v, const Palette& p)
{
    if (!tinge(p.stampa_ombre) && !tinge(p.stampa_luci))
        return;
    float s[Lotto::CAPIENZA];
    float h[Lotto::CAPIENZA];
    for (int i = 0; i < v.n; ++i) {
        const float L = luminanza(v, i);
        s[i] = clamp01(1.0f - L / 0.4f);
        h[i] = clamp01((L - 0.55f) / 0.45f);
    }
    eleva(s, v.n, 1.4f);
    eleva(h, v.n, 1.2f);
    const RGB& luci = p.stampa_luci;
    const RGB& ombre = p.stampa_ombre;
    for (int i = 0; i < v.n; ++i) {
        v.r[i] = v.r[i] + (luci.r * h[i] + ombre.r * s[i]) / 255.0f;
        v.g[i] = v.g[i] + (luci.g * h[i] + ombre.g * s[i]) / 255.0f;
        v.b[i] = v.b[i] + (luci.b * h[i] + ombre.b * s[i]) / 255.0f;
    }
}

void palette(Lotto& v, const Palette& p)
{
    desatura_luci(v, p);
    satura_tinte(v, p);
    tingi_stampa(v, p);
}

void resa_stampa(Lotto& v, const Contesto& ctx)
{
    const LookDef& look = *ctx.look;
    diafonia(v, look.pal);
    tonemap_ratio(v, ctx.curva_look, look.miscela);
    codifica(v);
    palette(v, look.pal);
    for (float* c : {v.r, v.g, v.b}) {
        for (int i = 0; i < v.n; ++i)
            c[i] = clamp01(c[i]);
        if (look.sollevamento != 0.0f)
            for (int i = 0; i < v.n; ++i)
                c[i] = solleva(c[i], look.sollevamento);
        for (int i = 0; i < v.n; ++i)
            c[i] = comprimi(c[i], GINOCCHIO_STAMPA, SPAZIO_STAMPA);
    }
}

// --- Grade pipeline -----------------------------------------------------------------------------

// How much a colour looks like skin, 0..1: two gaussians around skin's chroma ratios.
float somiglianza_pelle(float r, float g, float b, float L)
{
    if (!(r > g && g > b))
        return 0.0f;
    const float lc = std::max(1e-6f, L);
    const float x = clamp01((r - g) / lc) - 0.26f;
    const float y = clamp01((g - b) / lc) - 0.18f;
    return clamp01(std::exp(-(x * x) / 0.0512f) * std::exp(-(y * y) / 0.0392f));
}

// The split tone. The tints are multipliers around 1, so black takes no colour.
void vira(Lotto& v, const LookDef& look)
{
    float s[Lotto::CAPIENZA];
    float h[Lotto::CAPIENZA];
    float q[Lotto::CAPIENZA];
    const bool protegge = look.protezione_pelle > 0.0f;
    for (int i = 0; i < v.n; ++i) {
        const float L = luminanza(v, i);
        s[i] = clamp01(1.0f - L / look.ombre_fine);
        h[i] = clamp01((L - look.luci_inizio) / (1.0f - look.luci_inizio));
    }
    eleva(s, v.n, 1.5f);
    eleva(h, v.n, 1.2f);
    if (protegge)
        for (int i = 0; i < v.n; ++i) {
            const float p = somiglianza_pelle(v.r[i], v.g[i], v.b[i], luminanza(v, i));
            q[i] = 1.0f - look.protezione_pelle * p;
        }
    const auto canale = [&](float* c, float ombre, float luci) {
        float tinto[Lotto::CAPIENZA];
        for (int i = 0; i < v.n; ++i)
            tinto[i] = ((ombre * s[i] + 1.0f) * c[i]) * (luci * h[i] + 1.0f);
        if (!protegge)
            std::copy_n(tinto, v.n, c);
        else
            for (int i = 0; i < v.n; ++i)
                c[i] = c[i] + (tinto[i] - c[i]) * q[i];
    };
    canale(v.r, look.tinta_ombre.r, look.tinta_luci.r);
    canale(v.g, look.tinta_ombre.g, look.tinta_luci.g);
    canale(v.b, look.tinta_ombre.b, look.tinta_luci.b);
}

// One luminance for all three steps, that of the colour as it comes in.
void satura_toni(Lotto& v, const LookDef& look)
{
    float L[Lotto::CAPIENZA];
    for (int i = 0; i < v.n; ++i)
        L[i] = luminanza(v, i);
    const auto verso = [&](float saturazione, const float* t) {
        for (float* c : {v.r, v.g, v.b})
            for (int i = 0; i < v.n; ++i)
                c[i] = c[i] * (1.0f - t[i]) + satura(c[i], L[i], saturazione) * t[i];
    };
    for (float* c : {v.r, v.g, v.b})
        for (int i = 0; i < v.n; ++i)
            c[i] = satura(c[i], L[i], look.saturazione);
    float t[Lotto::CAPIENZA];
    if (look.saturazione_luci != 1.0f) {
        for (int i = 0; i < v.n; ++i)
            t[i] = clamp01((L[i] - 0.35f) / 0.65f);
        verso(look.saturazione_luci, t);
    }
    if (look.saturazione_ombre != 1.0f) {
        for (int i = 0; i < v.n; ++i)
            t[i] = clamp01(1.0f - L[i] / 0.12f);
        verso(look.saturazione_ombre, t);
    }
}

void resa_grado(Lotto& v, const Contesto& ctx)
{
    const LookDef& look = *ctx.look;
    tonemap_ratio(v, ctx.curva_look, look.miscela);
    if (look.viraggio)
        vira(v, look);
    satura_toni(v, look);
    const auto canale = [&](float* c, float guadagno) {
        for (int i = 0; i < v.n; ++i)
            c[i] = comprimi(c[i] * guadagno, look.ginocchio, 1.0f - look.ginocchio);
    };
    canale(v.r, look.guadagno.r);
    canale(v.g, look.guadagno.g);
    canale(v.b, look.guadagno.b);
    codifica(v);
    if (look.sollevamento != 0.0f)
        for (float* c : {v.r, v.g, v.b})
            for (int i = 0; i < v.n; ++i)
                c[i] = solleva(c[i], look.sollevamento);
}

// --- Both renderings ----------------------------------------------------------------------------

void resa_look(Lotto& v, const Contesto& ctx)
{
    if (ctx.look->tipo == 1)
        resa_stampa(v, ctx);
    else
        resa_grado(v, ctx);
}

void resa_neutra(Lotto& v, const Contesto& ctx)
{
    tonemap_ratio(v, ctx.curva_neutra, 0.0f);
    codifica(v);
}

}  // namespace

float fattore_esposizione(float ev)
{
    return std::pow(DUE, ev);
}

void esponi(Lotto& luce, float fattore, RGB guadagno)
{
    const auto canale = [&](float* c, float g) {
        for (int i = 0; i < luce.n; ++i) {
            const float v = (fattore * c[i]) * g;
            c[i] = v < 0.0f ? 0.0f : v;
        }
    };
    canale(luce.r, guadagno.r);
    canale(luce.g, guadagno.g);
    canale(luce.b, guadagno.b);
}

void grada(Lotto& c, const Contesto& ctx)
{
    // Both renderings end in 0..1 whatever comes in, and neither is -0: a share of exactly 0 of one
    // would add +0 to the other.
    if (ctx.forza == 1.0f)
        return resa_look(c, ctx);
    if (ctx.forza == 0.0f)
        return resa_neutra(c, ctx);
    Lotto neutra;
    neutra.n = c.n;
    std::copy_n(c.r, c.n, neutra.r);
    std::copy_n(c.g, c.n, neutra.g);
    std::copy_n(c.b, c.n, neutra.b);
    resa_neutra(neutra, ctx);
    resa_look(c, ctx);
    const auto canale = [&](float* v, const float* n) {
        for (int i = 0; i < c.n; ++i)
            v[i] = v[i] * ctx.forza + (1.0f - ctx.forza) * n[i];
    };
    canale(c.r, neutra.r);
    canale(c.g, neutra.g);
    canale(c.b, neutra.b);
}

RGB applica_colore(RGB codice, const Contesto& ctx)
{
    Lotto uno;
    uno.n = 1;
    uno.r[0] = decodifica_canale(codice.r, ctx.profilo);
    uno.g[0] = decodifica_canale(codice.g, ctx.profilo);
    uno.b[0] = decodifica_canale(codice.b, ctx.profilo);
    applica_matrice(uno, ctx.profilo);
    esponi(uno, fattore_esposizione(ctx.ev), ctx.guadagno);
    grada(uno, ctx);
    return {uno.r[0], uno.g[0], uno.b[0]};
}

}  // namespace varno
