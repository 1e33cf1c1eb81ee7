#pragma once

namespace varno {

struct Quadro;

/// Local contrast on luminance; quantita above 0, to 0.6. Refreshes q.luma where it is read again;
/// leaves 0..1.
void applica_enhance(const Quadro& q, float quantita);

}  // namespace varno
