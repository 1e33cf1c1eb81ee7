#pragma once

namespace varno {

struct Quadro;

/// Colour fringes that grow towards the corners; quantita above 0, to 0.6. Does not touch q.luma.
void applica_aberrazione(const Quadro& q, float quantita);

}  // namespace varno
