// The rows of the host's images: graded on the way in, with their alpha kept aside.
#pragma once

#include "comune/piano.h"

#include <cstddef>
#include <cstdint>
#include <vector>

namespace varno {

struct Lut3D;

/// A window of an RGBA float image in the host's memory: row y of the window starts at
/// inizio + y * passo bytes; passo may be negative.
struct Finestra {
    unsigned char* inizio = nullptr;
    std::ptrdiff_t passo = 0;
};

/// The source's alpha, set aside bit for bit. Most rows have one value alone, which is kept apart:
/// their part of the plane is never touched, and so costs no memory.
struct Alfa {
    struct Riga {
        float valore;
        bool unica;  // valore holds for the whole row
    };
    Piano valori;  // one float a pixel, of the rows that need it
    std::vector<Riga> righe;
};

/// Room for the alpha of a frame. Throws std::bad_alloc.
Alfa alfa_di(int larghezza, int altezza, Arena* arena);

/// Samples the table trilinearly, red, then green, then blue, for every pixel of the window's row y
/// into rgb (larghezza * 3 floats), and sets the row's alpha aside. Values outside 0..1 sit on the
/// table's edge, not-a-number grades as 0. Takes no lock.
void passata_colore(const Lut3D& lut, const Finestra& sorgente, int larghezza, std::uint64_t y,
                    float* rgb, Alfa& alfa);

/// Row y from window to window, for a frame that nothing changes. Their memory must be separate.
void passata_diretta(const Lut3D& lut, const Finestra& sorgente, const Finestra& uscita,
                     int larghezza, std::uint64_t y);

/// Whether no byte between the first and the last of one window lies between those of the other.
bool separate(const Finestra& a, const Finestra& b, int larghezza, int altezza);

/// Copies rgb and the alpha of the row y into the window, unchanged.
void passata_scrittura(const float* rgb, const Alfa& alfa, const Finestra& uscita, int larghezza,
                       std::uint64_t y);

}  // namespace varno
