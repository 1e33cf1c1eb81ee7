// Colours worked on many at a time.
#pragma once

#include "comune/aritmetica.h"

namespace varno {

struct Contesto;
struct Curva;

/// Colours worked on together, one array a channel, so that the loops over them vectorise. Samples
/// from n on are unspecified.
struct Lotto {
    static constexpr int CAPIENZA = 96;  // a row of the table and a little more
    int n = 0;
    float r[CAPIENZA];
    float g[CAPIENZA];
    float b[CAPIENZA];
};

// The steps that applica_colore consists of, each in place; the decoding of the channels comes
// before (colore/profili.h). A colour's result does not depend on its neighbours.

/// Linear camera light to linear Rec.709, by the matrix of the row; no clamp.
void applica_matrice(Lotto& luce, int profilo);

/// The exposure as a factor, 2 to the power ev.
float fattore_esposizione(float ev);

/// Exposure and white balance; negatives become 0, not-a-number passes.
void esponi(Lotto& luce, float fattore, RGB guadagno);

/// tonemap_ratio of each colour.
void tonemap_ratio(Lotto& c, const Curva& k, float miscela);

/// Exposed light to the final colour: the look at its strength over the neutral rendering.
void grada(Lotto& c, const Contesto& ctx);

}  // namespace varno
