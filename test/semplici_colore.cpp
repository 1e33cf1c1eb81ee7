// The grade in plain lines, one colour at a time.
#include "semplici.h"

#include "colore/profili.h"
#include "comune/elementari.h"
#include "looks/look.h"

#include <algorithm>

namespace varno::semplici {
namespace {

using unico::arcotangente;
using unico::esponenziale;
using unico::potenza;

struct Colore {
    float c[3];
};

Colore da(RGB c)
{
    return {{c.r, c.g, c.b}};
}

float tieni(float v)
{
    if (v > 0.0f)
        return std::min(v, 1.0f);
    return 0.0f;
}

float luminanza(const Colore& v)
{
    return 0.2126f * v.c[0] + 0.7152f * v.c[1] + 0.0722f * v.c[2];
}

float codifica(float v)
{
    return potenza(tieni(v), 0.41666666f);
}

float curva(float x, float s)
{
    const float A = 2.51f * s;
    const float B = 2.43f * s;
    return ((A * x + 0.03f) * x) / ((B * x + 0.59f) * x + 0.14f);
}

float mappa(float v, const Curva& k)
{
    float y = curva(v * k.scala, k.spalla) / k.norma;
    y = std::max(1e-9f, y) / std::max(1e-9f, k.grigio);
    y = potenza(y, k.contrasto) * k.grigio;
    if (k.gamma != 1.0f)
        y = potenza(y >= 0.0f ? y : 0.0f, k.gamma);
    return y;
}

Colore mappa_colore(const Colore& v, const Curva& k, float miscela)
{
    const float Lc = std::max(1e-9f, luminanza(v));
    const float m = tieni(mappa(Lc, k));
    Colore u;
    for (int i = 0; i < 3; ++i) {
        const float q = tieni((v.c[i] * m) / Lc);
        const float p = tieni(mappa(v.c[i] >= 0.0f ? v.c[i] : 0.0f, k));
        u.c[i] = p * miscela + (1.0f - miscela) * q;
    }
    return u;
}

float decodifica(float x, int profilo)
{
    if (profilo == 0) {
        const float y = x * 1023.0f;
        if (x >= 0.16736099f)
            return potenza(10.0f, (y - 420.0f) / 261.5f) * 0.19000001f - 0.01f;
        return ((y - 95.0f) * 0.01125f) / 76.2103f;
    }
    const float* c = PROFILI[profilo].curva.data();
    if (!(x > 0.0f && x < 1.0f)) {
        if (x >= 1.0f)
            return c[4095];
        x = 0.0f;
    }
    const float p = x * 4095.0f;
    const int i = std::min(4094, static_cast<int>(p));
    const float f = p - static_cast<float>(i);
    return (1.0f - f) * c[i] + f * c[i + 1];
}

float tinta_satura(float tinta, const Palette& p)
{
    constexpr double PI = 3.14159265358979323846;
    constexpr float CENTRI[] = {0.0f, 0.52f, 1.05f, 2.09f, 3.14f, -2.09f, -1.05f};
    float W = 0.0f;
    float V = 0.0f;
    for (int i = 0; i < 7; ++i) {
        float d = tinta - CENTRI[i];
        while (static_cast<double>(d) > PI)
            d = static_cast<float>(static_cast<double>(d) - 2.0 * PI);
        while (static_cast<double>(d) < -PI)
            d = static_cast<float>(static_cast<double>(d) + 2.0 * PI);
        const float w = esponenziale(-(d * d) / 0.7688f);
        W += w;
        V += p.sat_tinte[i] * w;
    }
    return W > 1e-6f ? V / W : 1.0f;
}

Colore palette(Colore v, const Palette& p)
{
    float L = luminanza(v);
    const float u = tieni((L - p.desat_soglia) / std::max(1.0f - p.desat_soglia, 1e-6f));
    const float k = 1.0f - p.desat_quantita * potenza(u, 1.8f);
    for (float& c : v.c)
        c = tieni((c - L) * k + L);

    const auto& [r, g, b] = v.c;
    const float S = tinta_satura(arcotangente((g - b) * 1.7320508f, ((r + r) - g) - b), p);
    L = luminanza(v);
    for (float& c : v.c)
        c = tieni((c - L) * S + L);

    const Colore ombre = da(p.stampa_ombre);
    const Colore luci = da(p.stampa_luci);
    const auto nulla = [](float c) { return c == 0.0f; };
    if (std::all_of(ombre.c, ombre.c + 3, nulla) && std::all_of(luci.c, luci.c + 3, nulla))
        return v;
    L = luminanza(v);
    const float t = 1.0f - L / 0.4f;
    float s = 0.0f;
    float h = 0.0f;
    if (t > 0.0f)
        s = t < 1.0f ? potenza(t, 1.4f) : 1.0f;
    else
        h = potenza(tieni((L - 0.55f) / 0.45f), 1.2f);
    for (int i = 0; i < 3; ++i)
        v.c[i] = v.c[i] + (luci.c[i] * h + ombre.c[i] * s) / 255.0f;
    return v;
}

float comprimi(float v, float n, float spazio)
{
    if (!(v > n))
        return std::max(v, 0.0f);
    const float d = (v - n) / spazio;
    return (d / (d + 1.0f)) * spazio + n;
}

float solleva(float v, float quanto)
{
    return quanto != 0.0f ? tieni(v * (1.0f - quanto) + quanto) : v;
}

Colore stampa(const Colore& luce, const Contesto& ctx)
{
    const LookDef& look = *ctx.look;
    const Palette& p = look.pal;
    const Colore canale = da(p.diafonia_canale);
    const float R = luce.c[0] * p.bilancio.r;
    const float G = luce.c[1] * p.bilancio.g;
    const float B = luce.c[2] * p.bilancio.b;
    const float ar = p.diafonia * canale.c[0];
    const float ag = p.diafonia * canale.c[1];
    const float ab = p.diafonia * canale.c[2];
    Colore v = {{tieni((1.0f - (ar + ar)) * R + G * ar + B * ar),
                 tieni((1.0f - (ag + ag)) * G + R * ag + B * ag),
                 tieni(R * ab + G * ab + (1.0f - (ab + ab)) * B)}};
    v = mappa_colore(v, ctx.curva_look, look.miscela);
    for (float& c : v.c)
        c = codifica(c);
    v = palette(v, p);
    for (float& c : v.c)
        c = comprimi(solleva(tieni(c), look.sollevamento), 0.88f, 0.120000005f);
    return v;
}

Colore viraggio(const Colore& v, const LookDef& look)
{
    const float L = luminanza(v);
    const float s = potenza(tieni(1.0f - L / look.ombre_fine), 1.5f);
    const float h = potenza(tieni((L - look.luci_inizio) / (1.0f - look.luci_inizio)), 1.2f);
    const Colore ombre = da(look.tinta_ombre);
    const Colore luci = da(look.tinta_luci);
    Colore tinto;
    for (int i = 0; i < 3; ++i)
        tinto.c[i] = ((ombre.c[i] * s + 1.0f) * v.c[i]) * (luci.c[i] * h + 1.0f);
    if (!(look.protezione_pelle > 0.0f))
        return tinto;
    const auto& [r, g, b] = v.c;
    float p = 0.0f;
    if (r > g && g > b) {
        const float lc = std::max(1e-6f, L);
        const float x = tieni((r - g) / lc) - 0.26f;
        const float y = tieni((g - b) / lc) - 0.18f;
        p = tieni(esponenziale(-(x * x) / 0.0512f) * esponenziale(-(y * y) / 0.0392f));
    }
    const float q = 1.0f - look.protezione_pelle * p;
    for (int i = 0; i < 3; ++i)
        tinto.c[i] = v.c[i] + (tinto.c[i] - v.c[i]) * q;
    return tinto;
}

Colore gradazione(const Colore& luce, const Contesto& ctx)
{
    const LookDef& look = *ctx.look;
    Colore v = mappa_colore(luce, ctx.curva_look, look.miscela);
    if (look.viraggio)
        v = viraggio(v, look);
    const float L = luminanza(v);
    const float tl = tieni((L - 0.35f) / 0.65f);
    const float to = tieni(1.0f - L / 0.12f);
    const Colore guadagno = da(look.guadagno);
    for (int i = 0; i < 3; ++i) {
        float c = (v.c[i] - L) * look.saturazione + L;
        if (look.saturazione_luci != 1.0f)
            c = c * (1.0f - tl) + ((c - L) * look.saturazione_luci + L) * tl;
        if (look.saturazione_ombre != 1.0f)
            c = c * (1.0f - to) + ((c - L) * look.saturazione_ombre + L) * to;
        c = comprimi(c * guadagno.c[i], look.ginocchio, 1.0f - look.ginocchio);
        v.c[i] = solleva(codifica(c), look.sollevamento);
    }
    return v;
}

}  // namespace

RGB applica_colore(RGB codice, const Contesto& ctx)
{
    constexpr float ANALITICA[] = {1.6266885f,   -0.54005265f, -0.08679532f,
                                   -0.17851967f, 1.4179736f,   -0.23943081f,
                                   -0.04444674f, -0.19596688f, 1.2406536f};
    const float* m = ctx.profilo == 0 ? ANALITICA : PROFILI[ctx.profilo].matrice.data();
    const float r = decodifica(codice.r, ctx.profilo);
    const float g = decodifica(codice.g, ctx.profilo);
    const float b = decodifica(codice.b, ctx.profilo);
    const float e = potenza(2.0f, ctx.ev);
    const Colore guadagno = da(ctx.guadagno);
    Colore luce;
    for (int i = 0; i < 3; ++i) {
        const float lineare = m[3 * i] * r + m[3 * i + 1] * g + m[3 * i + 2] * b;
        const float c = (e * lineare) * guadagno.c[i];
        luce.c[i] = c < 0.0f ? 0.0f : c;
    }
    Colore n = mappa_colore(luce, ctx.curva_neutra, 0.0f);
    const Colore v = ctx.look->tipo == 1 ? stampa(luce, ctx) : gradazione(luce, ctx);
    for (int i = 0; i < 3; ++i)
        n.c[i] = v.c[i] * ctx.forza + (1.0f - ctx.forza) * codifica(n.c[i]);
    return {n.c[0], n.c[1], n.c[2]};
}

}  // namespace varno::semplici
