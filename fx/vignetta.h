#pragma once

#include "comune/piano.h"

#include <cstdint>
#include <memory>
#include <vector>

namespace varno {

/// Where and how much a vignette darkens frames of one size. Never changed once built.
struct MascheraVignetta {
    /// Columns of a row that are 0 throughout: inizio to before fine.
    struct Centro {
        int inizio;
        int fine;
    };
    Piano valori;                // larghezza * altezza weights: 0 in the middle, 1 at pixel (0, 0)
    std::vector<Centro> centro;  // one for each row
};

/// The mask for a frame of this size, the same object for as long as no other size is asked for;
/// one size is kept for the whole process, and a mask that is held outlives its replacement. With
/// a side below 1 nothing but zeros. Any number of threads; throws std::bad_alloc, which leaves
/// the kept mask as it was.
std::shared_ptr<const MascheraVignetta> vignetta_mask(int larghezza, int altezza);

/// Darkens the row y, interleaved RGB, of a frame of the mask's size; quantita above 0, to 0.6.
/// Leaves 0..1.
void riga_vignetta(const MascheraVignetta& maschera, float* rgb, int larghezza, std::uint64_t y,
                   float quantita);

}  // namespace varno
