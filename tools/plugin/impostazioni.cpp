// The plug-in's parameters as text: from options, files and metadata, to instances.
#include "tools/plugin/impostazioni.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/sorgente.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <set>

namespace varno::provino {
namespace {

using Json = nlohmann::ordered_json;

constexpr const char* IDENTIFICATORE = "com.varnotone.varnocolor";

bool scelta(const banco::Parametro& p)
{
    return p.tipo == "OfxParamTypeChoice";
}
bool interruttore(const banco::Parametro& p)
{
    return p.tipo == "OfxParamTypeBoolean";
}

// The text goes first: an option may read like the index of another.
double leggi_scelta(const banco::Parametro& p, const std::string& testo)
{
    for (std::size_t i = 0; i < p.opzioni.size(); ++i)
        if (OIIO::Strutil::iequals(p.opzioni[i], testo))
            return static_cast<double>(i);
    const auto quante = static_cast<long long>(p.opzioni.size());
    long long n = 0;
    if (leggi_intero(testo, n)) {
        if (n >= 0 && n < quante)
            return static_cast<double>(n);
        rifiuta(p.nome + " has the options 0 to " + std::to_string(quante - 1) + ", not " + testo);
    }
    const std::string vicina = proposta(testo, p.opzioni);
    rifiuta(p.nome + " has no option " + tra_apici(testo) +
            (vicina.empty() ? "; it takes: " : vicina + " It takes: ") +
            OIIO::Strutil::join(p.opzioni, ", "));
}

double leggi_interruttore(const banco::Parametro& p, const std::string& testo)
{
    const std::string t = OIIO::Strutil::lower(testo);
    if (t == "1" || t == "on" || t == "true" || t == "yes")
        return 1.0;
    if (t == "0" || t == "off" || t == "false" || t == "no")
        return 0.0;
    rifiuta(p.nome + " is a switch: give on or off (1 or 0), not " + tra_apici(testo));
}

// A number in range, an option's text or index, on or off. Throws Errore (usage) with the range or
// the nearest option.
double leggi_valore(const banco::Parametro& p, const std::string& testo)
{
    if (scelta(p))
        return leggi_scelta(p, testo);
    if (interruttore(p))
        return leggi_interruttore(p, testo);
    double v = 0.0;
    if (!leggi_numero(testo, v))
        rifiuta(p.nome + " takes a number from " + testo_di(p.minimo) + " to " +
                testo_di(p.massimo) + ", not " + tra_apici(testo));
    if (!(v >= p.minimo && v <= p.massimo))
        rifiuta(p.nome + " goes from " + testo_di(p.minimo) + " to " + testo_di(p.massimo) +
                ", not " + testo);
    return v;
}

std::pair<std::string, std::string> dividi(const std::string& testo, const char* opzione,
                                           const char* forma)
{
    const std::size_t p = testo.find('=');
    if (p == std::string::npos || p == 0)
        rifiuta(std::string(opzione) + " takes " + forma + ", not " + tra_apici(testo));
    return {testo.substr(0, p), testo.substr(p + 1)};
}

double valore_json(const banco::Parametro& p, const Json& j)
{
    if (j.is_string())
        return leggi_valore(p, j.get<std::string>());
    if (j.is_boolean() && interruttore(p))
        return j.get<bool>() ? 1.0 : 0.0;
    // An index here is a number: in a text it could be an option's name.
    if (scelta(p) && j.is_number_integer() && j >= 0 && j < p.opzioni.size())
        return j.get<double>();
    if (j.is_number() && !scelta(p))
        return leggi_valore(p, testo_di(j.get<double>()));
    rifiuta(p.nome + " cannot be " + j.dump());
}

// Values are taken as a host loads a project: a look alone loads no recipe.
void da_json(const Plugin& plugin, const std::string& testo, const std::string& nome,
             Impostazioni& imp)
try {
    const Json j = Json::parse(testo, nullptr, false);
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
                rifiuta("a key of " + n + " must be [time, value]");
            imp.chiavi[p.nome].emplace_back(c[0].get<double>(), valore_json(p, c[1]));
        }
    }
} catch (const Errore& e) {
    fallisci("the settings in " + tra_apici(nome) + " cannot be used: " + e.testo);
}

