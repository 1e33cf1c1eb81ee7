// provino tavola: the test scene.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/quadri/uscita.h"
#include "tools/scena/scena.h"

#include <memory>

namespace varno::provino {

namespace {

struct OpzioniTavola {
    std::string uscita, misura = "1920x1080";
    Scrittura scrittura;
};

void disegna(const OpzioniTavola& o)
{
    const auto [larghezza, altezza] = leggi_misura(o.misura);
    controlla_scrittura(o.uscita, o.scrittura);
    controlla_uscita(o.uscita, o.scrittura.sovrascrivi);
    Foto scena = disegna_scena(larghezza, altezza);
    scena.colore = DATI;
    scrivi_foto(o.uscita, scena, o.scrittura);
    di_scritta(o.uscita);
}

}  // namespace

// clang-format off
Sottocomando comando_tavola()
{
    const auto o = std::make_shared<OpzioniTavola>();
    return {"tavola", "scene", "Draw a test scene as S-Log3 / S-Gamut3.Cine code values",
            "  provino tavola scene.exr --size 3840x2160\n",
            unite({{{"OUT", &o->uscita, "Picture to write"},
                    {"--size", &o->misura, "WIDTHxHEIGHT", {.detto = true}}},
                   opzioni_scrittura(o->scrittura), opzioni_voce()}),
            [o] { disegna(*o); }};
}
// clang-format on

}  // namespace varno::provino
