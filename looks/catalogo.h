// The list of looks.
#pragma once

#include "looks/look.h"

#include <vector>

namespace varno {

/// The twelve looks in the order of the choice parameter, built anew on each call. Throws
/// std::bad_alloc.
std::vector<LookDef> catalogo();

}  // namespace varno
