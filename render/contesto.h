// From a frame's settings to what the grade works with.
#pragma once

#include "colore/colore.h"

namespace varno {

struct Chiave;
struct LookDef;

/// Curves, white balance and profile of the settings; look belongs to the caller and outlives the
/// context. A profile outside the table is held to it.
Contesto contesto_di(const LookDef& look, const Chiave& chiave);

}  // namespace varno
