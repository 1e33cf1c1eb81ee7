// The running sum, several lines in lockstep: each line is one sequential float sum, so that
// neither the number of lines nor the level shows in the bits.

namespace varno {
namespace VARNO_LIVELLO {
namespace {

// Columns x to x + CORSIA - 1 of as many rows as V has samples, one vector a column; beyond the
// edges the end sample is repeated.
template <class V>
inline void colonne(const float* righe, ptrdiff_t larghezza, ptrdiff_t x, V (&v)[CORSIA<V>])
{
    constexpr ptrdiff_t C = CORSIA<V>;
    if (x >= 0 && x + C <= larghezza) {
        for (ptrdiff_t i = 0; i < C; ++i)
            v[i] = carica_corsie<V>(righe + i * larghezza + x, C * larghezza);
        separa<C>(v);
        return;
    }
    for (ptrdiff_t i = 0; i < C; ++i) {
        ptrdiff_t c = x + i < larghezza ? x + i : larghezza - 1;
        c = c > 0 ? c : 0;
        float f[CAMPIONI<V>];
        for (ptrdiff_t k = 0; k < CAMPIONI<V>; ++k)
            f[k] = righe[k * larghezza + c];
        v[i] = carica<V>(f);
    }
}

template <class V>
inline void righe_insieme(const float* da, float* a, ptrdiff_t larghezza, ptrdiff_t raggio)
{
    constexpr ptrdiff_t C = CORSIA<V>;
    const auto finestra = static_cast<float>(2 * raggio + 1);
    V entra[C];
    V esce[C];
    V somma = {};
    for (ptrdiff_t x = -raggio; x <= raggio; x += C) {
        colonne<V>(da, larghezza, x, entra);
        for (ptrdiff_t i = 0; i < C && x + i <= raggio; ++i)
            somma = somma + entra[i];
    }
    for (ptrdiff_t x = 0; x < larghezza; x += C) {
        colonne<V>(da, larghezza, x + raggio + 1, entra);
        colonne<V>(da, larghezza, x - raggio, esce);
        V medie[C];
        for (ptrdiff_t i = 0; i < C; ++i) {
            medie[i] = somma / finestra;
            somma = somma + (entra[i] - esce[i]);
        }
        if (x + C <= larghezza) {
            separa<C>(medie);
            for (ptrdiff_t i = 0; i < C; ++i)
                scrivi_corsie<V>(a + i * larghezza + x, C * larghezza, medie[i]);
        } else {
            for (ptrdiff_t i = 0; x + i < larghezza; ++i) {
                float f[CAMPIONI<V>];
                scrivi<V>(f, medie[i]);
                for (ptrdiff_t k = 0; k < CAMPIONI<V>; ++k)
                    a[k * larghezza + x + i] = f[k];
            }
        }
    }
}

void orizzontale(const float* da, float* a, ptrdiff_t larghezza, ptrdiff_t righe, ptrdiff_t raggio)
{
    constexpr ptrdiff_t N = CAMPIONI<Vf>;
    if (righe < N) {
        for (ptrdiff_t y = 0; y < righe; ++y)
            righe_insieme<float>(da + y * larghezza, a + y * larghezza, larghezza, raggio);
        return;
    }
    // The last group reaches back over rows that are done: doing them again changes nothing.
    for (ptrdiff_t y = 0; y < righe; y += N) {
        const ptrdiff_t inizio = y + N <= righe ? y : righe - N;
        righe_insieme<Vf>(da + inizio * larghezza, a + inizio * larghezza, larghezza, raggio);
    }
}

// Row by row over the whole width: every access runs along memory.
void verticale(const float* da, float* a, float* somme, ptrdiff_t larghezza, ptrdiff_t altezza,
               ptrdiff_t inizio, ptrdiff_t fine, ptrdiff_t raggio)
{
    const auto finestra = static_cast<float>(2 * raggio + 1);
    const ptrdiff_t n = fine - inizio;
    const auto riga = [&](ptrdiff_t y) {
        y = y < altezza ? y : altezza - 1;
        return da + (y > 0 ? y : 0) * larghezza + inizio;
    };
    float* const s = somme + inizio;
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
        const float* const entra = riga(y + raggio + 1);
        const float* const esce = riga(y - raggio);
        float* const uscita = a + y * larghezza + inizio;
        per_vettori(n, [=](auto v, ptrdiff_t x) {
            using V = decltype(v);
            const V somma = carica<V>(s + x);
            scrivi<V>(uscita + x, somma / finestra);
            scrivi<V>(s + x, somma + (carica<V>(entra + x) - carica<V>(esce + x)));
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
