// Chromatic aberration: colour fringes that grow towards the corners. Red and blue are taken from a
// little further out or in; only they move, so only they are kept as planes.
#include "comune/vettore.h"
#include "fx/effetto.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

constexpr float SPOSTAMENTO = 0.008f;  // of the way from the centre, in the middle of an edge

void rosso_e_blu(const float* rgb, const float*, float* const* piani, ptrdiff_t n)
{
    float* const rosso = piani[0];
    float* const blu = piani[1];
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        scrivi(rosso + x, c[0]);
        scrivi(blu + x, c[2]);
    });
}

struct Asse {
    ptrdiff_t lato;  // pixels
    float centro;    // half the side: half a pixel past the middle of the grid
    float limite;    // below 0 on a side of 1, where a pair is the one sample twice
};

Asse asse_di(ptrdiff_t lato)
{
    constexpr float MARGINE = 1.001f;  // keeps the second sample of a pair inside the frame
    return {lato, static_cast<float>(lato) * 0.5f, static_cast<float>(lato) - MARGINE};
}

// A plane as rows, of which those around the row at work are there.
struct Vista {
    Dintorni dintorni;
    ptrdiff_t piano;  // floats from a row of the first plane to this one's

    const float* riga(ptrdiff_t y) const { return dintorni.righe[y - dintorni.prima] + piano; }
};

// Where a pixel at the distance d from the centre samples; not-a-number counts as 0.
template <class V> V posizione(V d, V scala, const Asse& asse)
{
    const V p = d * scala + asse.centro;
    return minimo(p > 0.0f ? p : V{}, asse.limite);
}

template <class V> V mescola(V a, V b, V t)
{
    return a * (1.0f - t) + b * t;
}

// Beyond 2^15 pixels the limit rounds to the last sample: both indices are held inside.
float campione(const Vista& piano, float sx, float sy, const Asse& ax, const Asse& ay)
{
    const auto ix = static_cast<int64_t>(sx);
    const auto iy = static_cast<int64_t>(sy);
    const float tx = sx - static_cast<float>(ix);
    const float ty = sy - static_cast<float>(iy);
    const ptrdiff_t x0 = ix < ax.lato ? ix : ax.lato - 1;
    const ptrdiff_t x1 = ix + 1 < ax.lato ? ix + 1 : ax.lato - 1;
    const float* r0 = piano.riga(iy < ay.lato ? iy : ay.lato - 1);
    const float* r1 = piano.riga(iy + 1 < ay.lato ? iy + 1 : ay.lato - 1);
    return mescola(mescola(r0[x0], r0[x1], tx), mescola(r1[x0], r1[x1], tx), ty);
}

float campioni(const Vista& piano, float sx, float sy, const Asse& ax, const Asse& ay)
{
    return campione(piano, sx, sy, ax, ay);
}

// The shift changes slowly: mostly the vector's pixels sample neighbours in one pair of rows, which
// whole loads fetch.
Vf campioni(const Vista& piano, Vf sx, Vf sy, const Asse& ax, const Asse& ay)
{
    const Vi ix = __builtin_convertvector(sx, Vi);
    const Vi iy = __builtin_convertvector(sy, Vi);
    const ptrdiff_t x0 = ix[0];
    const ptrdiff_t y0 = iy[0];
    const Vi attesi = __builtin_convertvector(da_intero<Vf>(0), Vi) + ix[0];
    const bool vicini = !qualcuno((ix != attesi) | (iy != iy[0]));
    if (vicini && x0 >= 0 && y0 >= 0 && x0 + CAMPIONI<Vf> < ax.lato && y0 + 1 < ay.lato) {
        const Vf tx = sx - __builtin_convertvector(ix, Vf);
        const Vf ty = sy - __builtin_convertvector(iy, Vf);
        const float* r0 = piano.riga(y0) + x0;
        const float* r1 = piano.riga(y0 + 1) + x0;
        return mescola(mescola(carica<Vf>(r0), carica<Vf>(r0 + 1), tx),
                       mescola(carica<Vf>(r1), carica<Vf>(r1 + 1), tx), ty);
    }
    Vf v = {};
    for (ptrdiff_t i = 0; i < CAMPIONI<Vf>; ++i)
        v[i] = campione(piano, sx[i], sy[i], ax, ay);
    return v;
}

void riga_aberrazione(const float* da, float* a, const Vista& rosso, const Vista& blu,
                      const Asse& ax, const Asse& ay, ptrdiff_t y, float scala)
{
    const float dy = static_cast<float>(y) - ay.centro;
    const float b = (dy / ay.centro) * (dy / ay.centro);
    per_vettori(ax.lato, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        const V dx = da_intero<V>(static_cast<int>(x)) - ax.centro;
        const V dove = dx / ax.centro;
        const V k = (dove * dove + b) * scala;
        const V dentro = 1.0f - k;
        const V fuori = 1.0f + k;
        const V alto = tutti<V>(dy);
        V c[3];
        carica_rgb(da + 3 * x, c);
        c[0] = campioni(rosso, posizione(dx, dentro, ax), posizione(alto, dentro, ay), ax, ay);
        c[2] = campioni(blu, posizione(dx, fuori, ax), posizione(alto, fuori, ay), ax, ay);
        scrivi_rgb(a + 3 * x, c);
    });
}

void aberrazione(const Quadro& q, const Righe& r, const Mezzi& m)
{
    const Asse ax = asse_di(q.larghezza);
    const Asse ay = asse_di(q.altezza);
    const Vista rosso = {m.dintorni, 0};
    const Vista blu = {m.dintorni, q.larghezza};
    for (ptrdiff_t i = 0; i < r.n; ++i)
        riga_aberrazione(r.da + i * r.passo_da, r.a + i * r.passo_a, rosso, blu, ax, ay, r.y + i,
                         m.quantita * SPOSTAMENTO);
}

// A corner is half the height from the middle and moves by twice the share. A pair's second row,
// and positions that round, lie a little further; an endless shift reaches all of the frame.
ptrdiff_t intorno(const Quadro& q, float quantita)
{
    const auto altezza = static_cast<double>(q.altezza);
    const double passo = altezza * static_cast<double>(quantita * SPOSTAMENTO);
    return passo < altezza ? static_cast<ptrdiff_t>(passo) + 2 + (q.altezza >> 20) : q.altezza;
}

}  // namespace

extern const Effetto ABERRAZIONE;
constinit const Effetto ABERRAZIONE = {
    .quantita = &FxRicetta::ca,
    .piani = 2,
    .maschera = rosso_e_blu,
    .cambia = aberrazione,
    .intorno = intorno,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
