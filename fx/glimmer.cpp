// Glimmerglass: a tight neutral glow with a linear ramp.
#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Glimmer {
    static constexpr int PIANI = 1;
    static constexpr float INIZIO = 0.55f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.45f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 1.4f;

    // At the top the luminance itself, not its product with a ramp held to 1: they differ where the
    // luminance is infinite.
    template <class V> static V maschera(V luma)
    {
        const V t = (luma - INIZIO) / AMPIEZZA;
        return t > 0.0f ? (t >= 1.0f ? luma : luma * t) : V{};
    }

    template <class V> static void componi(V (&rgb)[3], V mascherata, float quantita)
    {
        const V h = minimo(mascherata * quantita * GUADAGNO, 1.0f);
        for (V& c : rgb)
            c = mescola_schermo(c, h);
    }
};

}  // namespace

extern const Effetto GLIMMER;
constinit const Effetto GLIMMER = alone<Glimmer>({
    .quantita = &FxRicetta::glimmer,
    .copia = Copia::RIDOTTA,
    .prepara = &BOX_BLUR,
    .raggio = 0.008,
    .minimo = 2,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
