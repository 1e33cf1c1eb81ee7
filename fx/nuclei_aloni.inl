// What the glows share: the mean of blocks of a mask that is never stored, and an enlargement that
// goes straight into the composite. A glow G has PIANI planes, maschera() and componi(), templates
// over a vector of pixels or one pixel.

#include "fx/bloom.inl"
#include "fx/glimmer.inl"
#include "fx/halation.inl"
#include "fx/mistw.inl"
#include "fx/promist.inl"
#include "fx/stella.inl"
#include "fx/streak.inl"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

// The plane itself: what blur_su_ridotta reduces and enlarges.
struct Luminanza {
    static constexpr int PIANI = 1;
    static constexpr bool A_COLORI = false;
    static constexpr bool SU_IMMAGINE = false;

    template <class V> static void maschera(V luma, const V (&)[3], V (&m)[PIANI]) { m[0] = luma; }
};

template <class G, class V>
inline void maschera_di(const RigaDaRidurre& r, ptrdiff_t i, ptrdiff_t passo, V (&m)[G::PIANI])
{
    V rgb[3] = {};
    leggi_avanti<V>(r.luma + i);
    if constexpr (G::A_COLORI)
        carica_rgb<V>(r.rgb + 3 * i, rgb, 3 * passo);
    G::maschera(carica_corsie<V>(r.luma + i, passo), rgb, m);
}

// As many whole blocks as V has samples. The sum of a block runs row after row.
template <class G, int R, class V> inline void riduci_blocchi(const RigaDaRidurre& r, ptrdiff_t X)
{
    V somma[G::PIANI] = {};
    for (ptrdiff_t dy = 0; dy < R; ++dy) {
        V v[G::PIANI][R];
        for (ptrdiff_t j = 0; j < R; ++j) {
            V m[G::PIANI];
            maschera_di<G, V>(r, dy * r.larghezza + X * R + j * CORSIA<V>, R * CORSIA<V>, m);
            for (int p = 0; p < G::PIANI; ++p)
                v[p][j] = m[p];
        }
        for (int p = 0; p < G::PIANI; ++p) {
            separa<R>(v[p]);
            for (int j = 0; j < R; ++j)
                somma[p] = somma[p] + v[p][j];
        }
    }
    for (int p = 0; p < G::PIANI; ++p)
        scrivi<V>(r.uscita[p] + X, somma[p] / static_cast<float>(R * R));
}

// One block, of which only the part inside the frame counts.
template <class G> inline void riduci_blocco(const RigaDaRidurre& r, ptrdiff_t X)
{
    const ptrdiff_t inizio = X * r.riduzione;
    const ptrdiff_t fine = inizio + r.riduzione < r.larghezza ? inizio + r.riduzione : r.larghezza;
    float somma[G::PIANI] = {};
    for (ptrdiff_t dy = 0; dy < r.righe; ++dy)
        for (ptrdiff_t x = inizio; x < fine; ++x) {
            float m[G::PIANI];
            maschera_di<G, float>(r, dy * r.larghezza + x, 1, m);
            for (int p = 0; p < G::PIANI; ++p)
                somma[p] = somma[p] + m[p];
        }
    for (int p = 0; p < G::PIANI; ++p)
        r.uscita[p][X] = somma[p] / static_cast<float>(r.righe * (fine - inizio));
}

template <class G, int R> inline ptrdiff_t riduci_interi(const RigaDaRidurre& r)
{
    ptrdiff_t X = 0;
    if (r.righe == R && r.larghezza >= R)
        for (; X + CAMPIONI<Vf> <= r.ridotta; X += CAMPIONI<Vf>)
            riduci_blocchi<G, R, Vf>(r, X);
    return X;
}

template <class G> void maschera(const RigaDaRidurre& r)
{
    ptrdiff_t X = 0;
    switch (r.riduzione) {
    case 1:
        X = riduci_interi<G, 1>(r);
        break;
    case 2:
        X = riduci_interi<G, 2>(r);
        break;
    case 3:
        X = riduci_interi<G, 3>(r);
        break;
    case 4:
        X = riduci_interi<G, 4>(r);
        break;
    default:
        break;
    }
    for (; X < r.ridotta; ++X)
        riduci_blocco<G>(r, X);
}

template <class V> inline V bilineare(V sopra0, V sopra1, V sotto0, V sotto1, V tx, float ty)
{
    return ((1.0f - tx) * sotto0 + tx * sotto1) * ty +
           ((1.0f - tx) * sopra0 + tx * sopra1) * (1.0f - ty);
}

// The pixels from i on, a lane every passo.
template <class G, class V>
inline void componi_pixel(const RigaDaComporre& r, ptrdiff_t i, ptrdiff_t passo,
                          const V (&m)[G::PIANI])
{
    if constexpr (!G::SU_IMMAGINE) {
        scrivi_corsie<V>(r.riga.luma + i, passo, m[0]);
    } else {
        V rgb[3];
        carica_rgb<V>(r.riga.da + 3 * i, rgb, 3 * passo);
        G::componi(rgb, m, r);
        scrivi_rgb<V>(r.riga.a + 3 * i, rgb, 3 * passo);
        if (r.riga.luma != nullptr)
            scrivi_corsie<V>(r.riga.luma + i, passo, luma_pixel(rgb[0], rgb[1], rgb[2]));
    }
}

