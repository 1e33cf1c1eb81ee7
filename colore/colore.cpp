// From a code value to exposed light, and the whole grade of one colour.
#include "colore/colore.h"

#include "colore/lotto.h"
#include "colore/nuclei_colore.h"
#include "colore/profili.h"
#include "comune/elementari.h"
#include "comune/nuclei.h"

namespace varno {

float fattore_esposizione(float ev)
{
    return VARNO_LIVELLO::potenza(2.0f, ev);
}

void esponi(Lotto& luce, float fattore, RGB guadagno)
{
    const auto canale = [&](float* c, float g) {
        for (int i = 0; i < luce.n; ++i) {
            const float v = (fattore * c[i]) * g;
            c[i] = v < 0.0f ? 0.0f : v;
        }
    };
    canale(luce.r, guadagno.r);
    canale(luce.g, guadagno.g);
    canale(luce.b, guadagno.b);
}

void grada(Lotto& c, const Contesto& ctx)
{
    gNuclei->colore.grada(c, ctx);
}

RGB applica_colore(RGB codice, const Contesto& ctx)
{
    Lotto uno;
    uno.n = 1;
    uno.r[0] = decodifica_canale(codice.r, ctx.profilo);
    uno.g[0] = decodifica_canale(codice.g, ctx.profilo);
    uno.b[0] = decodifica_canale(codice.b, ctx.profilo);
    applica_matrice(uno, ctx.profilo);
    esponi(uno, fattore_esposizione(ctx.ev), ctx.guadagno);
    grada(uno, ctx);
    return {uno.r[0], uno.g[0], uno.b[0]};
}

}  // namespace varno
