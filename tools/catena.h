#pragma once

#include "tools/immagini.h"
#include "tools/plugin.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace varno::provino {

/// One frame to make: from a file to a file at a time.
struct Fotogramma {
    double tempo = 0.0;
    std::string ingresso, uscita;
};

enum class Esito { fatto, saltato, fallito };

/// What came of it.
struct Resoconto {
    std::size_t indice = 0;
    Esito esito = Esito::fatto;
    std::string motivo;    // of a failure, one line
    double secondi = 0.0;  // of reading, developing and writing it
};

struct Lavoro {
    std::vector<Fotogramma> fotogrammi;
    bool salta_esistenti = false;
    bool continua = false;  // after a failure; else no further frame is begun
    Righe righe = Righe::in_giu;
    std::function<void(const std::string&, const Foto&)> scrivi;
};

/// Develops all frames, on one instance a job, while the next pictures are read and the last ones
/// written; at most three frames a job are under way. `racconta` is called once a frame that was
/// begun, one call at a time. Returns whether all went well.
bool esegui_lavoro(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze,
                   const std::function<void(const Resoconto&)>& racconta);

}  // namespace varno::provino
