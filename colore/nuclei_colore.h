// The parts of the grade that are made of powers, for a batch of colours.
#pragma once

namespace varno {

struct Curva;
struct Gradazione;
struct Lotto;

struct NucleiColore {
    /// Decoded camera light to the final colour.
    void (*grada)(Lotto& luce, const Gradazione& g);
    /// tonemap_ratio of each colour; bianco: bianco_di of the curve.
    void (*tonemap)(Lotto& c, const Curva& k, float bianco, float miscela);
};

}  // namespace varno
