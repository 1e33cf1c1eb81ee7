#include "fx/pelle.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr double RAGGIO = 0.007;  // of the longer side: pores, not features
constexpr float PENDENZA = 1.6f;  // detail taken out at an amount of 1

}  // namespace

void applica_pelle(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const int raggio = std::max(1, static_cast<int>(std::lround(RAGGIO * q.lato_max)));
    const Piano sfocata = sfocata_di(q.luma, q.larghezza, q.altezza, raggio, 3);
    per_righe(q, [&](const RigaDiPixel& r, std::uint64_t y) {
        gNuclei->effetti.dettaglio(r, &q.luma[y * riga], &sfocata[y * riga], quantita, -PENDENZA);
    });
}

}  // namespace varno
