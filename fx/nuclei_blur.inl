// The running sum, several lines in lockstep: each line is one sequential float sum, so that
// neither the number of lines nor the level shows in the bits. What the result has overwritten and
// the sum has still to lose stands in a ring ("anello").

namespace varno {
namespace VARNO_LIVELLO {
namespace {

// As many rows as V has samples; where there are fewer, the last one stands in for the others.
template <class V> struct Gruppo {
    ptrdiff_t riga[CAMPIONI<V>];  // where each starts, in floats from the first

    Gruppo(ptrdiff_t larghezza, ptrdiff_t righe)
    {
        for (ptrdiff_t k = 0; k < CAMPIONI<V>; ++k)
            riga[k] = (k < righe ? k : righe - 1) * larghezza;
    }

    // Rows i, CORSIA + i, ... from the column x on, CORSIA columns each.
    V carica_righe(const float* p, ptrdiff_t i, ptrdiff_t x) const
    {
        if constexpr (CAMPIONI < V >> CORSIA<V>)
            return carica_corsie<V>(p + riga[i] + x, riga[CORSIA<V> + i] - riga[i]);
        else
            return carica<V>(p + riga[i] + x);
    }

    void scrivi_righe(float* p, ptrdiff_t i, ptrdiff_t x, V v) const
    {
        if constexpr (CAMPIONI < V >> CORSIA<V>)
            scrivi_corsie<V>(p + riga[i] + x, riga[CORSIA<V> + i] - riga[i], v);
        else
            scrivi<V>(p + riga[i] + x, v);
    }
};

template <class V>
inline void righe_insieme(const float* da, float* a, float* anello, ptrdiff_t posti,
                          ptrdiff_t larghezza, ptrdiff_t righe, ptrdiff_t raggio)
{
    constexpr ptrdiff_t C = CORSIA<V>;
    constexpr ptrdiff_t N = CAMPIONI<V>;
    const Gruppo<V> gruppo(larghezza, righe);
    const auto finestra = static_cast<float>(2 * raggio + 1);
    const auto posto = [=](ptrdiff_t c) { return anello + (c & (posti - 1)) * N; };

    // Columns reach the ring in order, ahead of where the result is written.
    ptrdiff_t lette = 0;
    const auto leggi_fino = [&](ptrdiff_t c) {
        for (; lette <= c && lette + C <= larghezza; lette += C) {
            V v[C];
            for (ptrdiff_t i = 0; i < C; ++i)
                v[i] = gruppo.carica_righe(da, i, lette);
            separa<C>(v);
            for (ptrdiff_t i = 0; i < C; ++i)
                scrivi<V>(posto(lette + i), v[i]);
        }
        for (; lette <= c && lette < larghezza; ++lette)
            for (ptrdiff_t k = 0; k < N; ++k)
                posto(lette)[k] = da[gruppo.riga[k] + lette];
    };
    // Beyond the edges the end sample is repeated.
    const auto colonna = [&](ptrdiff_t c) {
        c = c < larghezza ? c : larghezza - 1;
        return carica<V>(posto(c > 0 ? c : 0));
    };

    V somma = {};
    leggi_fino(raggio);
    for (ptrdiff_t c = -raggio; c <= raggio; ++c)
        somma = somma + colonna(c);
    for (ptrdiff_t x = 0; x < larghezza; x += C) {
        leggi_fino(x + C + raggio);
        V medie[C];
        for (ptrdiff_t i = 0; i < C; ++i) {
            medie[i] = somma / finestra;
            somma = somma + (colonna(x + i + raggio + 1) - colonna(x + i - raggio));
        }
        if (x + C <= larghezza) {
            separa<C>(medie);
            for (ptrdiff_t i = 0; i < C; ++i)
                gruppo.scrivi_righe(a, i, x, medie[i]);
        } else {
            for (ptrdiff_t i = 0; x + i < larghezza; ++i) {
                float f[N];
                scrivi<V>(f, medie[i]);
                for (ptrdiff_t k = 0; k < N; ++k)
                    a[gruppo.riga[k] + x + i] = f[k];
            }
        }
    }
}

void orizzontale(const float* da, float* a, float* anello, ptrdiff_t posti, ptrdiff_t larghezza,
                 ptrdiff_t righe, ptrdiff_t raggio)
{
    constexpr ptrdiff_t N = CAMPIONI<Vf>;
    if (righe < N) {
        for (ptrdiff_t y = 0; y < righe; ++y)
            righe_insieme<float>(da + y * larghezza, a + y * larghezza, anello, posti, larghezza, 1,
                                 raggio);
        return;
    }
    for (ptrdiff_t y = 0; y < righe; y += N)
        righe_insieme<Vf>(da + y * larghezza, a + y * larghezza, anello, posti, larghezza,
                          righe - y, raggio);
}

// Row by row over the whole width: every access runs along memory.
void verticale(float* piano, float* anello, ptrdiff_t larghezza, ptrdiff_t altezza,
               ptrdiff_t inizio, ptrdiff_t fine, ptrdiff_t raggio)
{
    const auto finestra = static_cast<float>(2 * raggio + 1);
    const ptrdiff_t n = fine - inizio;
    const ptrdiff_t posti = raggio + 1 < altezza ? raggio + 1 : altezza;
    float* const s = anello + posti * larghezza + inizio;
    const auto riga = [=](ptrdiff_t y) {
        y = y < altezza ? y : altezza - 1;
        return piano + (y > 0 ? y : 0) * larghezza + inizio;
    };
    const auto posto = [=](ptrdiff_t y) {
        return anello + (y > 0 ? y % posti : 0) * larghezza + inizio;
    };

    for (ptrdiff_t x = 0; x < n; ++x)
        s[x] = 0.0f;
    for (ptrdiff_t y = -raggio; y <= raggio; ++y) {
        const float* const entra = riga(y);
        per_vettori(n, [=](auto v, ptrdiff_t x) {
            using V = decltype(v);
            scrivi<V>(s + x, carica<V>(s + x) + carica<V>(entra + x));
        });
    }
    for (ptrdiff_t y = 0; y < altezza; ++y) {
        float* const questa = riga(y);
        float* const tenuta = posto(y);
        const float* const entra = riga(y + raggio + 1);
        const float* const esce = posto(y - raggio);
        per_vettori(n, [=](auto v, ptrdiff_t x) {
            using V = decltype(v);
            const V somma = carica<V>(s + x);
            const V nuova = carica<V>(entra + x);
            scrivi<V>(tenuta + x, carica<V>(questa + x));
            scrivi<V>(questa + x, somma / finestra);
            scrivi<V>(s + x, somma + (nuova - carica<V>(esce + x)));
        });
    }
}

}  // namespace

const NucleiBlur BLUR = {
    orizzontale,
    verticale,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
