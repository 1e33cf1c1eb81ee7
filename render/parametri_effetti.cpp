// The twelve effects as parameters, a row each.
#include "render/parametri_effetti.h"

namespace varno {

static constexpr float GRADO = 0.55f;  // the filter grades' share of a full filter

// Both orders are part of what hosts see. Grain and star are the user's own.
// clang-format off
const ParametroEffetto PARAMETRI_EFFETTI[NUMERO_EFFETTI] = {
    {"enhance_on",  "enhance",  &FxRicetta::enhance,  1.0f,   3},
    {"halation_on", "halation", &FxRicetta::halation, 1.0f,   1},
    {"bloom_on",    "bloom",    &FxRicetta::bloom,    1.0f,   2},
    {"vignetta_on", "vignetta", &FxRicetta::vignetta, 1.0f,   4},
    {"promist_on",  "promist",  &FxRicetta::promist,  GRADO,  5},
    {"streak_on",   "streak",   &FxRicetta::streak,   1.0f,   9},
    {"ca_on",       "ca",       &FxRicetta::ca,       1.0f,  10},
    {"grana_on",    "grana",    &FxRicetta::grana,    1.0f,   0},
    {"mistw_on",    "mistw",    &FxRicetta::mistw,    GRADO,  6},
    {"glimmer_on",  "glimmer",  &FxRicetta::glimmer,  GRADO,  7},
    {"pelle_on",    "pelle",    &FxRicetta::pelle,    GRADO,  8},
    {"stella_on",   "stella",   &FxRicetta::stella,   1.0f,   0},
};
// clang-format on

}  // namespace varno
