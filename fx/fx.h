// The engine that runs a frame's plan, and the effect chain over a picture that stands in memory.
#pragma once

#include "comune/piano.h"
#include "fx/programma.h"
#include "fx/ricetta.h"

#include <cstdint>
#include <functional>

namespace varno {

/// Where the rows of a frame come from and go to; called on several threads, a row once.
struct Porte {
    /// Puts the graded row y into rgb, interleaved.
    std::function<void(float* rgb, std::uint64_t y)> entra;
    /// Takes the finished row y, which is overwritten afterwards.
    std::function<void(const float* rgb, std::uint64_t y)> esce;
    /// Both at once, for a frame that nothing changes.
    std::function<void(std::uint64_t y)> passa;
};

/// Runs the plan of a frame. immagine: larghezza * altezza * 3 floats where the plan keeps a
/// picture, else it may be empty; where rows go out, what stays in it is unspecified. porte: those
/// that the plan's road needs. All other memory comes from the arena. Throws std::bad_alloc, before
/// the first row goes out.
void esegui(const Programma& programma, Immagine& immagine, const Porte& porte, Arena& arena);

/// Runs the twelve effects over a graded picture in place, in their fixed order: enhance, pelle,
/// halation, bloom, streak, promist, stella, mistw, glimmer, ca, vignetta, grana.
/// img: larghezza * altezza * 3 floats, display-encoded, meant for 0..1; nothing is checked.
/// With all amounts 0 every bit stays. Throws std::bad_alloc.
void applica_fx(Immagine& img, int larghezza, int altezza, const FxRicetta& ricetta);

}  // namespace varno
