// What a grade works out once, and the level that does it.
#include "colore/lotto.h"

#include "colore/colore.h"
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

void applica_colore(Lotto& luce, const Gradazione& g)
{
    gNuclei->colore.applica_colore(luce, g);
}

}  // namespace varno
