#pragma once

#include "colore/aritmetica.h"
#include "colore/tonemap.h"

#include <limits>

namespace varno {

struct Contesto;

// The steps that applica_colore consists of, for a caller with many code values: code value, linear
// light (colore/profili.h), exposed light, grade.

/// The exposure as a factor, 2 to the power ev.
float fattore_esposizione(float ev);

/// Linear Rec.709 after exposure and white balance; negatives become 0, not-a-number passes.
RGB esponi(RGB lineare, float fattore, RGB guadagno);

/// Exposed light through the neutral curve alone, display-encoded.
RGB resa_neutra(RGB luce, const Contesto& ctx);

/// What the rendering of one light leaves for the next, so that equal light is not rendered twice.
/// Belongs to one Contesto and one thread. Not-a-number, as at the start, matches nothing.
struct MemoriaResa {
    RGB strati = {std::numeric_limits<float>::quiet_NaN(), 0.0f, 0.0f};  // light after crosstalk
    RGB resa;
    MemoriaCurva curva;
};

/// Exposed light through the look alone, display-encoded.
RGB resa_look(RGB luce, const Contesto& ctx, MemoriaResa& memoria);

/// Exposed light to the final colour: the look at its strength over the neutral rendering.
RGB grada(RGB luce, const Contesto& ctx, MemoriaResa& memoria);

}  // namespace varno
