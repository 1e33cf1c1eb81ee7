// What an effect is to the engine: a row of numbers and the kernels of a level.
#pragma once

#include "fx/ricetta.h"

#include <stddef.h>
#include <stdint.h>

namespace varno {

/// How many planes an effect may make of the picture: three channels and a veil.
constexpr int MASSIMO_PIANI = 4;

/// Columns of a row of the vignette's mask that are 0 throughout: inizio to before fine.
struct Intatta {
    int inizio;
    int fine;
};

/// What the rows of a frame share.
struct Quadro {
    ptrdiff_t larghezza = 0;           // pixels
    ptrdiff_t altezza = 0;             // pixels
    int32_t fotogramma = 0;            // frame number
    float media = 0.0f;                // mean luminance, for the veil of the white mist
    const float* vignetta = nullptr;   // larghezza * altezza weights
    const Intatta* intatta = nullptr;  // one for each row of them
};

/// Rows of the picture that follow each other, interleaved RGB.
struct Righe {
    const float* da;  // as the effect finds them
    float* a;         // where the result goes: da itself, or memory apart from it
    ptrdiff_t y;      // the first one's place in the frame
    ptrdiff_t n;      // rows
};

/// Which side of the frame a radius is a share of.
enum class Lato { LUNGO, LARGHEZZA };

/// On what an effect's planes are worked: at the size of the frame, on a copy reduced as the frame
/// asks, or on one that is reduced by 2 at least.
enum class Copia { INTERA, RIDOTTA, SEMPRE_RIDOTTA };

/// What is done between the sweep that feeds an effect and the one that runs it.
enum class Lavoro {
    NESSUNO,
    SFOCA,        // three box blurs
    SFOCA_RIGHE,  // three box blurs along the rows alone, always through a copy
    RAGGI,        // the rays of the star, likewise
    VIGNETTA,     // the mask of the frame's size, kept from frame to frame
};

/// One effect, one row of the chain. An effect may make planes of the picture (maschera), which are
/// reduced, blurred and enlarged for it; then it changes the rows, with the planes' samples at each
/// pixel (componi) or with the planes as a whole (cambia), one of the two.
struct Effetto {
    float FxRicetta::*quantita = nullptr;  // its amount in the recipe
    Copia copia = Copia::INTERA;
    Lavoro lavoro = Lavoro::NESSUNO;
    double raggio = 0.0;  // of the blur, as a share of the side
    Lato lato = Lato::LUNGO;
    int minimo = 1;              // pixels, of the radius
    bool rinfresca_luma = true;  // whether the next mask sees the luminance that it leaves
    bool legge_media = false;    // whether it asks for the mean luminance of the whole frame

    int piani = 0;  // planes that it makes; 0: it looks at its own rows alone
    /// Row by row: rgb and its luminance, which is worked out where luma is null, into piani rows
    /// of n samples.
    void (*maschera)(const float* rgb, const float* luma, float* const* piani,
                     ptrdiff_t n) = nullptr;
    /// Row by row, n pixels from da into a, which may be da; piani are the samples at the pixels.
    void (*componi)(const float* da, float* a, const float* const* piani, ptrdiff_t n,
                    float quantita, const Quadro& q) = nullptr;
    /// Several rows at once, as many as a cell of grain is high, or what is left of the frame.
    /// piani lie one after the other.
    void (*cambia)(const Quadro& q, const Righe& r, const float* piani, float quantita) = nullptr;
};

}  // namespace varno
