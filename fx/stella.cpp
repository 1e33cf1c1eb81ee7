// The star: white rays through the brightest points. The rays themselves: fx/raggi.h.
#include "fx/alone.h"
#include "fx/raggi.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Stella {
    static constexpr int PIANI = 1;
    static constexpr float INIZIO = 0.85f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.15f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 2.4f;

    // Not a weight: from the end of the ramp on, the luminance itself.
    template <class V> static V maschera(V luma)
    {
        const V t = (luma - INIZIO) / AMPIEZZA;
        return t > 0.0f ? (t >= 1.0f ? luma : t * t * luma) : V{};
    }

    template <class V> static void componi(V (&rgb)[3], V mascherata, float quantita)
    {
        const V h = minimo(mascherata * quantita * GUADAGNO, 1.0f);
        for (V& c : rgb)
            c = mescola_schermo(c, h);
    }
};

void somma_pesata(float* somma, const float* campioni, ptrdiff_t n, float peso)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        scrivi(somma + x, carica<V>(somma + x) + peso * carica<V>(campioni + x));
    });
}

constexpr NucleiRaggi NUCLEI_RAGGI = {somma_pesata};

}  // namespace

extern const Effetto STELLA;
constinit const Effetto STELLA = alone<Stella>({
    .quantita = &FxRicetta::stella,
    .copia = Copia::RIDOTTA,
    .prepara = &RAGGI,
    .nuclei = &NUCLEI_RAGGI,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
