#include "fx/vignetta.h"

#include "fx/fx.h"

namespace varno {

void applica_vignetta(const Quadro&, float) {}

}  // namespace varno
