// The black mist: a halo that keeps the colour of what casts it; nothing is lifted.
#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Promist {
    static constexpr int PIANI = 3;
    static constexpr float INIZIO = 0.45f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.55f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 1.5f;

    template <class V> static void maschera(V luma, const V (&rgb)[3], V (&m)[PIANI])
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        const V peso = t * t;
        for (int c = 0; c < 3; ++c)
            m[c] = rgb[c] * peso;
    }

    template <class V> static void componi(V (&rgb)[3], const V (&m)[PIANI], float quantita, float)
    {
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], minimo(m[c] * quantita * GUADAGNO, 1.0f));
    }
};

}  // namespace

extern const Effetto PROMIST;
constinit const Effetto PROMIST = alone<Promist>({
    .quantita = &FxRicetta::promist,
    .copia = Copia::SEMPRE_RIDOTTA,  // so wide a radius is felt on a small frame too
    .prepara = &BOX_BLUR,
    .raggio = 0.035,
    .minimo = 3,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
