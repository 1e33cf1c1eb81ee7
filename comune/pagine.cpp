// Blocks from each system's own page calls.
#include "comune/pagine.h"

#include <cstdint>

#if defined(_WIN32)
#define WIN32_LEAN_AND_MEAN
#include <windows.h>
#elif defined(__linux__) || defined(__APPLE__)
#include <sys/mman.h>
#endif

namespace varno {

#if defined(__linux__)
namespace {

constexpr std::size_t PAGINA_GRANDE = std::size_t{2} << 20;  // bytes

std::size_t in_pagine_grandi(std::size_t byte)
{
    return (byte + PAGINA_GRANDE - 1) / PAGINA_GRANDE * PAGINA_GRANDE;
}

}  // namespace

// From one huge page's start to another's: what lies before and behind goes back at once. The last
// one is whole too: its 512 small pages would cost more than clearing it.
void* prendi_pagine(std::size_t byte)
{
    const std::size_t tenuti = in_pagine_grandi(byte);
    const std::size_t preso = tenuti + PAGINA_GRANDE;
    void* p = mmap(nullptr, preso, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
    if (p == MAP_FAILED)
        return nullptr;
    const auto da = reinterpret_cast<std::uintptr_t>(p);
    const std::uintptr_t inizio = in_pagine_grandi(da);
    if (inizio > da)
        munmap(p, inizio - da);
    if (inizio + tenuti < da + preso)
        munmap(reinterpret_cast<void*>(inizio + tenuti), da + preso - inizio - tenuti);
    madvise(reinterpret_cast<void*>(inizio), tenuti, MADV_HUGEPAGE);
    return reinterpret_cast<void*>(inizio);
}

void rendi_pagine(void* p, std::size_t byte)
{
    munmap(p, in_pagine_grandi(byte));
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
#endif

}  // namespace varno
