// provino tavola: the test scene.
#include "tools/comandi.h"

#include "tools/argomenti.h"
#include "tools/scena.h"
#include "tools/uscita.h"

namespace varno::provino {

Esecuzione comando_tavola(CLI::App& programma)
{
    struct Opzioni {
        Comuni comuni;
        std::string uscita;
        std::string misura = "1920x1080";
    };
    auto o = std::make_shared<Opzioni>();
    CLI::App* app = programma.add_subcommand(
        "tavola", "Draw a test scene as S-Log3 / S-Gamut3.Cine code values");
    app->add_option("OUT", o->uscita, "Picture to write")->required();
    app->add_option("--size", o->misura, "WIDTHxHEIGHT")->capture_default_str();
    opzioni_scrittura(*app, o->comuni);
    return [o] {
        const auto [larghezza, altezza] = leggi_misura(o->misura);
        controlla_scrittura(o->uscita, o->comuni.scrittura);
        controlla_uscita(o->uscita, o->comuni.scrittura.sovrascrivi);
        Foto scena = disegna_scena(larghezza, altezza);
        scena.colore = DATI;
        scrivi_foto(o->uscita, scena, o->comuni.scrittura);
    };
}

}  // namespace varno::provino
