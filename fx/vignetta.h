#pragma once

namespace varno {

struct Quadro;

/// Darkens the corners; quantita above 0, to 0.6. Leaves 0..1; does not touch q.luma.
void applica_vignetta(const Quadro& q, float quantita);

}  // namespace varno
