// Planes and arenas.
#include "comune/piano.h"

#include "comune/pagine.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>

namespace varno {
namespace {

// Kernels load four floats where the last one or two are theirs.
constexpr std::size_t MARGINE = 4;

// From here on a block comes straight from the system: malloc gives memory of this size back after
// each frame, and to touch it anew in pages of 4 KiB costs more than what is written there. A frame
// of 1920x1080 took 67 ms of processor time and takes 50.
constexpr std::size_t GRANDE = std::size_t{4} << 20;  // bytes

// A free block is not given to a plane that would leave more than this part of it idle.
constexpr std::size_t SPRECO = 32;

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

// The free block that fits best, or a new one; null where the arena holds no more blocks.
Arena::Blocco* prendi_blocco(Arena& arena, std::size_t n)
{
    const std::size_t byte = byte_di(n);
    Arena::Blocco* scelto = nullptr;
    for (int i = 0; i < arena.quanti; ++i) {
        Arena::Blocco& b = arena.blocchi[i];
        if (!b.in_uso && b.byte >= byte && b.byte / SPRECO <= byte &&
            (scelto == nullptr || b.byte < scelto->byte))
            scelto = &b;
    }
    if (scelto == nullptr) {
        if (arena.quanti == Arena::MASSIMO)
            return nullptr;
        float* dati = o_errore(byte < GRANDE ? std::malloc(byte) : prendi_pagine(byte));
        scelto = &arena.blocchi[arena.quanti++];
        scelto->dati = dati;
        scelto->byte = byte;
    }
    scelto->in_uso = true;
    return scelto;
}

}  // namespace

Arena::~Arena()
{
    for (int i = 0; i < quanti; ++i) {
        if (blocchi[i].byte < GRANDE)
            std::free(blocchi[i].dati);
        else
            rendi_pagine(blocchi[i].dati, blocchi[i].byte);
    }
}

void RendiPiano::operator()(float* p) const noexcept
{
    if (blocco != nullptr)
        blocco->in_uso = false;
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

Piano piano_di_lavoro(std::size_t n, Arena* arena)
{
    Piano p;
    if (n == 0)
        return p;
    if (Arena::Blocco* b = arena != nullptr ? prendi_blocco(*arena, n) : nullptr)
        p.dati = {b->dati, RendiPiano{b}};
    else
        p.dati = {o_errore(std::malloc(byte_di(n))), RendiPiano{}};
    p.lunghezza = n;
    return p;
}

}  // namespace varno
