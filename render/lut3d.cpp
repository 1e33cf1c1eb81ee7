// The table: how it is built, and when.
#include "render/lut3d.h"

#include "colore/colore.h"
#include "colore/lotto.h"
#include "colore/profili.h"
#include "comune/vettore.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace varno {
namespace {

// By value, one by one: not-a-number must differ from itself, which a byte comparison would miss.
bool uguali(const Chiave& a, const Chiave& b)
{
    return a.look == b.look && a.profilo == b.profilo && a.forza == b.forza && a.ev == b.ev &&
           a.temp == b.temp && a.tinta == b.tinta;
}

}  // namespace

TabellaCondivisa gLut;

void Lut3D::costruisci(const Contesto& contesto, int n)
{
    using namespace VARNO_LIVELLO;
    N = n;
    const auto lato = static_cast<std::size_t>(n);
    dati = piano_di_lavoro(lato * lato * lato * 3, nullptr);
    // A channel's decoding depends on its own axis value alone.
    const float passo = 1.0f / static_cast<float>(N - 1);
    Piano asse(lato);
    for (std::size_t i = 0; i < lato; ++i)
        asse[i] = decodifica_canale(static_cast<float>(i) * passo, contesto.profilo);
    const Grado grado = grado_di(contesto);

    parallel_for(lato * lato, [&](std::uint64_t i) {
        float* const uscita = &dati[i * lato * 3];
        Lotto lotto;
        for (int R = 0; R < n; R += lotto.n) {
            lotto.n = std::min(n - R, Lotto::CAPIENZA);
            std::copy_n(&asse[R], lotto.n, lotto.r);
            std::fill_n(lotto.g, lotto.n, asse[i % lato]);
            std::fill_n(lotto.b, lotto.n, asse[i / lato]);
            grada(lotto, grado);
            per_vettori(lotto.n, [&](auto v, std::ptrdiff_t k) {
                using V = decltype(v);
                scrivi_rgb<V>(uscita + 3 * (R + k), {carica<V>(lotto.r + k), carica<V>(lotto.g + k),
                                                     carica<V>(lotto.b + k)});
            });
        }
    });
    regolare = bordi_regolari(*this);
}

// The kernels take the end of an axis for the far side of its last cell: 0 * S + 1 * T. That is T
// to the bit where the samples of the last cells are finite and not negative, as a grade leaves
// them; a strength out of range, or not-a-number, may leave others.
bool bordi_regolari(const Lut3D& lut)
{
    constexpr int MASSIMO = 177;      // points: places in the table are exact as floats
    constexpr float OLTRE = 1.0e30f;  // far enough from what overflows
    if (lut.N < 2 || lut.N > MASSIMO)
        return false;
    // As bits, what is negative or not a number stands above every number from 0 on.
    const auto bit = [](float v) {
        std::uint32_t b;
        std::memcpy(&b, &v, sizeof b);
        return b;
    };
    const auto N = static_cast<std::size_t>(lut.N);
    std::uint32_t sommo = 0;
    for (std::size_t riga = 0; riga < N * N; ++riga) {
        const bool intera = riga % N + 2 >= N || riga / N + 2 >= N;
        const float* fine = &lut.dati[riga * N * 3] + N * 3;
        for (const float* s = intera ? fine - N * 3 : fine - 6; s < fine; ++s)
            sommo = sommo < bit(*s) ? bit(*s) : sommo;
    }
    return sommo < bit(OLTRE);
}

std::shared_ptr<const Lut3D> aggiorna_tabella(const Contesto& contesto, const Chiave& chiave)
{
    const std::lock_guard<std::mutex> guardia(gLut.mutex_lut);
    if (!uguali(gLut.chiave, chiave) || !gLut.lut || !(gLut.lut->N > 0)) {
        auto nuova = std::make_shared<Lut3D>();
        nuova->costruisci(contesto, PUNTI_TABELLA);
        gLut.lut = std::move(nuova);
        gLut.chiave = chiave;
    }
    return gLut.lut;
}

}  // namespace varno
