#include "fx/mistw.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr double RAGGIO = 0.035;  // of the longer side

// One sum in index order, in 64 bits: no partial sums, whose rounding would show.
float media_di(const Piano& luma)
{
    double somma = 0.0;
    for (const float l : luma)
        somma += static_cast<double>(l);
    return static_cast<float>(somma / static_cast<double>(luma.size()));
}

}  // namespace

// The veil's plane, which is luma itself, is blurred beside the three channels of the halo.
void applica_mistw(const Quadro& q, float quantita)
{
    const NucleiAlone& nuclei = gNuclei->aloni.mistw;
    const int raggio = std::max(3, static_cast<int>(std::lround(RAGGIO * q.lato_max)));
    const Alone alone = alone_di(q, nuclei, raggio, std::max(2, q.riduzione));
    componi_alone_e_luma(q, nuclei, alone, quantita, media_di(q.luma));
}

}  // namespace varno
