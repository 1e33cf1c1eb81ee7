#include "tools/comandi.h"

#include "tools/argomenti.h"
#include "tools/foglio.h"
#include "tools/uscita.h"

#include <algorithm>

namespace varno::provino {
namespace {

struct Opzioni {
    Comuni comuni;
    std::string ingresso, uscita, ritaglio;
    int larghezza = 1920;
    double tempo = 0.0;
    double quantita = 0.5;
};

CLI::App* sottocomando(CLI::App& programma, Opzioni& o, const char* nome, const char* aiuto)
{
    CLI::App* app = programma.add_subcommand(nome, aiuto);
    app->add_option("IN", o.ingresso, "Picture to read")->required();
    app->add_option("OUT", o.uscita, "Sheet to write")->required();
    app->add_option("--width", o.larghezza, "Width of the sheet in pixels")
        ->capture_default_str()
        ->check(CLI::Range(200, 65536));
    app->add_option("--crop", o.ritaglio, "WIDTHxHEIGHT+X+Y: show this part of each picture");
    app->add_option("--time", o.tempo, "Render time");
    opzione_plugin(*app, o.comuni);
    opzioni_parametri(*app, o.comuni);
    opzioni_scrittura(*app, o.comuni);
    return app;
}

// One picture of the sheet.
struct Veduta {
    std::string etichetta;
    Impostazioni impostazioni;
};

Impostazioni senza_effetti(const Plugin& plugin, Impostazioni imp)
{
    spegni_effetti(plugin, imp);
    return imp;
}

void disegna_foglio(const Opzioni& o, Plugin& plugin, const std::vector<Veduta>& vedute)
{
    controlla_scrittura(o.uscita, o.comuni.scrittura);
    controlla_uscita(o.uscita, o.comuni.scrittura.sovrascrivi);
    Ritaglio ritaglio;
    if (!o.ritaglio.empty())
        ritaglio = leggi_ritaglio(o.ritaglio);
    const Foto foto = leggi_foto(o.ingresso);
    if (o.ritaglio.empty())
        ritaglio = {0, 0, foto.larghezza, foto.altezza};
    Foglio foglio = foglio_nuovo(o.larghezza, ritaglio.larghezza, ritaglio.altezza);
    for (std::size_t i = 0; i < vedute.size(); ++i) {
        const banco::IstanzaPtr istanza = istanza_con(plugin, vedute[i].impostazioni);
        incolla(foglio, static_cast<int>(i),
                ritaglia(rendi_foto(*istanza, foto, o.tempo), ritaglio), vedute[i].etichetta);
    }
    scrivi_foto(o.uscita, foglio.foto, o.comuni.scrittura);
}

void foglio_dei_look(const Opzioni& o)
{
    Plugin plugin = carica_plugin(o.comuni.plugin);
    const Impostazioni base = leggi_impostazioni(plugin, o.comuni.parametri);
    std::vector<Veduta> vedute = {{"Neutral", senza_effetti(plugin, base)}};
    vedute[0].impostazioni.modifiche.emplace_back("forza", 0.0);
    const banco::Parametro& look = trova_parametro(plugin, "look");
    for (std::size_t i = 0; i < look.opzioni.size(); ++i) {
        vedute.push_back({look.opzioni[i], base});
        vedute.back().impostazioni.modifiche.emplace_back("look", static_cast<double>(i));
    }
    disegna_foglio(o, plugin, vedute);
}

void foglio_degli_effetti(const Opzioni& o)
{
    Plugin plugin = carica_plugin(o.comuni.plugin);
    const Impostazioni base = senza_effetti(plugin, leggi_impostazioni(plugin, o.comuni.parametri));
    std::vector<Veduta> vedute = {{"No effects", base}};
    for (const banco::Parametro& p : plugin.parametri) {
        if (!interruttore_di_effetto(p))
            continue;
        const banco::Parametro& quantita = trova_parametro(plugin, quantita_di(p));
        const double q = std::clamp(o.quantita, quantita.minimo, quantita.massimo);
        Veduta v{p.etichetta + " " + testo_di(q), base};
        v.impostazioni.modifiche.emplace_back(p.nome, 1.0);
        v.impostazioni.modifiche.emplace_back(quantita.nome, q);
        vedute.push_back(v);
    }
    disegna_foglio(o, plugin, vedute);
}

}  // namespace

Esecuzione comando_looks(CLI::App& programma)
{
    auto o = std::make_shared<Opzioni>();
    sottocomando(programma, *o, "looks",
                 "Draw a sheet of the neutral picture and all looks, each with its recipe");
    return [o] { foglio_dei_look(*o); };
}

Esecuzione comando_effetti(CLI::App& programma)
{
    auto o = std::make_shared<Opzioni>();
    CLI::App* app =
        sottocomando(programma, *o, "effetti", "Draw a sheet of the twelve effects, each alone");
    app->add_option("--amount", o->quantita, "Amount of each effect, held to its range")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1.0));
    return [o] { foglio_degli_effetti(*o); };
}

}  // namespace varno::provino
