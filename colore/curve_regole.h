// The formulas that the samples of the curves come from.
#pragma once

#include "colore/curve.h"

namespace varno {

/// The rule that one curve's samples come from: linear value of sample i, 0 to 4095, in double.
struct RegolaCurva {
    const char* nome;  // of the array in colore/curve.h
    double (*campione)(int i);
};

constexpr int NUMERO_CURVE = 16;

/// In the order of colore/curve.h. Only the generator and the tests link these: double powers
/// differ in the last bit from one maths library to the next, so the plug-in carries the samples.
extern const RegolaCurva REGOLE_CURVE[NUMERO_CURVE];

}  // namespace varno
