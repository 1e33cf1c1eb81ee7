// The grade in plain lines, one colour at a time.
#pragma once

#include "colore/colore.h"

/// The grade of one code value in plain lines, one colour at a time: what tests hold the batches
/// against, bit for bit, and what the benchmarks build their plain table from. It shares the data
/// of cameras and looks with them and no arithmetic.
namespace varno::semplici {

RGB applica_colore(RGB codice, const Contesto& ctx);

}  // namespace varno::semplici
