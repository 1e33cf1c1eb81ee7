// The rows around those that a thread works on, as planes of an effect that looks past its own:
// kept apart, since the picture's rows are overwritten as the sweep goes.
#pragma once

#include "comune/piano.h"
#include "fx/effetto.h"

#include <cstddef>

namespace varno {

struct Vicine {
    const Effetto* effetto;
    const Quadro& quadro;
    const Immagine& immagine;
    std::ptrdiff_t intorno;  // rows above and below that a row sees
    std::ptrdiff_t insieme;  // rows that are worked on together
    std::ptrdiff_t prima;    // the thread's own rows
    std::ptrdiff_t dopo;
    float* memoria;  // of the thread, while the sweep goes; a pointer can stand at its beginning
};

/// Floats of memory that it takes.
std::size_t memoria_vicine(const Effetto& e, const Quadro& q, std::ptrdiff_t intorno,
                           std::ptrdiff_t insieme);

/// Takes the rows that lie in other threads' parts: all threads, before any of them changes a row.
void prendi_confini(const Vicine& v);

/// What the rows from y on see, n of them. Rows are asked for in order, and not changed before.
Dintorni dintorni_di(const Vicine& v, std::ptrdiff_t y, std::ptrdiff_t n);

}  // namespace varno
