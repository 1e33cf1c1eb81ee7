// The colour that everything shares; the arithmetic on its channels is in comune/vettore.h.
#pragma once

#include "comune/regole.h"

namespace varno {

/// Three 32-bit floats, passed by value; the encoding and the range are the context's.
struct RGB {
    float r = 0.0f;
    float g = 0.0f;
    float b = 0.0f;
};

}  // namespace varno
