// The engine: runs the plan of a frame.
#pragma once

#include "comune/piano.h"
#include "fx/programma.h"

#include <cstdint>
#include <functional>

namespace varno {

/// Where the rows of a frame come from and go to; called on several threads, a row once.
struct Porte {
    /// Puts the graded row y into rgb, interleaved.
    std::function<void(float* rgb, std::ptrdiff_t y)> entra;
    /// Takes the finished row y. rgb is no part of the picture where the plan has effects.
    std::function<void(const float* rgb, std::ptrdiff_t y)> esce;
};

/// Runs the effects of the plan, in their fixed order, over rows of interleaved RGB that come and
/// go through the doors: display-encoded, meant for 0..1; nothing is checked. immagine: where they
/// stay in between, if the plan keeps a picture: rows of 3 * larghezza floats, and larghezza more
/// behind them for its piano_in_quadro; what stays there is unspecified. memoria: as many floats as
/// the plan says. Everything that may fail, and then leaves as an exception, comes before the first
/// row is called for.
void applica_fx(const Programma& programma, const Immagine& immagine, float* memoria,
                const Porte& porte);

}  // namespace varno
