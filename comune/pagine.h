// Large blocks of memory straight from the system.
#pragma once

#include <cstddef>

namespace varno {

/// byte bytes, all 0, in whole huge pages where the system has them; null where there is no memory.
void* prendi_pagine(std::size_t byte);

/// Gives a block of that size back, whole.
void rendi_pagine(void* p, std::size_t byte);

}  // namespace varno
