// Kernels of planes, built once a level. A sum keeps its order whatever the vector's width: the
// samples of a block one by one, a line of a blur as one sequential sum, several lines in lockstep.
#include "fx/nuclei_piani.h"

#include "comune/anticipo.h"
#include "comune/vettore.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

void luminanza(const float* rgb, float* luma, ptrdiff_t n)
{
    per_vettori(n, [=](auto v, ptrdiff_t x) {
        using V = decltype(v);
        V c[3];
        carica_rgb(rgb + 3 * x, c);
        scrivi<V>(luma + x, luma_pixel(c[0], c[1], c[2]));
    });
}

// --- Reduction ----------------------------------------------------------------------------------

// A frame narrower than a block: one sample, of the columns that there are.
void riduci_stretta(const float* riga, float* copia, const Forma& f, bool prima, float quanti)
{
    float somma = prima ? 0.0f : copia[0];
    for (ptrdiff_t x = 0; x < f.larghezza; ++x)
        somma = somma + riga[x];
    copia[0] = quanti > 0.0f ? somma / quanti : somma;
}

// As many blocks at once as a vector has samples: separa makes a vector of each place in them.
// quanti: 0, or what the sums are divided by.
template <int R>
void riduci_di(const float* riga, float* copia, ptrdiff_t colonne, bool prima, float quanti)
{
    per_vettori(colonne, [=](auto tipo, ptrdiff_t X) {
        using V = decltype(tipo);
        V somma = prima ? V{} : carica<V>(copia + X);
        V v[R];
        for (int j = 0; j < R; ++j)
            v[j] = carica_corsie<V>(riga + X * R + j * CORSIA<V>, R * CORSIA<V>);
        separa<R>(v);
        for (int j = 0; j < R; ++j)
            somma = somma + v[j];
        scrivi<V>(copia + X, quanti > 0.0f ? somma / quanti : somma);
    });
}

// Calls f with the reduction, 1 to 4, as a constant.
template <class Funzione> void con_riduzione(ptrdiff_t riduzione, const Funzione& f)
{
    switch (riduzione) {
    case 1:
        return f.template operator()<1>();
    case 2:
        return f.template operator()<2>();
    case 3:
        return f.template operator()<3>();
    default:
        return f.template operator()<4>();
    }
}

void riduci(const float* riga, float* copia, const Forma& f, ptrdiff_t numero)
{
    const ptrdiff_t R = f.riduzione;
    const ptrdiff_t righe = f.altezza < R ? f.altezza : R;
    const ptrdiff_t larga = f.larghezza < R ? f.larghezza : R;
    const float quanti = numero == righe - 1 ? static_cast<float>(righe * larga) : 0.0f;
    if (f.larghezza < R)
        return riduci_stretta(riga, copia, f, numero == 0, quanti);
    con_riduzione(R, [&]<int N>() { riduci_di<N>(riga, copia, f.colonne, numero == 0, quanti); });
}

// --- Enlargement --------------------------------------------------------------------------------

template <class V> V bilineare(V sopra0, V sopra1, V sotto0, V sotto1, V tx, float ty)
{
    return ((1.0f - tx) * sotto0 + tx * sotto1) * ty +
           ((1.0f - tx) * sopra0 + tx * sopra1) * (1.0f - ty);
}

// Samples X and X + 1 of a row of the copy; past the last one it is repeated.
template <class V> void vicini(const float* riga, ptrdiff_t X, ptrdiff_t colonne, V& v0, V& v1)
{
    v0 = carica<V>(riga + X);
    if (X + CAMPIONI<V> < colonne) {
        v1 = carica<V>(riga + X + 1);
        return;
    }
    float f[CAMPIONI<V>];
    for (ptrdiff_t k = 0; k < CAMPIONI<V>; ++k)
        f[k] = riga[X + k + 1 < colonne ? X + k + 1 : colonne - 1];
    v1 = carica<V>(f);
}

// How far into its block the column X * R + k stands, for as many blocks from X on as a vector has
// samples. Halves and quarters are exact; a third of a column rounds.
template <int R> Vf parte_di_blocco(int X, int k)
{
    if constexpr (R == 3)
        return da_intero<Vf>(X * R + k, R) / 3.0f - da_intero<Vf>(X);
    else
        return tutti<Vf>(static_cast<float>(k) / R);
}

