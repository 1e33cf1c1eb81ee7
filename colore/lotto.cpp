#include "colore/lotto.h"

#include <cmath>
#include <limits>

namespace varno {
namespace {

// Calls f once for a run of equal values. Not-a-number is never equal.
template <class Funzione> void applica(float* v, int n, Funzione f)
{
    float ultimo = std::numeric_limits<float>::quiet_NaN();
    float valore = 0.0f;
    for (int i = 0; i < n; ++i) {
        if (v[i] != ultimo) {
            ultimo = v[i];
            valore = f(ultimo);
        }
        v[i] = valore;
    }
}

}  // namespace

void eleva(float* v, int n, float esponente)
{
    // A power of 1 is the value itself.
    if (esponente != 1.0f)
        applica(v, n, [=](float x) { return std::pow(x, esponente); });
}

void esponenziale(float* v, int n)
{
    applica(v, n, [](float x) { return std::exp(x); });
}

}  // namespace varno
