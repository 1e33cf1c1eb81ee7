// The parts of the grade that are made of powers, for a batch of colours.
#pragma once

namespace varno {

struct Gradazione;
struct Lotto;

struct NucleiColore {
    /// Decoded camera light to the final colour.
    void (*applica_colore)(Lotto& luce, const Gradazione& g);
};

}  // namespace varno
