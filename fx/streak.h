#pragma once

namespace varno {

struct Quadro;

/// Blue horizontal flare through the brightest points; quantita above 0, to 0.6. Refreshes q.luma
/// where it is read again.
void applica_streak(const Quadro& q, float quantita);

}  // namespace varno
