#include "fx/promist.h"

#include "fx/fx.h"

namespace varno {

void applica_promist(const Quadro&, float) {}

}  // namespace varno
