// What the colours of a frame are graded with.
#pragma once

#include "colore/tonemap.h"
#include "comune/aritmetica.h"

#include <cstdint>

namespace varno {

struct LookDef;

/// The grading context of one frame.
struct Contesto {
    const LookDef* look = nullptr;  // belongs to a catalogue that outlives the context
    Curva curva_look;
    float forza = 0.0f;  // 0 neutral .. 1 the whole look
    float ev = 0.0f;     // stops
    RGB guadagno;        // white balance multipliers
    Curva curva_neutra;
    std::int32_t profilo = 0;  // row of PROFILI, 0 to 31
};

}  // namespace varno
