// What the command line says, and the sub-commands that it is said to, a file each.
#pragma once

#include "tools/plugin/impostazioni.h"
#include "tools/quadri/filmato.h"

#include <optional>
#include <string>

namespace varno::provino {

/// Options of all sub-commands; each reads those that are its own. Empty texts were not given.
struct Opzioni {
    std::string ingresso, uscita, plugin;
    std::string misura = "1920x1080";
    OpzioniParametri parametri;
    Scelta scelta;
    ColoriFilmato colori;
    Scrittura scrittura;
    std::optional<double> tempo;
    bool json = false, csv = false, muto = false;

    // Of sviluppa.
    std::string fotogrammi, salva, codec, qualita, cadenza;
    std::optional<long long> inizio;
    int lavori = 2;
    bool salta = false, continua = false;

    // Of the sheets.
    std::string ritaglio;
    int larghezza = 1920;
    int fotogramma = 0;  // of a movie; 0: a picture, or a movie's first
    double quantita = 1.0;

    int lato = 33;  // of lut

    // Of confronta.
    std::string altro, affiancati, differenza;
    double limite = 0.0, guadagno = 1.0;

    int giri = 9;  // of misura
};

// The sub-commands. They throw Errore where they cannot go on.
void comando_parametri(const Opzioni& o);
void comando_sviluppa(const Opzioni& o);
void comando_looks(const Opzioni& o);
void comando_effetti(const Opzioni& o);
void comando_tavola(const Opzioni& o);
void comando_lut(const Opzioni& o);
void comando_confronta(const Opzioni& o);
void comando_misura(const Opzioni& o);

}  // namespace varno::provino
