#include "fx/glimmer.h"

#include "fx/fx.h"

namespace varno {

void applica_glimmer(const Quadro&, float) {}

}  // namespace varno
