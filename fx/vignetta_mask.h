// Where and how much the vignette darkens: the one thing of the effects that outlives a frame.
#pragma once

#include "comune/piano.h"
#include "fx/vignetta.h"

#include <memory>
#include <vector>

namespace varno {

/// The weights for frames of one size. Never changed once built.
struct MascheraVignetta {
    Piano valori;  // larghezza * altezza weights: 0 in the middle, 1 at pixel (0, 0)
    std::vector<Intatta> intatte;  // one for each row
    Maschera vista;                // both
};

/// The mask for a frame of this size, the same object for as long as no other size is asked for;
/// one size is kept for the whole process, and a mask that is held outlives its replacement. With
/// a side below 1 nothing but zeros. Any number of threads; throws std::bad_alloc, which leaves
/// the kept mask as it was.
std::shared_ptr<const MascheraVignetta> vignetta_mask(int larghezza, int altezza,
                                                      const NucleiVignetta& nuclei);

}  // namespace varno
