// The table of the grade, sampled trilinearly: red, then green, then blue. The corners of a pixel
// are vectors of three channels and a fourth float that means nothing; a vector of eight holds both
// ends of the blue axis.

#include "render/nuclei_tabella.h"

#include "comune/vettore.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

// Floats from the first sample of a cell to the next one along each axis.
struct Passi {
    ptrdiff_t rosso;
    ptrdiff_t verde;
    ptrdiff_t blu;
};

struct Assi {
    const float* tavola;
    float ultimo;  // position of the last point
    int32_t passi[3];
};

inline Assi assi_di(const float* tavola, int N)
{
    return {tavola, static_cast<float>(N - 1), {3, 3 * N, 3 * N * N}};
}

// Where pixels lie in the table: the first sample of their cells and the fractions of the axes. A
// pixel at the end of an axis has no next sample there: the last one is both.
template <class V> struct Posto {
    using I = decltype(a_intero(V{}));
    I origine;  // floats
    I passi[3];
    bool alla_fine;  // whether one of the pixels stands at the end of an axis
    V t[3];
};

// Not-a-number falls to 0.
template <class V> inline Posto<V> posto_di(const V (&rgb)[3], const Assi& a)
{
    using I = typename Posto<V>::I;
    Posto<V> p = {};
    V ultima = {};
    for (int c = 0; c < 3; ++c) {
        const V posizione = minimo(massimo(V{}, rgb[c]), 1.0f) * a.ultimo;
        p.origine += a_intero(posizione) * a.passi[c];
        p.passi[c] = posizione < a.ultimo ? I{} + a.passi[c] : I{};
        p.t[c] = posizione - tronca(posizione);
        ultima = massimo(ultima, posizione);
    }
    p.alla_fine = qualcuno(ultima >= a.ultimo);
    return p;
}

// One pixel's fraction of an axis and what is left of it.
struct Frazione {
    float t;
    float meno_t;
};

// Red and green of the cell at s. The second lane, where there is one, is the cell's other end on
// the blue axis.
template <class V> inline V rosso_e_verde(const float* s, const Passi& p, const Frazione (&f)[3])
{
    const V r = tutti<V>(f[0].t);
    const V meno_r = tutti<V>(f[0].meno_t);
    const V c0 = carica_corsie<V>(s, p.blu) * meno_r + carica_corsie<V>(s + p.rosso, p.blu) * r;
    s += p.verde;
    const V c1 = carica_corsie<V>(s, p.blu) * meno_r + carica_corsie<V>(s + p.rosso, p.blu) * r;
    return c0 * tutti<V>(f[1].meno_t) + c1 * tutti<V>(f[1].t);
}

// V is four channels or one.
template <class V> inline V campione(const float* s, const Passi& p, const Frazione (&f)[3])
{
#if defined(__AVX2__)
    if constexpr (CAMPIONI<V> == 4) {
        const V8 c = rosso_e_verde<V8>(s, p, f);
        return prima_corsia(c) * f[2].meno_t + seconda_corsia(c) * f[2].t;
    }
#endif
    return rosso_e_verde<V>(s, p, f) * f[2].meno_t + rosso_e_verde<V>(s + p.blu, p, f) * f[2].t;
}

// The pixels of one vector, CANALI floats apart in uscita; four floats are written for each. Away
// from the ends of the axes the samples lie at the same distances for all.
template <int CANALI> inline void campiona_vettore(const Assi& a, const Vf (&rgb)[3], float* uscita)
{
    const Posto<Vf> p = posto_di(rgb, a);
    constexpr int N = CAMPIONI<Vf>;
    float t[3][N];
    float meno_t[3][N];
    for (int c = 0; c < 3; ++c) {
        scrivi<Vf>(t[c], p.t[c]);
        scrivi<Vf>(meno_t[c], 1.0f - p.t[c]);
    }
    const auto pixel = [&](int k, const Passi& passi) {
        const Frazione f[3] = {
            {t[0][k], meno_t[0][k]}, {t[1][k], meno_t[1][k]}, {t[2][k], meno_t[2][k]}};
        scrivi(uscita + CANALI * k, campione<V4>(a.tavola + p.origine[k], passi, f));
    };
    if (!p.alla_fine)
        for (int k = 0; k < N; ++k)
            pixel(k, {3, a.passi[1], a.passi[2]});
    else
        for (int k = 0; k < N; ++k)
            pixel(k, {p.passi[0][k], p.passi[1][k], p.passi[2][k]});
}

// One pixel, three floats. Rows of a host may begin anywhere, also between two floats.
inline void campiona_uno(const Assi& a, const float* rgba, float* uscita)
{
    const float rgb[3] = {carica<float>(rgba), carica<float>(rgba + 1), carica<float>(rgba + 2)};
    const Posto<float> p = posto_di(rgb, a);
    const float* const s = a.tavola + p.origine;
    const Frazione f[3] = {
        {p.t[0], 1.0f - p.t[0]}, {p.t[1], 1.0f - p.t[1]}, {p.t[2], 1.0f - p.t[2]}};
    for (int c = 0; c < 3; ++c)
        scrivi(uscita + c, campione<float>(s + c, {p.passi[0], p.passi[1], p.passi[2]}, f));
}

