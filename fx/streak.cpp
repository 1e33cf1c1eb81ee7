// The anamorphic streak: a blue glow along the rows; its layer is held to 1 before the colour
// weighs it.
#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Streak {
    static constexpr int PIANI = 1;
    static constexpr float INIZIO = 0.8f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.2f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 2.2f;
    static constexpr float COLORE[3] = {0.3f, 0.55f, 1.0f};

    template <class V> static V maschera(V luma)
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        return t * t * luma;
    }

    template <class V> static void componi(V (&rgb)[3], V mascherata, float quantita)
    {
        const V s = minimo(mascherata * quantita * GUADAGNO, 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], COLORE[c] * s);
    }
};

}  // namespace

extern const Effetto STREAK;
constinit const Effetto STREAK = alone<Streak>({
    .quantita = &FxRicetta::streak,
    .copia = Copia::RIDOTTA,
    .prepara = &BLUR_ORIZZ,
    .raggio = 0.1,
    .lato = Lato::LARGHEZZA,  // also on a portrait frame
    .minimo = 4,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
