// Colours worked on many at a time.
#pragma once

namespace varno {

struct Contesto;

/// Colours worked on together, one array a channel, so that the loops over them vectorise. Samples
/// from n on are unspecified.
struct Lotto {
    static constexpr int CAPIENZA = 96;  // a row of the table and a little more
    int n = 0;
    float r[CAPIENZA];
    float g[CAPIENZA];
    float b[CAPIENZA];
};

/// What the colours of one frame share, worked out once from its context, which must outlive it.
struct Gradazione {
    const Contesto& ctx;
    const float* matrice;  // row-major, linear camera RGB to linear Rec.709
    float fattore;         // of the exposure: 2 to the power ev
    float bianco_look;     // bianco_di of the look's curve
    float bianco_neutro;   // and of the neutral one
};

Gradazione gradazione_di(const Contesto& ctx);

/// Decoded camera light to the final colour, in place: matrix, exposure, white balance, and the
/// look at its strength over the neutral rendering. A colour's result does not depend on its
/// neighbours.
void applica_colore(Lotto& luce, const Gradazione& g);

}  // namespace varno
