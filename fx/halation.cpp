// Halation: a warm glow around highlights that starts early and falls off with a power. A value
// above 1 stays above.
#include "comune/elementari.h"
#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Halation {
    static constexpr int PIANI = 1;
    static constexpr float INIZIO = 0.62f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.38f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float POTENZA = 1.6f;
    static constexpr float COLORE[3] = {1.0f, 0.36f, 0.12f};

    template <class V> static V maschera(V luma)
    {
        return potenza(clamp01((luma - INIZIO) / AMPIEZZA), POTENZA);
    }

    template <class V> static void componi(V (&rgb)[3], V mascherata, float quantita)
    {
        const V a = mascherata * quantita;
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], minimo(COLORE[c] * a, 1.0f));
    }
};

}  // namespace

extern const Effetto HALATION;
constinit const Effetto HALATION = alone<Halation>({
    .quantita = &FxRicetta::halation,
    .copia = Copia::RIDOTTA,
    .prepara = &BOX_BLUR,
    .raggio = 0.018,
    .minimo = 2,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
