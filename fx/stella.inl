// The star, pixel by pixel: a mask of brightness, and white rays.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

struct Stella {
    static constexpr int PIANI = 1;
    static constexpr bool SU_IMMAGINE = true;
    static constexpr bool A_COLORI = false;
    static constexpr float INIZIO = 0.85f;    // luminance at which the mask leaves 0
    static constexpr float AMPIEZZA = 0.15f;  // written out: 1 - INIZIO rounds to another float
    static constexpr float GUADAGNO = 2.4f;

    // Not a weight: from the end of the ramp on, the luminance itself.
    template <class V> static void maschera(V luma, const V (&)[3], V (&m)[PIANI])
    {
        const V t = (luma - INIZIO) / AMPIEZZA;
        m[0] = t > 0.0f ? (t >= 1.0f ? luma : t * t * luma) : V{};
    }

    template <class V>
    static void componi(V (&rgb)[3], const V (&m)[PIANI], const RigaDaComporre& r)
    {
        const V h = minimo(m[0] * r.quantita * GUADAGNO, 1.0f);
        for (int c = 0; c < 3; ++c)
            rgb[c] = mescola_schermo(rgb[c], h);
    }
};

// What one tap of a ray brings to a row of the reduced copy.
void somma_pesata(float* somma, const float* campioni, ptrdiff_t n, float peso)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        scrivi(somma + x, carica<V>(somma + x) + peso * carica<V>(campioni + x));
    });
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
