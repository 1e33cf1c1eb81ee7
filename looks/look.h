// What a look is made of.
#pragma once

#include "comune/aritmetica.h"
#include "fx/ricetta.h"

#include <cstdint>
#include <string>

namespace varno {

/// Settings of the print pipeline.
struct Palette {
    float diafonia = 0.0f;        // amount of channel crosstalk
    RGB diafonia_canale = {};     // its weight per channel
    RGB bilancio = {};            // gains ahead of the crosstalk
    float desat_soglia = 0.0f;    // display luminance at which highlight desaturation starts
    float desat_quantita = 0.0f;  // colour lost at full white
    float sat_tinte[7] = {};      // red, orange, yellow, green, cyan, blue, magenta
    RGB stampa_ombre = {};        // print tint, 8-bit code values
    RGB stampa_luci = {};
};

/// One look. tipo 1 is the print pipeline, which reads pal; any other the grade pipeline.
struct LookDef {
    std::string nome;
    std::int32_t tipo = 0;
    float spalla = 0.0f;        // shoulder of the tone curve
    float bianco = 0.0f;        // scene-linear white point
    float contrasto = 0.0f;     // exponent around mid grey
    float miscela = 0.0f;       // 0 through luminance .. 1 per channel
    float gamma = 0.0f;         // second exponent
    float sollevamento = 0.0f;  // lift of blacks, display-encoded
    RGB tinta_ombre = {};       // multipliers around 1
    RGB tinta_luci = {};
    float ombre_fine = 0.0f;         // luminance at which the shadow tint has faded out
    float luci_inizio = 0.0f;        // luminance at which the highlight tint starts
    float protezione_pelle = 0.0f;   // 0..1
    float saturazione = 0.0f;        // 1 leaves it unchanged
    float saturazione_luci = 0.0f;   // above luminance 0.35
    float saturazione_ombre = 0.0f;  // below luminance 0.12
    RGB guadagno = {};               // gains on display-linear light
    bool viraggio = false;           // split tone on
    float ginocchio = 0.88f;         // knee of the grade pipeline's soft clip
    Palette pal = {};
    FxRicetta ricetta = {};  // suggested effects, on the scale of the parameters
};

}  // namespace varno
