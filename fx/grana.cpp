#include "fx/grana.h"

#include "fx/fx.h"

namespace varno {

void applica_grana(const Quadro&, float, int) {}

}  // namespace varno
