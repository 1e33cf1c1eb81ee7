#include "fx/halation.h"

#include "fx/fx.h"

namespace varno {

void applica_halation(const Quadro&, float) {}

}  // namespace varno
