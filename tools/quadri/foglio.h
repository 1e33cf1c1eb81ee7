// Sheets of pictures with text.
#pragma once

#include "tools/quadri/immagini.h"

#include <string>

namespace varno::provino {

/// A part of a picture, in pixels from its top left corner.
OIIO::ROI rettangolo(int x, int y, int larghezza, int altezza);

/// "WxH+X+Y". Throws Errore (usage).
OIIO::ROI leggi_ritaglio(const std::string& testo);

/// Of the parts of that size the one in which the change from one picture to another of its size,
/// in stops, varies most: an even change is not seen as one. In steps of an eighth of the part.
OIIO::ROI dove_cambia(const Foto& a, const Foto& b, int larghezza, int altezza);

/// A sheet of labelled pictures of one shape, in columns and rows, with a line of text below all.
struct Foglio {
    Foto foto;
    int margine = 0;               // pixels between pictures and around them
    int cella_l = 0, cella_a = 0;  // of a picture
    int scritta = 0;               // height of the strip for a text
};

/// An empty sheet of a width, for pictures so many times as wide as high. Throws Errore where it is
/// too narrow or there is no font.
Foglio foglio_nuovo(int larghezza, int colonne, int righe, double forma);

/// The place of a picture; of `lato` by `lato` cells.
OIIO::ROI posto(const Foglio& foglio, int colonna, int riga, int lato = 1);

/// Puts a part of a picture into a place, resized unless it is of that size. Throws Errore where
/// the part reaches outside the picture.
void incolla(Foglio& foglio, const OIIO::ROI& dove, const Foto& foto, const OIIO::ROI& parte);

/// A label below a place, and the sheet's last line; what is too long is cut.
void scrivi_sotto(Foglio& foglio, const OIIO::ROI& dove, const std::string& testo);
void scrivi_piede(Foglio& foglio, const std::string& testo);

}  // namespace varno::provino
