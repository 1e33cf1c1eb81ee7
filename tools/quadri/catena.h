// Many frames at once: workers that read, render and write one each.
#pragma once

#include "tools/plugin/plugin.h"
#include "tools/quadri/immagini.h"

#include <cstddef>
#include <functional>
#include <string>
#include <vector>

namespace varno::provino {

/// One frame to make: from a file to a file at a time.
struct Fotogramma {
    double tempo = 0.0;
    long long numero = 0;
    std::string ingresso, uscita;
};

enum class Esito { fatto, saltato, fallito };

/// What came of it.
struct Resoconto {
    std::size_t indice = 0;
    Esito esito = Esito::fallito;
    std::string motivo;    // of a failure, one line
    double secondi = 0.0;  // of reading, developing and writing it
};

/// Frames to make. `leggi` and `scrivi` are called once a frame, from several threads: for one
/// frame at a time and in order where a flag says so, as a stream wants it.
struct Lavoro {
    std::vector<Fotogramma> fotogrammi;
    bool salta_esistenti = false;
    bool continua = false;  // after a failure; else no further frame is begun
    bool legge_in_ordine = false, scrive_in_ordine = false;
    std::function<Foto(std::size_t)> leggi;
    std::function<void(std::size_t, const Foto&)> scrivi;
};

/// Develops all frames, as many at once as there are instances. `racconta` is called once a frame
/// that was begun, in order and one call at a time. Returns whether all went well.
bool esegui_lavoro(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze,
                   const std::function<void(const Resoconto&)>& racconta);

}  // namespace varno::provino
