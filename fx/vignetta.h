// What the vignette's mask is to the kernels.
#pragma once

namespace varno {

struct Passo;

/// Columns of a row of the mask that are 0 throughout: inizio to before fine.
struct Intatta {
    int inizio;
    int fine;
};

/// The weights of a frame, row after row, and what each row spares.
struct Maschera {
    const float* pesi;
    const Intatta* intatte;
};

struct NucleiVignetta {
    /// Weights along a row; a: square of its distance from the middle, of half the height. The
    /// middle that the answer names is left as it is, or written with 0.
    Intatta (*riga_di_pesi)(float* pesi, int larghezza, float a);
};

/// Holds the Maschera of the frame's size, for an effect whose kernels are NucleiVignetta.
extern const Passo VIGNETTA_MASK;

}  // namespace varno
