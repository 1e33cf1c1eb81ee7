#pragma once

namespace varno {

struct Quadro;

/// Monochrome film grain, seeded by the frame number alone; quantita above 0, to 0.6. Leaves 0..1.
void applica_grana(const Quadro& q, float quantita, int fotogramma);

}  // namespace varno
