// The blurs of the chain, as steps of its effects.
#pragma once

namespace varno {

struct Passo;

/// Three box blurs: running sums over 2 * raggio + 1 samples with replicated edges, along rows and
/// then columns.
extern const Passo BOX_BLUR;

/// The same along rows only.
extern const Passo BLUR_ORIZZ;

}  // namespace varno
