#pragma once

namespace varno {

struct Quadro;

/// White diffusion filter: halos and a milky veil; quantita above 0, to 0.55. Refreshes q.luma
/// where it is read again; leaves 0..1.
void applica_mistw(const Quadro& q, float quantita);

}  // namespace varno