// Samples X and X + 1 of a row of the copy; past the last one it is repeated.
template <class V>
inline void vicini(const float* riga, ptrdiff_t X, ptrdiff_t ridotta, V& v0, V& v1)
{
    v0 = carica<V>(riga + X);
    if (X + CAMPIONI<V> < ridotta) {
        v1 = carica<V>(riga + X + 1);
        return;
    }
    float f[CAMPIONI<V>];
    for (ptrdiff_t k = 0; k < CAMPIONI<V>; ++k)
        f[k] = riga[X + k + 1 < ridotta ? X + k + 1 : ridotta - 1];
    v1 = carica<V>(f);
}

// The pixels of as many blocks as V has samples: each place in the block is one vector until the
// places are laced into pixels.
template <class G, int R, class V> inline void componi_blocchi(const RigaDaComporre& r, ptrdiff_t X)
{
    V tx[R];
    for (int k = 0; k < R; ++k)
        tx[k] = da_intero<V>(static_cast<int>(X) * R + k, R) / static_cast<float>(R) -
                da_intero<V>(static_cast<int>(X), 1);
    V v[G::PIANI][R];
    for (int p = 0; p < G::PIANI; ++p) {
        V sopra0;
        V sopra1;
        V sotto0;
        V sotto1;
        vicini(r.sopra[p], X, r.ridotta, sopra0, sopra1);
        vicini(r.sotto[p], X, r.ridotta, sotto0, sotto1);
        for (int k = 0; k < R; ++k)
            v[p][k] = bilineare(sopra0, sopra1, sotto0, sotto1, tx[k], r.ty);
        intreccia<R>(v[p]);
    }
    for (ptrdiff_t j = 0; j < R; ++j) {
        V m[G::PIANI];
        for (int p = 0; p < G::PIANI; ++p)
            m[p] = v[p][j];
        componi_pixel<G, V>(r, X * R + j * CORSIA<V>, R * CORSIA<V>, m);
    }
}

// Any one pixel.
template <class G> inline void componi_uno(const RigaDaComporre& r, ptrdiff_t x)
{
    const float fx = static_cast<float>(x) / static_cast<float>(r.riduzione);
    const ptrdiff_t intero = static_cast<ptrdiff_t>(fx);
    const ptrdiff_t x0 = intero < r.ridotta - 1 ? intero : r.ridotta - 1;
    const ptrdiff_t x1 = x0 < r.ridotta - 1 ? x0 + 1 : x0;
    const float tx = fx - static_cast<float>(x0);
    float m[G::PIANI];
    for (int p = 0; p < G::PIANI; ++p)
        m[p] = bilineare(r.sopra[p][x0], r.sopra[p][x1], r.sotto[p][x0], r.sotto[p][x1], tx, r.ty);
    componi_pixel<G, float>(r, x, 1, m);
}

template <class G, int R> inline ptrdiff_t componi_interi(const RigaDaComporre& r)
{
    // Up to here the quotient of a column never rounds into the next block.
    if (r.riga.larghezza > 1 << 22)
        return 0;
    ptrdiff_t X = 0;
    for (; X + CAMPIONI<Vf> <= r.ridotta && (X + CAMPIONI<Vf>)*R <= r.riga.larghezza;
         X += CAMPIONI<Vf>)
        componi_blocchi<G, R, Vf>(r, X);
    return X * R;
}

template <class G> void composito(const RigaDaComporre& r)
{
    ptrdiff_t x = 0;
    switch (r.riduzione) {
    case 0:
        per_vettori(r.riga.larghezza, [&](auto v, ptrdiff_t i) {
            using V = decltype(v);
            V m[G::PIANI];
            for (int p = 0; p < G::PIANI; ++p)
                m[p] = carica<V>(r.sopra[p] + i);
            componi_pixel<G, V>(r, i, CORSIA<V>, m);
        });
        return;
    case 1:
        x = componi_interi<G, 1>(r);
        break;
    case 2:
        x = componi_interi<G, 2>(r);
        break;
    case 3:
        x = componi_interi<G, 3>(r);
        break;
    case 4:
        x = componi_interi<G, 4>(r);
        break;
    default:
        break;
    }
    for (; x < r.riga.larghezza; ++x)
        componi_uno<G>(r, x);
}

template <class G> constexpr NucleiAlone nuclei_di()
{
    return {G::PIANI, maschera<G>, composito<G>};
}

}  // namespace

const NucleiAloni ALONI = {
    nuclei_di<Halation>(), nuclei_di<Bloom>(), nuclei_di<Streak>(),  nuclei_di<Promist>(),
    nuclei_di<Stella>(),   nuclei_di<Mistw>(), nuclei_di<Glimmer>(), nuclei_di<Luminanza>(),
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
