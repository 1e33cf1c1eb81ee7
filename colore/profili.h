// The table of cameras, and the decoding of one channel.
#pragma once

#include "colore/curve.h"
#include "comune/aritmetica.h"

#include <array>

namespace varno {

/// Row-major, linear camera RGB to linear Rec.709.
using Matrice = std::array<float, 9>;

/// One row of the camera table: how a code value becomes linear Rec.709.
struct ProfiloCamera {
    const char* nome;
    Matrice matrice;
    const CampioniCurva& curva;  // rows with one curve share it
};

constexpr int NUMERO_PROFILI = 32;

/// The camera table, constant data in the binary.
extern const ProfiloCamera PROFILI[NUMERO_PROFILI];

/// Code value to linear camera light for one channel of row profilo, 0 to 31, before the matrix.
/// Row 0 follows the S-Log3 formula beyond 0..1 too; the others hold at their ends and send
/// not-a-number to the first sample.
float decodifica_canale(float codice, int profilo);

/// The matrix that follows the decoding of row profilo; that of row 0 belongs to its formula.
const Matrice& matrice_di(int profilo);

}  // namespace varno
