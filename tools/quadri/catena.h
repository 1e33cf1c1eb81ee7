// Many frames at once: workers that read, render and write one each.
#pragma once

#include "tools/plugin/plugin.h"
#include "tools/quadri/destinazione.h"

#include <cstddef>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace varno::provino {

/// Frames to develop from a source into a destination.
struct Lavoro {
    const Sorgente& da;
    Destinazione& a;
    std::vector<long long> numeri;
    std::optional<double> tempo;             // of a single picture; else numbers are times
    std::function<void(const Foto&)> letta;  // is shown the first one as it was read
};

inline double tempo_al(const Lavoro& l, std::size_t indice)
{
    return l.tempo.value_or(static_cast<double>(l.numeri[indice]));
}

enum class Esito { fatto, saltato, fallito };

/// What came of a frame.
struct Resoconto {
    std::size_t indice = 0;
    Esito esito = Esito::fallito;
    std::string motivo;    // of a failure, one line
    double secondi = 0.0;  // of reading, developing and writing it
};

/// Develops all frames, as many at once as there are instances; those of a movie are read and
/// written in order. `racconta` is called once a frame that was begun, in order and one call at a
/// time. Returns whether all went well; after a failure no further frame is begun, unless the
/// destination is to go on.
bool esegui_lavoro(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze,
                   const std::function<void(const Resoconto&)>& racconta);

}  // namespace varno::provino
