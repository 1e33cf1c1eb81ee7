// What the host's parameters say about a frame.
#pragma once

#include "colore/colore.h"
#include "fx/ricetta.h"
#include "ofx/ofx.h"
#include "render/lut3d.h"
#include "render/parametri_effetti.h"

#include <array>

namespace varno {

/// The parameters of one frame as the host has them, but for the choices, which are resolved.
struct Lettura {
    double tempo = 0.0;
    const LookDef* look = nullptr;
    Chiave chiave;
    std::array<double, NUMERO_EFFETTI> quantita = {};  // 0 where the switch is off
    int punte = 0;                                     // the choice's index
};

/// What one frame is made with: the effects, the grade and the key of the table that holds it.
struct ImpostazioniQuadro {
    FxRicetta ricetta;
    Contesto contesto;
    Chiave chiave;
};

/// Reads all parameters at the frame's time; a value that cannot be read counts as 0. Computes
/// nothing, since the host's floating-point mode is still in force. Builds the list of looks on the
/// first call. Throws std::bad_alloc there.
Lettura leggi_parametri(OfxParamSetHandle parametri, double tempo);

ImpostazioniQuadro impostazioni_di(const Lettura& lettura);

}  // namespace varno
