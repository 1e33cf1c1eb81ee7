#include "render/lut3d.h"

#include "colore/colore.h"
#include "colore/profili.h"
#include "colore/stadi.h"
#include "render/parallel_for.h"

#include <cstddef>

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
    dati.azzera(lato * lato * lato * 3);
    // A channel's decoding depends on its own axis value alone, the exposure on no value at all.
    const float passo = 1.0f / static_cast<float>(N - 1);
    Piano asse(lato);
    for (std::size_t i = 0; i < lato; ++i)
        asse[i] = decodifica_canale(static_cast<float>(i) * passo, contesto.profilo);
    const float fattore = fattore_esposizione(contesto.ev);

    parallel_for(lato * lato, [&](std::uint64_t i) {
        const float g = asse[i % lato];
        const float b = asse[i / lato];
        float* uscita = &dati[i * lato * 3];
        MemoriaResa memoria;
        for (std::size_t R = 0; R < lato; ++R) {
            const RGB lineare = applica_matrice({asse[R], g, b}, contesto.profilo);
            const RGB c = grada(esponi(lineare, fattore, contesto.guadagno), contesto, memoria);
            uscita[3 * R + 0] = c.r;
            uscita[3 * R + 1] = c.g;
            uscita[3 * R + 2] = c.b;
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
