#pragma once

namespace varno {

struct Quadro;

/// Warm glow around highlights; quantita above 0, to 0.6. Refreshes q.luma where it is read again;
/// a value above 1 stays above.
void applica_halation(const Quadro& q, float quantita);

}  // namespace varno
