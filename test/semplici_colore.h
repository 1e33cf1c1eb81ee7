// The grade in plain lines, one colour at a time.
#pragma once

#include "colore/colore.h"

/// The grade of one code value in plain lines, one colour at a time: what tests hold the batches
/// against, bit for bit, and what the benchmarks build their plain table from. It shares the data
/// of cameras and looks with them and no arithmetic.
namespace varno::semplici {

/// The tone curve alone, whose steps the grade takes in the same way.
RGB tonemap_ratio(RGB c, const Curva& k, float miscela);
RGB applica_colore(RGB codice, const Contesto& ctx);

}  // namespace varno::semplici
