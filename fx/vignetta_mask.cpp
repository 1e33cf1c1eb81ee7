// The weights of the vignette, made once a size.
#include "comune/piano.h"
#include "fx/passo.h"
#include "fx/vignetta.h"
#include "render/parallel_for.h"

#include <cstddef>
#include <cstdint>
#include <memory>
#include <mutex>
#include <vector>

namespace varno {
namespace {

struct MascheraVignetta {
    Piano pesi;
    std::vector<Intatta> intatte;
    Maschera vista;
};

// The kept mask. Renders of several sizes replace it under each other, but each holds its own.
struct MascheraTenuta {
    std::mutex guardia;
    std::shared_ptr<const MascheraVignetta> maschera;  // null until the first vignette
    std::ptrdiff_t larghezza = 0;
    std::ptrdiff_t altezza = 0;
};
MascheraTenuta gVignetta;

float distanza_quadra(std::uint64_t i, float centro)
{
    const float d = (static_cast<float>(i) - centro) / centro;
    return d * d;
}

std::shared_ptr<const MascheraVignetta> costruisci(const NucleiVignetta& nuclei, const Quadro& q)
{
    auto m = std::make_shared<MascheraVignetta>();
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const float cy = static_cast<float>(q.altezza) * 0.5f;
    m->intatte.resize(static_cast<std::size_t>(q.altezza));
    m->pesi.azzera(riga * m->intatte.size());
    m->vista = {m->pesi.data(), m->intatte.data()};
    parallel_for(m->intatte.size(), [&](std::uint64_t y) {
        m->intatte[y] = nuclei.riga_di_pesi(&m->pesi[y * riga], static_cast<int>(q.larghezza),
                                            distanza_quadra(y, cy));
    });
    return m;
}

std::shared_ptr<const void> vignetta_mask(const Effetto& e, const Quadro& q)
{
    const std::lock_guard<std::mutex> blocco(gVignetta.guardia);
    if (!gVignetta.maschera || gVignetta.larghezza != q.larghezza ||
        gVignetta.altezza != q.altezza) {
        gVignetta.maschera = costruisci(*static_cast<const NucleiVignetta*>(e.nuclei), q);
        gVignetta.larghezza = q.larghezza;
        gVignetta.altezza = q.altezza;
    }
    return {gVignetta.maschera, &gVignetta.maschera->vista};
}

}  // namespace

constinit const Passo VIGNETTA_MASK = {.tieni = vignetta_mask};

}  // namespace varno
