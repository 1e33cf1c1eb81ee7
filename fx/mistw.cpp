#include "fx/mistw.h"

#include "fx/fx.h"

namespace varno {

void applica_mistw(const Quadro&, float) {}

}  // namespace varno
