// The cameras: a matrix and a curve each.
#include "colore/profili.h"

#include "comune/elementari.h"

#include <algorithm>

namespace varno {
namespace {

// Linear camera RGB to linear Rec.709, row after row, one for each camera gamut; the white of all
// is D65. The residues of order 1e-16 come from a product in double and stay.
// clang-format off
constexpr Matrice S_GAMUT3_CINE = {
          1.6269474f,     -0.54013854f,     -0.08680887f,
        -0.17851552f,        1.417941f,      -0.2394254f,
       -0.044436116f,     -0.19591996f,       1.2403561f,
};
constexpr Matrice WIDE_GAMUT_3 = {
          1.6175245f,      -0.5372862f,     -0.08023815f,
       -0.070572704f,       1.3346128f,      -0.2640402f,
       -0.021102047f,     -0.22695361f,       1.2480559f,
};
constexpr Matrice WIDE_GAMUT_4 = {
          1.8931234f,      -0.7808815f,     -0.11224194f,
        -0.20570035f,       1.3402575f,     -0.13455713f,
       -0.012705743f,     -0.15218487f,       1.1648906f,
};
constexpr Matrice CINEMA_GAMUT = {
          1.9238613f,     -0.79876065f,     -0.12510063f,
        -0.20431085f,       1.4958985f,     -0.29158765f,
       -0.023685021f,       -0.420127f,        1.443812f,
};
constexpr Matrice V_GAMUT = {
          1.8065736f,     -0.69569814f,    -0.110878564f,
        -0.17008904f,       1.3059548f,     -0.13586482f,
       -0.025205692f,     -0.15446776f,       1.1796737f,
};
constexpr Matrice BT2020 = {
           1.660491f,      -0.5876411f,     -0.07284986f,
        -0.12455048f,       1.1328999f,    -0.008349422f,
       -0.018150764f,      -0.1005789f,       1.1187297f,
};
constexpr Matrice WIDE_GAMUT_RGB = {
          1.9819754f,     -0.90043306f,      -0.0815455f,
        -0.17814313f,       1.5004685f,     -0.32232445f,
        -0.10179611f,     -0.53526324f,       1.6370596f,
};
constexpr Matrice D_GAMUT = {
          1.6748419f,     -0.57996744f,     -0.09492718f,
        -0.09812538f,       1.3340461f,     -0.23587725f,
        -0.04100864f,     -0.24302186f,        1.283755f,
};
constexpr Matrice S_GAMUT = {
          1.8779151f,      -0.7941688f,    -0.083746366f,
        -0.17680699f,       1.3509996f,     -0.17419264f,
       -0.026201127f,     -0.14842226f,       1.1746234f,
};
constexpr Matrice VENICE_S_GAMUT3 = {
          1.9902711f,     -0.95448315f,    -0.035787858f,
        -0.19542275f,       1.3888952f,     -0.19347237f,
       -0.036936667f,     -0.13918681f,       1.1761235f,
};
constexpr Matrice VENICE_S_GAMUT3_CINE = {
          1.7257292f,     -0.69432944f,    -0.031399798f,
          -0.194897f,        1.455904f,       -0.261007f,
        -0.05386676f,     -0.18785037f,       1.2417171f,
};
constexpr Matrice BT709 = {
                1.0f,   -5.188935e-16f,  -1.1528166e-16f,
      1.2997489e-16f,             1.0f,   3.3527093e-17f,
      -3.829536e-18f,   -1.608237e-17f,             1.0f,
};
constexpr Matrice P3_D65 = {
          1.2249402f,     -0.22494018f,  -6.4628376e-17f,
       -0.042056955f,       1.0420569f,   2.3343009e-17f,
       -0.019637555f,     -0.07863604f,       1.0982736f,
};
constexpr Matrice F_GAMUT_C = {
          2.1198516f,       -1.075705f,    -0.044146415f,
        -0.23033586f,       1.3724421f,      -0.1421063f,
       -0.014227433f,     -0.15022498f,       1.1644524f,
};
constexpr Matrice APPLE_WIDE_GAMUT = {
          1.7072804f,      -0.5190199f,     -0.18826045f,
        -0.12501074f,       1.3146623f,     -0.18965162f,
       -0.043624334f,     -0.19121437f,       1.2348387f,
};

// Row 0 goes through this one, which differs from S_GAMUT3_CINE in the fourth digit on purpose: a
// neutral does not stay quite neutral.
constexpr Matrice ANALITICA = {
      1.6266885f,  -0.54005265f,  -0.08679532f,
    -0.17851967f,    1.4179736f,  -0.23943081f,
    -0.04444674f,  -0.19596688f,    1.2406536f,
};
// clang-format on

float decodifica_analitica(float x)
{
    const float y = x * 1023.0f;
    if (x >= 0.16736099f)
        return potenza(10.0f, (y - 420.0f) / 261.5f) * 0.19000001f - 0.01f;
    return ((y - 95.0f) * 0.01125f) / 76.2103f;
}

}  // namespace

// "Apple Log 2" and "F-Log2 C" use their elder's curve, the Venice rows plain S-Log3: meant so.
// Row 0 is here for its name; decoding never reads its matrix and samples.
// clang-format off
constexpr ProfiloCamera PROFILI[NUMERO_PROFILI] = {
    {"Sony S-Log3 / S-Gamut3.Cine",    S_GAMUT3_CINE,        CURVA_SLOG3},
    {"ARRI LogC3 / Wide Gamut 3",      WIDE_GAMUT_3,         CURVA_LOGC3},
    {"ARRI LogC4 / Wide Gamut 4",      WIDE_GAMUT_4,         CURVA_LOGC4},
    {"Canon Log 3 / Cinema Gamut",     CINEMA_GAMUT,         CURVA_CANON_LOG3},
    {"Panasonic V-Log / V-Gamut",      V_GAMUT,              CURVA_VLOG},
    {"Fujifilm F-Log / F-Gamut",       BT2020,               CURVA_FLOG},
    {"Fujifilm F-Log2 / F-Gamut",      BT2020,               CURVA_FLOG2},
    {"RED Log3G10 / WideGamutRGB",     WIDE_GAMUT_RGB,       CURVA_LOG3G10},
    {"Nikon N-Log / N-Gamut",          BT2020,               CURVA_NLOG},
    {"DJI D-Log / D-Gamut",            D_GAMUT,              CURVA_DLOG},
    {"Apple Log / Rec.2020",           BT2020,               CURVA_APPLE_LOG},
    {"Sony S-Log3 / S-Gamut3",         S_GAMUT,              CURVA_SLOG3},
    {"Sony S-Log2 / S-Gamut",          S_GAMUT,              CURVA_SLOG2},
    {"Sony Venice S-Log3 / SGamut3",   VENICE_S_GAMUT3,      CURVA_SLOG3},
    {"Sony Venice S-Log3 / SG3.Cine",  VENICE_S_GAMUT3_CINE, CURVA_SLOG3},
    {"Sony S-Log3 / S-Gamut",          S_GAMUT,              CURVA_SLOG3},
    {"Sony S-Log3 / BT.2020",          BT2020,               CURVA_SLOG3},
    {"Sony S-Log3 / 709",              BT709,                CURVA_SLOG3},
    {"Sony S-Log2 / BT.2020",          BT2020,               CURVA_SLOG2},
    {"Sony S-Log2 / 709",              BT709,                CURVA_SLOG2},
    {"Apple Log / P3-D65",             P3_D65,               CURVA_APPLE_LOG},
    {"Apple Log / 709",                BT709,                CURVA_APPLE_LOG},
    {"Canon Log 3 / BT.2020",          BT2020,               CURVA_CANON_LOG3},
    {"Canon Log 3 / BT.709",           BT709,                CURVA_CANON_LOG3},
    {"Canon Log 2 / Cinema Gamut",     CINEMA_GAMUT,         CURVA_CANON_LOG2},
    {"Canon Log 2 / BT.2020",          BT2020,               CURVA_CANON_LOG2},
    {"Canon Log 2 / BT.709",           BT709,                CURVA_CANON_LOG2},
    {"Fujifilm F-Log2 C / F-Gamut C",  F_GAMUT_C,            CURVA_FLOG2},
    {"Leica L-Log / Rec.2020",         BT2020,               CURVA_LLOG},
    {"Apple Log 2 / Apple Wide Gamut", APPLE_WIDE_GAMUT,     CURVA_APPLE_LOG},
    {"Rec.709 (No Log)",               BT709,                CURVA_BT709},
    {"sRGB (No Log)",                  BT709,                CURVA_SRGB},
};
// clang-format on

float decodifica_canale(float codice, int profilo)
{
    if (profilo == 0)
        return decodifica_analitica(codice);
    const float* curva = PROFILI[profilo].curva.data();
    if (codice >= 1.0f)
        return curva[CAMPIONI_CURVA - 1];
    const float p = (codice > 0.0f ? codice : 0.0f) * 4095.0f;
    const int i = std::min(static_cast<int>(p), CAMPIONI_CURVA - 2);
    const float f = p - static_cast<float>(i);
    return (1.0f - f) * curva[i] + f * curva[i + 1];
}

const Matrice& matrice_di(int profilo)
{
    return profilo == 0 ? ANALITICA : PROFILI[profilo].matrice;
}

}  // namespace varno
