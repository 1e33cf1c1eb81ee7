#include "colore/colore.h"

#include "colore/profili.h"
#include "colore/stadi.h"
#include "looks/look.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr float GAMMA_SCHERMO = 0.41666666f;  // 1 / 2.4

// Print pipeline
constexpr float GINOCCHIO_STAMPA = 0.88f;      // whatever the look's own knee says
constexpr float SPAZIO_STAMPA = 0.120000005f;  // 1 - GINOCCHIO_STAMPA
constexpr double PI = 3.14159265358979323846;
constexpr int TINTE = 7;
// Hue sectors in radians: red, orange, yellow, green, cyan, blue, magenta.
constexpr float centri[TINTE] = {0.0f, 0.52f, 1.05f, 2.09f, 3.14f, -2.09f, -1.05f};

// A base that the optimiser cannot see: with a literal 2, Clang calls exp2f, which rounds otherwise
// than powf.
const volatile float DUE = 2.0f;

template <class Funzione> RGB per_canale(RGB c, Funzione f)
{
    return {f(c.r), f(c.g), f(c.b)};
}

float luminanza(RGB c)
{
    return luma_pixel(c.r, c.g, c.b);
}

// v in 0..1 to a positive power, whose ends need no call.
float potenza(float v, float esponente)
{
    return v > 0.0f ? v < 1.0f ? std::pow(v, esponente) : 1.0f : 0.0f;
}

RGB codifica(RGB c)
{
    return per_canale(c, [](float v) { return potenza(clamp01(v), GAMMA_SCHERMO); });
}

float solleva(float v, float sollevamento)
{
    return clamp01(v * (1.0f - sollevamento) + sollevamento);
}

float comprimi(float v, float ginocchio, float spazio)
{
    if (v > ginocchio) {
        const float d = (v - ginocchio) / spazio;
        return (d / (d + 1.0f)) * spazio + ginocchio;
    }
    return std::max(v, 0.0f);
}

// --- Print pipeline -----------------------------------------------------------------------------

// Each channel gives up twice its share and takes one share of either neighbour. The clamp holds
// scene light to 1 ahead of the curve: the print looks' flat ceiling.
RGB diafonia(RGB luce, const Palette& p)
{
    const float R = luce.r * p.bilancio.r;
    const float G = luce.g * p.bilancio.g;
    const float B = luce.b * p.bilancio.b;
    const float ar = p.diafonia * p.diafonia_canale.r;
    const float ag = p.diafonia * p.diafonia_canale.g;
    const float ab = p.diafonia * p.diafonia_canale.b;
    return {clamp01((1.0f - (ar + ar)) * R + G * ar + B * ar),
            clamp01((1.0f - (ag + ag)) * G + R * ag + B * ag),
            clamp01(R * ab + G * ab + (1.0f - (ab + ab)) * B)};
}

RGB desatura_luci(RGB v, const Palette& p)
{
    const float L = luminanza(v);
    const float u = clamp01((L - p.desat_soglia) / std::max(1.0f - p.desat_soglia, 1e-6f));
    const float k = 1.0f - p.desat_quantita * potenza(u, 1.8f);
    return per_canale(v, [=](float c) { return clamp01((c - L) * k + L); });
}

// Saturation at a hue, blended from the sectors by gaussians of 0.62 radians. The wrap is in
// double, narrowed after each turn.
float saturazione_tinta(float tinta, const float (&sat_tinte)[TINTE])
{
    float W = 0.0f;
    float V = 0.0f;
    for (int i = 0; i < TINTE; ++i) {
        float d = tinta - centri[i];
        while (static_cast<double>(d) > PI)
            d = static_cast<float>(static_cast<double>(d) - 2.0 * PI);
        while (static_cast<double>(d) < -PI)
            d = static_cast<float>(static_cast<double>(d) + 2.0 * PI);
        const float w = std::exp(-(d * d) / 0.7688f);
        W += w;
        V += sat_tinte[i] * w;
    }
    return W > 1e-6f ? V / W : 1.0f;
}

