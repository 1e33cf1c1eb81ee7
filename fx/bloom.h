#pragma once

namespace varno {

struct Quadro;

/// Neutral glow around the highest lights; quantita above 0, to 0.6. Leaves q.luma as it was.
void applica_bloom(const Quadro& q, float quantita);

}  // namespace varno
