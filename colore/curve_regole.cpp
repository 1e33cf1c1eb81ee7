// The curves' formulas, in double.
#include "colore/curve_regole.h"

#include <cmath>

namespace varno {
namespace {

// Code value of sample i over the full range of the signal, 0 to 1.
double codice(int i)
{
    return i / 4095.0;
}

double dieci_alla(double x)
{
    return std::pow(10.0, x);
}

double slog3(int i)
{
    const double x = codice(i);
    if (x >= 171.2102946929 / 1023)
        return dieci_alla((1023 * x - 420) / 261.5) * (0.18 + 0.01) - 0.01;
    return (1023 * x - 95) * 0.01125 / (171.2102946929 - 95);
}

// Exposure index 800, for all footage.
double logc3(int i)
{
    constexpr double cut = 0.010591;
    constexpr double a = 5.555556;
    constexpr double b = 0.052272;
    constexpr double c = 0.247190;
    constexpr double d = 0.385537;
    constexpr double e = 5.367655;
    constexpr double f = 0.092809;
    const double x = codice(i);
    if (x > e * cut + f)
        return (dieci_alla((x - d) / c) - b) / a;
    return (x - f) / e;
}

// The linear branch of the encoding is for negative signals, which no sample has.
double logc4(int i)
{
    constexpr double a = (262144.0 - 16) / 117.45;
    constexpr double b = (1023.0 - 95) / 1023;
    constexpr double c = 95.0 / 1023;
    return (std::exp2(14 * (codice(i) - c) / b + 6) - 64) / a;
}

double canon_log3(int i)
{
    const double x = codice(i);
    double v;
    if (x < 0.097465473)
        v = -(dieci_alla((0.12783901 - x) / 0.36726845) - 1) / 14.98325;
    else if (x <= 0.15277891)
        v = (x - 0.12512219) / 1.9754798;
    else
        v = (dieci_alla((x - 0.12240537) / 0.36726845) - 1) / 14.98325;
    return 0.9 * v;
}

double vlog(int i)
{
    const double x = codice(i);
    if (x < 0.181)
        return (x - 0.125) / 5.6;
    return dieci_alla((x - 0.598206) / 0.241514) - 0.00873;
}

double flog(int i)
{
    const double x = codice(i);
    if (x >= 0.100537775223865)
        return (dieci_alla((x - 0.790453) / 0.344676) - 0.009468) / 0.555556;
    return (x - 0.092864) / 8.735631;
}

double flog2(int i)
{
    const double x = codice(i);
    if (x >= 0.100686685370811)
        return (dieci_alla((x - 0.384316) / 0.245281) - 0.064829) / 5.555556;
    return (x - 0.092864) / 8.799461;
}

double log3g10(int i)
{
    return (dieci_alla(codice(i) / 0.224282) - 1) / 155.975327 - 0.01;
}

double nlog(int i)
{
    const double y = 1023 * codice(i);
    if (y < 452) {
        const double t = y / 650;
        return t * t * t - 0.0075;
    }
    return std::exp((y - 619) / 150);
}

double dlog(int i)
{
    const double x = codice(i);
    if (x <= 0.14)
        return (x - 0.0929) / 6.025;
    return (dieci_alla(3.89616 * x - 2.27752) - 0.0108) / 0.9892;
}

double apple_log(int i)
{
    constexpr double R0 = -0.05641088;
    constexpr double Rt = 0.01;
    constexpr double c = 47.28711236;
    constexpr double b = 0.00964052;
    constexpr double g = 0.08550479;
    constexpr double d = 0.69336945;
    constexpr double Pt = c * ((Rt - R0) * (Rt - R0));
    const double x = codice(i);
    if (x < Pt)
        return std::sqrt(x / c) + R0;
    return std::exp2((x - d) / g) - b;
}

double slog2(int i)
{
    const double y = (1023 * codice(i) - 64) / 876;
    double v;
    if (y >= 0.432699 * std::log10(0.037584) + 0.646596)
        v = dieci_alla((y - 0.646596) / 0.432699) - 0.037584;
    else
        v = (y - 0.030001222851889303) / 5;
    return v * 0.9 * 219 / 155;
}

double canon_log2(int i)
{
    const double x = codice(i);
    double v;
    if (x < 0.092864125)
        v = -(dieci_alla((0.092864125 - x) / 0.24136077) - 1) / 87.099375;
    else
        v = (dieci_alla((x - 0.092864125) / 0.24136077) - 1) / 87.099375;
    return 0.9 * v;
}

double llog(int i)
{
    const double x = codice(i);
    if (x <= 0.138)
        return (x - 0.09) / 8;
    return (dieci_alla((x - 0.6) / 0.27) - 0.0115) / 1.3;
}

// The linear segment reaches a little past the standard's 0.081: sample 332 lies above 333.
double bt709(int i)
{
    const double x = codice(i);
    if (i <= 332)
        return x / 4.5;
    return std::pow((x + 0.099) / 1.099, 1 / 0.45);
}

double srgb(int i)
{
    const double x = codice(i);
    if (x <= 0.04045)
        return x / 12.92;
    return std::pow((x + 0.055) / 1.055, 2.4);
}

}  // namespace

// clang-format off
const RegolaCurva REGOLE_CURVE[NUMERO_CURVE] = {
    {"CURVA_SLOG3",      slog3},
    {"CURVA_LOGC3",      logc3},
    {"CURVA_LOGC4",      logc4},
    {"CURVA_CANON_LOG3", canon_log3},
    {"CURVA_VLOG",       vlog},
    {"CURVA_FLOG",       flog},
    {"CURVA_FLOG2",      flog2},
    {"CURVA_LOG3G10",    log3g10},
    {"CURVA_NLOG",       nlog},
    {"CURVA_DLOG",       dlog},
    {"CURVA_APPLE_LOG",  apple_log},
    {"CURVA_SLOG2",      slog2},
    {"CURVA_CANON_LOG2", canon_log2},
    {"CURVA_LLOG",       llog},
    {"CURVA_BT709",      bt709},
    {"CURVA_SRGB",       srgb},
};
// clang-format on

}  // namespace varno
