// Sheets of pictures with text.
#pragma once

#include "tools/quadri/immagini.h"

#include <OpenImageIO/imagebuf.h>

#include <functional>
#include <string>
#include <vector>

namespace varno::provino {

/// A part of a picture, in pixels from its top left corner.
OIIO::ROI rettangolo(int x, int y, int larghezza, int altezza);

/// "WxH+X+Y". Throws Errore (usage).
OIIO::ROI leggi_ritaglio(const std::string& testo);

/// Of the parts of that size the one in which the change from one picture to another of its size,
/// in stops, varies most: an even change is not seen as one. In steps of an eighth of the part.
OIIO::ROI dove_cambia(const Foto& a, const Foto& b, int larghezza, int altezza);

/// One place of a sheet: pictures side by side, each with its label below.
struct Casella {
    std::vector<std::string> nomi;
    int lato = 1;  // cells a side that it takes
    std::function<void(OIIO::ImageBuf& foglio, const std::vector<OIIO::ROI>& dove)> disegna;
};

/// A sheet of a width, in columns of cells for pictures so many times as wide as high, with a line
/// of text below all; a text that is too long is cut. Each one goes into the first place that is
/// free, row by row. Throws Errore where it is too narrow or there is no font.
Foto foglio(int larghezza, int colonne, double forma, const std::vector<Casella>& caselle,
            const std::string& piede);

/// Draws a part of a picture into a place of a sheet, resized unless it is of that size. Throws
/// Errore where the part reaches outside the picture.
void incolla(OIIO::ImageBuf& foglio, const OIIO::ROI& dove, const Foto& foto,
             const OIIO::ROI& parte);

}  // namespace varno::provino
