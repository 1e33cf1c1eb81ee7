// Movies: what their samples mean, and the filters that make full-range RGB of them.
#pragma once

#include "tools/quadri/filmato.h"

#include <nlohmann/json_fwd.hpp>
#include <string>

namespace varno::provino {

/// From what ffprobe tells of the stream and of all kinds of samples. Throws Errore where they are
/// none that are read.
void scegli_grafo(Filmato& f, const nlohmann::json& traccia, const nlohmann::json& formati,
                  const ColoriFilmato& c);

/// Throws Errore with ffprobe's reason.
[[noreturn]] void illeggibile(const Filmato& f, const std::string& motivo);

}  // namespace varno::provino
