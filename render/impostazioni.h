// What the host's parameters say about a frame.
#pragma once

#include "colore/colore.h"
#include "fx/ricetta.h"
#include "ofx/ofx.h"
#include "render/lut3d.h"

namespace varno {

/// What one frame is made with: the effects, the grade and the key of the table that holds it.
struct ImpostazioniQuadro {
    FxRicetta ricetta;
    Contesto contesto;
    Chiave chiave;
};

/// Reads all parameters at the frame's time; a value that cannot be read counts as 0. Builds the
/// list of looks on the first call. Throws std::bad_alloc there.
ImpostazioniQuadro leggi_impostazioni(OfxParamSetHandle parametri, double tempo);

}  // namespace varno
