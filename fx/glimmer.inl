// Glimmerglass, pixel by pixel: a neutral glow with a linear ramp.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Glimmer {
    static constexpr int PIANI = 1;
    static constexpr bool SU_IMMAGINE = true;
    static constexpr bool A_COLORI = false;
    static constexpr float INIZIO = 0.55f;    // luminance at which the mask leaves 0
    static constexpr float AMPIEZZA = 0.45f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 1.4f;

    template <class V> static void maschera(V luma, const V (&)[3], V (&m)[PIANI])
    {
        // At the top the luminance itself, not its product with a ramp held to 1: they differ where
        // the luminance is infinite.
        const V t = (luma - INIZIO) / AMPIEZZA;
        m[0] = t > 0.0f ? (t >= 1.0f ? luma : luma * t) : V{};
    }

    template <class V>
    static void componi(V (&rgb)[3], const V (&m)[PIANI], const RigaDaComporre& r)
    {
        const V h = minimo(m[0] * r.quantita * GUADAGNO, 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], h);
    }
};

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
