#pragma once

namespace varno {

struct Quadro;

/// Black diffusion filter: halos in their own colour, no veil; quantita above 0, to 0.55. Refreshes
/// q.luma where it is read again.
void applica_promist(const Quadro& q, float quantita);

}  // namespace varno
