#include "fx/enhance.h"

#include "fx/fx.h"

namespace varno {

void applica_enhance(const Quadro&, float) {}

}  // namespace varno
