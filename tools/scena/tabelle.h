// What stands in the test scene: lamps, spheres, and the colours of the chart.
#pragma once

#include <OpenImageIO/Imath.h>

// Scene light is linear with Rec.709 primaries, 0.18 a mid grey and 0.9 a white sheet of paper.
// Places are in heights of the frame: u to the right from the middle, v downward from the top.
namespace varno::provino::tabelle {

using Luce = Imath::V3d;

constexpr double ORIZZONTE = 0.43;
constexpr double RIVA = 0.555;    // where the wall with the spheres begins
constexpr double PIEDE = 0.712;   // where they stand
constexpr double TAVOLA = 0.745;  // where the chart begins
constexpr double SOLE_U = 0.40, SOLE_V = 0.309;
constexpr Luce SOLE = {1.0, 0.457, 0.141}, TUNGSTENO = {1.0, 0.60, 0.26}, ROSSO = {1.0, 0.06, 0.03},
               VERDE = {0.06, 0.80, 0.14}, BLU = {0.05, 0.16, 1.0}, ALOGENA = {1.0, 0.86, 0.66},
               XENO = {0.8, 0.92, 1.0}, BIANCO = {1.0, 1.0, 1.0}, CARTONE = {0.03, 0.03, 0.03};

// A glowing disc, or a row of them.
struct Lampade {
    double u, v, raggio, stop;  // above white; coloured glass takes more of the light
    Luce colore;
    int quante = 1;
    double passo = 1.0;
};

struct Sfera {
    double u, raggio;
    Luce colore;
    double lucido;  // 0 matte to 1 mirror
};

// clang-format off
// The sun, floodlights on the hill, windows and a quay, and a string of lamps in mixed order.
constexpr Lampade LAMPADE[] = {
    {SOLE_U, SOLE_V, 0.0250, 5.7, SOLE},
    {-0.630, 0.3500, 0.0110, 8.0, XENO},      {-0.400, 0.3420, 0.0110, 8.0, ALOGENA},
    {-0.066, 0.4140, 0.0018, 2.5, TUNGSTENO, 17, 0.0112},
    {-0.045, 0.4205, 0.0022, 1.0, TUNGSTENO, 20, 0.0176},
    { 0.140, 0.4080, 0.0018, 3.5, TUNGSTENO, 10, 0.0137},
    { 0.720, 0.4070, 0.0022, 2.0, TUNGSTENO,  9, 0.0211},
    {-0.640, 0.4090, 0.0042, 6.0, ALOGENA,   18, 0.0160},
    {-0.640, 0.4230, 0.0042, 6.0, ALOGENA,   18, 0.0160},
    {-0.868, 0.0634, 0.0082, 5.0, TUNGSTENO}, {-0.744, 0.0903, 0.0082, 0.4, ROSSO},
    {-0.620, 0.1102, 0.0082, 1.0, TUNGSTENO}, {-0.496, 0.1218, 0.0082, 7.0, ALOGENA},
    {-0.372, 0.1258, 0.0082, 0.0, VERDE},     {-0.248, 0.1246, 0.0082, 3.5, TUNGSTENO},
    {-0.124, 0.1212, 0.0082, 1.0, BLU},       { 0.000, 0.1183, 0.0082, 8.0, TUNGSTENO},
    { 0.124, 0.1176, 0.0082, 1.4, ROSSO},     { 0.248, 0.1187, 0.0082, 2.0, TUNGSTENO},
    { 0.372, 0.1197, 0.0082, 6.0, XENO},      { 0.496, 0.1175, 0.0082, 1.2, VERDE},
    { 0.620, 0.1093, 0.0082, 4.5, TUNGSTENO}, { 0.744, 0.0931, 0.0082, 2.0, BLU},
    { 0.868, 0.0689, 0.0082, 6.0, TUNGSTENO},
};

// Six skins from light to deep, mid grey, a mirror, and two strong colours.
constexpr Sfera SFERE[] = {
    {-0.760, 0.062, {0.18,  0.18,  0.18},  0.00}, {-0.600, 0.066, {0.78,  0.55,  0.44},  0.05},
    {-0.435, 0.066, {0.60,  0.36,  0.25},  0.05}, {-0.270, 0.066, {0.44,  0.24,  0.155}, 0.05},
    {-0.105, 0.066, {0.29,  0.145, 0.088}, 0.06}, { 0.060, 0.066, {0.145, 0.070, 0.044}, 0.07},
    { 0.225, 0.066, {0.068, 0.035, 0.024}, 0.08}, { 0.400, 0.076, {0.9,   0.9,   0.9},   1.00},
    { 0.580, 0.062, {0.55,  0.030, 0.025}, 0.22}, { 0.735, 0.055, {0.03,  0.12,  0.50},  0.22},
};

// Everyday things: foliage, sky, brick and so on, then six skins.
constexpr Luce COLORI[] = {
    {0.045, 0.075, 0.020}, {0.135, 0.195, 0.055}, {0.33,  0.36,  0.085}, {0.14,  0.22,  0.42},
    {0.045, 0.085, 0.24},  {0.20,  0.13,  0.42},  {0.055, 0.030, 0.115}, {0.26,  0.045, 0.13},
    {0.42,  0.085, 0.055}, {0.60,  0.19,  0.030}, {0.70,  0.39,  0.030}, {0.78,  0.62,  0.12},
    {0.62,  0.52,  0.38},  {0.085, 0.30,  0.26},  {0.88,  0.86,  0.80},  {0.74,  0.51,  0.41},
    {0.58,  0.34,  0.235}, {0.42,  0.225, 0.145}, {0.275, 0.135, 0.082}, {0.14,  0.066, 0.041},
    {0.066, 0.034, 0.023},
};

// Primaries and secondaries near the edge of the display's colours.
constexpr Luce SATURI[] = {
    {0.55,  0.012, 0.012}, {0.55,  0.42, 0.008}, {0.012, 0.45,  0.02},
    {0.012, 0.42,  0.48},  {0.012, 0.02, 0.58},  {0.50,  0.012, 0.45},
};
// clang-format on

}  // namespace varno::provino::tabelle
