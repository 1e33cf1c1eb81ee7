#include "fx/bloom.h"

#include "fx/fx.h"

namespace varno {

void applica_bloom(const Quadro&, float) {}

}  // namespace varno
