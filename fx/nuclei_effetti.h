#pragma once

#include <stddef.h>

namespace varno {

/// Row kernels of the effects that are not glows.
struct NucleiEffetti {};

}  // namespace varno
