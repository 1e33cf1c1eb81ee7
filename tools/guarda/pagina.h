// The page's own files, built into the program.
#pragma once

#include <vector>

namespace varno::provino {

struct Pagina {
    const char *percorso, *tipo, *testo;
};

extern const std::vector<Pagina> PAGINE;

}  // namespace varno::provino