template <int R>
void ingrandisci_di(const float* sopra, const float* sotto, float ty, float* riga, const Forma& f)
{
    constexpr ptrdiff_t N = CAMPIONI<Vf>;
    constexpr ptrdiff_t C = CORSIA<Vf>;
    // Up to here the quotient of a column never rounds into the next block.
    constexpr ptrdiff_t SICURA = 1 << 22;
    ptrdiff_t X = 0;
    // The pixels of as many blocks as a vector has samples: each place in the block is one vector,
    // until intreccia laces the places into pixels.
    if (f.larghezza <= SICURA)
        for (; X + N <= f.colonne && (X + N) * R <= f.larghezza; X += N) {
            Vf sopra0;
            Vf sopra1;
            Vf sotto0;
            Vf sotto1;
            vicini(sopra, X, f.colonne, sopra0, sopra1);
            vicini(sotto, X, f.colonne, sotto0, sotto1);
            Vf v[R];
            for (int k = 0; k < R; ++k)
                v[k] = bilineare(sopra0, sopra1, sotto0, sotto1,
                                 parte_di_blocco<R>(static_cast<int>(X), k), ty);
            intreccia<R>(v);
            for (ptrdiff_t j = 0; j < R; ++j)
                scrivi_corsie<Vf>(riga + X * R + j * C, R * C, v[j]);
        }
    for (ptrdiff_t x = X * R; x < f.larghezza; ++x) {
        const float fx = static_cast<float>(x) / static_cast<float>(R);
        const auto intero = static_cast<ptrdiff_t>(fx);
        const ptrdiff_t x0 = intero < f.colonne - 1 ? intero : f.colonne - 1;
        const ptrdiff_t x1 = x0 < f.colonne - 1 ? x0 + 1 : x0;
        riga[x] =
            bilineare(sopra[x0], sopra[x1], sotto[x0], sotto[x1], fx - static_cast<float>(x0), ty);
    }
}

void ingrandisci(const float* sopra, const float* sotto, float ty, float* riga, const Forma& f)
{
    con_riduzione(f.riduzione, [&]<int R>() { ingrandisci_di<R>(sopra, sotto, ty, riga, f); });
}

// --- Running sums -------------------------------------------------------------------------------

// As many rows as a vector has samples; where there are fewer, the last one stands in for the
// others: it is worked out several times, and comes out the same.
struct Gruppo {
    static constexpr ptrdiff_t N = CAMPIONI<Vf>;
    static constexpr ptrdiff_t C = CORSIA<Vf>;
    ptrdiff_t riga[N];  // where each starts, in floats from the first

    Gruppo(ptrdiff_t passo, ptrdiff_t righe)
    {
        for (ptrdiff_t k = 0; k < N; ++k)
            riga[k] = (k < righe ? k : righe - 1) * passo;
    }

    // How far the row of the vector's second lane lies from that of the first; a vector of one lane
    // has no second, and the remainder keeps the index in the table.
    ptrdiff_t passo(ptrdiff_t i) const { return riga[(C + i) % N] - riga[i]; }

    // Rows i, C + i, ... from the column x on, C columns each.
    Vf carica_righe(const float* p, ptrdiff_t i, ptrdiff_t x) const
    {
        return carica_corsie<Vf>(p + riga[i] + x, passo(i));
    }

    void scrivi_righe(float* p, ptrdiff_t i, ptrdiff_t x, Vf v) const
    {
        scrivi_corsie<Vf>(p + riga[i] + x, passo(i), v);
    }
};

// The columns that the window covers, kept aside because the result may overwrite them. A column is
// a vector, a sample of each row; the column c has the place c modulo posti:
//
//     place    0      1      2      3     ...   posti - 1
//            | c = 8 | 9    | 10   |  3   | ... |  7   |     window: columns 3 to 10
//
struct Anello {
    const Gruppo& gruppo;
    const float* da;
    float* dati;
    ptrdiff_t posti;  // a power of two
    ptrdiff_t larghezza;
    ptrdiff_t lette = 0;  // columns that have come in, from the left

    float* posto(ptrdiff_t c) const { return dati + (c & (posti - 1)) * Gruppo::N; }

    // Lets columns in, C at a time, until c is there or the rows end.
    void leggi_fino(ptrdiff_t c)
    {
        constexpr ptrdiff_t C = Gruppo::C;
        while (lette <= c && lette + C <= larghezza) {
            Vf v[C];
            for (ptrdiff_t i = 0; i < C; ++i)
                v[i] = gruppo.carica_righe(da, i, lette);
            separa<C>(v);
            for (ptrdiff_t i = 0; i < C; ++i)
                scrivi<Vf>(posto(lette + i), v[i]);
            lette += C;
        }
        for (; lette <= c && lette < larghezza; ++lette)
            for (ptrdiff_t k = 0; k < Gruppo::N; ++k)
                posto(lette)[k] = da[gruppo.riga[k] + lette];
    }

    // Beyond the edges the end sample is repeated.
    Vf colonna(ptrdiff_t c) const
    {
        c = c < larghezza ? c : larghezza - 1;
        return carica<Vf>(posto(c > 0 ? c : 0));
    }
};

