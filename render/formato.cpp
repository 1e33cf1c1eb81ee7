// The log formats, a row each: their colour-space choice and the camera rows that it leads to.
#include "render/formato.h"

#include <algorithm>

namespace varno {
namespace {

enum Tendina { SONY3, SONY2, CANON, APPLE, NESSUNA };  // places in TENDINE

struct Formato {
    Tendina tendina;
    std::int32_t righe;
    std::int32_t m[7];
};

// clang-format off
constexpr Formato FORMATI[] = {
    {SONY3,   7, {0, 11, 15, 16, 17, 13, 14}},  // Sony S-Log3
    {SONY2,   3, {12, 18, 19}},                 // Sony S-Log2
    {NESSUNA, 1, {1}},                          // ARRI LogC3
    {NESSUNA, 1, {2}},                          // ARRI LogC4
    {CANON,   3, {3, 22, 23}},                  // Canon Log 3
    {NESSUNA, 1, {4}},                          // Panasonic V-Log
    {NESSUNA, 1, {5}},                          // Fujifilm F-Log
    {NESSUNA, 1, {6}},                          // Fujifilm F-Log2
    {NESSUNA, 1, {7}},                          // RED Log3G10
    {NESSUNA, 1, {8}},                          // Nikon N-Log
    {NESSUNA, 1, {9}},                          // DJI D-Log
    {APPLE,   3, {10, 20, 21}},                 // Apple Log
    {CANON,   3, {24, 25, 26}},                 // Canon Log 2
    {NESSUNA, 1, {27}},                         // Fujifilm F-Log2 C
    {NESSUNA, 1, {28}},                         // Leica L-Log
    {NESSUNA, 1, {29}},                         // Apple Log 2
    {NESSUNA, 1, {30}},                         // Rec.709 (No Log)
    {NESSUNA, 1, {31}},                         // sRGB (No Log)
};
// clang-format on
constexpr std::int32_t NUMERO_FORMATI = sizeof FORMATI / sizeof FORMATI[0];

bool in_elenco(std::int32_t formato)
{
    return formato >= 0 && formato < NUMERO_FORMATI;
}

}  // namespace

const char* tendina_colorspace(std::int32_t formato)
{
    const Tendina t = in_elenco(formato) ? FORMATI[formato].tendina : NESSUNA;
    return t != NESSUNA ? TENDINE[t] : nullptr;
}

std::int32_t riga_profilo(std::int32_t formato, std::int32_t scelta)
{
    if (!in_elenco(formato))
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(formato) - 1u);
    const Formato& f = FORMATI[formato];
    return f.m[std::clamp(scelta, 0, f.righe - 1)];
}

}  // namespace varno
