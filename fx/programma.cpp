// From a recipe and a size to the list of sweeps.
#include "fx/programma.h"

#include "comune/nuclei.h"

#include <algorithm>
#include <cmath>

namespace varno {
namespace {

constexpr int CELLA_GRANA = 2;  // rows that the last sweep takes together

Forma forma_dei_piani(const Effetto& e, int larghezza, int altezza, int riduzione)
{
    const int lato = e.lato == Lato::LUNGO ? std::max(larghezza, altezza) : larghezza;
    // The product stays in 64-bit float: lround takes halves away from zero.
    const int raggio = std::max(e.minimo, static_cast<int>(std::lround(e.raggio * lato)));
    if (e.copia == Copia::INTERA)
        riduzione = 1;
    else if (e.copia == Copia::SEMPRE_RIDOTTA)
        riduzione = std::max(2, riduzione);
    return forma_di(larghezza, altezza, riduzione, e.piani, raggio);
}

// Blurs along rows and rays always go through a copy and back, also one of the frame's size: what
// is infinite spreads in the enlargement, times 0.
bool ingrandita(const Effetto& e, const Forma& f)
{
    return f.riduzione > 1 || e.lavoro == Lavoro::SFOCA_RIGHE || e.lavoro == Lavoro::RAGGI;
}

}  // namespace

int riduzione_di(int larghezza, int altezza)
{
    const int lato_max = std::max(larghezza, altezza);
    if (lato_max < 1920)
        return 1;
    return lato_max < 3840 ? lato_max / 960 : 4;
}

// A sweep ends where an effect has planes, which must be whole before its rows change: rows feed
// them, and the next sweep begins with that effect.
Programma programma_di(const FxRicetta& ricetta, int larghezza, int altezza, Strada strada,
                       int riduzione)
{
    Programma p;
    p.larghezza = larghezza;
    p.altezza = altezza;
    p.fotogramma = ricetta.fotogramma;
    p.punte = ricetta.punte;
    Spazzata* spazzata = &p.spazzate[0];
    spazzata->da_fuori = strada != Strada::IN_IMMAGINE;
    for (const Effetto* const* c = gNuclei->catena; *c != nullptr; ++c) {
        const Effetto& e = **c;
        const float quantita = ricetta.*e.quantita;
        if (!(quantita > 0.0f))
            continue;
        const int i = p.numero_stadi++;
        const Forma forma =
            e.piani > 0 ? forma_dei_piani(e, larghezza, altezza, riduzione) : Forma{};
        p.stadi[i] = {&e, quantita, forma, ingrandita(e, forma)};
        if (e.piani > 0) {
            spazzata->alimenta = i;
            // Of the effects that are followed by a mask, bloom alone leaves luminance as it was.
            spazzata->luma_prima = spazzata->primo < spazzata->dopo &&
                                   !p.stadi[spazzata->dopo - 1].effetto->rinfresca_luma;
            spazzata->insieme = forma.riduzione;
            // The mean belongs to the luminance of the mask.
            if (e.legge_media)
                (spazzata->luma_prima ? spazzata - 1 : spazzata)->media = true;
            ++spazzata;
            spazzata->primo = spazzata->dopo = i;
        }
        spazzata->dopo = i + 1;
    }
    // One sweep would write what others still have to read: the first only fetches.
    if (strada == Strada::TUTTE_PRIMA && spazzata == &p.spazzate[0]) {
        ++spazzata;
        spazzata->dopo = p.spazzate[0].dopo;
        p.spazzate[0].dopo = 0;
    }
    spazzata->fuori = strada != Strada::IN_IMMAGINE;
    spazzata->insieme = CELLA_GRANA;
    p.numero_spazzate = static_cast<int>(spazzata - p.spazzate) + 1;
    return p;
}

bool tiene_immagine(const Programma& p)
{
    return p.numero_spazzate > 1;
}

bool solo_passaggio(const Programma& p)
{
    return p.numero_spazzate == 1 && p.numero_stadi == 0;
}

}  // namespace varno
