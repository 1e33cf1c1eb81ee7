// Large blocks of memory straight from the system.
#pragma once

#include <cstddef>

namespace varno {

/// What a block should be a multiple of.
constexpr std::size_t PAGINA_GRANDE = std::size_t{2} << 20;  // bytes

/// byte bytes, all 0, in huge pages where the system has them; null where there is no memory.
void* prendi_pagine(std::size_t byte);

/// Gives a block back, whole.
void rendi_pagine(void* p, std::size_t byte);

}  // namespace varno
