// The sub-commands, a file each, and the tables of options that they hand to the parser.
#pragma once

#include "tools/plugin/impostazioni.h"
#include "tools/quadri/filmato.h"

#include <functional>
#include <initializer_list>
#include <optional>
#include <string>
#include <variant>
#include <vector>

namespace varno::provino {

/// What a value must be.
struct Limiti {
    double minimo = 0.0, massimo = 0.0;      // where they differ
    std::vector<std::string> valori = {};    // one of these, where there are any
    std::vector<std::string> proposte = {};  // for a shell to complete, where others go too
    const char* esclude = nullptr;           // an option above that cannot stand beside this
    bool detto = false;                      // the default, in the help
};

/// An option, and where its value goes; what stands there before is the default.
struct Opzione {
    const char* nome;  // "-p,--param"; without a dash what must be given, by its place
    std::variant<bool*, int*, double*, std::string*, std::vector<std::string>*,
                 std::optional<double>*, std::optional<long long>*>
        dove;
    const char* aiuto;
    Limiti limiti = {};
};
using Opzioni = std::vector<Opzione>;
Opzioni unite(std::initializer_list<Opzioni> gruppi);

// Options that several commands have.
Opzione opzione_plugin(std::string& dove);
Opzione opzione_sostituisci(bool& dove);
Opzioni opzioni_parametri(OpzioniParametri& o);
Opzioni opzioni_scelta(Scelta& o);
Opzioni opzioni_filmato(ColoriFilmato& o);
Opzioni opzioni_scrittura(Scrittura& o);
Opzioni opzioni_voce();

struct Sottocomando {
    const char *nome, *inglese;  // the second may be missing
    const char *aiuto, *esempi;
    Opzioni opzioni;
    std::function<void()> fai;  // with the options filled; throws Errore where it cannot go on
};
Sottocomando comando_parametri();
Sottocomando comando_sviluppa();
Sottocomando comando_looks();
Sottocomando comando_effetti();
Sottocomando comando_tavola();
Sottocomando comando_lut();
Sottocomando comando_confronta();
Sottocomando comando_misura();
Sottocomando comando_guarda();

/// What 'parametri --json' prints.
Json parametri_in_json(const Plugin& plugin);

}  // namespace varno::provino
