#pragma once

#include "fx/blur.h"

namespace varno {

struct Quadro;

/// The rays of the lights in the reduced, masked copy of a frame, summed on a copy of its size;
/// their length follows the frame's width. Throws std::bad_alloc.
Alone raggi_di(const Quadro& q, const Alone& ridotta, int punte);

/// White rays through the brightest points; quantita above 0, to 1; punte 4, 6 or 8. Refreshes
/// q.luma where it is read again.
void applica_stella(const Quadro& q, float quantita, int punte);

}  // namespace varno
