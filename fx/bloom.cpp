// Bloom: a neutral glow of the highest lights, weighted by their brightness.
#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Bloom {
    static constexpr int PIANI = 1;
    static constexpr float INIZIO = 0.72f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.28f;  // written out: 1 - INIZIO rounds to another float

    template <class V> static V maschera(V luma)
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        return luma * t * t;
    }

    template <class V> static void componi(V (&rgb)[3], V mascherata, float quantita)
    {
        const V s = minimo(quantita * mascherata, 1.0f);
        for (V& c : rgb)
            c = mescola_schermo(c, s);
    }
};

}  // namespace

extern const Effetto BLOOM;
constinit const Effetto BLOOM = alone<Bloom>({
    .quantita = &FxRicetta::bloom,
    .copia = Copia::RIDOTTA,
    .prepara = &BOX_BLUR,
    .raggio = 0.01,
    .minimo = 1,
    .rinfresca_luma = false,  // what follows masks by the picture before the glow
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
