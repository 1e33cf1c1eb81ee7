// provino parametri: what the plug-in declares.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

namespace varno::provino {
namespace {

void stampa(const banco::Parametro& p)
{
    const std::string rientro(13, ' ');
    const std::string limiti =
        genere(p) == "number" ? testo_di(p.minimo) + " to " + testo_di(p.massimo) + ", " : "";
    riga(sprintf("%-12s %-22s %-7s%sdefault %s", p.nome, p.etichetta, genere(p), limiti,
                 scrivi_valore(p, p.predefinito)));
    for (std::size_t i = 0; i < p.opzioni.size(); ++i)
        riga(rientro + std::to_string(i) + " = " + p.opzioni[i]);
    if (!p.hint.empty())
        riga(rientro + p.hint);
}

struct OpzioniElenco {
    std::string plugin;
    bool json = false;
};

void elenca(const OpzioniElenco& o)
{
    const Plugin plugin = carica_plugin(o.plugin);
    if (o.json) {
        for (const std::string& una :
             OIIO::Strutil::splits(testo_di(parametri_in_json(plugin), 2), "\n"))
            riga(una);
        return;
    }
    riga("plug-in " + plugin.file);
    std::ranges::for_each(plugin.parametri, stampa);
}

}  // namespace

Json parametri_in_json(const Plugin& plugin)
{
    Json tutti = {{"plugin", plugin.file}};
    for (const banco::Parametro& p : plugin.parametri) {
        Json j = {{"name", p.nome}, {"label", p.etichetta}, {"kind", genere(p)}};
        if (genere(p) == "number")
            j.update({{"minimum", accorcia(p.minimo)}, {"maximum", accorcia(p.massimo)}});
        j["default"] = valore_in_json(p, p.predefinito);
        if (genere(p) == "choice")
            j.update({{"default", static_cast<int>(p.predefinito)}, {"options", p.opzioni}});
        if (!p.hint.empty())
            j["hint"] = p.hint;
        tutti["parameters"].push_back(j);
    }
    return tutti;
}

// clang-format off
Sottocomando comando_parametri()
{
    const auto o = std::make_shared<OpzioniElenco>();
    return {"parametri", "parameters", "List the plug-in's parameters as it declares them",
            "  provino parametri --json\n",
            {opzione_plugin(o->plugin), {"--json", &o->json, "As JSON"}},
            [o] { elenca(*o); }};
}
// clang-format on

}  // namespace varno::provino
