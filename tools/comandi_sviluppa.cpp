#include "tools/comandi.h"

#include "tools/messaggi.h"
#include "tools/uscita.h"

namespace varno::provino {

Esecuzione comando_sviluppa(CLI::App& programma)
{
    struct Opzioni {
        Comuni comuni;
        std::string ingresso, uscita;
        double tempo = 0.0;
        bool in_su = false;
    };
    auto o = std::make_shared<Opzioni>();
    CLI::App* app = programma.add_subcommand("sviluppa", "Develop a picture");
    app->add_option("IN", o->ingresso, "Picture to read: EXR, DPX, TIFF, PNG or JPEG")->required();
    app->add_option("OUT", o->uscita, "Picture to write; its ending names the format")->required();
    app->add_option("--time", o->tempo, "Render time, the frame number that moves the grain");
    app->add_flag("--rows-up", o->in_su,
                  "Hand rows to the plug-in from the bottom up; the picture is the same")
        ->group("");
    opzione_plugin(*app, o->comuni);
    opzioni_parametri(*app, o->comuni);
    opzioni_scrittura(*app, o->comuni);
    return [o] {
        controlla_scrittura(o->uscita, o->comuni.scrittura);
        Plugin plugin = carica_plugin(o->comuni.plugin);
        const Impostazioni imp = leggi_impostazioni(plugin, o->comuni.parametri);
        controlla_uscita(o->uscita, o->comuni.scrittura.sovrascrivi);
        const banco::IstanzaPtr istanza = istanza_con(plugin, imp);
        avvisa_spenti(plugin, *istanza, imp);
        const Foto foto = leggi_foto(o->ingresso);
        scrivi_foto(o->uscita,
                    rendi_foto(*istanza, foto, o->tempo, o->in_su ? Righe::in_su : Righe::in_giu),
                    o->comuni.scrittura, in_json(plugin, *istanza, imp, true));
    };
}

}  // namespace varno::provino
