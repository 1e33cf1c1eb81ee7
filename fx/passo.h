// What an effect has done for it beyond its mask: steps between the sweeps over the picture.
#pragma once

#include "comune/piano.h"
#include "fx/effetto.h"
#include "render/parallel_for.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace varno {

constexpr std::ptrdiff_t RIGHE_FRESCHE = 8;  // rows of planes that a step gets at once, at most

/// What a step works with.
struct Lavoro {
    const Effetto& effetto;
    const Quadro& quadro;
    const Forma& forma;
    Campo piani;
    Campo altri;     // planes of the same form, where the step leaves its result in others
    float* memoria;  // as much as the step asked for
    const Membro& io;
};

/// A step. Its functions allocate nothing and throw nothing, but for tieni.
struct Passo {
    /// Whether the planes are a copy at the frame's own size too, and enlarged as one: what is
    /// infinite spreads there, times 0.
    bool da_copia = false;
    bool in_altri = false;  // the result is in other planes than those that were fed
    /// On some rows of a plane that have just been fed, while the cache holds them; appoggio: how
    /// many floats of scratch a thread needs for it.
    void (*righe)(const Forma& f, float* righe, std::ptrdiff_t passo, std::ptrdiff_t quante,
                  float* appoggio) = [](const Forma&, float*, std::ptrdiff_t, std::ptrdiff_t,
                                        float*) {};
    std::size_t (*appoggio)(const Forma& f) = [](const Forma&) { return std::size_t{0}; };
    /// On the whole planes, all threads together; memoria: how many floats they need in all.
    void (*piani)(const Lavoro& l) = [](const Lavoro&) {};
    std::size_t (*memoria)(const Forma& f, std::uint64_t thread) = [](const Forma&, std::uint64_t) {
        return std::size_t{0};
    };
    /// Before the frame's first row: what outlives a frame, held while it runs. May throw.
    std::shared_ptr<const void> (*tieni)(const Effetto& e, const Quadro& q) =
        [](const Effetto&, const Quadro&) { return std::shared_ptr<const void>(); };
};

/// The row y of the plane p.
inline float* riga_di(const Campo& piani, const Forma& f, std::ptrdiff_t p, std::ptrdiff_t y)
{
    return riga_di(piani, p * f.righe + y);
}

}  // namespace varno
