// provino tavola: the test scene.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/quadri/uscita.h"
#include "tools/scena/scena.h"

namespace varno::provino {

void comando_tavola(const Opzioni& o)
{
    const auto [larghezza, altezza] = leggi_misura(o.misura);
    controlla_scrittura(o.uscita, o.scrittura);
    controlla_uscita(o.uscita, o.scrittura.sovrascrivi);
    Foto scena = disegna_scena(larghezza, altezza);
    scena.colore = DATI;
    scrivi_foto(o.uscita, scena, o.scrittura);
}

}  // namespace varno::provino
