// What an effect is to the engine: a row of numbers and the kernels of a level.
#pragma once

#include "fx/ricetta.h"

#include <stddef.h>
#include <stdint.h>

namespace varno {

struct Passo;                     // fx/passo.h
extern const Passo NESSUN_PASSO;  // nothing is done

/// How many planes an effect may make of the picture: three channels and a veil.
constexpr int MASSIMO_PIANI = 4;

/// What the rows of a frame share.
struct Quadro {
    ptrdiff_t larghezza = 0;  // pixels
    ptrdiff_t altezza = 0;    // pixels
    int32_t fotogramma = 0;   // frame number
    int32_t punte = 4;        // of the star
    float media = 0.0f;       // mean luminance, where an effect asks for it
};

/// Rows of the picture, interleaved RGB; steps in floats from one to the next.
struct Righe {
    const float* da;  // as the effect finds them
    ptrdiff_t passo_da;
    float* a;  // where the result goes: da itself, or memory apart from it
    ptrdiff_t passo_a;
    ptrdiff_t y;  // the first one's place in the frame
    ptrdiff_t n;  // rows
};

/// Planes one after the other, of the frame's size or reduced: a sample then stands for a block of
/// riduzione x riduzione pixels.
struct Forma {
    ptrdiff_t larghezza = 0;  // of the frame, pixels
    ptrdiff_t altezza = 0;
    ptrdiff_t riduzione = 1;  // side of a block, 1 to 4
    ptrdiff_t piani = 0;
    ptrdiff_t colonne = 0;  // of a plane, samples: larghezza / riduzione, at least 1
    ptrdiff_t righe = 0;    // likewise
    ptrdiff_t raggio = 0;   // of its blur, samples
};

/// The planes' rows of some rows of the frame, from the row prima on: one pointer each, to those of
/// a row one behind the other.
struct Dintorni {
    const float* const* righe = nullptr;
    ptrdiff_t prima = 0;
};

/// What an effect changes rows with.
struct Mezzi {
    float quantita;
    Dintorni dintorni;   // as far as it looks, where it makes planes
    const void* tenuto;  // what its step holds for it
};

/// Which side of the frame a radius is a share of.
enum class Lato { LUNGO, LARGHEZZA };

/// On what an effect's planes are worked: at the size of the frame, on a copy reduced as the frame
/// asks, or on one that is reduced by 2 at least.
enum class Copia { INTERA, RIDOTTA, SEMPRE_RIDOTTA };

/// One effect, one row of the chain. An effect may make planes of the picture (maschera); then it
/// changes the rows, one of the two: with the planes' samples at each pixel (componi), for which
/// they are reduced, worked on and enlarged, or with the planes' rows around its own (cambia).
struct Effetto {
    float FxRicetta::*quantita = nullptr;  // its amount in the recipe
    Copia copia = Copia::INTERA;
    const Passo* prepara = &NESSUN_PASSO;  // what is done to its planes, or fetched for it
    const void* nuclei = nullptr;          // kernels for that step, as its header names them
    double raggio = 0.0;                   // of the blur, as a share of the side
    Lato lato = Lato::LUNGO;
    int minimo = 1;              // pixels, of the radius
    int insieme = 1;             // rows that it wants together
    bool rinfresca_luma = true;  // whether the next mask sees the luminance that it makes
    bool legge_media = false;    // whether it asks for the mean luminance of the whole frame

    int piani = 0;  // planes that it makes; 0: it looks at its own rows alone
    /// Row by row: rgb and its luminance, which is worked out where luma is null, into piani rows
    /// of n samples.
    void (*maschera)(const float* rgb, const float* luma, float* const* piani,
                     ptrdiff_t n) = nullptr;
    /// Row by row, n pixels from da into a, which may be da; piani are the samples at the pixels.
    void (*componi)(const float* da, float* a, const float* const* piani, ptrdiff_t n,
                    float quantita, const Quadro& q) = nullptr;
    /// Some rows, from a whole multiple of insieme on: so many of them, or what is left.
    void (*cambia)(const Quadro& q, const Righe& r, const Mezzi& m) = nullptr;
    /// How many rows above and below its own it looks at then, where it makes planes.
    ptrdiff_t (*intorno)(const Quadro& q, float quantita) = nullptr;
};

}  // namespace varno
