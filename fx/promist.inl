// The black mist, pixel by pixel: the halo keeps the colour of what casts it, nothing is lifted.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Promist {
    static constexpr int PIANI = 3;
    static constexpr bool SU_IMMAGINE = true;
    static constexpr bool A_COLORI = true;
    static constexpr float INIZIO = 0.45f;    // luminance at which the mask leaves 0
    static constexpr float AMPIEZZA = 0.55f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 1.5f;

    template <class V> static void maschera(V luma, const V (&rgb)[3], V (&m)[PIANI])
    {
        const V t = clamp01((luma - INIZIO) / AMPIEZZA);
        const V peso = t * t;
        for (int c = 0; c < 3; ++c)
            m[c] = rgb[c] * peso;
    }

    template <class V>
    static void componi(V (&rgb)[3], const V (&m)[PIANI], const RigaDaComporre& r)
    {
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], minimo(m[c] * r.quantita * GUADAGNO, 1.0f));
    }
};

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
