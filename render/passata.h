#pragma once

#include "fx/piano.h"

#include <cstddef>
#include <cstdint>

namespace varno {

struct Lut3D;

/// A window of an RGBA float image in the host's memory: row y of the window starts at
/// inizio + y * passo bytes; passo may be negative.
struct Finestra {
    unsigned char* inizio = nullptr;
    std::ptrdiff_t passo = 0;
};

/// Samples the table trilinearly, red, then green, then blue, for every pixel of the window into
/// immagine (larghezza * altezza * 3 floats), and sets the source's alpha aside in alfa, bit for
/// bit. luma, where there is one, gets the luminance of what is written. Values outside 0..1 sit on
/// the table's edge, not-a-number grades as 0. Takes no lock.
void passata_colore(const Lut3D& lut, const Finestra& sorgente, Immagine& immagine, Piano& alfa,
                    int larghezza, int altezza, Piano* luma = nullptr);

/// The same from window to window, for a frame without effects. Their memory must be separate.
void passata_colore_diretta(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita,
                            int larghezza, int altezza);

/// Whether no byte between the first and the last of one window lies between those of the other.
bool separate(const Finestra& a, const Finestra& b, int larghezza, int altezza);

/// Copies immagine and alfa into the window, unchanged.
void passata_scrittura(const Immagine& immagine, const Piano& alfa, const Finestra& uscita,
                       int larghezza, int altezza);

}  // namespace varno
