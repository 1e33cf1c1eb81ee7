#include "fx/grana.h"

#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr int CELLA_GRANA = 2;  // pixels, at every frame size

}  // namespace

// By rows of cells, which are two rows of pixels each.
void applica_grana(const Quadro& q, float quantita, int fotogramma)
{
    const auto riga = static_cast<std::size_t>(q.larghezza) * 3;
    const auto righe = static_cast<std::uint64_t>(q.altezza);
    const std::uint64_t altezza_grana = righe / CELLA_GRANA + righe % CELLA_GRANA;
    parallel_for(altezza_grana, [&](std::uint64_t y) {
        float* pari = &q.img[y * CELLA_GRANA * riga];
        float* dispari = y * CELLA_GRANA + 1 < righe ? pari + riga : nullptr;
        gNuclei->effetti.grana(pari, dispari, q.larghezza, static_cast<std::uint32_t>(y),
                               static_cast<std::uint32_t>(std::min(altezza_grana - 1, y + 1)),
                               static_cast<std::uint32_t>(fotogramma), quantita);
    });
}

}  // namespace varno
