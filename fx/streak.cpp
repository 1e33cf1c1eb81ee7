#include "fx/streak.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr double RAGGIO = 0.1;  // of the width, also on a portrait frame

}  // namespace

void applica_streak(const Quadro& q, float quantita)
{
    const NucleiAlone& nuclei = gNuclei->aloni.streak;
    const int raggio = std::max(4, static_cast<int>(std::lround(RAGGIO * q.larghezza)));
    const Alone alone = alone_orizzontale_di(q, nuclei, raggio, q.riduzione);
    componi_alone_e_luma(q, nuclei, alone, quantita);
}

}  // namespace varno
