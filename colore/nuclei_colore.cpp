// The grade of a batch of colours, as many at once as a vector holds.
#include "colore/nuclei_colore.h"

#include "colore/colore.h"
#include "colore/lotto.h"
#include "comune/elementari.h"
#include "looks/look.h"

#include <assert.h>

namespace varno {
namespace VARNO_LIVELLO {
namespace {

constexpr float GAMMA_SCHERMO = 0.41666666f;   // 1 / 2.4
constexpr float GINOCCHIO_STAMPA = 0.88f;      // whatever the look's own knee says
constexpr float SPAZIO_STAMPA = 0.120000005f;  // 1 - GINOCCHIO_STAMPA
constexpr int TINTE = 7;
// Hue sectors in radians: red, orange, yellow, green, cyan, blue, magenta.
constexpr float CENTRI[TINTE] = {0.0f, 0.52f, 1.05f, 2.09f, 3.14f, -2.09f, -1.05f};

// Neighbouring colours, a vector a channel.
struct Colori {
    Vf r;
    Vf g;
    Vf b;
};

template <class Passo> inline Colori canali(const Colori& v, const Passo& passo)
{
    return {passo(v.r), passo(v.g), passo(v.b)};
}

inline bool diversi(Vf a, Vf b)
{
    return qualcuno(a != b);
}

inline bool diversi(const Colori& a, const Colori& b)
{
    return qualcuno((a.r != b.r) | (a.g != b.g) | (a.b != b.b));
}

// What became of the vector before: the next is often the same, where light was clamped; a table is
// built 1.3 times as fast. It starts with what equals nothing.
template <class Valori> struct Ricordo {
    Valori prima;
    Valori dopo;
};

constexpr float NULLA = __builtin_nanf("");

template <class Valori> inline bool stessi_bit(const Valori& a, const Valori& b)
{
    return memcmp(&a, &b, sizeof a) == 0;
}

template <class Valori, class Passo>
inline Valori ricorda(Ricordo<Valori>& r, const Valori& v, const Passo& passo)
{
    if (diversi(v, r.prima))
        r = {v, passo(v)};
    assert(stessi_bit(passo(v), r.dopo));  // a step that tells -0 from 0 must not be remembered
    return r.dopo;
}

inline Vf luminanza(const Colori& v)
{
    return luma_pixel(v.r, v.g, v.b);
}

// A power of 1 is the value itself.
inline Vf eleva(Vf v, float esponente)
{
    return esponente != 1.0f ? potenza(v, esponente) : v;
}

// Moves a channel towards (k below 1) or away from the luminance.
template <class K> inline Vf satura(Vf c, Vf L, K k)
{
    return (c - L) * k + L;
}

inline Vf solleva(Vf v, float sollevamento)
{
    return clamp01(v * (1.0f - sollevamento) + sollevamento);
}

inline Vf comprimi(Vf v, float ginocchio, float spazio)
{
    if (!qualcuno(v > ginocchio))
        return massimo(v, 0.0f);
    const Vf d = (v - ginocchio) / spazio;
    return v > ginocchio ? (d / (d + 1.0f)) * spazio + ginocchio : massimo(v, 0.0f);
}

inline Colori codifica(const Colori& v, Ricordo<Vf> (&ricordi)[3])
{
    const auto canale = [](Vf c) { return potenza(clamp01(c), GAMMA_SCHERMO); };
    return {ricorda(ricordi[0], v.r, canale), ricorda(ricordi[1], v.g, canale),
            ricorda(ricordi[2], v.b, canale)};
}

// --- Tone curve ---------------------------------------------------------------------------------

// A curve at work.
struct Toni {
    const Curva& k;
    float bianco;  // bianco_di(k)
    Ricordo<Vf> luma;
    Ricordo<Vf> canali[3];
    Ricordo<Vf> codificati[3];
};

inline Toni toni_di(const Curva& k, float bianco)
{
    const Ricordo<Vf> vuoto = {tutti<Vf>(NULLA), {}};
    return {k, bianco, vuoto, {vuoto, vuoto, vuoto}, {vuoto, vuoto, vuoto}};
}

// Display-linear values of scalars, held to 0..1.
inline Vf mappa(Vf v, const Toni& t)
{
    const Curva& k = t.k;
    const Vf y = massimo(tutti<Vf>(1e-9f), curva_grezza(v * k.scala, k.spalla) / k.norma) /
                 massimo(1e-9f, k.grigio);
    if (!qualcuno(!(y > t.bianco)))
        return tutti<Vf>(1.0f);
    const Vf m = eleva(y, k.contrasto) * k.grigio;
    return clamp01(k.gamma != 1.0f ? potenza(m >= 0.0f ? m : Vf{}, k.gamma) : m);
}

// Compresses scene-linear c, no channel below 0 as used, into display-linear 0..1. miscela blends
// from 0, through luminance and so keeping hue, to 1, each channel by itself.
inline Colori tonemap_ratio(const Colori& c, Toni& t, float miscela)
{
    const Vf Lc = massimo(tutti<Vf>(1e-9f), luminanza(c));
    const auto mappata = [&](Vf v) { return mappa(v, t); };
    const Vf m = ricorda(t.luma, Lc, mappata);
    const auto canale = [&](Vf v, int i) {
        const Vf q = clamp01((v * m) / Lc);
        // The channels by themselves lie in 0..1, so that a share of 0 of them would add +0.
        if (miscela == 0.0f)
            return q;
        const Vf p = ricorda(t.canali[i], v > 0.0f ? v : Vf{}, mappata);
        return p * miscela + (1.0f - miscela) * q;
    };
    return {canale(c.r, 0), canale(c.g, 1), canale(c.b, 2)};
}

// --- Print pipeline -----------------------------------------------------------------------------

// Each channel gives up twice its share and takes one share of either neighbour. The clamp holds
// scene light to 1 ahead of the curve: the print looks' flat ceiling.
inline Colori diafonia(const Colori& luce, const Palette& p)
{
    const float ar = p.diafonia * p.diafonia_canale.r;
    const float ag = p.diafonia * p.diafonia_canale.g;
    const float ab = p.diafonia * p.diafonia_canale.b;
    const Vf R = luce.r * p.bilancio.r;
    const Vf G = luce.g * p.bilancio.g;
    const Vf B = luce.b * p.bilancio.b;
    return {clamp01((1.0f - (ar + ar)) * R + G * ar + B * ar),
            clamp01((1.0f - (ag + ag)) * G + R * ag + B * ag),
            clamp01(R * ab + G * ab + (1.0f - (ab + ab)) * B)};
}

inline Colori desatura_luci(const Colori& v, const Palette& p)
{
    const Vf L = luminanza(v);
    const Vf u = clamp01((L - p.desat_soglia) / massimo(1.0f - p.desat_soglia, 1e-6f));
    const Vf k = 1.0f - p.desat_quantita * potenza(u, 1.8f);
    return canali(v, [=](Vf c) { return clamp01(satura(c, L, k)); });
}

// An angle brought back to a turn. It lies within two of them here, so that one step does; it gives
// the float that doubles would: what a turn lacks of GIRO follows, and the first step is exact.
inline Vf avvolgi(Vf d)
{
    constexpr float MEZZO = 3.1415925f;  // the float below pi
    constexpr float GIRO = 6.2831855f;
    constexpr float RESTO = 1.7484555e-07f;
    const Vf su = (d - GIRO) + RESTO;
    const Vf giu = (d + GIRO) - RESTO;
    return d > MEZZO ? su : d < -MEZZO ? giu : d;
}

// Saturation by hue, blended from the sectors by gaussians of 0.62 radians. The hue is the angle
// around the hexagon: red 0, yellow 60 degrees, green 120; 0 for a grey.
inline Colori satura_tinte(const Colori& v, const Palette& p)
{
    const Vf tinta = arcotangente((v.g - v.b) * 1.7320508f, ((v.r + v.r) - v.g) - v.b);
    Vf W = {};
    Vf V = {};
    for (int k = 0; k < TINTE; ++k) {
        const Vf d = avvolgi(tinta - CENTRI[k]);
        const Vf w = esponenziale(-(d * d) / 0.7688f);
        W += w;
        V += p.sat_tinte[k] * w;
    }
    const Vf L = luminanza(v);
    const Vf S = W > 1e-6f ? V / W : tutti<Vf>(1.0f);
    return canali(v, [=](Vf c) { return clamp01(satura(c, L, S)); });
}

inline bool tinge(const RGB& t)
{
    return t.r != 0.0f || t.g != 0.0f || t.b != 0.0f;
}

// Shadows fade out at 0.4 and highlights begin at 0.55: the tones between get no tint.
inline Colori tingi_stampa(const Colori& v, const Palette& p)
{
    const RGB& luci = p.stampa_luci;
    const RGB& ombre = p.stampa_ombre;
    if (!tinge(ombre) && !tinge(luci))
        return v;
    const Vf L = luminanza(v);
    const Vf s = potenza(clamp01(1.0f - L / 0.4f), 1.4f);
    const Vf h = potenza(clamp01((L - 0.55f) / 0.45f), 1.2f);
    return {v.r + (luci.r * h + ombre.r * s) / 255.0f, v.g + (luci.g * h + ombre.g * s) / 255.0f,
            v.b + (luci.b * h + ombre.b * s) / 255.0f};
}

Colori resa_stampa(const Colori& luce, const Contesto& ctx, Toni& toni)
{
    const LookDef& look = *ctx.look;
    const Palette& p = look.pal;
    const Colori v = codifica(tonemap_ratio(luce, toni, look.miscela), toni.codificati);
    return canali(tingi_stampa(satura_tinte(desatura_luci(v, p), p), p), [&](Vf c) {
        c = clamp01(c);
        if (look.sollevamento != 0.0f)
            c = solleva(c, look.sollevamento);
        return comprimi(c, GINOCCHIO_STAMPA, SPAZIO_STAMPA);
    });
}

// --- Grade pipeline -----------------------------------------------------------------------------

// How much a colour looks like skin, 0..1: two gaussians around skin's chroma ratios.
inline Vf somiglianza_pelle(const Colori& v, Vf L)
{
    const auto calda = (v.r > v.g) & (v.g > v.b);
    if (!qualcuno(calda))
        return Vf{};
    const Vf lc = massimo(tutti<Vf>(1e-6f), L);
    const Vf x = clamp01((v.r - v.g) / lc) - 0.26f;
    const Vf y = clamp01((v.g - v.b) / lc) - 0.18f;
    const Vf p = clamp01(esponenziale(-(x * x) / 0.0512f) * esponenziale(-(y * y) / 0.0392f));
    return calda ? p : Vf{};
}

// The split tone. The tints are multipliers around 1, so black takes no colour.
inline Colori vira(const Colori& v, const LookDef& look)
{
    const Vf L = luminanza(v);
    const Vf s = potenza(clamp01(1.0f - L / look.ombre_fine), 1.5f);
    const Vf h = potenza(clamp01((L - look.luci_inizio) / (1.0f - look.luci_inizio)), 1.2f);
    const RGB& ombre = look.tinta_ombre;
    const RGB& luci = look.tinta_luci;
    const Colori tinto = {((ombre.r * s + 1.0f) * v.r) * (luci.r * h + 1.0f),
                          ((ombre.g * s + 1.0f) * v.g) * (luci.g * h + 1.0f),
                          ((ombre.b * s + 1.0f) * v.b) * (luci.b * h + 1.0f)};
    if (!(look.protezione_pelle > 0.0f))
        return tinto;
    const Vf q = 1.0f - look.protezione_pelle * somiglianza_pelle(v, L);
    return {v.r + (tinto.r - v.r) * q, v.g + (tinto.g - v.g) * q, v.b + (tinto.b - v.b) * q};
}

// One luminance for all three steps, that of the colour as it comes in.
inline Colori satura_toni(const Colori& v, const LookDef& look)
{
    const Vf L = luminanza(v);
    const Vf tl = clamp01((L - 0.35f) / 0.65f);
    const Vf to = clamp01(1.0f - L / 0.12f);
    return canali(v, [&](Vf c) {
        c = satura(c, L, look.saturazione);
        if (look.saturazione_luci != 1.0f)
            c = c * (1.0f - tl) + satura(c, L, look.saturazione_luci) * tl;
        if (look.saturazione_ombre != 1.0f)
            c = c * (1.0f - to) + satura(c, L, look.saturazione_ombre) * to;
        return c;
    });
}

Colori resa_gradazione(const Colori& luce, const Contesto& ctx, Toni& toni)
{
    const LookDef& look = *ctx.look;
    Colori v = tonemap_ratio(luce, toni, look.miscela);
    if (look.viraggio)
        v = vira(v, look);
    v = satura_toni(v, look);
    const float spazio = 1.0f - look.ginocchio;
    v = codifica({comprimi(v.r * look.guadagno.r, look.ginocchio, spazio),
                  comprimi(v.g * look.guadagno.g, look.ginocchio, spazio),
                  comprimi(v.b * look.guadagno.b, look.ginocchio, spazio)},
                 toni.codificati);
    if (look.sollevamento != 0.0f)
        v = canali(v, [&](Vf c) { return solleva(c, look.sollevamento); });
    return v;
}

// --- Both renderings ----------------------------------------------------------------------------

// The last vector is filled up with the last colour.
template <class Passo> inline void per_lotto(Lotto& c, const Passo& passo)
{
    constexpr int N = CAMPIONI<Vf>;
    static_assert(Lotto::CAPIENZA % N == 0);
    for (int i = c.n; i % N != 0; ++i) {
        c.r[i] = c.r[c.n - 1];
        c.g[i] = c.g[c.n - 1];
        c.b[i] = c.b[c.n - 1];
    }
    for (int i = 0; i < c.n; i += N) {
        const Colori v = passo({carica<Vf>(c.r + i), carica<Vf>(c.g + i), carica<Vf>(c.b + i)});
        scrivi(c.r + i, v.r);
        scrivi(c.g + i, v.g);
        scrivi(c.b + i, v.b);
    }
}

// No clamp: a gamut wider than Rec.709 leaves negatives.
inline Colori in_rec709(const Colori& v, const float* m)
{
    return {m[0] * v.r + m[1] * v.g + m[2] * v.b, m[3] * v.r + m[4] * v.g + m[5] * v.b,
            m[6] * v.r + m[7] * v.g + m[8] * v.b};
}

// Exposure and white balance; negatives become 0, not-a-number passes.
inline Vf esponi(Vf c, float fattore, float guadagno)
{
    const Vf v = (fattore * c) * guadagno;
    return v < 0.0f ? Vf{} : v;
}

void applica_colore(Lotto& c, const Gradazione& g)
{
    const Contesto& ctx = g.ctx;
    const LookDef& look = *ctx.look;
    const float f = ctx.forza;
    Toni toni = toni_di(ctx.curva_look, g.bianco_look);
    Toni neutri = toni_di(ctx.curva_neutra, g.bianco_neutro);
    const Vf nulla = tutti<Vf>(NULLA);
    Ricordo<Colori> stampa = {{nulla, nulla, nulla}, {}};
    const auto resa = [&](const Colori& luce) {
        if (look.tipo != 1)
            return resa_gradazione(luce, ctx, toni);
        return ricorda(stampa, diafonia(luce, look.pal),
                       [&](const Colori& v) { return resa_stampa(v, ctx, toni); });
    };
    per_lotto(c, [&](const Colori& decodificata) {
        const Colori lineare = in_rec709(decodificata, g.matrice);
        const Colori luce = {esponi(lineare.r, g.fattore, ctx.guadagno.r),
                             esponi(lineare.g, g.fattore, ctx.guadagno.g),
                             esponi(lineare.b, g.fattore, ctx.guadagno.b)};
        // Both renderings end in 0..1 whatever comes in, and neither is -0: a share of exactly 0
        // of one would add +0 to the other.
        if (f == 1.0f)
            return resa(luce);
        const Colori n = codifica(tonemap_ratio(luce, neutri, 0.0f), neutri.codificati);
        if (f == 0.0f)
            return n;
        const Colori v = resa(luce);
        return Colori{v.r * f + (1.0f - f) * n.r, v.g * f + (1.0f - f) * n.g,
                      v.b * f + (1.0f - f) * n.b};
    });
}

}  // namespace

extern const NucleiColore COLORE;
const NucleiColore COLORE = {
    .applica_colore = applica_colore,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
