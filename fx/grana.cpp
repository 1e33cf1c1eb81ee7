#include "fx/grana.h"

#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
namespace {

constexpr int CELLA_GRANA = 2;  // pixels, at every frame size

std::uint64_t righe_di_celle(int altezza)
{
    return static_cast<std::uint64_t>(altezza / CELLA_GRANA + altezza % CELLA_GRANA);
}

}  // namespace

void righe_grana(float* pari, int larghezza, int altezza, std::uint64_t y, float quantita,
                 int fotogramma)
{
    const std::uint64_t righe = righe_di_celle(altezza);
    float* dispari = y * CELLA_GRANA + 1 < static_cast<std::uint64_t>(altezza)
                         ? pari + static_cast<std::size_t>(larghezza) * 3
                         : nullptr;
    gNuclei->effetti.grana(pari, dispari, larghezza, static_cast<std::uint32_t>(y),
                           static_cast<std::uint32_t>(std::min(righe - 1, y + 1)),
                           static_cast<std::uint32_t>(fotogramma), quantita);
}

}  // namespace varno
