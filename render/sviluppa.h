// One frame between two windows, without a host.
#pragma once

#include "fx/ricetta.h"

#include <cstddef>

namespace varno {

struct Lut3D;

/// A window of an RGBA float image in the host's memory: row y of the window starts at
/// inizio + y * passo bytes; passo may be negative.
struct Finestra {
    unsigned char* inizio = nullptr;
    std::ptrdiff_t passo = 0;
};

/// Whether no byte between the first and the last of one window lies between those of the other.
bool separate(const Finestra& a, const Finestra& b, int larghezza, int altezza);

/// One frame, from window to window: graded through the table, put through the effects, written.
/// Values outside 0..1 sit on the table's edge, not-a-number grades as 0; alpha keeps its bits. The
/// source is read whole before anything is written, unless their memory is separate: then the
/// output's rows hold the picture while it is worked on, and what they hold is unspecified until
/// this returns. All memory is taken before the first byte is written, and given back within the
/// call. Throws std::bad_alloc and what the start of the first thread throws, with the output
/// untouched.
void sviluppa(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita, int larghezza,
              int altezza, const FxRicetta& ricetta);

}  // namespace varno
