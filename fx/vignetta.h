// The vignette's mask: the one thing of the effects that outlives a frame.
#pragma once

namespace varno {

struct Passo;

/// Columns of a row of the mask that are 0 throughout: inizio to before fine.
struct Intatta {
    int inizio;
    int fine;
};

/// The weights of a frame, row after row: 0 in the middle, 1 at pixel (0, 0). Never changed once
/// built.
struct Maschera {
    const float* pesi;
    const Intatta* intatte;  // one for each row
};

struct NucleiVignetta {
    /// Weights along a row; a: square of its distance from the middle, of half the height. The
    /// middle that the answer names is left as it is, or written with 0.
    Intatta (*riga_di_pesi)(float* pesi, int larghezza, float a);
};

/// Holds the Maschera for frames of a size, the same one for as long as no other size is asked for:
/// one is kept for the whole process, and what is held outlives its replacement. Any number of
/// threads; a failed build leaves the kept one as it was. For an effect with NucleiVignetta.
extern const Passo VIGNETTA_MASK;

}  // namespace varno
