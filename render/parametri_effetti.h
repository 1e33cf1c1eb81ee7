// The effects as the host's parameters name them: what a render reads and what a look suggests.
#pragma once

#include "fx/ricetta.h"

namespace varno {

/// One effect. Its amount counts only where its switch is on.
struct ParametroEffetto {
    const char* interruttore = nullptr;
    const char* quantita = nullptr;
    float FxRicetta::*campo = nullptr;
    float scala = 1.0f;  // from the parameter to the recipe
    int consiglio = 0;   // place among those that a look suggests, from 1; 0: no look touches it
};

/// In the order in which a render reads them.
extern const ParametroEffetto PARAMETRI_EFFETTI[NUMERO_EFFETTI];

}  // namespace varno
