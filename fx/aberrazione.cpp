#include "fx/aberrazione.h"

#include "fx/fx.h"

namespace varno {

void applica_aberrazione(const Quadro&, float) {}

}  // namespace varno
