// The effects in plain serial loops.
#pragma once

#include "fx/ricetta.h"

#include <cstdint>
#include <vector>

/// Everything that happens to a picture after the table is built, in plain serial loops: what the
/// tests hold the fast forms against, bit for bit, and what the benchmarks call their baseline.
/// Nothing here shares a line with the fast forms but the recipe's record.
namespace varno::semplici {

using Campioni = std::vector<float>;

/// The picture and what the stages of the chain share; luma is not a view of img.
struct Quadro {
    Campioni img;   // interleaved RGB, larghezza * altezza * 3
    Campioni luma;  // larghezza * altezza
    int larghezza = 0;
    int altezza = 0;
    int lato_max = 0;
    int riduzione = 1;
};

/// Takes the picture over, works out the sizes and fills luma.
Quadro quadro_di(Campioni img, int larghezza, int altezza);

/// One sample of a table of n points an axis, trilinear; uscita gets three floats.
void campiona(const Campioni& tavola, int n, const float* rgb, float* uscita);

/// Box filter by running sums, along rows and then columns, or along rows alone.
void box_blur(Campioni& piano, int larghezza, int altezza, int raggio, int passate,
              bool colonne = true);
/// Three passes on a copy reduced by blocks, then enlarged over the plane; raggio in its pixels.
void blur_su_copia(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione,
                   bool colonne);
/// Likewise, on the plane itself where nothing is reduced.
void blur_su_ridotta(Campioni& piano, int larghezza, int altezza, int raggio, int riduzione);

Campioni vignetta_mask(int larghezza, int altezza);
float hash_grana(std::uint32_t x, std::uint32_t y, std::uint32_t f);

/// The whole chain, in place; riduzione 0 is the frame's own.
void applica_fx(Campioni& img, int larghezza, int altezza, const FxRicetta& ricetta,
                int riduzione = 0);

}  // namespace varno::semplici
