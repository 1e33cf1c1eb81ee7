#pragma once

namespace varno {

struct Quadro;

/// White rays through the brightest points; quantita above 0, to 1; punte 4, 6 or 8. Refreshes
/// q.luma.
void applica_stella(const Quadro& q, float quantita, int punte);

}  // namespace varno
