#include "fx/enhance.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr float PENDENZA = 2.0f;  // detail added at an amount of 1

}  // namespace

void applica_enhance(const Quadro& q, float quantita)
{
    const auto riga = static_cast<std::size_t>(q.larghezza);
    const Piano sfocata =
        sfocata_di(q.luma, q.larghezza, q.altezza, std::max(1, q.raggio_enhance), 3);
    per_righe(q, [&](const RigaDiPixel& r, std::uint64_t y) {
        gNuclei->effetti.dettaglio(r, &q.luma[y * riga], &sfocata[y * riga], quantita, PENDENZA);
    });
}

}  // namespace varno
