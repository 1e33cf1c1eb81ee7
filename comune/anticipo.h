// Memory that is about to be used. The processor reads ahead along a page and stops at its end, and
// a row of a host's picture is many small pages.
#pragma once

#include <stddef.h>

namespace varno {

/// Asks for one place in every page's length of n floats; from each it goes on by itself. Inlined,
/// and so must be who does nothing else: a call that only asks is dropped as one without effect.
[[gnu::always_inline]] static inline void anticipa(const float* riga, ptrdiff_t n)
{
    constexpr ptrdiff_t PAGINA = 1024;  // floats
    for (ptrdiff_t x = 0; x < n; x += PAGINA)
        __builtin_prefetch(riga + x);
}

}  // namespace varno
