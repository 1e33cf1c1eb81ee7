// The weights of the vignette, made once a size.
#include "fx/vignetta_mask.h"

#include "fx/passo.h"
#include "render/parallel_for.h"

#include <cstddef>
#include <cstdint>
#include <mutex>

namespace varno {
namespace {

// The kept mask. Renders of several sizes replace it under each other, but each holds its own.
struct MascheraTenuta {
    std::mutex guardia;
    std::shared_ptr<const MascheraVignetta> maschera;  // null until the first vignette
    int larghezza = 0;
    int altezza = 0;
};
MascheraTenuta gVignetta;

float distanza_quadra(int i, float centro)
{
    const float d = (static_cast<float>(i) - centro) / centro;
    return d * d;
}

std::shared_ptr<const MascheraVignetta> costruisci(int larghezza, int altezza,
                                                   const NucleiVignetta& nuclei)
{
    auto m = std::make_shared<MascheraVignetta>();
    // A negative product is a size that cannot be had.
    m->valori.azzera(static_cast<std::size_t>(std::int64_t{larghezza} * altezza));
    if (larghezza < 1 || altezza < 1)
        return m;
    const auto riga = static_cast<std::size_t>(larghezza);
    const float cy = static_cast<float>(altezza) * 0.5f;
    m->intatte.resize(static_cast<std::size_t>(altezza));
    parallel_for(m->intatte.size(), [&](std::uint64_t y) {
        const float a = distanza_quadra(static_cast<int>(y), cy);
        m->intatte[y] = nuclei.riga_di_pesi(&m->valori[y * riga], larghezza, a);
    });
    m->vista = {m->valori.data(), m->intatte.data()};
    return m;
}

}  // namespace

std::shared_ptr<const MascheraVignetta> vignetta_mask(int larghezza, int altezza,
                                                      const NucleiVignetta& nuclei)
{
    const std::lock_guard<std::mutex> blocco(gVignetta.guardia);
    if (!gVignetta.maschera || gVignetta.larghezza != larghezza || gVignetta.altezza != altezza) {
        gVignetta.maschera = costruisci(larghezza, altezza, nuclei);
        gVignetta.larghezza = larghezza;
        gVignetta.altezza = altezza;
    }
    return gVignetta.maschera;
}

constinit const Passo VIGNETTA_MASK = {
    .tieni = [](const Effetto& e, const Quadro& q) -> std::shared_ptr<const void> {
        const auto maschera =
            vignetta_mask(static_cast<int>(q.larghezza), static_cast<int>(q.altezza),
                          *static_cast<const NucleiVignetta*>(e.nuclei));
        return {maschera, &maschera->vista};
    },
};

}  // namespace varno
