#pragma once

#include "tools/immagini.h"

#include <string>

namespace varno::provino {

/// Coverage 0 to 1 of a line of text at a point: x and y in cells of the letters, y downward from
/// the top of the capitals. A letter is 5 cells wide and 7 high and takes 6; strokes are round.
float copertura(const std::string& testo, float x, float y);

/// Width of a text in cells.
float larghezza_testo(const std::string& testo);

/// Lays text over a picture, the capitals `alto` pixels high, its top left corner at (x, y).
void scrivi_etichetta(Foto& foto, const std::string& testo, int x, int y, float alto,
                      const float (&colore)[3]);

}  // namespace varno::provino
