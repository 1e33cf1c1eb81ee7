// Film grain: monochrome noise by cells of two by two pixels, seeded by the frame number alone, at
// every frame size; enlarged, and laid over two rows at a time. The result lies in 0..1.
#include "comune/vettore.h"
#include "fx/effetto.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

constexpr int CELLA = 2;        // side of a cell in pixels
constexpr float FORZA = 0.14f;  // swing of a mid grey at an amount of 1

typedef uint32_t Naturali __attribute__((vector_size(sizeof(Vf))));

// Uniform values, 0 to below 1, of neighbouring cells: a stateless hash, wrapping modulo 2^32.
// base holds what y and the frame bring to it; a negative frame comes with its bit pattern.
Vf hash_grana(Naturali x, uint32_t base)
{
    Naturali h = x * 374761393u + base;
    h = (h ^ (h >> 13)) * 1274126177u;
    h = h ^ (h >> 16);
    // 24 bits fit a float; through a signed integer, which vector units convert.
    return __builtin_convertvector(Vi(h & 0xFFFFFFu), Vf) * 5.9604645e-8f;
}

constexpr ptrdiff_t CELLE_TRATTO = 256;  // cells whose noise is made at a time, on the stack
constexpr ptrdiff_t RUMORE = CELLE_TRATTO + 2 * CAMPIONI<Vf>;

// Triangular noise of n cells of the row y from the column x on, and some more; the cell past the
// last column repeats it.
void riga_rumore(float* rumore, ptrdiff_t x, uint32_t y, ptrdiff_t n, ptrdiff_t colonne, uint32_t f)
{
    const uint32_t base = y * 668265263u + f * 2246822519u + 2654435769u;
    const uint32_t altra = (y + 104729u) * 668265263u + f * 2246822519u + 2654435769u;
    uint32_t colonna[CAMPIONI<Vf>];
    for (ptrdiff_t i = 0; i < CAMPIONI<Vf>; ++i)
        colonna[i] = static_cast<uint32_t>(x + i);
    Naturali u;
    memcpy(&u, colonna, sizeof u);
    for (ptrdiff_t i = 0; i < n + CAMPIONI<Vf>; i += CAMPIONI<Vf>, u = u + uint32_t{CAMPIONI<Vf>})
        scrivi<Vf>(rumore + i, hash_grana(u, base) + hash_grana(u + 7919u, altra) - 1.0f);
    if (x + n == colonne)
        rumore[n] = rumore[n - 1];
}

// Two pixels from each of n cells: the cell itself, and its mean with the next.
void raddoppia(const float* celle, float* pixel, ptrdiff_t n)
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
void riga_grana(const float* da, float* a, const float* rumore, ptrdiff_t n, float quantita)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(da + 3 * x, c);
        const V l = luma_pixel(c[0], c[1], c[2]);
        const V d = carica<V>(rumore + x) * quantita * FORZA * (l * (1.0f - l) * 4.0f);
        for (V& canale : c)
            canale = clamp01(canale + d);
        scrivi_rgb(a + 3 * x, c);
    });
}

// The hash costs less than storing what it gives: the noise of a stretch of two rows of pixels is
// made where it is used. An even row lies on the cells, an odd one half way between two; the last
// row of an odd height is even.
void due_righe(const Quadro& q, const Righe& r, ptrdiff_t prima, float quantita)
{
    const ptrdiff_t colonne = (q.larghezza + 1) / CELLA;
    const ptrdiff_t ultima = (q.altezza + 1) / CELLA - 1;
    const ptrdiff_t riga = (r.y + prima) / CELLA;
    const auto cella = static_cast<uint32_t>(riga);
    const uint32_t prossima = riga < ultima ? cella + 1 : cella;
    const float* const da = r.da + prima * r.passo_da;
    float* const a = r.a + prima * r.passo_a;
    const auto fotogramma = static_cast<uint32_t>(q.fotogramma);
    float celle[RUMORE];
    float sopra[2 * RUMORE];
    float sotto[2 * RUMORE];
    for (ptrdiff_t c = 0; c < colonne; c += CELLE_TRATTO) {
        const ptrdiff_t n = c + CELLE_TRATTO < colonne ? CELLE_TRATTO : colonne - c;
        const ptrdiff_t x = 2 * c;
        const ptrdiff_t pixel = x + 2 * n < q.larghezza ? 2 * n : q.larghezza - x;
        riga_rumore(celle, c, cella, n, colonne, fotogramma);
        raddoppia(celle, sopra, n);
        riga_grana(da + 3 * x, a + 3 * x, sopra, pixel, quantita);
        if (prima + 1 == r.n)
            continue;
        riga_rumore(celle, c, prossima, n, colonne, fotogramma);
        raddoppia(celle, sotto, n);
        for (ptrdiff_t i = 0; i < 2 * n; i += CAMPIONI<Vf>)
            scrivi(sotto + i, carica<Vf>(sopra + i) * 0.5f + carica<Vf>(sotto + i) * 0.5f);
        riga_grana(da + r.passo_da + 3 * x, a + r.passo_a + 3 * x, sotto, pixel, quantita);
    }
}

void grana(const Quadro& q, const Righe& r, const Mezzi& m)
{
    for (ptrdiff_t i = 0; i < r.n; i += CELLA)
        due_righe(q, r, i, m.quantita);
}

}  // namespace

extern const Effetto GRANA;
constinit const Effetto GRANA = {
    .quantita = &FxRicetta::grana,
    .insieme = CELLA,
    .cambia = grana,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
