// The vignette, pixel by pixel.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

void vignetta(float* rgb, const float* maschera, ptrdiff_t n, float quantita)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        const V k = 1.0f - carica<V>(maschera + x) * quantita;
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        for (V& canale : c)
            canale = clamp01(canale * k);
        scrivi_rgb(rgb + 3 * x, c);
    });
}

void limita(float* valori, ptrdiff_t n)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        scrivi(valori + x, clamp01(carica<V>(valori + x)));
    });
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