RGB satura_tinte(RGB v, const Palette& p)
{
    const float tinta = std::atan2((v.g - v.b) * 1.7320508f, ((v.r + v.r) - v.g) - v.b);
    const float L = luminanza(v);
    const float S = saturazione_tinta(tinta, p.sat_tinte);
    return per_canale(v, [=](float c) { return clamp01((c - L) * S + L); });
}

bool tinge(const Terna& t)
{
    return t.r != 0.0f || t.g != 0.0f || t.b != 0.0f;
}

// Shadows fade out at 0.4 and highlights begin at 0.55: the tones between get no tint.
RGB tingi_stampa(RGB v, const Palette& p)
{
    if (!tinge(p.stampa_ombre) && !tinge(p.stampa_luci))
        return v;
    const float L = luminanza(v);
    const float t = 1.0f - L / 0.4f;
    float s = 0.0f;
    float h = 0.0f;
    if (t > 0.0f)
        s = potenza(std::min(t, 1.0f), 1.4f);
    else
        h = potenza(clamp01((L - 0.55f) / 0.45f), 1.2f);
    return {v.r + (p.stampa_luci.r * h + p.stampa_ombre.r * s) / 255.0f,
            v.g + (p.stampa_luci.g * h + p.stampa_ombre.g * s) / 255.0f,
            v.b + (p.stampa_luci.b * h + p.stampa_ombre.b * s) / 255.0f};
}

RGB palette(RGB v, const Palette& p)
{
    return tingi_stampa(satura_tinte(desatura_luci(v, p), p), p);
}

// The clamp after the crosstalk makes many lights one, so the last one's result is kept.
RGB resa_stampa(RGB luce, const Contesto& ctx, MemoriaResa& memoria)
{
    const LookDef& look = *ctx.look;
    const RGB strati = diafonia(luce, look.pal);
    const RGB& ultimi = memoria.strati;
    if (strati.r == ultimi.r && strati.g == ultimi.g && strati.b == ultimi.b)
        return memoria.resa;
    const RGB v = codifica(tonemap_ratio(strati, ctx.curva_look, look.miscela, memoria.curva));
    memoria.strati = strati;
    memoria.resa = per_canale(palette(v, look.pal), [&](float c) {
        c = clamp01(c);
        if (look.sollevamento != 0.0f)
            c = solleva(c, look.sollevamento);
        return comprimi(c, GINOCCHIO_STAMPA, SPAZIO_STAMPA);
    });
    return memoria.resa;
}

// --- Grade pipeline -----------------------------------------------------------------------------

// How much a colour looks like skin, 0..1: two gaussians around skin's chroma ratios.
float somiglianza_pelle(RGB v, float L)
{
    if (!(v.r > v.g && v.g > v.b))
        return 0.0f;
    const float lc = std::max(1e-6f, L);
    const float a = clamp01((v.r - v.g) / lc) - 0.26f;
    const float b = clamp01((v.g - v.b) / lc) - 0.18f;
    return clamp01(std::exp(-(a * a) / 0.0512f) * std::exp(-(b * b) / 0.0392f));
}

RGB vira(RGB v, const LookDef& look)
{
    const float L = luminanza(v);
    const float s = potenza(clamp01(1.0f - L / look.ombre_fine), 1.5f);
    const float h = potenza(clamp01((L - look.luci_inizio) / (1.0f - look.luci_inizio)), 1.2f);
    const Terna& ombre = look.tinta_ombre;
    const Terna& luci = look.tinta_luci;
    const RGB tinto = {((ombre.r * s + 1.0f) * v.r) * (luci.r * h + 1.0f),
                       ((ombre.g * s + 1.0f) * v.g) * (luci.g * h + 1.0f),
                       ((ombre.b * s + 1.0f) * v.b) * (luci.b * h + 1.0f)};
    if (!(look.protezione_pelle > 0.0f))
        return tinto;
    const float q = 1.0f - look.protezione_pelle * somiglianza_pelle(v, L);
    return {v.r + (tinto.r - v.r) * q, v.g + (tinto.g - v.g) * q, v.b + (tinto.b - v.b) * q};
}