void righe_insieme(float* piano, ptrdiff_t passo, float* memoria, ptrdiff_t posti,
                   ptrdiff_t larghezza, ptrdiff_t righe, ptrdiff_t raggio)
{
    constexpr ptrdiff_t C = Gruppo::C;
    constexpr ptrdiff_t N = Gruppo::N;
    const Gruppo gruppo(passo, righe);
    Anello anello = {gruppo, piano, memoria, posti, larghezza};
    const auto finestra = static_cast<float>(2 * raggio + 1);

    Vf somma = {};
    anello.leggi_fino(raggio);
    for (ptrdiff_t c = -raggio; c <= raggio; ++c)
        somma = somma + anello.colonna(c);
    for (ptrdiff_t x = 0; x < larghezza; x += C) {
        anello.leggi_fino(x + C + raggio);
        Vf medie[C];
        for (ptrdiff_t i = 0; i < C; ++i) {
            medie[i] = somma / finestra;
            somma = somma + (anello.colonna(x + i + raggio + 1) - anello.colonna(x + i - raggio));
        }
        if (x + C <= larghezza) {
            separa<C>(medie);
            for (ptrdiff_t i = 0; i < C; ++i)
                gruppo.scrivi_righe(piano, i, x, medie[i]);
        } else {
            for (ptrdiff_t i = 0; x + i < larghezza; ++i) {
                float f[N];
                scrivi<Vf>(f, medie[i]);
                for (ptrdiff_t k = 0; k < N; ++k)
                    piano[gruppo.riga[k] + x + i] = f[k];
            }
        }
    }
}

void orizzontale(float* piano, ptrdiff_t passo, float* anello, ptrdiff_t posti, ptrdiff_t larghezza,
                 ptrdiff_t righe, ptrdiff_t raggio)
{
    for (ptrdiff_t y = 0; y < righe; y += Gruppo::N)
        righe_insieme(piano + y * passo, passo, anello, posti, larghezza, righe - y, raggio);
}

// Row by row over all columns: every access runs along memory.
void verticale(float* piano, ptrdiff_t passo, float* anello, ptrdiff_t larghezza, ptrdiff_t altezza,
               ptrdiff_t inizio, ptrdiff_t fine, ptrdiff_t raggio)
{
    const auto finestra = static_cast<float>(2 * raggio + 1);
    const ptrdiff_t n = fine - inizio;
    const ptrdiff_t posti = raggio + 1 < altezza ? raggio + 1 : altezza;
    float* const s = anello + posti * larghezza + inizio;
    const auto riga = [=](ptrdiff_t y) {
        y = y < altezza ? y : altezza - 1;
        return piano + (y > 0 ? y : 0) * passo + inizio;
    };
    const auto posto = [=](ptrdiff_t y) {
        // NOLINTNEXTLINE(clang-analyzer-core.DivideZero): radius and height are 1 at least
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
        anticipa(riga(y + raggio + 3), n);
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

// In integers of 31 bits, whose halves are summed apart: 2^15 of either fit a lane.
double somma_intera(const float* campioni, ptrdiff_t n, float scala)
{
    constexpr ptrdiff_t N = CAMPIONI<Vf>;
    constexpr ptrdiff_t TRATTO = N << 15;
    int64_t somma = 0;
    for (ptrdiff_t inizio = 0; inizio < n; inizio += TRATTO) {
        const ptrdiff_t fine = n - inizio < TRATTO ? n : inizio + TRATTO;
        Vi alte = {};
        Vi basse = {};
        Vi buone = Vi{} - 1;
        for (ptrdiff_t x = inizio; x < fine; x += N) {
            Vf v = {};
            if (x + N <= fine)
                v = carica<Vf>(campioni + x);
            else
                memcpy(&v, campioni + x, static_cast<size_t>(fine - x) * sizeof(float));
            buone &= (v >= 0.0f) & (v <= 1.0f);
            const Vf contata = minimo(massimo(Vf{}, v), 1.0f) * scala;
            const Vi unita = a_intero(contata);
            buone &= __builtin_convertvector(unita, Vf) == contata;
            alte += unita >> 16;
            basse += unita & 0xffff;
        }
        if (qualcuno(~buone))
            return -1.0;
        for (ptrdiff_t k = 0; k < N; ++k)
            somma += int64_t{alte[k]} * 65536 + basse[k];
    }
    return static_cast<double>(somma) / static_cast<double>(scala);
}

}  // namespace

extern const NucleiPiani PIANI;
const NucleiPiani PIANI = {
    .luminanza = luminanza,
    .riduci = riduci,
    .ingrandisci = ingrandisci,
    .orizzontale = orizzontale,
    .verticale = verticale,
    .somma_intera = somma_intera,
};

}  // namespace VARNO_LIVELLO
}  // namespace varno
