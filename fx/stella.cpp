#include "fx/stella.h"

#include "fx/fx.h"

namespace varno {

void applica_stella(const Quadro&, float, int) {}

}  // namespace varno
