namespace varno {
namespace VARNO_LIVELLO {
namespace {

// --- Detail of luminance: enhance and skin diffusion --------------------------------------------

// tanh(d) / 3 for d = 3 * differenza as a rational function, which meets its bound with zero slope.
// Not-a-number passes through.
template <class V> inline V limita_dettaglio(V differenza)
{
    const V d = differenza * 3.0f;
    const V t = ((d * d + 27.0f) * d / (d * d * 9.0f + 27.0f)) / 3.0f;
    return d > 3.0f ? tutti<V>(0.33333334f) : d < -3.0f ? tutti<V>(-0.33333334f) : t;
}

void dettaglio(float* rgb, float* luma, const float* sfocata, ptrdiff_t n, float quantita,
               float pendenza)
{
    constexpr float MINIMO = 0.000001f;  // floor of luminance, before and after
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        const V L = carica<V>(luma + x);
        const V t = limita_dettaglio(L - carica<V>(sfocata + x));
        const V nuova = L + t * quantita * pendenza;
        const V tenuta = nuova > MINIMO ? minimo(nuova, 1.0f) : tutti<V>(MINIMO);
        const V q = tenuta / massimo(tutti<V>(MINIMO), L);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        for (V& canale : c)
            canale = clamp01(canale * q);
        scrivi_rgb(rgb + 3 * x, c);
        scrivi(luma + x, luma_pixel(c[0], c[1], c[2]));
    });
}

// --- Vignette -----------------------------------------------------------------------------------

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

// --- Film grain ---------------------------------------------------------------------------------

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

// --- Chromatic aberration -----------------------------------------------------------------------

void rosso_e_blu(const float* rgb, float* rosso, float* blu, ptrdiff_t n)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        scrivi(rosso + x, c[0]);
        scrivi(blu + x, c[2]);
    });
}

struct Asse {
    ptrdiff_t lato;  // pixels
    float centro;    // half the side: half a pixel past the middle of the grid
    float limite;    // below 0 on a side of 1, where a pair is the one sample twice
};

inline Asse asse_di(ptrdiff_t lato)
{
    constexpr float MARGINE = 1.001f;  // keeps the second sample of a pair inside the frame
    return {lato, static_cast<float>(lato) * 0.5f, static_cast<float>(lato) - MARGINE};
}

// Where a pixel at the distance d from the centre samples; not-a-number counts as 0.
template <class V> inline V posizione(V d, V scala, const Asse& asse)
{
    const V p = d * scala + asse.centro;
    return minimo(p > 0.0f ? p : V{}, asse.limite);
}

template <class V> inline V mescola(V a, V b, V t)
{
    return a * (1.0f - t) + b * t;
}

// Beyond 2^24 pixels the limit rounds past the last sample: both indices are held inside.
inline float campione(const float* piano, float sx, float sy, const Asse& ax, const Asse& ay)
{
    const auto ix = static_cast<int64_t>(sx);
    const auto iy = static_cast<int64_t>(sy);
    const float tx = sx - static_cast<float>(ix);
    const float ty = sy - static_cast<float>(iy);
    const ptrdiff_t x0 = ix < ax.lato ? ix : ax.lato - 1;
    const ptrdiff_t x1 = ix + 1 < ax.lato ? ix + 1 : ax.lato - 1;
    const float* r0 = piano + (iy < ay.lato ? iy : ay.lato - 1) * ax.lato;
    const float* r1 = piano + (iy + 1 < ay.lato ? iy + 1 : ay.lato - 1) * ax.lato;
    return mescola(mescola(r0[x0], r0[x1], tx), mescola(r1[x0], r1[x1], tx), ty);
}

inline float campioni(const float* piano, float sx, float sy, const Asse& ax, const Asse& ay)
{
    return campione(piano, sx, sy, ax, ay);
}

#if defined(__GNUC__)
// The shift changes slowly: mostly the vector's pixels sample neighbours in one pair of rows, which
// whole loads fetch.
inline Vf campioni(const float* piano, Vf sx, Vf sy, const Asse& ax, const Asse& ay)
{
    const Vi ix = __builtin_convertvector(sx, Vi);
    const Vi iy = __builtin_convertvector(sy, Vi);
    const ptrdiff_t x0 = ix[0];
    const ptrdiff_t y0 = iy[0];
    const Vi attesi = __builtin_convertvector(da_intero<Vf>(0), Vi) + ix[0];
    const bool vicini = !qualcuno((ix != attesi) | (iy != iy[0]));
    if (vicini && x0 >= 0 && y0 >= 0 && x0 + CAMPIONI<Vf> < ax.lato && y0 + 1 < ay.lato) {
        const Vf tx = sx - __builtin_convertvector(ix, Vf);
        const Vf ty = sy - __builtin_convertvector(iy, Vf);
        const float* r0 = piano + y0 * ax.lato + x0;
        const float* r1 = r0 + ax.lato;
        return mescola(mescola(carica<Vf>(r0), carica<Vf>(r0 + 1), tx),
                       mescola(carica<Vf>(r1), carica<Vf>(r1 + 1), tx), ty);
    }
    Vf v = {};
    for (ptrdiff_t i = 0; i < CAMPIONI<Vf>; ++i)
        v[i] = campione(piano, sx[i], sy[i], ax, ay);
    return v;
}
#endif

void aberrazione(float* rgb, const float* rosso, const float* blu, ptrdiff_t larghezza,
                 ptrdiff_t altezza, ptrdiff_t y, float scala)
{
    const Asse ax = asse_di(larghezza);
    const Asse ay = asse_di(altezza);
    const float dy = static_cast<float>(y) - ay.centro;
    const float b = (dy / ay.centro) * (dy / ay.centro);
    per_vettori(larghezza, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        const V dx = da_intero<V>(static_cast<int>(x)) - ax.centro;
        const V a = dx / ax.centro;
        const V k = (a * a + b) * scala;
        const V dentro = 1.0f - k;
        const V fuori = 1.0f + k;
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        c[0] =
            campioni(rosso, posizione(dx, dentro, ax), posizione(tutti<V>(dy), dentro, ay), ax, ay);
        c[2] = campioni(blu, posizione(dx, fuori, ax), posizione(tutti<V>(dy), fuori, ay), ax, ay);
        scrivi_rgb(rgb + 3 * x, c);
    });
}

// --- Star ---------------------------------------------------------------------------------------

void somma_pesata(float* somma, const float* campioni, ptrdiff_t n, float peso)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        scrivi(somma + x, carica<V>(somma + x) + peso * carica<V>(campioni + x));
    });
}

}  // namespace

const NucleiEffetti EFFETTI = {
    dettaglio, vignetta, limita, grana, rosso_e_blu, aberrazione, somma_pesata,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
