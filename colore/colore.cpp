// From a code value to the final colour.
#include "colore/colore.h"

#include "colore/lotto.h"
#include "colore/nuclei_colore.h"
#include "colore/profili.h"
#include "comune/elementari.h"
#include "comune/nuclei.h"

namespace varno {

Gradazione gradazione_di(const Contesto& ctx)
{
    return {.ctx = ctx,
            .matrice = matrice_di(ctx.profilo).data(),
            .fattore = potenza(2.0f, ctx.ev),
            .bianco_look = bianco_di(ctx.curva_look),
            .bianco_neutro = bianco_di(ctx.curva_neutra)};
}

void grada(Lotto& luce, const Gradazione& g)
{
    gNuclei->colore.grada(luce, g);
}

RGB applica_colore(RGB codice, const Contesto& ctx)
{
    Lotto uno;
    uno.n = 1;
    uno.r[0] = decodifica_canale(codice.r, ctx.profilo);
    uno.g[0] = decodifica_canale(codice.g, ctx.profilo);
    uno.b[0] = decodifica_canale(codice.b, ctx.profilo);
    grada(uno, gradazione_di(ctx));
    return {uno.r[0], uno.g[0], uno.b[0]};
}

}  // namespace varno
