// provino parametri: what the plug-in declares.
#include "tools/comandi/comandi.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"

#include <OpenImageIO/strutil.h>
#include <nlohmann/json.hpp>

#include <memory>

namespace varno::provino {
namespace {

using Json = nlohmann::ordered_json;

const char* genere(const banco::Parametro& p)
{
    if (p.tipo == "OfxParamTypeChoice")
        return "choice";
    return p.tipo == "OfxParamTypeBoolean" ? "switch" : "number";
}

Json in_json(const banco::Parametro& p)
{
    Json j = {{"name", p.nome}, {"label", p.etichetta}, {"kind", genere(p)}};
    if (p.tipo == "OfxParamTypeDouble")
        j.update({{"minimum", accorcia(p.minimo)},
                  {"maximum", accorcia(p.massimo)},
                  {"default", accorcia(p.predefinito)}});
    else if (p.opzioni.empty())
        j["default"] = p.predefinito != 0.0;
    else
        j.update({{"default", static_cast<int>(p.predefinito)}, {"options", p.opzioni}});
    if (!p.hint.empty())
        j["hint"] = p.hint;
    return j;
}

void stampa(const banco::Parametro& p)
{
    std::string s = OIIO::Strutil::sprintf("%-12s %-22s %-7s", p.nome, p.etichetta, genere(p));
    if (p.tipo == "OfxParamTypeDouble")
        s += testo_di(p.minimo) + " to " + testo_di(p.massimo) + ", ";
    riga(s + "default " + scrivi_valore(p, p.predefinito));
    for (std::size_t i = 0; i < p.opzioni.size(); ++i)
        riga(std::string(13, ' ') + std::to_string(i) + " = " + p.opzioni[i]);
    if (!p.hint.empty())
        riga(std::string(13, ' ') + p.hint);
}

struct OpzioniElenco {
    std::string plugin;
    bool json = false;
};

void elenca(const OpzioniElenco& o)
{
    const Plugin plugin = carica_plugin(o.plugin);
    if (o.json) {
        for (const std::string& una : OIIO::Strutil::splits(parametri_in_json(plugin), "\n"))
            riga(una);
        return;
    }
    riga("plug-in " + plugin.file);
    for (const banco::Parametro& p : plugin.parametri)
        stampa(p);
}

}  // namespace

std::string parametri_in_json(const Plugin& plugin)
{
    Json j = {{"plugin", plugin.file}};
    for (const banco::Parametro& p : plugin.parametri)
        j["parameters"].push_back(in_json(p));
    return j.dump(2);
}

Sottocomando comando_parametri()
{
    const auto o = std::make_shared<OpzioniElenco>();
    return {"parametri",
            "parameters",
            "List the plug-in's parameters as it declares them",
            "  provino parametri --json\n",
            {opzione_plugin(o->plugin), {"--json", &o->json, "As JSON"}},
            [o] { elenca(*o); }};
}

}  // namespace varno::provino
