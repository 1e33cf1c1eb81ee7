#include "fx/glimmer.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr double RAGGIO = 0.008;  // of the longer side

}  // namespace

void applica_glimmer(const Quadro& q, float quantita)
{
    const NucleiAlone& nuclei = gNuclei->aloni.glimmer;
    const int raggio = std::max(2, static_cast<int>(std::lround(RAGGIO * q.lato_max)));
    const Alone alone = alone_di(q, nuclei, raggio, q.riduzione);
    componi_alone_e_luma(q, nuclei, alone, quantita);
}

}  // namespace varno