// One luminance for all three steps, that of the colour as it comes in.
RGB satura_toni(RGB v, const LookDef& look)
{
    const float L = luminanza(v);
    const auto verso = [L](RGB c, float saturazione, float t) {
        return per_canale(
            c, [=](float x) { return x * (1.0f - t) + ((x - L) * saturazione + L) * t; });
    };
    v = per_canale(v, [&](float c) { return (c - L) * look.saturazione + L; });
    if (look.saturazione_luci != 1.0f)
        v = verso(v, look.saturazione_luci, clamp01((L - 0.35f) / 0.65f));
    if (look.saturazione_ombre != 1.0f)
        v = verso(v, look.saturazione_ombre, clamp01(1.0f - L / 0.12f));
    return v;
}

RGB resa_grado(RGB luce, const Contesto& ctx, MemoriaCurva& memoria)
{
    const LookDef& look = *ctx.look;
    RGB v = tonemap_ratio(luce, ctx.curva_look, look.miscela, memoria);
    if (look.viraggio)
        v = vira(v, look);
    v = satura_toni(v, look);
    v = {v.r * look.guadagno.r, v.g * look.guadagno.g, v.b * look.guadagno.b};
    const float n = look.ginocchio;
    v = codifica(per_canale(v, [n](float c) { return comprimi(c, n, 1.0f - n); }));
    if (look.sollevamento != 0.0f)
        v = per_canale(v, [&](float c) { return solleva(c, look.sollevamento); });
    return v;
}

}  // namespace

float fattore_esposizione(float ev)
{
    return std::pow(DUE, ev);
}

RGB esponi(RGB lineare, float fattore, RGB guadagno)
{
    const auto canale = [fattore](float c, float g) {
        const float v = (fattore * c) * g;
        return v < 0.0f ? 0.0f : v;
    };
    return {canale(lineare.r, guadagno.r), canale(lineare.g, guadagno.g),
            canale(lineare.b, guadagno.b)};
}

RGB resa_neutra(RGB luce, const Contesto& ctx)
{
    return codifica(tonemap_ratio(luce, ctx.curva_neutra, 0.0f));
}

RGB resa_look(RGB luce, const Contesto& ctx, MemoriaResa& memoria)
{
    return ctx.look->tipo == 1 ? resa_stampa(luce, ctx, memoria)
                               : resa_grado(luce, ctx, memoria.curva);
}

RGB grada(RGB luce, const Contesto& ctx, MemoriaResa& memoria)
{
    // Both renderings end in 0..1 whatever comes in, and neither is -0: a share of exactly 0 of one
    // adds +0 to the other.
    const float forza = ctx.forza;
    if (forza == 1.0f)
        return resa_look(luce, ctx, memoria);
    const RGB n = resa_neutra(luce, ctx);
    if (forza == 0.0f)
        return n;
    const RGB v = resa_look(luce, ctx, memoria);
    return {v.r * forza + (1.0f - forza) * n.r, v.g * forza + (1.0f - forza) * n.g,
            v.b * forza + (1.0f - forza) * n.b};
}

RGB applica_colore(RGB codice, const Contesto& ctx)
{
    const RGB lineare = applica_matrice({decodifica_canale(codice.r, ctx.profilo),
                                         decodifica_canale(codice.g, ctx.profilo),
                                         decodifica_canale(codice.b, ctx.profilo)},
                                        ctx.profilo);
    MemoriaResa memoria;
    return grada(esponi(lineare, fattore_esposizione(ctx.ev), ctx.guadagno), ctx, memoria);
}

}  // namespace varno
