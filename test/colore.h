// One colour by itself through the grade that the table's points go through in batches.
#pragma once

#include "colore/colore.h"
#include "colore/lotto.h"
#include "colore/profili.h"

namespace varno {

/// A camera code value to display-encoded Rec.709.
inline RGB applica_colore(RGB codice, const Contesto& ctx)
{
    Lotto uno;
    uno.n = 1;
    uno.r[0] = decodifica_canale(codice.r, ctx.profilo);
    uno.g[0] = decodifica_canale(codice.g, ctx.profilo);
    uno.b[0] = decodifica_canale(codice.b, ctx.profilo);
    applica_colore(uno, gradazione_di(ctx));
    return {uno.r[0], uno.g[0], uno.b[0]};
}

}  // namespace varno
