// The test scene, drawn.
#pragma once

#include "tools/quadri/immagini.h"

namespace varno::provino {

/// The test scene, as a camera would record it: S-Log3 code values in S-Gamut3.Cine, 0 to 1. Dusk
/// over a lake with lamps up to eight stops above white, spheres of skin tones, and a chart: grey
/// in stops, colours, skin, saturated patches, gradients, fine texture. The same scene at any size.
Foto disegna_scena(int larghezza, int altezza);

}  // namespace varno::provino
