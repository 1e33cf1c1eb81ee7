#pragma once

namespace varno {

struct Quadro;

/// Takes fine texture out of luminance; quantita above 0, to 0.55. Refreshes q.luma where it is
/// read again; leaves 0..1.
void applica_pelle(const Quadro& q, float quantita);

}  // namespace varno
