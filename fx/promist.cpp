#include "fx/promist.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr double RAGGIO = 0.035;  // of the longer side

}  // namespace

// Never at full size: a radius this wide is felt on a small frame too.
void applica_promist(const Quadro& q, float quantita)
{
    const NucleiAlone& nuclei = gNuclei->aloni.promist;
    const int raggio = std::max(3, static_cast<int>(std::lround(RAGGIO * q.lato_max)));
    const Alone alone = alone_di(q, nuclei, raggio, std::max(2, q.riduzione));
    componi_alone_e_luma(q, nuclei, alone, quantita);
}

}  // namespace varno
