// Bloom, pixel by pixel: a neutral glow of the highest lights, weighted by their brightness.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Bloom {
    static constexpr int PIANI = 1;
    static constexpr bool SU_IMMAGINE = true;
    static constexpr bool A_COLORI = false;
    static constexpr float INIZIO = 0.72f;    // luminance at which the mask leaves 0
    static constexpr float AMPIEZZA = 0.28f;  // written out: 1 - INIZIO rounds to another float

    template <class V> static void maschera(V luma, const V (&)[3], V (&m)[PIANI])
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        m[0] = luma * t * t;
    }

    template <class V>
    static void componi(V (&rgb)[3], const V (&m)[PIANI], const RigaDaComporre& r)
    {
        const V s = minimo(r.quantita * m[0], 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], s);
    }
};

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
