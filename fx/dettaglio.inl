// Detail of luminance, pixel by pixel: what enhance adds and skin diffusion takes out.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

// tanh(d) / 3 for d = 3 * differenza as a rational function, which meets its bound with zero slope.
// Not-a-number passes through.
template <class V> inline V limita_dettaglio(V differenza)
{
    const V d = differenza * 3.0f;
    const V t = ((d * d + 27.0f) * d / (d * d * 9.0f + 27.0f)) / 3.0f;
    return d > 3.0f ? tutti<V>(0.33333334f) : d < -3.0f ? tutti<V>(-0.33333334f) : t;
}

void dettaglio(const RigaDiPixel& r, const float* luma, const float* sfocata, float quantita,
               float pendenza)
{
    constexpr float MINIMO = 0.000001f;  // floor of luminance, before and after
    per_vettori(r.larghezza, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        leggi_avanti<V>(luma + x);
        leggi_avanti<V>(sfocata + x);
        const V L = carica<V>(luma + x);
        const V t = limita_dettaglio(L - carica<V>(sfocata + x));
        const V nuova = L + t * quantita * pendenza;
        const V tenuta = nuova > MINIMO ? minimo(nuova, 1.0f) : tutti<V>(MINIMO);
        const V q = tenuta / massimo(tutti<V>(MINIMO), L);
        V c[3];
        carica_rgb(r.da + 3 * x, c);
        for (V& canale : c)
            canale = clamp01(canale * q);
        scrivi_rgb(r.a + 3 * x, c);
        if (r.luma != nullptr)
            scrivi(r.luma + x, luma_pixel(c[0], c[1], c[2]));
    });
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
