#pragma once

#include "tools/immagini.h"

#include <string>
#include <vector>

namespace varno::provino {

/// A part of a picture, in pixels from its top left corner; no width: all of it.
struct Ritaglio {
    int x = 0, y = 0, larghezza = 0, altezza = 0;
};

/// "WxH+X+Y". Throws Errore (usage).
Ritaglio leggi_ritaglio(const std::string& testo);

/// The part alone. Throws Errore where it reaches outside.
Foto ritaglia(const Foto& foto, const Ritaglio& r);

/// A smaller picture, each pixel the mean of what it covers; alpha is 1.
Foto riduci(const Foto& foto, int larghezza, int altezza);

/// A sheet of labelled pictures of one shape: the first takes the room of four, twelve stand about
/// it.
struct Foglio {
    Foto foto;
    int margine = 0;               // pixels between pictures and around them
    int cella_l = 0, cella_a = 0;  // of a small picture
    int etichetta = 0;             // height of the strip for a label
};

/// An empty sheet of a width for pictures of that shape. Throws Errore (usage) where it is too
/// narrow.
Foglio foglio_nuovo(int larghezza, int foto_l, int foto_a);

/// Puts a picture into its place, reduced to it, 0 the large one.
void incolla(Foglio& foglio, int posto, const Foto& foto, const std::string& etichetta);

}  // namespace varno::provino
