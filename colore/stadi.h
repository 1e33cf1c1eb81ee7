#pragma once

#include "colore/aritmetica.h"

namespace varno {

struct Contesto;

// The steps of applica_colore, for whoever evaluates many code values and need not take them all
// for each: code value -> linear light -> exposed light -> one or both renderings -> mix.

/// The exposure as a factor, 2 to the power ev.
float fattore_esposizione(float ev);

/// Linear Rec.709 after exposure and white balance; negatives become 0, not-a-number passes.
RGB esponi(RGB lineare, float fattore, RGB guadagno);

/// Exposed light through the neutral curve alone, display-encoded, 0..1 for any input.
RGB resa_neutra(RGB luce, const Contesto& ctx);

/// Exposed light through the look, display-encoded, 0..1 and never -0 for any input.
RGB resa_look(RGB luce, const Contesto& ctx);

/// The look at its strength over the neutral rendering; no clamp.
RGB mescola_rese(RGB look, RGB neutra, float forza);

}  // namespace varno
