#include "fx/bloom.h"

#include "fx/blur.h"
#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"

#include <algorithm>

namespace varno {

// q.luma stays as it was: the stage that follows masks by the picture before the glow.
void applica_bloom(const Quadro& q, float quantita)
{
    const NucleiAlone& nuclei = gNuclei->aloni.bloom;
    const Alone alone = alone_di(q, nuclei, std::max(1, q.raggio_bloom), q.riduzione);
    componi_alone(q, nuclei, alone, quantita);
}

}  // namespace varno
