// The picture's arithmetic in plain serial loops.
#pragma once

#include "colore/colore.h"
#include "fx/ricetta.h"

#include <cstdint>
#include <vector>

/// What the tests hold the fast forms against, bit for bit, and what the benchmarks call their
/// baseline. It shares the records with them, the data of cameras and looks, and the powers and
/// angles of comune/elementari.h, which have a test of their own; no other line.
namespace varno::semplici {

using Campioni = std::vector<float>;

/// The grade of one code value.
RGB applica_colore(RGB codice, const Contesto& ctx);

/// One sample of a table of n points an axis, trilinear; uscita gets three floats.
void campiona(const Campioni& tavola, int n, const float* rgb, float* uscita);

float hash_grana(std::uint32_t x, std::uint32_t y, std::uint32_t f);

/// The whole chain, in place; riduzione 0 is the frame's own.
void applica_fx(Campioni& img, int larghezza, int altezza, const FxRicetta& ricetta,
                int riduzione = 0);

}  // namespace varno::semplici
