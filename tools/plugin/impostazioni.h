// The plug-in's parameters as text: from options, files and metadata, to instances.
#pragma once

#include "tools/plugin/plugin.h"

#include <nlohmann/json_fwd.hpp>

#include <map>
#include <string>
#include <utility>
#include <vector>

namespace varno::provino {

using Json = nlohmann::ordered_json;

/// What the command line says of the plug-in and its parameters.
struct OpzioniParametri {
    std::string plugin;               // its path, or empty
    std::vector<std::string> valori;  // "name=value"
    std::vector<std::string> chiavi;  // "name@time=value"
    std::string da_file;              // settings as JSON
    std::string da_foto;              // a picture that carries them
    const Json* date = nullptr;       // settings, themselves
};

/// Settings ready for an instance.
struct Impostazioni {
    std::map<std::string, double> salvate;  // as a host loads a project: nothing follows from them
    std::vector<std::pair<std::string, double>>
        modifiche;  // as by hand, in order: a look loads its recipe
    std::map<std::string, std::vector<std::pair<double, double>>> chiavi;  // time and value
};

/// How a person writes a value: an option by its text, a switch as on or off.
std::string scrivi_valore(const banco::Parametro& p, double valore);
Json valore_in_json(const banco::Parametro& p, double valore);

/// Throws Errore for unknown names, bad values and unreadable settings.
Impostazioni leggi_impostazioni(const Plugin& plugin, const OpzioniParametri& o);

/// An instance that stands at the settings.
banco::IstanzaPtr istanza_con(Plugin& plugin, const Impostazioni& imp);

/// The parameters of an effect, which stay the plug-in's.
struct Effetto {
    const banco::Parametro &interruttore, &quantita;
};
std::vector<Effetto> effetti(const Plugin& plugin);
bool di_effetto(const Plugin& plugin, const banco::Parametro& p);

/// How a person writes what a parameter of an instance stands at.
std::string valore_scritto(const Plugin& plugin, const banco::Istanza& istanza,
                           std::string_view nome);
std::string formato_di(const Plugin& plugin, const banco::Istanza& istanza);

/// Switches all effects off, also where keys switch them on.
void spegni_effetti(const Plugin& plugin, Impostazioni& imp);

/// The instance's values and the keys.
Json in_json(const Plugin& plugin, const banco::Istanza& istanza, const Impostazioni& imp);

/// Notes on what was given and does nothing: an amount while its effect is off, what a look behind
/// it overwrites, the colour space of another log format.
void avvisa_nulla_di_fatto(const Plugin& plugin, const banco::Istanza& istanza,
                           const Impostazioni& imp);

}  // namespace varno::provino
