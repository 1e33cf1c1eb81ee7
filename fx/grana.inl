// Film grain: noise by cells of two by two pixels, enlarged and laid over two rows at a time.
namespace varno {
namespace VARNO_LIVELLO {
namespace {

#if defined(__GNUC__)
typedef uint32_t Vu __attribute__((vector_size(sizeof(Vf))));
#else
using Vu = uint32_t;
#endif

inline Vf in_float(Vu h)
{
#if defined(__GNUC__)
    return __builtin_convertvector(Vi(h), Vf);
#else
    return static_cast<float>(static_cast<int32_t>(h));
#endif
}

// hash_grana of neighbouring cells; base holds what y and the frame bring to it.
inline Vf hash_celle(Vu x, uint32_t base)
{
    Vu h = x * 374761393u + base;
    h = (h ^ (h >> 13)) * 1274126177u;
    h = h ^ (h >> 16);
    return in_float(h & 0xFFFFFFu) * 5.9604645e-8f;
}

constexpr ptrdiff_t CELLE_TRATTO = 256;  // cells whose noise is made at a time, on the stack
constexpr ptrdiff_t RUMORE = CELLE_TRATTO + 2 * CAMPIONI<Vf>;

// Triangular noise of n cells of the row y from the column x on, and some more; the cell past the
// last column repeats it.
inline void riga_rumore(float* rumore, ptrdiff_t x, uint32_t y, ptrdiff_t n, ptrdiff_t colonne,
                        uint32_t f)
{
    const uint32_t base = y * 668265263u + f * 2246822519u + 2654435769u;
    const uint32_t altra = (y + 104729u) * 668265263u + f * 2246822519u + 2654435769u;
    uint32_t colonna[CAMPIONI<Vf>];
    for (ptrdiff_t i = 0; i < CAMPIONI<Vf>; ++i)
        colonna[i] = static_cast<uint32_t>(x + i);
    Vu u;
    memcpy(&u, colonna, sizeof u);
    for (ptrdiff_t i = 0; i < n + CAMPIONI<Vf>; i += CAMPIONI<Vf>, u = u + uint32_t{CAMPIONI<Vf>})
        scrivi<Vf>(rumore + i, hash_celle(u, base) + hash_celle(u + 7919u, altra) - 1.0f);
    if (x + n == colonne)
        rumore[n] = rumore[n - 1];
}

// Two pixels from each of n cells: the cell itself, and its mean with the next.
inline void raddoppia(const float* celle, float* pixel, ptrdiff_t n)
{
    for (ptrdiff_t i = 0; i < n; i += CAMPIONI<Vf>) {
        const Vf c = carica<Vf>(celle + i);
        Vf v[2] = {c, c * 0.5f + carica<Vf>(celle + i + 1) * 0.5f};
        intreccia<2>(v);
        for (ptrdiff_t j = 0; j < 2; ++j)
            scrivi_corsie<Vf>(pixel + 2 * i + j * CORSIA<Vf>, 2 * CORSIA<Vf>, v[j]);
    }
}

// Strongest in the midtones, nothing at black and white.
inline void riga_grana(float* rgb, const float* rumore, ptrdiff_t n, float quantita)
{
    constexpr float FORZA = 0.14f;  // swing of a mid grey at an amount of 1
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        const V l = luma_pixel(c[0], c[1], c[2]);
        const V d = carica<V>(rumore + x) * quantita * FORZA * (l * (1.0f - l) * 4.0f);
        for (V& canale : c)
            canale = clamp01(canale + d);
        scrivi_rgb(rgb + 3 * x, c);
    });
}

// The hash costs less than storing what it gives: the noise of a stretch of two rows of pixels is
// made where it is used. An even row lies on the cells, an odd one half way between two.
void grana(float* pari, float* dispari, ptrdiff_t larghezza, uint32_t y, uint32_t y1,
           uint32_t fotogramma, float quantita)
{
    const ptrdiff_t colonne = larghezza / 2 + larghezza % 2;
    float celle[RUMORE];
    float sopra[2 * RUMORE];
    float sotto[2 * RUMORE];
    for (ptrdiff_t c = 0; c < colonne; c += CELLE_TRATTO) {
        const ptrdiff_t n = c + CELLE_TRATTO < colonne ? CELLE_TRATTO : colonne - c;
        const ptrdiff_t x = 2 * c;
        const ptrdiff_t pixel = x + 2 * n < larghezza ? 2 * n : larghezza - x;
        riga_rumore(celle, c, y, n, colonne, fotogramma);
        raddoppia(celle, sopra, n);
        riga_grana(pari + 3 * x, sopra, pixel, quantita);
        if (dispari == nullptr)
            continue;
        riga_rumore(celle, c, y1, n, colonne, fotogramma);
        raddoppia(celle, sotto, n);
        for (ptrdiff_t i = 0; i < 2 * n; i += CAMPIONI<Vf>)
            scrivi(sotto + i, carica<Vf>(sopra + i) * 0.5f + carica<Vf>(sotto + i) * 0.5f);
        riga_grana(dispari + 3 * x, sotto, pixel, quantita);
    }
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
