// The recipe: how much of each effect a frame gets.
#pragma once

#include <cstdint>

namespace varno {

constexpr int NUMERO_EFFETTI = 12;

/// The recipe of the effect chain: an amount of 0, negative or not-a-number switches its effect
/// off. Ranges as they reach applica_fx; nothing is clamped there.
struct FxRicetta {
    float enhance = 0.0f;         // 0..0.6, local contrast
    float halation = 0.0f;        // 0..0.6
    float bloom = 0.0f;           // 0..0.6
    float vignetta = 0.0f;        // 0..0.6
    float promist = 0.0f;         // 0..0.55, grade already scaled
    float streak = 0.0f;          // 0..0.6
    float ca = 0.0f;              // 0..0.6, chromatic aberration
    float grana = 0.0f;           // 0..0.6
    std::int32_t fotogramma = 0;  // frame number, the grain's seed
    float mistw = 0.0f;           // 0..0.55, grade already scaled
    float glimmer = 0.0f;         // 0..0.55, grade already scaled
    float pelle = 0.0f;           // 0..0.55, grade already scaled
    float stella = 0.0f;          // 0..1, not scaled
    std::int32_t punte = 4;       // 4, 6 or 8 star points
};

}  // namespace varno
