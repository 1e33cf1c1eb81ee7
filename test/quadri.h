// Pictures for the tests of the chain, and how they are compared.
#pragma once

#include "comune/nuclei.h"
#include "comune/piano.h"
#include "prova.h"
#include "semplici.h"

namespace varno {

using Campioni = semplici::Campioni;

enum class Contenuto {
    CASO,      // 0..1, every value as likely
    LUCI,      // dark, single pixels from just below white to far above it
    RAMPE,     // slow ramps through all thresholds, colours apart
    OLTRE,     // -0.5..2
    ESTREMI,   // now and then denormal, huge or -0
    GUASTI,    // now and then not-a-number or infinite
    PIATTO,    // one colour
    MASSIMO_,  // how many there are
};

struct Misura {
    int larghezza, altezza;
};

/// One line an effect: its field, the greatest amount that the parameters let pass.
struct Voce {
    const char* nome;
    float FxRicetta::*campo;
    float massimo;
};
// clang-format off
inline constexpr Voce EFFETTI[] = {
    {"enhance", &FxRicetta::enhance, 0.6f },  {"pelle",    &FxRicetta::pelle,    0.55f},
    {"halation",&FxRicetta::halation,0.6f },  {"bloom",    &FxRicetta::bloom,    0.6f },
    {"streak",  &FxRicetta::streak,  0.6f },  {"promist",  &FxRicetta::promist,  0.55f},
    {"stella",  &FxRicetta::stella,  1.0f },  {"mistw",    &FxRicetta::mistw,    0.55f},
    {"glimmer", &FxRicetta::glimmer, 0.55f},  {"ca",       &FxRicetta::ca,       0.6f },
    {"vignetta",&FxRicetta::vignetta,0.6f },  {"grana",    &FxRicetta::grana,    0.6f },
};
// clang-format on

/// Every other effect or so, of any strength, star and frame number.
FxRicetta ricetta_a_caso(std::mt19937& caso);

/// n samples (planes) or pixels times three (pictures) of a frame that wide.
Campioni riempi(Contenuto contenuto, int larghezza, int altezza, int canali, std::uint32_t seme);

Piano piano_di(const Campioni& c);

/// Empty where all bits are equal, not-a-number being equal to any other; else the first place.
std::string differenza(const Campioni& atteso, const Piano& avuto, int larghezza, int canali);

/// Thread counts and instruction sets in turn, so that a long table meets all of them.
struct Giro {
    unsigned thread() const;
    const Nuclei* livello() const;
    /// Next row; false where it is to be left out: sanitizers make do with one in
    /// eleven, which no length of a table divides.
    bool avanti()
    {
        ++passo;
        return !LENTO || passo % 11 == 0;
    }
    std::size_t passo = 0;
};

}  // namespace varno
