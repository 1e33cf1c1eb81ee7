// The anamorphic streak, pixel by pixel: its layer is held to 1 before the colour weighs it.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Streak {
    static constexpr int PIANI = 1;
    static constexpr bool SU_IMMAGINE = true;
    static constexpr bool A_COLORI = false;
    static constexpr float INIZIO = 0.8f;    // luminance at which the mask leaves 0
    static constexpr float AMPIEZZA = 0.2f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 2.2f;
    static constexpr float COLORE[3] = {0.3f, 0.55f, 1.0f};

    template <class V> static void maschera(V luma, const V (&)[3], V (&m)[PIANI])
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        m[0] = t * t * luma;
    }

    template <class V>
    static void componi(V (&rgb)[3], const V (&m)[PIANI], const RigaDaComporre& r)
    {
        const V s = minimo(m[0] * r.quantita * GUADAGNO, 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], COLORE[c] * s);
    }
};

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
