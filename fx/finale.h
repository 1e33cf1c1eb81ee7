#pragma once

#include "comune/riga.h"

#include <cstdint>
#include <functional>

namespace varno {

struct FxRicetta;
struct Quadro;

/// Changes the row y of the picture: one row at a time, each once, on several threads.
using CambiaRiga = std::function<void(const RigaDiPixel& r, std::uint64_t y)>;

/// Takes the finished row y, interleaved RGB, on several threads; it is overwritten afterwards.
/// Empty: the rows stay in the picture.
using Consegna = std::function<void(const float* rgb, std::uint64_t y)>;

/// What follows the last effect that needs the picture as a whole: vignette and grain, which change
/// every pair of rows by itself, and the way out. A pair runs through all of it while the cache
/// holds it, instead of going to memory and back for each.
struct Finale {
    const FxRicetta& ricetta;
    const Consegna& consegna;
};

/// Runs an effect's change over all rows of the picture, in place, with q.luma to refresh where it
/// is read again. Where q has a finale, that follows for each pair of rows; if it delivers them,
/// what stays in the picture is unspecified. Throws std::bad_alloc, before the first row.
void per_righe(const Quadro& q, const CambiaRiga& cambia);

}  // namespace varno
