#include "fx/grana.h"

#include "fx/nuclei.h"
#include "fx/nuclei_effetti.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>

namespace varno {
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
