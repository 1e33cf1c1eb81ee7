// Images in the host's memory, with bounds and rows of their own.
#pragma once

#include <cstddef>
#include <vector>

namespace varno::banco {

/// Pixel coordinates, x to the right and y up; x2 and y2 are outside.
struct Rettangolo {
    int x1 = 0, y1 = 0, x2 = 0, y2 = 0;
};

/// A picture in somebody's memory, RGBA float: dati is pixel (x1, y1) of the bounds, which is in
/// the bottom row; byte_riga leads from a row to the one above and may be negative.
struct Figura {
    void* dati = nullptr;
    int byte_riga = 0;
    Rettangolo limiti;
};

/// A picture with memory of its own, padding behind each row and guard bytes around all.
struct Tela {
    std::vector<unsigned char> memoria;
    Rettangolo limiti;
    std::size_t prima = 0;  // byte of pixel (x1, y1) in memoria
    int byte_riga = 0;
};

/// A canvas of black, fully transparent pixels: imbottitura bytes behind each row (a multiple of
/// 4), row bytes negative where capovolta.
Tela tela(const Rettangolo& limiti, int imbottitura = 0, bool capovolta = false);

/// The four floats of a pixel, by the coordinates of the bounds.
float* pixel(Tela& t, int x, int y);
const float* pixel(const Tela& t, int x, int y);

Figura figura(Tela& t);

/// Nothing was written outside the pixels: padding and guards are as they were made.
bool intatta(const Tela& t);

}  // namespace varno::banco
