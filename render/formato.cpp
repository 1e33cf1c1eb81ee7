// The log formats, a row each: their colour-space choice and the camera rows that it leads to.
#include "render/formato.h"

#include <algorithm>

namespace varno {
namespace {

struct Formato {
    const char* tendina;
    std::int32_t righe;
    std::int32_t m[7];
};

// clang-format off
constexpr Formato FORMATI[] = {
    {"cs_sony3", 7, {0, 11, 15, 16, 17, 13, 14}},  // Sony S-Log3
    {"cs_sony2", 3, {12, 18, 19}},                 // Sony S-Log2
    {nullptr,    1, {1}},                          // ARRI LogC3
    {nullptr,    1, {2}},                          // ARRI LogC4
    {"cs_canon", 3, {3, 22, 23}},                  // Canon Log 3
    {nullptr,    1, {4}},                          // Panasonic V-Log
    {nullptr,    1, {5}},                          // Fujifilm F-Log
    {nullptr,    1, {6}},                          // Fujifilm F-Log2
    {nullptr,    1, {7}},                          // RED Log3G10
    {nullptr,    1, {8}},                          // Nikon N-Log
    {nullptr,    1, {9}},                          // DJI D-Log
    {"cs_apple", 3, {10, 20, 21}},                 // Apple Log
    {"cs_canon", 3, {24, 25, 26}},                 // Canon Log 2
    {nullptr,    1, {27}},                         // Fujifilm F-Log2 C
    {nullptr,    1, {28}},                         // Leica L-Log
    {nullptr,    1, {29}},                         // Apple Log 2
    {nullptr,    1, {30}},                         // Rec.709 (No Log)
    {nullptr,    1, {31}},                         // sRGB (No Log)
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
    return in_elenco(formato) ? FORMATI[formato].tendina : nullptr;
}

std::int32_t riga_profilo(std::int32_t formato, std::int32_t scelta)
{
    if (!in_elenco(formato))
        return static_cast<std::int32_t>(static_cast<std::uint32_t>(formato) - 1u);
    const Formato& f = FORMATI[formato];
    return f.m[std::clamp(scelta, 0, f.righe - 1)];
}

}  // namespace varno
