// What happens to some rows of the picture as a sweep goes over them.
#pragma once

#include "fx/fx.h"

#include <memory>

namespace varno {

/// What a frame has while its plan runs.
struct Corsa {
    const Programma& programma;
    Immagine immagine;
    float* memoria;
    double* somme;  // of the rows, where the mean is asked for
    const Porte& porte;
    Quadro quadro;
    std::shared_ptr<const void> tenuti[MASSIMO_STADI] = {};
};

/// The planes of a stage, which lie there.
Campo piani_di(const Corsa& c, const Stadio& s, const Posto& p);

/// Goes over a thread's part, the blocks of rows from inizio to before fine.
void passa_blocchi(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                   std::ptrdiff_t fine);

/// What comes before, where the sweep's rows look around: all threads, each for its part.
void prepara_blocchi(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                     std::ptrdiff_t fine);

}  // namespace varno
