#pragma once

namespace varno {

struct Quadro;

/// Tight neutral glow; quantita above 0, to 0.55. Refreshes q.luma where it is read again.
void applica_glimmer(const Quadro& q, float quantita);

}  // namespace varno
