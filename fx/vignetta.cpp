// The vignette: corners darkened by the weights of fx/vignetta_mask.cpp. The result lies in 0..1.
#include "fx/vignetta.h"
#include "comune/elementari.h"
#include "fx/effetto.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

constexpr float DIAGONALE = 1.4142135f;  // distance of a corner, each axis by its own half side
constexpr float INIZIO = 0.78f;          // of the way to the corner; beyond the middle of any edge
constexpr float AMPIEZZA = 0.22f;
constexpr float CURVA = 2.2f;

// Weights of the pixels from column x on; a is the square of their distance from the middle row.
template <class V> inline V pesi_da(int x, float a, float centro)
{
    const V d = (da_intero<V>(x) - centro) / centro;
    return potenza(clamp01((radice(d * d + a) / DIAGONALE - INIZIO) / AMPIEZZA), CURVA);
}

// Pixels inizio to fine - 1 of a row, times 1 - maschera * quantita.
void scurisci(const float* da, float* a, const float* maschera, ptrdiff_t inizio, ptrdiff_t fine,
              float quantita)
{
    da += 3 * inizio;
    a += 3 * inizio;
    maschera += inizio;
    per_vettori(fine - inizio, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        const V k = 1.0f - carica<V>(maschera + x) * quantita;
        V c[3];
        carica_rgb(da + 3 * x, c);
        for (V& canale : c)
            canale = clamp01(canale * k);
        scrivi_rgb(a + 3 * x, c);
    });
}

// n floats held to 0..1.
void limita(const float* da, float* a, ptrdiff_t n)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        leggi_avanti<V>(da + x);
        scrivi(a + x, clamp01(carica<V>(da + x)));
    });
}

// A weight of 0 multiplies by exactly 1: in the middle only the clamp is left. But not by an
// infinite amount, of which 0 times is not a number.
void vignetta(const Quadro& q, const Righe& r, const Mezzi& m)
{
    const auto& maschera = *static_cast<const Maschera*>(m.tenuto);
    const ptrdiff_t W = q.larghezza;
    const bool finita = m.quantita - m.quantita == 0.0f;
    for (ptrdiff_t i = 0; i < r.n; ++i) {
        const float* const da = r.da + r.passo_da * i;
        float* const a = r.a + r.passo_a * i;
        const float* const pesi = maschera.pesi + (r.y + i) * W;
        const ptrdiff_t inizio = finita ? maschera.intatte[r.y + i].inizio : W;
        const ptrdiff_t fine = finita ? maschera.intatte[r.y + i].fine : W;
        scurisci(da, a, pesi, 0, inizio, m.quantita);
        limita(da + 3 * inizio, a + 3 * inizio, 3 * (fine - inizio));
        scurisci(da, a, pesi, fine, W, m.quantita);
    }
}

// Along a row the weight sinks to the middle and rises again: vectors from either end to the first
// that is 0 throughout are all that has to be written.
Intatta riga_di_pesi(float* pesi, int larghezza, float a)
{
    constexpr int N = CAMPIONI<Vf>;
    const float centro = static_cast<float>(larghezza) * 0.5f;
    const auto scuri = [=](int x) {
        const Vf v = pesi_da<Vf>(x, a, centro);
        scrivi(pesi + x, v);
        return qualcuno(v > 0.0f);
    };
    Intatta c{0, larghezza};
    while (c.inizio + N <= larghezza && scuri(c.inizio))
        c.inizio += N;
    while (c.fine - N >= c.inizio && scuri(c.fine - N))
        c.fine -= N;
    if (c.fine - c.inizio < N)
        for (; c.inizio < c.fine; ++c.inizio)
            pesi[c.inizio] = pesi_da<float>(c.inizio, a, centro);
    return c;
}

constexpr NucleiVignetta NUCLEI_VIGNETTA = {riga_di_pesi};

}  // namespace

extern const Effetto VIGNETTA;
constinit const Effetto VIGNETTA = {
    .quantita = &FxRicetta::vignetta,
    .prepara = &VIGNETTA_MASK,
    .nuclei = &NUCLEI_VIGNETTA,
    .cambia = vignetta,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
