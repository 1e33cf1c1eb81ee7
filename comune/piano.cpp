// Where planes have their memory from.
#include "comune/piano.h"

#include "comune/pagine.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace varno {
namespace {

// The table's kernels load four floats where the last three are theirs.
constexpr std::size_t MARGINE = 4;

// From here on huge pages pay: malloc gives blocks of this size back to the system after each
// frame, and to touch them anew in pages of 4 KiB costs more than what is written there.
constexpr std::size_t GRANDE = std::size_t{1} << 20;  // bytes

std::size_t byte_di(std::size_t n)
{
    // Half of what can be named, so that rounding up never wraps.
    if (n > SIZE_MAX / 2 / sizeof(float))
        throw std::bad_alloc();
    return (n + MARGINE) * sizeof(float);
}

float* o_errore(void* p)
{
    if (p == nullptr)
        throw std::bad_alloc();
    return static_cast<float*>(p);
}

}  // namespace

void RendiPiano::operator()(float* p) const noexcept
{
    if (pagine > 0)
        rendi_pagine(p, pagine);
    else
        std::free(p);
}

Piano::Piano(std::size_t n)
    : dati(n > 0 ? o_errore(std::calloc(byte_di(n), 1)) : nullptr), lunghezza(n)
{
}

Piano::Piano(std::size_t n, float v) : Piano(n)
{
    std::fill(begin(), end(), v);
}

Piano piano_di_lavoro(std::size_t n, bool in_pagine)
{
    Piano p;
    const std::size_t byte = byte_di(n);
    if (in_pagine && byte >= GRANDE)
        p.dati = {o_errore(prendi_pagine(byte)), RendiPiano{byte}};
    else if (n > 0)
        p.dati = {o_errore(std::malloc(byte)), RendiPiano{}};
    p.lunghezza = n;
    return p;
}

}  // namespace varno
