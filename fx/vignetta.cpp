// The vignette: corners darkened by the weights of fx/vignetta_mask.h. Leaves 0..1.
#include "comune/vettore.h"
#include "fx/effetto.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

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
void vignetta(const Quadro& q, const Righe& r, const float*, float quantita)
{
    const ptrdiff_t W = q.larghezza;
    const bool finita = quantita - quantita == 0.0f;
    for (ptrdiff_t i = 0; i < r.n; ++i) {
        const float* const da = r.da + 3 * W * i;
        float* const a = r.a + 3 * W * i;
        const float* const maschera = q.vignetta + (r.y + i) * W;
        const ptrdiff_t inizio = finita ? q.centro[r.y + i].inizio : W;
        const ptrdiff_t fine = finita ? q.centro[r.y + i].fine : W;
        scurisci(da, a, maschera, 0, inizio, quantita);
        limita(da + 3 * inizio, a + 3 * inizio, 3 * (fine - inizio));
        scurisci(da, a, maschera, fine, W, quantita);
    }
}

}  // namespace

extern const Effetto VIGNETTA;
constinit const Effetto VIGNETTA = {
    .quantita = &FxRicetta::vignetta,
    .lavoro = Lavoro::VIGNETTA,
    .cambia = vignetta,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
