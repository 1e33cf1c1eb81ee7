#include "fx/pelle.h"

#include "fx/fx.h"

namespace varno {

void applica_pelle(const Quadro&, float) {}

}  // namespace varno
