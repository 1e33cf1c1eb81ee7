// The tone curve.
#pragma once

namespace varno {

/// Shape and normalisation of one tone curve.
struct Curva {
    float scala = 0.0f;      // multiplier on the scene-linear input
    float norma = 0.0f;      // raw curve at the white point
    float grigio = 0.0f;     // normalised curve at scene-linear 0.18, pivot of contrasto
    float spalla = 0.0f;     // shoulder
    float contrasto = 0.0f;  // exponent around grigio
    float gamma = 0.0f;      // second exponent; 1 for none
};

namespace {

// The rational curve before any normalisation, of a float or a vector.
template <class V> inline V curva_grezza(V x, float spalla)
{
    return ((x * (spalla * 2.51f) + 0.03f) * x) / ((x * (spalla * 2.43f) + 0.59f) * x + 0.14f);
}

}  // namespace

/// Solves the scale at which scene grey 0.18 comes out at 0.11698655 (0.409 to the power 2.4) of
/// the curve's value at the white point: 60 rounds of a geometric bisection over 1e-4..1e4.
Curva normalizza_curva(float spalla, float bianco, float contrasto, float gamma);

/// From here on, as a multiple of grey, a value of the curve leads to 1 and above; not-a-number
/// where the contrast or the second exponent are too small to tell.
float bianco_di(const Curva& k);

}  // namespace varno
