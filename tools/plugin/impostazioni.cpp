// The plug-in's parameters as text: from options, files and metadata, to instances.
#include "tools/plugin/impostazioni.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/sorgente.h"

#include <OpenImageIO/filesystem.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <set>

namespace varno::provino {
namespace {

constexpr const char* IDENTIFICATORE = "com.varnotone.varnocolor";

// The text goes first: an option may read like the index of another.
double leggi_scelta(const banco::Parametro& p, const std::string& testo)
{
    for (std::size_t i = 0; i < p.opzioni.size(); ++i)
        if (OIIO::Strutil::iequals(p.opzioni[i], testo))
            return static_cast<double>(i);
    const auto quante = static_cast<long long>(p.opzioni.size());
    long long n = 0;
    if (leggi_intero(testo, n) && n >= 0 && n < quante)
        return static_cast<double>(n);
    if (leggi_intero(testo, n))
        rifiuta("%s has the options 0 to %d, not %s", p.nome, quante - 1, testo);
    const std::string vicina = proposta(testo, p.opzioni);
    rifiuta("%s has no option '%s'%s %s", p.nome, testo,
            vicina.empty() ? "; it takes:" : vicina + " It takes:",
            OIIO::Strutil::join(p.opzioni, ", "));
}

// A number in range, an option's text or index, on or off. Throws Errore (usage) with the range or
// the nearest option.
double leggi_valore(const banco::Parametro& p, const std::string& testo)
{
    if (genere(p) == "choice")
        return leggi_scelta(p, testo);
    if (genere(p) == "switch") {
        const std::string t = OIIO::Strutil::lower(testo);
        if (t == "1" || t == "on" || t == "true" || t == "yes")
            return 1.0;
        if (t == "0" || t == "off" || t == "false" || t == "no")
            return 0.0;
        rifiuta("%s is a switch: give on or off (1 or 0), not '%s'", p.nome, testo);
    }
    double v = 0.0;
    if (!leggi_numero(testo, v))
        rifiuta("%s takes a number from %s to %s, not '%s'", p.nome, testo_di(p.minimo),
                testo_di(p.massimo), testo);
    if (!(v >= p.minimo && v <= p.massimo))
        rifiuta("%s goes from %s to %s, not %s", p.nome, testo_di(p.minimo), testo_di(p.massimo),
                testo);
    return v;
}

std::pair<std::string, std::string> dividi(const std::string& testo, const char* opzione,
                                           const char* forma)
{
    const std::size_t p = testo.find('=');
    if (p == std::string::npos || p == 0)
        rifiuta("%s takes %s, not '%s'", opzione, forma, testo);
    return {testo.substr(0, p), testo.substr(p + 1)};
}

double valore_json(const banco::Parametro& p, const Json& j)
{
    const bool scelta = genere(p) == "choice";
    if (j.is_string())
        return leggi_valore(p, j.get<std::string>());
    if (j.is_boolean() && genere(p) == "switch")
        return j.get<bool>() ? 1.0 : 0.0;
    // An index here is a number: in a text it could be an option's name.
    if (scelta && j.is_number_integer() && j >= 0 && j < p.opzioni.size())
        return j.get<double>();
    if (!scelta && j.is_number())
        return leggi_valore(p, testo_di(j.get<double>()));
    rifiuta("%s cannot be %s", p.nome, testo_di(j));
}

// Values are taken as a host loads a project: a look alone loads no recipe.
void da_json(const Plugin& plugin, const Json& j, const std::string& nome, Impostazioni& imp)
try {
    if (!j.is_object())
        rifiuta("they are no JSON object");
    if (!j.contains("parameters") || !j["parameters"].is_object())
        rifiuta("they have no \"parameters\"; '--save-settings FILE' writes an example");
    for (const auto& [n, v] : j["parameters"].items()) {
        const banco::Parametro& p = trova_parametro(plugin, n);
        imp.salvate[p.nome] = valore_json(p, v);
    }
    const Json chiavi = j.value("keys", Json::object());
    for (const auto& [n, elenco] : chiavi.items()) {
        const banco::Parametro& p = trova_parametro(plugin, n);
        for (const Json& c : elenco) {
            if (!c.is_array() || c.size() != 2 || !c[0].is_number())
                rifiuta("a key of %s must be [time, value]", n);
            imp.chiavi[p.nome].emplace_back(c[0].get<double>(), valore_json(p, c[1]));
        }
    }
} catch (const Errore& e) {
    fallisci("the settings in '%s' cannot be used: %s", nome, e.testo);
}

void leggi_chiave(const Plugin& plugin, const std::string& testo, Impostazioni& imp)
{
    constexpr const char* FORMA = "name@time=value";
    const auto [sinistra, valore] = dividi(testo, "--key", FORMA);
    const std::size_t a = sinistra.find('@');
    double tempo = 0.0;
    if (a == std::string::npos || !leggi_numero(sinistra.substr(a + 1), tempo))
        rifiuta("--key takes %s, not '%s'", FORMA, testo);
    const banco::Parametro& p = trova_parametro(plugin, sinistra.substr(0, a));
    imp.chiavi[p.nome].emplace_back(tempo, leggi_valore(p, valore));
}

}  // namespace

std::string scrivi_valore(const banco::Parametro& p, double valore)
{
    if (genere(p) == "choice" && valore >= 0.0 && valore < static_cast<double>(p.opzioni.size()))
        return p.opzioni[static_cast<std::size_t>(valore)];
    if (genere(p) == "switch")
        return valore != 0.0 ? "on" : "off";
    return testo_di(accorcia(valore));
}

Json valore_in_json(const banco::Parametro& p, double valore)
{
    if (genere(p) == "choice")
        return scrivi_valore(p, valore);
    if (genere(p) == "switch")
        return valore != 0.0;
    return accorcia(valore);
}

Impostazioni leggi_impostazioni(const Plugin& plugin, const OpzioniParametri& o)
{
    Impostazioni imp;
    if (!o.da_foto.empty()) {
        const auto testo = leggi_impostazioni(apri_sorgente(o.da_foto));
        if (!testo)
            fallisci("'%s' carries no settings: it was not written by 'provino sviluppa'",
                     o.da_foto);
        da_json(plugin, Json::parse(*testo, nullptr, false), o.da_foto, imp);
    }
    if (!o.da_file.empty()) {
        std::string testo;
        if (!OIIO::Filesystem::read_text_file(o.da_file, testo))
            fallisci("cannot read the settings " + tra_apici(o.da_file));
        da_json(plugin, Json::parse(testo, nullptr, false), o.da_file, imp);
    }
    if (o.date != nullptr)
        da_json(plugin, *o.date, "the page", imp);
    for (const std::string& v : o.valori) {
        const auto [nome, testo] = dividi(v, "-p", "name=value");
        const banco::Parametro& p = trova_parametro(plugin, nome);
        imp.modifiche.emplace_back(p.nome, leggi_valore(p, testo));
    }
    for (const std::string& c : o.chiavi)
        leggi_chiave(plugin, c, imp);
    for (auto& [nome, chiavi] : imp.chiavi) {
        constexpr auto tempo = &std::pair<double, double>::first;
        std::ranges::stable_sort(chiavi, {}, tempo);
        if (const auto due = std::ranges::adjacent_find(chiavi, {}, tempo); due != chiavi.end())
            rifiuta("%s has two keys at time %s", nome, testo_di(due->first));
    }
    return imp;
}

banco::IstanzaPtr istanza_con(Plugin& plugin, const Impostazioni& imp)
{
    try {
        banco::IstanzaPtr istanza = banco::crea_istanza(*plugin.modulo, imp.salvate);
        banco::registro(*istanza).scrivi = false;
        for (const auto& [nome, valore] : imp.modifiche)
            banco::cambia(*istanza, nome, valore);
        for (const auto& [nome, chiavi] : imp.chiavi)
            banco::imposta_chiavi(*istanza, nome, chiavi);
        return istanza;
    } catch (const std::runtime_error& e) {
        throw Errore{SENZA_PLUGIN, "the plug-in made no instance: " + in_una_riga(e.what())};
    }
}

std::vector<Effetto> effetti(const Plugin& plugin)
{
    constexpr std::string_view ACCESO = "_on";
    std::vector<Effetto> tutti;
    for (const banco::Parametro& p : plugin.parametri)
        if (genere(p) == "switch" && p.nome.ends_with(ACCESO))
            tutti.push_back(
                {p, trova_parametro(plugin, p.nome.substr(0, p.nome.size() - ACCESO.size()))});
    return tutti;
}

bool di_effetto(const Plugin& plugin, const banco::Parametro& p)
{
    return std::ranges::any_of(effetti(plugin), [&](const Effetto& e) {
        return &p == &e.interruttore || &p == &e.quantita;
    });
}

std::string valore_scritto(const Plugin& plugin, const banco::Istanza& istanza,
                           std::string_view nome)
{
    return scrivi_valore(trova_parametro(plugin, nome), banco::valore(istanza, nome));
}

std::string formato_di(const Plugin& plugin, const banco::Istanza& istanza)
{
    return valore_scritto(plugin, istanza, "formato");
}

void spegni_effetti(const Plugin& plugin, Impostazioni& imp)
{
    for (const Effetto& e : effetti(plugin)) {
        imp.modifiche.emplace_back(e.interruttore.nome, 0.0);
        imp.chiavi.erase(e.interruttore.nome);
    }
}

Json in_json(const Plugin& plugin, const banco::Istanza& istanza, const Impostazioni& imp)
{
    Json j = {{"provino", PROVINO_VERSIONE}, {"plugin", IDENTIFICATORE}};
    for (const banco::Parametro& p : plugin.parametri) {
        j["parameters"][p.nome] = valore_in_json(p, banco::valore(istanza, p.nome));
        if (const auto chiavi = imp.chiavi.find(p.nome); chiavi != imp.chiavi.end())
            for (const auto& [tempo, valore] : chiavi->second)
                j["keys"][p.nome].push_back({tempo, valore_in_json(p, valore)});
    }
    return j;
}

void avvisa_nulla_di_fatto(const Plugin& plugin, const banco::Istanza& istanza,
                           const Impostazioni& imp)
{
    std::set<std::string> dati;
    for (auto i = imp.modifiche.begin(); i != imp.modifiche.end(); ++i) {
        if (i->second > 0.0)
            dati.insert(i->first);
        const bool ancora = std::any_of(i + 1, imp.modifiche.end(),
                                        [&](const auto& altra) { return altra.first == i->first; });
        if (!ancora && banco::valore(istanza, i->first) != i->second)
            avviso(i->first +
                   " is overwritten by the recipe of the look behind it: give the look first");
        if (banco::nascosto(istanza, i->first))
            avviso(i->first + " does nothing with the log format " + formato_di(plugin, istanza));
    }
    for (const auto& [nome, chiavi] : imp.chiavi)
        dati.insert(nome);
    for (const auto& [interruttore, quantita] : effetti(plugin))
        if (dati.contains(quantita.nome) && !imp.chiavi.contains(interruttore.nome) &&
            banco::valore(istanza, interruttore.nome) == 0.0)
            avviso(quantita.nome + " shows nothing while " + interruttore.nome +
                   " is off: add -p " + interruttore.nome + "=on");
}

}  // namespace varno::provino
