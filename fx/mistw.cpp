// The white mist: the halo of the black one, and over it a veil that follows the brightness around
// the pixel and of the whole frame. The fourth plane is the luminance itself. The
// result lies in 0..1.
#include "fx/alone.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Mistw {
    static constexpr int PIANI = 4;
    static constexpr float INIZIO = 0.35f;    // luminance at which the mask departs from 0
    static constexpr float AMPIEZZA = 0.65f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 1.3f;
    static constexpr float FORZA_VELO = 0.22f;

    template <class V> static void maschera(V luma, const V (&rgb)[3], V (&m)[PIANI])
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        const V peso = t * t;
        for (int c = 0; c < 3; ++c)
            m[c] = rgb[c] * peso;
        m[3] = luma;
    }

    template <class V>
    static void componi(V (&rgb)[3], const V (&m)[PIANI], float quantita, float media)
    {
        const V velo = m[3] * 0.5f + media * 0.5f;
        const V v = quantita * FORZA_VELO * velo;
        for (int c = 0; c < 3; ++c) {
            const V h = minimo(m[c] * quantita * GUADAGNO, 1.0f);
            const V s = mescola_schermo(rgb[c], h);
            rgb[c] = clamp01(s + v * (1.0f - s));
        }
    }
};

}  // namespace

extern const Effetto MISTW;
constinit const Effetto MISTW = alone<Mistw>({
    .quantita = &FxRicetta::mistw,
    .copia = Copia::SEMPRE_RIDOTTA,  // so wide a radius is felt on a small frame too
    .prepara = &BOX_BLUR,
    .raggio = 0.035,
    .minimo = 3,
    .legge_media = true,
});

}  // namespace VARNO_LIVELLO
}  // namespace varno
