// The sub-commands, a file each.
#pragma once

#include "tools/filmato.h"
#include "tools/impostazioni.h"

#include <CLI/CLI.hpp>

#include <functional>
#include <memory>
#include <string>

namespace varno::provino {

/// What a sub-command does once its options are read.
using Esecuzione = std::function<void()>;

/// Options that most sub-commands share.
struct Comuni {
    std::string plugin;
    OpzioniParametri parametri;
    Scrittura scrittura;
    Scelta scelta;
};

/// --plugin.
void opzione_plugin(CLI::App& app, Comuni& c);
/// -p, --key, --settings, --settings-from.
void opzioni_parametri(CLI::App& app, Comuni& c);
/// --matrix, --range of a movie that is read.
void opzioni_filmato(CLI::App& app, ColoriFilmato& c);
/// --part, --layer.
void opzioni_lettura(CLI::App& app, Comuni& c);
/// --depth, --compression, --overwrite.
void opzioni_scrittura(CLI::App& app, Comuni& c);

// Each adds its sub-command to the program.
Esecuzione comando_parametri(CLI::App& programma);
Esecuzione comando_sviluppa(CLI::App& programma);
Esecuzione comando_looks(CLI::App& programma);
Esecuzione comando_effetti(CLI::App& programma);
Esecuzione comando_tavola(CLI::App& programma);
Esecuzione comando_lut(CLI::App& programma);
Esecuzione comando_confronta(CLI::App& programma);
Esecuzione comando_misura(CLI::App& programma);

}  // namespace varno::provino
