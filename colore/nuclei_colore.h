// The parts of the grade that are made of powers, for a batch of colours.
#pragma once

namespace varno {

struct Contesto;
struct Curva;
struct Lotto;

struct NucleiColore {
    /// Exposed light to the final colour: the look at its strength over the neutral rendering.
    void (*grada)(Lotto& c, const Contesto& ctx);
    /// tonemap_ratio of each colour.
    void (*tonemap)(Lotto& c, const Curva& k, float miscela);
};

}  // namespace varno
