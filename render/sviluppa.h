// One frame between two windows, without a host.
#pragma once

#include "fx/ricetta.h"
#include "render/passata.h"

namespace varno {

/// One frame, from window to window: graded through the table, put through the effects, written.
/// The source is read whole before anything is written, unless their memory is separate. All memory
/// is taken and given back within the call. Throws std::bad_alloc, which may leave the output
/// untouched but not half written.
void sviluppa(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita, int larghezza,
              int altezza, const FxRicetta& ricetta);

}  // namespace varno
