// The mean luminance of a frame, for the veil of the white mist.
#pragma once

#include "comune/piano.h"

#include <cstddef>

namespace varno {

struct Quadro;

/// The sum of a row's samples of luminance as far as it comes out the same in any order, else
/// below 0.
double somma_di_riga(const float* luma, const Quadro& q);

/// The mean of interleaved RGB's luminance: one sum in index order, in 64 bits, to its last bit.
/// somme: of each row; those that do not depend on the order are taken as a whole. luma: a row of
/// scratch.
float media_di(const Immagine& immagine, const Quadro& q, const double* somme, float* luma);

}  // namespace varno