void leggi_chiave(const Plugin& plugin, const std::string& testo, Impostazioni& imp)
{
    constexpr const char* FORMA = "name@time=value";
    const auto [sinistra, valore] = dividi(testo, "--key", FORMA);
    const std::size_t a = sinistra.find('@');
    double tempo = 0.0;
    if (a == std::string::npos || !leggi_numero(sinistra.substr(a + 1), tempo))
        rifiuta(std::string("--key takes ") + FORMA + ", not " + tra_apici(testo));
    const banco::Parametro& p = trova_parametro(plugin, sinistra.substr(0, a));
    imp.chiavi[p.nome].emplace_back(tempo, leggi_valore(p, valore));
}

Json valore_in_json(const banco::Parametro& p, double v)
{
    if (scelta(p))
        return scrivi_valore(p, v);
    if (interruttore(p))
        return v != 0.0;
    return accorcia(v);
}

}  // namespace

std::string scrivi_valore(const banco::Parametro& p, double valore)
{
    if (scelta(p) && valore >= 0.0 && valore < static_cast<double>(p.opzioni.size()))
        return p.opzioni[static_cast<std::size_t>(valore)];
    if (interruttore(p))
        return valore != 0.0 ? "on" : "off";
    return testo_di(valore);
}

Impostazioni leggi_impostazioni(const Plugin& plugin, const OpzioniParametri& o)
{
    Impostazioni imp;
    if (!o.da_foto.empty()) {
        const auto testo = leggi_impostazioni(apri_sorgente(o.da_foto));
        if (!testo)
            fallisci(tra_apici(o.da_foto) +
                     " carries no settings: it was not written by 'provino sviluppa'");
        da_json(plugin, *testo, o.da_foto, imp);
    }
    if (!o.da_file.empty()) {
        std::string testo;
        if (!OIIO::Filesystem::read_text_file(o.da_file, testo))
            fallisci("cannot read the settings " + tra_apici(o.da_file));
        da_json(plugin, testo, o.da_file, imp);
    }
    if (!o.testo.empty())
        da_json(plugin, o.testo, "the page", imp);
    for (const std::string& v : o.valori) {
        const auto [nome, testo] = dividi(v, "-p", "name=value");
        const banco::Parametro& p = trova_parametro(plugin, nome);
        imp.modifiche.emplace_back(p.nome, leggi_valore(p, testo));
    }
    for (const std::string& c : o.chiavi)
        leggi_chiave(plugin, c, imp);
    for (auto& [nome, chiavi] : imp.chiavi) {
        std::stable_sort(chiavi.begin(), chiavi.end(),
                         [](const auto& a, const auto& b) { return a.first < b.first; });
        for (std::size_t i = 1; i < chiavi.size(); ++i)
            if (chiavi[i].first == chiavi[i - 1].first)
                rifiuta(nome + " has two keys at time " + testo_di(chiavi[i].first));
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
        throw Errore{SENZA_PLUGIN,
                     std::string("the plug-in made no instance: ") + in_una_riga(e.what())};
    }
}

std::vector<Effetto> effetti(const Plugin& plugin)
{
    constexpr std::string_view ACCESO = "_on";
    std::vector<Effetto> tutti;
    for (const banco::Parametro& p : plugin.parametri)
        if (interruttore(p) && p.nome.ends_with(ACCESO))
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

std::string formato_di(const Plugin& plugin, const banco::Istanza& istanza)
{
    return scrivi_valore(trova_parametro(plugin, "formato"), banco::valore(istanza, "formato"));
}

void spegni_effetti(const Plugin& plugin, Impostazioni& imp)
{
    for (const Effetto& e : effetti(plugin)) {
        imp.modifiche.emplace_back(e.interruttore.nome, 0.0);
        imp.chiavi.erase(e.interruttore.nome);
    }
}

std::string in_json(const Plugin& plugin, const banco::Istanza& istanza, const Impostazioni& imp,
                    bool compatto)
{
    Json j = {{"provino", PROVINO_VERSIONE}, {"plugin", IDENTIFICATORE}};
    for (const banco::Parametro& p : plugin.parametri) {
        j["parameters"][p.nome] = valore_in_json(p, banco::valore(istanza, p.nome));
        const auto chiavi = imp.chiavi.find(p.nome);
        if (chiavi != imp.chiavi.end())
            for (const auto& [tempo, valore] : chiavi->second)
                j["keys"][p.nome].push_back({tempo, valore_in_json(p, valore)});
    }
    return compatto ? j.dump() : j.dump(2);
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
