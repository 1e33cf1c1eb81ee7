// The rays of the star filter.
#pragma once

#include "comune/piano.h"
#include "fx/blur.h"

#include <cstdint>

namespace varno {

/// The rays of the lights in a masked copy of a frame, summed on a copy of its size; their length
/// follows the frame's width. punte 4, 6 or 8. Throws std::bad_alloc.
Piano raggi_di(const Piano& luci, const Forma& forma, std::int32_t punte, Arena* arena);

}  // namespace varno
