#include "fx/halation.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"

#include <algorithm>

namespace varno {

void applica_halation(const Quadro& q, float quantita)
{
    const NucleiAlone& nuclei = gNuclei->aloni.halation;
    const Alone alone = alone_di(q, nuclei, std::max(2, q.raggio_halation), q.riduzione);
    componi_alone_e_luma(q, nuclei, alone, quantita);
}

}  // namespace varno
