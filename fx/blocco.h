// What happens to some rows of the picture as a sweep goes over them.
#pragma once

#include "fx/fx.h"
#include "fx/vicine.h"

#include <memory>

namespace varno {

/// What a frame has while its plan runs.
struct Corsa {
    const Programma& programma;
    Immagine immagine;
    float* memoria;
    double* somme;  // of the rows, where the mean is asked for
    const Porte& porte;
    Quadro quadro;
    std::shared_ptr<const void> tenuti[MASSIMO_STADI] = {};

    Campo piani_di(const Stadio& s, const Posto& p) const
    {
        if (p.in_quadro)
            return {immagine.dati + 3 * quadro.larghezza, immagine.passo};
        return {memoria + p.da, s.forma.colonne};
    }
};

/// What one thread of a sweep has for itself, one behind the other.
struct Ripiano {
    Vicine vicine;
    float* righe;     // where rows are changed that do not stay in the picture
    float* luma;      // of rows before they are changed, or as they leave
    float* campioni;  // rows: a mask before it is reduced, planes enlarged
    float* appoggio;  // of the step that works on fresh rows
};

/// What the thread has that goes over the blocks of rows from inizio to before fine.
Ripiano ripiano_di(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                   std::ptrdiff_t fine);

/// The rows of one block through all of the sweep.
void passa_blocco(const Corsa& c, const Spazzata& s, std::ptrdiff_t blocco, const Ripiano& ripiano);

}  // namespace varno
