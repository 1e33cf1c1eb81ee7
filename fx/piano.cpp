#include "fx/piano.h"

#include <algorithm>
#include <cstdint>
#include <cstdlib>
#include <new>
#include <utility>

namespace varno {
namespace {

float* prendi_zeri(std::size_t n)
{
    if (n == 0)
        return nullptr;
    if (n > SIZE_MAX / sizeof(float))
        throw std::bad_alloc();
    void* p = std::calloc(n, sizeof(float));
    if (p == nullptr)
        throw std::bad_alloc();
    return static_cast<float*>(p);
}

}  // namespace

Arena::~Arena()
{
    for (int i = 0; i < quanti; ++i)
        std::free(blocchi[i].dati);
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
    if (arena == nullptr) {
        std::free(dati);
        return;
    }
    for (int i = 0; i < arena->quanti; ++i)
        if (arena->blocchi[i].dati == dati)
            arena->blocchi[i].in_uso = false;
}

void Piano::azzera(std::size_t n)
{
    *this = Piano(n);
}

Piano piano_di_lavoro(std::size_t n, Arena*)
{
    return Piano(n);
}

Piano copia_di(const Piano& p)
{
    Piano c = piano_di_lavoro(p.size(), p.arena);
    std::copy(p.begin(), p.end(), c.begin());
    return c;
}

}  // namespace varno
