// The mean luminance of a frame, for the veil of the white mist.
#pragma once

#include "comune/piano.h"

#include <cstdint>
#include <vector>

namespace varno {

/// The rows' sums, as far as they come out the same in any order; rows in any order, on any thread.
struct SommeDiRiga {
    SommeDiRiga(std::int64_t larghezza, std::int64_t altezza);
    /// luma: the samples of the row y.
    void aggiungi(const float* luma, std::int64_t y);

    std::int64_t larghezza;
    float scala;                // samples are counted in units of its reciprocal
    std::vector<double> somme;  // below 0 where the order shows
};

/// The mean of interleaved RGB's luminance: one sum in index order, in 64 bits, to its last bit.
/// Rows whose sums do not depend on the order are taken as a whole. Throws std::bad_alloc.
float media_di(const float* immagine, const SommeDiRiga& s);

}  // namespace varno
