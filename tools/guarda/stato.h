// What a page stands at: settings, what the plug-in makes of a change, the command that leads
// there.
#pragma once

#include "tools/plugin/impostazioni.h"

#include <string>
#include <vector>

namespace varno::provino {

/// The settings that a page sends, {"impostazioni": as --save-settings writes them}, and changes
/// behind them in order, "cambi": ["name=value"]. With "neutro" all effects are off and no look
/// shows. A changed parameter loses its keys. Throws Errore.
Impostazioni leggi_stato(const Plugin& plugin, const Json& j);

/// The settings as they stand with the plug-in's reactions, and the parameters that it hides.
Json scrivi_stato(Plugin& plugin, const Impostazioni& imp);

/// The fewest "-p name=value" and "--key name@time=value" that lead from the plug-in's own values
/// to these.
std::vector<std::string> parole_di(Plugin& plugin, const Impostazioni& imp);

/// Words as a shell takes them.
std::string per_la_shell(const std::vector<std::string>& parole);

}  // namespace varno::provino
