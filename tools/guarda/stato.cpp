// What a page stands at: settings, what the plug-in makes of a change, the command that leads
// there.
#include "tools/guarda/stato.h"

#include "tools/argomenti.h"
#include "tools/errore.h"

#include <nlohmann/json.hpp>

#include <algorithm>

namespace varno::provino {
namespace {

// The comma of many countries; options' texts keep theirs.
std::string con_punto(const Plugin& plugin, std::string cambio)
{
    const std::size_t uguale = cambio.find('=');
    if (uguale != std::string::npos &&
        genere(trova_parametro(plugin, cambio.substr(0, uguale))) == "number")
        std::replace(cambio.begin() + static_cast<std::ptrdiff_t>(uguale), cambio.end(), ',', '.');
    return cambio;
}

}  // namespace

Impostazioni leggi_stato(const Plugin& plugin, const Json& j)
{
    OpzioniParametri o;
    o.date = &j.at("impostazioni");
    for (const Json& cambio : j.value("cambi", Json::array()))
        o.valori.push_back(con_punto(plugin, cambio.get<std::string>()));
    Impostazioni imp = leggi_impostazioni(plugin, o);
    if (j.value("neutro", false)) {
        spegni_effetti(plugin, imp);
        imp.modifiche.emplace_back("forza", 0.0);
    }
    for (const auto& [nome, valore] : imp.modifiche)
        imp.chiavi.erase(nome);
    return imp;
}

Json scrivi_stato(Plugin& plugin, const Impostazioni& imp)
{
    const banco::IstanzaPtr istanza = istanza_con(plugin, imp);
    Json nascosti = Json::array();
    for (const banco::Parametro& p : plugin.parametri)
        if (banco::nascosto(*istanza, p.nome))
            nascosti.push_back(p.nome);
    return {{"impostazioni", in_json(plugin, *istanza, imp)}, {"nascosti", nascosti}};
}

std::vector<std::string> parole_di(Plugin& plugin, const Impostazioni& imp)
{
    const banco::IstanzaPtr arrivo = istanza_con(plugin, imp);
    const auto da = [&](const std::vector<std::pair<std::string, double>>& prima) {
        const banco::IstanzaPtr partenza = istanza_con(plugin, {{}, prima, {}});
        std::vector<std::string> parole;
        const auto parola = [&](const std::string& nome, double valore) {
            const auto& p = trova_parametro(plugin, nome);
            parole.insert(parole.end(), {"-p", nome + "=" + scrivi_valore(p, valore)});
        };
        for (const auto& [nome, valore] : prima)
            parola(nome, valore);
        for (const banco::Parametro& p : plugin.parametri)
            if (const double v = banco::valore(*arrivo, p.nome);
                accorcia(v) != accorcia(banco::valore(*partenza, p.nome)))
                parola(p.nome, v);
        return parole;
    };
    std::vector<std::string> parole = da({});
    // A look that is named loads its recipe.
    if (auto col_look = da({{"look", banco::valore(*arrivo, "look")}});
        col_look.size() < parole.size() || banco::valore(*arrivo, "look") != 0.0)
        parole = std::move(col_look);
    for (const auto& [nome, chiavi] : imp.chiavi)
        for (const auto& [tempo, valore] : chiavi)
            parole.insert(parole.end(), {"--key", nome + "@" + testo_di(tempo) + "=" +
                                                      scrivi_valore(trova_parametro(plugin, nome),
                                                                    accorcia(valore))});
    return parole;
}

std::string per_la_shell(const std::vector<std::string>& parole)
{
    std::vector<std::string> dette;
    for (const std::string& p : parole) {
        const bool semplice = std::ranges::all_of(p, [](unsigned char c) {
            return std::isalnum(c) != 0 ||
                   std::string_view("_-./=:@+,").find(c) != std::string_view::npos;
        });
        dette.push_back(
            semplice && !p.empty() ? p : tra_apici(OIIO::Strutil::replace(p, "'", "'\\''", true)));
    }
    return OIIO::Strutil::join(dette, " ");
}

}  // namespace varno::provino
