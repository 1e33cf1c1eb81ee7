// The white mist, pixel by pixel: the halo of the black one and over it a veil that follows the
// brightness around the pixel and of the whole frame. The fourth plane is the luminance itself.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Mistw {
    static constexpr int PIANI = 4;
    static constexpr bool SU_IMMAGINE = true;
    static constexpr bool A_COLORI = true;
    static constexpr float INIZIO = 0.35f;    // luminance at which the mask leaves 0
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
    static void componi(V (&rgb)[3], const V (&m)[PIANI], const RigaDaComporre& r)
    {
        const V velo = m[3] * 0.5f + r.media * 0.5f;
        const V v = r.quantita * FORZA_VELO * velo;
        for (int c = 0; c < 3; ++c) {
            const V h = minimo(m[c] * r.quantita * GUADAGNO, 1.0f);
            const V s = mescola_schermo(rgb[c], h);
            rgb[c] = clamp01(s + v * (1.0f - s));
        }
    }
};

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