// RGBA of neighbouring pixels, a channel each.
template <class V> inline void carica_rgba(const float* p, V (&v)[4])
{
    leggi_avanti<V>(p, 4 * CAMPIONI<V>);
    for (int j = 0; j < 4; ++j)
        v[j] = carica_corsie<V>(p + j * CORSIA<V>, 4 * CORSIA<V>);
    separa<4>(v);
}

inline bool stessi_bit(float a, const float* b)
{
    return memcmp(&a, b, sizeof a) == 0;
}

inline bool stessi_bit(Vf a, const float* b)
{
    int32_t bit;
    memcpy(&bit, b, sizeof bit);
    return !qualcuno(Vi(a) != bit);
}

// The alpha of a row as it comes: nothing is stored for as long as it is one value.
struct AlfaDiRiga {
    const float* rgba;
    float* alfa;
    bool unica = true;

    template <class V> void aggiungi(ptrdiff_t x, V v)
    {
        if (unica && stessi_bit(v, rgba + 3))
            return;
        if (alfa == nullptr) {
            unica = false;
            return;
        }
        if (unica)
            for (ptrdiff_t i = 0; i < x; ++i)
                memcpy(alfa + i, rgba + 3, sizeof(float));
        unica = false;
        scrivi<V>(alfa + x, v);
    }
};

// The last pixels go one by one, since each store of a whole vector reaches into the next pixel.
bool campiona(const float* tavola, int N, const float* rgba, float* rgb, float* alfa,
              ptrdiff_t larghezza)
{
    const Assi a = assi_di(tavola, N);
    AlfaDiRiga alfa_di_riga = {rgba, alfa};
    constexpr ptrdiff_t G = CAMPIONI<Vf>;
    ptrdiff_t x = 0;
    for (; x + G < larghezza; x += G) {
        Vf v[4];
        carica_rgba(rgba + 4 * x, v);
        campiona_vettore<3>(a, {v[0], v[1], v[2]}, rgb + 3 * x);
        alfa_di_riga.aggiungi(x, v[3]);
    }
    for (; x < larghezza; ++x) {
        campiona_uno(a, rgba + 4 * x, rgb + 3 * x);
        alfa_di_riga.aggiungi(x, carica<float>(rgba + 4 * x + 3));
    }
    return alfa_di_riga.unica;
}

void campiona_rgba(const float* tavola, int N, const float* rgba, float* uscita,
                   ptrdiff_t larghezza)
{
    const Assi a = assi_di(tavola, N);
    constexpr ptrdiff_t G = CAMPIONI<Vf>;
    ptrdiff_t x = 0;
    for (; x + G <= larghezza; x += G) {
        Vf v[4];
        carica_rgba(rgba + 4 * x, v);
        campiona_vettore<4>(a, {v[0], v[1], v[2]}, uscita + 4 * x);
        for (ptrdiff_t k = 0; k < G; ++k)
            memcpy(uscita + 4 * (x + k) + 3, rgba + 4 * (x + k) + 3, sizeof(float));
    }
    for (; x < larghezza; ++x) {
        campiona_uno(a, rgba + 4 * x, uscita + 4 * x);
        memcpy(uscita + 4 * x + 3, rgba + 4 * x + 3, sizeof(float));
    }
}

// alfa(V{}, x) is that of the pixels from x on.
template <class Alfa>
inline void unisci_riga(const float* rgb, float* rgba, ptrdiff_t larghezza, const Alfa& alfa)
{
    per_vettori(larghezza, [=](auto tipo, ptrdiff_t x) {
        using V = decltype(tipo);
        leggi_avanti<V>(rgba + 4 * x, 4 * CAMPIONI<V>);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        V v[4] = {c[0], c[1], c[2], alfa(tipo, x)};
        intreccia<4>(v);
        for (int j = 0; j < 4; ++j)
            scrivi_corsie<V>(rgba + 4 * x + j * CORSIA<V>, 4 * CORSIA<V>, v[j]);
    });
}

void unisci(const float* rgb, const float* alfa, float* rgba, ptrdiff_t larghezza)
{
    unisci_riga(rgb, rgba, larghezza,
                [=](auto tipo, ptrdiff_t x) { return carica<decltype(tipo)>(alfa + x); });
}

void unisci_da(const float* rgb, const float* sorgente, float* rgba, ptrdiff_t larghezza)
{
    unisci_riga(rgb, rgba, larghezza, [=](auto tipo, ptrdiff_t x) {
        decltype(tipo) v[4];
        carica_rgba(sorgente + 4 * x, v);
        return v[3];
    });
}

void unisci_uno(const float* rgb, const float* alfa, float* rgba, ptrdiff_t larghezza)
{
    float ripetuta[CAMPIONI<Vf>];
    for (float& v : ripetuta)
        memcpy(&v, alfa, sizeof v);
    unisci_riga(rgb, rgba, larghezza,
                [&](auto tipo, ptrdiff_t) { return carica<decltype(tipo)>(ripetuta); });
}

}  // namespace

extern const NucleiTabella TABELLA;
const NucleiTabella TABELLA = {
    .campiona = campiona,
    .campiona_rgba = campiona_rgba,
    .unisci = unisci,
    .unisci_da = unisci_da,
    .unisci_uno = unisci_uno,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
