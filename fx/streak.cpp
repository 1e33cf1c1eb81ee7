#include "fx/streak.h"

#include "fx/fx.h"

namespace varno {

void applica_streak(const Quadro&, float) {}

}  // namespace varno
