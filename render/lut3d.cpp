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
#include <memory>
#include <utility>

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
    N = n;
    const auto lato = static_cast<std::size_t>(n);
    dati = piano_di_lavoro(lato * lato * lato * 3);
    // A channel's decoding depends on its own axis value alone.
    const float passo = 1.0f / static_cast<float>(N - 1);
    Piano asse(lato);
    for (std::size_t i = 0; i < lato; ++i)
        asse[i] = decodifica_canale(static_cast<float>(i) * passo, contesto.profilo);
    const Gradazione gradazione = gradazione_di(contesto);

    parallel_for(lato * lato, [&](std::uint64_t i) {
        float* const uscita = &dati[i * lato * 3];
        Lotto lotto;
        for (int R = 0; R < n; R += lotto.n) {
            lotto.n = std::min(n - R, Lotto::CAPIENZA);
            std::copy_n(&asse[R], lotto.n, lotto.r);
            std::fill_n(lotto.g, lotto.n, asse[i % lato]);
            std::fill_n(lotto.b, lotto.n, asse[i / lato]);
            applica_colore(lotto, gradazione);
            per_vettori(lotto.n, [&](auto v, std::ptrdiff_t k) {
                using V = decltype(v);
                scrivi_rgb<V>(uscita + 3 * (R + k), {carica<V>(lotto.r + k), carica<V>(lotto.g + k),
                                                     carica<V>(lotto.b + k)});
            });
        }
    });
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
