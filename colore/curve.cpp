// The cameras' transfer curves: each maker's or standard's published rule, inverted, in double.
#include "colore/curve.h"

#include <limits>

namespace varno {
namespace {

// --- Powers in double ---------------------------------------------------------------------------

// Of our own: those of C libraries differ in the last bit, and a compiler need not know them. They
// are within 22 units in the last place of a double; every sample lies more than 200 times its
// error away from where its rounding to float would turn.

constexpr double LN10 = 2.302585092994045684;
constexpr double LN2 = 0.693147180559945309;

// e to the power x: the whole powers of 2 taken off, then its series.
constexpr double esponenziale(double x)
{
    const int k = static_cast<int>(x / LN2 + (x < 0.0 ? -0.5 : 0.5));
    const double r = x - k * LN2;
    double v = 1.0;
    for (int n = 13; n > 0; --n)
        v = v * r / n + 1.0;
    for (int i = 0; i < k; ++i)
        v *= 2.0;
    for (int i = 0; i > k; --i)
        v *= 0.5;
    return v;
}

// Of x above 0: the same the other way round, with the series of the area tangent.
constexpr double logaritmo(double x)
{
    int k = 0;
    while (x > 1.5) {
        x *= 0.5;
        ++k;
    }
    while (x < 0.75) {
        x *= 2.0;
        --k;
    }
    const double t = (x - 1.0) / (x + 1.0);
    double v = 0.0;
    for (int n = 23; n > 0; n -= 2)
        v = v * t * t + 1.0 / n;
    return k * LN2 + 2.0 * t * v;
}

constexpr double dieci_alla(double x)
{
    return esponenziale(x * LN10);
}

constexpr double due_alla(double x)
{
    return esponenziale(x * LN2);
}

constexpr double potenza(double x, double y)
{
    return x > 0.0 ? esponenziale(y * logaritmo(x)) : 0.0;
}

// --- The rules: linear light of a code value x, 0..1 over the full range of the signal ----------

// Sony S-Log3.
constexpr double slog3(double x)
{
    if (x >= 171.2102946929 / 1023)
        return dieci_alla((1023 * x - 420) / 261.5) * (0.18 + 0.01) - 0.01;
    return (1023 * x - 95) * 0.01125 / (171.2102946929 - 95);
}

// ARRI LogC3, at exposure index 800 for all footage.
constexpr double logc3(double x)
{
    constexpr double cut = 0.010591;
    constexpr double a = 5.555556;
    constexpr double b = 0.052272;
    constexpr double c = 0.247190;
    constexpr double d = 0.385537;
    constexpr double e = 5.367655;
    constexpr double f = 0.092809;
    if (x > e * cut + f)
        return (dieci_alla((x - d) / c) - b) / a;
    return (x - f) / e;
}

// ARRI LogC4. Its linear branch is for negative signals, which no sample has.
constexpr double logc4(double x)
{
    constexpr double a = (262144.0 - 16) / 117.45;
    constexpr double b = (1023.0 - 95) / 1023;
    constexpr double c = 95.0 / 1023;
    return (due_alla(14 * (x - c) / b + 6) - 64) / a;
}

// Canon Log 3.
constexpr double canon_log3(double x)
{
    if (x < 0.097465473)
        return 0.9 * (-(dieci_alla((0.12783901 - x) / 0.36726845) - 1) / 14.98325);
    if (x <= 0.15277891)
        return 0.9 * ((x - 0.12512219) / 1.9754798);
    return 0.9 * ((dieci_alla((x - 0.12240537) / 0.36726845) - 1) / 14.98325);
}

// Panasonic V-Log.
constexpr double vlog(double x)
{
    if (x < 0.181)
        return (x - 0.125) / 5.6;
    return dieci_alla((x - 0.598206) / 0.241514) - 0.00873;
}

// Fujifilm F-Log.
constexpr double flog(double x)
{
    if (x >= 0.100537775223865)
        return (dieci_alla((x - 0.790453) / 0.344676) - 0.009468) / 0.555556;
    return (x - 0.092864) / 8.735631;
}

// Fujifilm F-Log2.
constexpr double flog2(double x)
{
    if (x >= 0.100686685370811)
        return (dieci_alla((x - 0.384316) / 0.245281) - 0.064829) / 5.555556;
    return (x - 0.092864) / 8.799461;
}

// RED Log3G10. Here too the linear branch is for negative signals.
constexpr double log3g10(double x)
{
    return (dieci_alla(x / 0.224282) - 1) / 155.975327 - 0.01;
}

// Nikon N-Log.
constexpr double nlog(double x)
{
    const double y = 1023 * x;
    if (y < 452)
        return (y / 650) * (y / 650) * (y / 650) - 0.0075;
    return esponenziale((y - 619) / 150);
}

// DJI D-Log.
constexpr double dlog(double x)
{
    if (x <= 0.14)
        return (x - 0.0929) / 6.025;
    return (dieci_alla(3.89616 * x - 2.27752) - 0.0108) / 0.9892;
}

// Apple Log.
constexpr double apple_log(double x)
{
    constexpr double R0 = -0.05641088;
    constexpr double Rt = 0.01;
    constexpr double c = 47.28711236;
    constexpr double b = 0.00964052;
    constexpr double g = 0.08550479;
    constexpr double d = 0.69336945;
    constexpr double Pt = c * ((Rt - R0) * (Rt - R0));
    if (x < Pt)
        return potenza(x / c, 0.5) + R0;
    return due_alla((x - d) / g) - b;
}

// Sony S-Log2.
constexpr double slog2(double x)
{
    constexpr double taglio = 0.432699 * (logaritmo(0.037584) / LN10) + 0.646596;
    const double y = (1023 * x - 64) / 876;
    const double v = y >= taglio ? dieci_alla((y - 0.646596) / 0.432699) - 0.037584
                                 : (y - 0.030001222851889303) / 5;
    return v * 0.9 * 219 / 155;
}

// Canon Log 2.
constexpr double canon_log2(double x)
{
    if (x < 0.092864125)
        return 0.9 * (-(dieci_alla((0.092864125 - x) / 0.24136077) - 1) / 87.099375);
    return 0.9 * ((dieci_alla((x - 0.092864125) / 0.24136077) - 1) / 87.099375);
}

// Leica L-Log.
constexpr double llog(double x)
{
    if (x <= 0.138)
        return (x - 0.09) / 8;
    return (dieci_alla((x - 0.6) / 0.27) - 0.0115) / 1.3;
}

// ITU-R BT.709. The linear segment reaches a little past the standard's 0.081: sample 332 lies
// above 333.
constexpr double bt709(double x)
{
    if (x <= 332 / 4095.0)
        return x / 4.5;
    return potenza((x + 0.099) / 1.099, 1 / 0.45);
}

// IEC 61966-2-1, sRGB.
constexpr double srgb(double x)
{
    if (x <= 0.04045)
        return x / 12.92;
    return potenza((x + 0.055) / 1.055, 2.4);
}

// --- Their samples ------------------------------------------------------------------------------

template <class Regola> constexpr CampioniCurva campioni(const Regola& regola)
{
    CampioniCurva c = {};
    for (int i = 0; i < CAMPIONI_CURVA; ++i)
        c[static_cast<unsigned>(i)] = static_cast<float>(regola(i / 4095.0));
    return c;
}

}  // namespace

constinit const CampioniCurva CURVA_SLOG3 = campioni(slog3);
constinit const CampioniCurva CURVA_LOGC3 = campioni(logc3);
constinit const CampioniCurva CURVA_LOGC4 = campioni(logc4);
constinit const CampioniCurva CURVA_CANON_LOG3 = campioni(canon_log3);
constinit const CampioniCurva CURVA_VLOG = campioni(vlog);
constinit const CampioniCurva CURVA_FLOG = campioni(flog);
constinit const CampioniCurva CURVA_FLOG2 = campioni(flog2);
constinit const CampioniCurva CURVA_LOG3G10 = campioni(log3g10);
constinit const CampioniCurva CURVA_NLOG = campioni(nlog);
constinit const CampioniCurva CURVA_DLOG = campioni(dlog);
constinit const CampioniCurva CURVA_APPLE_LOG = campioni(apple_log);
constinit const CampioniCurva CURVA_SLOG2 = campioni(slog2);
constinit const CampioniCurva CURVA_CANON_LOG2 = campioni(canon_log2);
constinit const CampioniCurva CURVA_LLOG = campioni(llog);
constinit const CampioniCurva CURVA_BT709 = campioni(bt709);
constinit const CampioniCurva CURVA_SRGB = campioni(srgb);

}  // namespace varno
