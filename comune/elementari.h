#pragma once

// Powers, exponentials and angles of the project's own, for a float or a vector of them: the same
// bits from every compiler and processor, since nothing but IEEE operations without contraction
// makes them. They are those of glibc 2.28 to 2.40 on x86-64, in its build without fused
// multiply-add. Everything has internal linkage, since each level must keep its own copy.
//
// Powers and exponentials go through double: logarithm and exponential to base 2, each from a table
// and a short polynomial. Rounded to float they are within 0.51 units in the last place. Angles
// stay in float: an odd polynomial around five points, which carry a correction of their last
// digits; within 1.5 units.

#include "comune/vettore.h"

namespace varno {
namespace VARNO_LIVELLO {
namespace {

// --- Doubles, as many at once as the registers hold ---------------------------------------------

// The samples of a vector fill two vectors of doubles, a plain float makes one.
template <class V> struct Ampi;
template <> struct Ampi<float> {
    static constexpr int PARTI = 1;
    using I = int32_t;
    using D = double;
    using U = uint64_t;
};
template <> struct Ampi<Vf> {
    static constexpr int PARTI = 2;
    using I = Vi;
    typedef double D __attribute__((vector_size(sizeof(Vf))));
    typedef uint64_t U __attribute__((vector_size(sizeof(Vf))));
};
template <class V> using Doppi = typename Ampi<V>::D;
template <class V> using Lunghi = typename Ampi<V>::U;
template <class V> using Interi = typename Ampi<V>::I;

template <class A, class B> inline A bit_di(B b)
{
    static_assert(sizeof(A) == sizeof(B));
    A a;
    memcpy(&a, &b, sizeof a);
    return a;
}

inline void allarga(float v, double (&d)[1])
{
    d[0] = static_cast<double>(v);
}

inline float stringi(const double (&d)[1])
{
    return static_cast<float>(d[0]);
}

inline void allarga(Vf v, Doppi<Vf> (&d)[2])
{
#if defined(__AVX2__)
    d[0] = Doppi<Vf>(_mm256_cvtps_pd(__m128(prima_corsia(v))));
    d[1] = Doppi<Vf>(_mm256_cvtps_pd(__m128(seconda_corsia(v))));
#elif defined(__SSE2__)
    d[0] = Doppi<Vf>(_mm_cvtps_pd(__m128(v)));
    d[1] = Doppi<Vf>(_mm_cvtps_pd(_mm_movehl_ps(__m128(v), __m128(v))));
#else
    typedef float V2 __attribute__((vector_size(8)));
    d[0] = __builtin_convertvector((V2{v[0], v[1]}), Doppi<Vf>);
    d[1] = __builtin_convertvector((V2{v[2], v[3]}), Doppi<Vf>);
#endif
}

inline Vf stringi(const Doppi<Vf> (&d)[2])
{
#if defined(__AVX2__)
    return Vf(_mm256_set_m128(_mm256_cvtpd_ps(__m256d(d[1])), _mm256_cvtpd_ps(__m256d(d[0]))));
#elif defined(__SSE2__)
    return Vf(_mm_movelh_ps(_mm_cvtpd_ps(__m128d(d[0])), _mm_cvtpd_ps(__m128d(d[1]))));
#else
    typedef float V2 __attribute__((vector_size(8)));
    const V2 a = __builtin_convertvector(d[0], V2);
    const V2 b = __builtin_convertvector(d[1], V2);
    return Vf{a[0], a[1], b[0], b[1]};
#endif
}

/// f of each sample by itself.
template <class F> inline float uno_per_uno(float v, const F& f)
{
    return f(v);
}
template <class F> inline Vf uno_per_uno(Vf v, const F& f)
{
    for (int i = 0; i < CAMPIONI<Vf>; ++i)
        v[i] = f(v[i]);
    return v;
}

// --- Powers of 2 and logarithms to base 2, in double --------------------------------------------

constexpr int PARTI_ESPONENZIALE = 32;
constexpr int PARTI_LOGARITMO = 16;

// 2 to the power i / 32 as bits, with i / 32 taken off the exponent, which then comes back with
// the whole part.
// clang-format off
constexpr uint64_t POTENZE_DI_DUE[PARTI_ESPONENZIALE] = {
    0x3ff0000000000000, 0x3fefd9b0d3158574, 0x3fefb5586cf9890f, 0x3fef9301d0125b51,
    0x3fef72b83c7d517b, 0x3fef54873168b9aa, 0x3fef387a6e756238, 0x3fef1e9df51fdee1,
    0x3fef06fe0a31b715, 0x3feef1a7373aa9cb, 0x3feedea64c123422, 0x3feece086061892d,
    0x3feebfdad5362a27, 0x3feeb42b569d4f82, 0x3feeab07dd485429, 0x3feea47eb03a5585,
    0x3feea09e667f3bcd, 0x3fee9f75e8ec5f74, 0x3feea11473eb0187, 0x3feea589994cce13,
    0x3feeace5422aa0db, 0x3feeb737b0cdc5e5, 0x3feec49182a3f090, 0x3feed503b23e255d,
    0x3feee89f995ad3ad, 0x3feeff76f2fb5e47, 0x3fef199bdd85529c, 0x3fef3720dcef9069,
    0x3fef5818dcfba487, 0x3fef7c97337b9b5f, 0x3fefa4afa2a490da, 0x3fefd0765b6e4540,
};

// Around the middle of each sixteenth, from 0.7 on: the reciprocal of a point, and the logarithm of
// that point.
constexpr double LOGARITMI[PARTI_LOGARITMO][2] = {
    {0x1.661ec79f8f3bep+0, -0x1.efec65b963019p-2},
    {0x1.571ed4aaf883dp+0, -0x1.b0b6832d4fca4p-2},
    {0x1.49539f0f010bp+0,  -0x1.7418b0a1fb77bp-2},
    {0x1.3c995b0b80385p+0, -0x1.39de91a6dcf7bp-2},
    {0x1.30d190c8864a5p+0, -0x1.01d9bf3f2b631p-2},
    {0x1.25e227b0b8eap+0,  -0x1.97c1d1b3b7afp-3},
    {0x1.1bb4a4a1a343fp+0, -0x1.2f9e393af3c9fp-3},
    {0x1.12358f08ae5bap+0, -0x1.960cbbf788d5cp-4},
    {0x1.0953f419900a7p+0, -0x1.a6f9db6475fcep-5},
    {0x1p+0,                0x0p+0},
    {0x1.e608cfd9a47acp-1,  0x1.338ca9f24f53dp-4},
    {0x1.ca4b31f026aap-1,   0x1.476a9543891bap-3},
    {0x1.b2036576afce6p-1,  0x1.e840b4ac4e4d2p-3},
    {0x1.9c2d163a1aa2dp-1,  0x1.40645f0c6651cp-2},
    {0x1.886e6037841edp-1,  0x1.88e9c2c1b9ff8p-2},
    {0x1.767dcf5534862p-1,  0x1.ce0a44eb17bccp-2},
};
// clang-format on

inline uint64_t potenze_di_due(uint64_t i)
{
    return POTENZE_DI_DUE[i];
}

// The reciprocals and the logarithms at the places of the given part of i.
inline void logaritmi(int32_t i, int, double& reciproco, double& logaritmo)
{
    reciproco = LOGARITMI[i][0];
    logaritmo = LOGARITMI[i][1];
}

#if defined(__AVX2__)
inline Lunghi<Vf> potenze_di_due(Lunghi<Vf> i)
{
    return Lunghi<Vf>{POTENZE_DI_DUE[i[0]], POTENZE_DI_DUE[i[1]], POTENZE_DI_DUE[i[2]],
                      POTENZE_DI_DUE[i[3]]};
}

inline void logaritmi(Vi i, int parte, Doppi<Vf>& reciproco, Doppi<Vf>& logaritmo)
{
    const auto coppia = [=](int k) { return _mm_loadu_pd(LOGARITMI[i[4 * parte + k]]); };
    const __m256d a = _mm256_set_m128d(coppia(2), coppia(0));
    const __m256d b = _mm256_set_m128d(coppia(3), coppia(1));
    reciproco = Doppi<Vf>(_mm256_unpacklo_pd(a, b));
    logaritmo = Doppi<Vf>(_mm256_unpackhi_pd(a, b));
}
#else
inline Lunghi<Vf> potenze_di_due(Lunghi<Vf> i)
{
    return Lunghi<Vf>{POTENZE_DI_DUE[i[0]], POTENZE_DI_DUE[i[1]]};
}

inline void logaritmi(Vi i, int parte, Doppi<Vf>& reciproco, Doppi<Vf>& logaritmo)
{
    const double* a = LOGARITMI[i[2 * parte]];
    const double* b = LOGARITMI[i[2 * parte + 1]];
    reciproco = Doppi<Vf>{a[0], b[0]};
    logaritmo = Doppi<Vf>{a[1], b[1]};
}
#endif

// 2 to the power x; |x| up to 1000. The sum with AFFERRA has x in whole parts in its last bits.
template <class V> inline Doppi<V> due_alla(Doppi<V> x)
{
    using U = Lunghi<V>;
    constexpr double AFFERRA = 0x1.8p+52 / PARTI_ESPONENZIALE;
    const Doppi<V> spostato = x + AFFERRA;
    const U k = bit_di<U>(spostato);
    const Doppi<V> r = x - (spostato - AFFERRA);
    const Doppi<V> s = bit_di<Doppi<V>>(potenze_di_due(k % PARTI_ESPONENZIALE) + (k << 47));
    const Doppi<V> z = 0x1.c6af84b912394p-5 * r + 0x1.ebfce50fac4f3p-3;
    return (z * (r * r) + (0x1.62e42ff0c52d6p-1 * r + 1.0)) * s;
}

// Logarithm to base 2 of the samples with these bits, which are positive and not denormal, times y.
template <class V>
inline void per_logaritmo2(Interi<V> bit, double y, Doppi<V> (&d)[Ampi<V>::PARTI])
{
    using I = Interi<V>;
    constexpr int32_t INIZIO = 0x3f330000;  // of the mantissas, 0.7 to 1.4
    const I t = bit - INIZIO;
    const I posto = (t >> 19) & (PARTI_LOGARITMO - 1);
    const I esponente = t & static_cast<int32_t>(0xff800000u);
    Doppi<V> z[Ampi<V>::PARTI];
    Doppi<V> k[Ampi<V>::PARTI];
    allarga(bit_di<V>(bit - esponente), z);
    if constexpr (CAMPIONI<V> == 1)
        allarga(static_cast<float>(esponente >> 23), k);
    else
        allarga(__builtin_convertvector(esponente >> 23, V), k);
    for (int i = 0; i < Ampi<V>::PARTI; ++i) {
        Doppi<V> reciproco;
        Doppi<V> logaritmo;
        logaritmi(posto, i, reciproco, logaritmo);
        const Doppi<V> r = z[i] * reciproco - 1.0;
        const Doppi<V> r2 = r * r;
        const Doppi<V> a = 0x1.27616c9496e0bp-2 * r + -0x1.71969a075c67ap-2;
        const Doppi<V> b = 0x1.ec70a6ca7baddp-2 * r + -0x1.7154748bef6c8p-1;
        const Doppi<V> c = 0x1.71547652ab82bp+0 * r + (logaritmo + k[i]);
        d[i] = y * (a * (r2 * r2) + (b * r2 + c));
    }
}

// --- Powers -------------------------------------------------------------------------------------

constexpr uint32_t SEGNO = 0x80000000u;
constexpr uint32_t INFINITO = 0x7f800000u;
constexpr uint32_t UNO = 0x3f800000u;

// 0 for what is no whole number, 1 for odd ones, 2 for even ones.
inline int intero(uint32_t bit)
{
    const int e = static_cast<int>(bit >> 23 & 0xff);
    if (e < 127)
        return 0;
    if (e > 127 + 23)
        return 2;
    const uint32_t ultimo = 1u << (127 + 23 - e);
    if ((bit & (ultimo - 1)) != 0)
        return 0;
    return (bit & ultimo) != 0 ? 1 : 2;
}

/// x to the power y, with every special value as C has it, not-a-numbers of the quiet kind.
inline float potenza(float x, float y)
{
    uint32_t bx = bit_di<uint32_t>(x);
    const uint32_t by = bit_di<uint32_t>(y);
    const uint32_t mx = bx & ~SEGNO;
    const uint32_t my = by & ~SEGNO;
    if (my == 0 || bx == UNO)
        return 1.0f;
    if (mx > INFINITO || my > INFINITO)
        return x + y;
    if (my == INFINITO) {
        if (mx == UNO)
            return 1.0f;
        return (mx < UNO) == (by == INFINITO) ? 0.0f : bit_di<float>(INFINITO);
    }
    const bool dispari = (bx & SEGNO) != 0 && intero(by) == 1;
    if (mx == 0 || mx == INFINITO) {
        const bool nullo = (mx == 0) == ((by & SEGNO) == 0);
        return bit_di<float>((nullo ? 0 : INFINITO) | (dispari ? SEGNO : 0));
    }
    if ((bx & SEGNO) != 0 && intero(by) == 0)
        return bit_di<float>(0xffc00000u);  // not-a-number
    if (mx < 0x00800000u)
        bx = bit_di<uint32_t>(bit_di<float>(mx) * 0x1p+23f) - (23u << 23);
    else
        bx = mx;
    double d[1];
    per_logaritmo2<float>(static_cast<int32_t>(bx), static_cast<double>(y), d);
    float v = bit_di<float>(INFINITO);
    if (d[0] <= -150.0)
        v = 0.0f;
    else if (d[0] < 128.0)
        v = static_cast<float>(due_alla<float>(d[0]));
    return dispari ? -v : v;
}

/// Each sample to the power y. Quick where all of them are 0 or between 2^-31 and 2^31, and y above
/// 0 and at most 4.
inline Vf potenza(Vf x, float y)
{
    constexpr int32_t MINIMO = 0x30000000;
    constexpr int32_t MASSIMO = 0x4f000000;
    const Vi bit = bit_di<Vi>(x);
    const Vi fuori = (bit < MINIMO) | (bit > MASSIMO);
    const Vi nulli = bit == 0;
    if (qualcuno(fuori & ~nulli) || !(y > 0.0f && y <= 4.0f))
        return uno_per_uno(x, [=](float v) { return potenza(v, y); });
    if (!qualcuno((bit != 0) & (bit != static_cast<int32_t>(UNO))))
        return x;
    Doppi<Vf> d[2];
    per_logaritmo2<Vf>(bit, static_cast<double>(y), d);
    for (Doppi<Vf>& parte : d)
        parte = due_alla<Vf>(parte);
    return nulli ? Vf{} : stringi(d);
}

// --- Exponentials -------------------------------------------------------------------------------

constexpr double LOG2_E = 0x1.71547652b82fep+0;

/// e to the power x.
inline float esponenziale(float x)
{
    if (!(x <= 0x1.62e42ep+6f))
        return x > 0.0f ? bit_di<float>(INFINITO) : x + x;
    if (x < -0x1.9fe368p+6f)
        return 0.0f;
    return static_cast<float>(due_alla<float>(LOG2_E * static_cast<double>(x)));
}

/// Likewise; quick where all samples lie between -87 and 87.
inline Vf esponenziale(Vf x)
{
    if (qualcuno(!((x > -87.0f) & (x < 87.0f))))
        return uno_per_uno(x, [](float v) { return esponenziale(v); });
    Doppi<Vf> d[2];
    allarga(x, d);
    for (Doppi<Vf>& parte : d)
        parte = due_alla<Vf>(LOG2_E * parte);
    return stringi(d);
}

// --- Angles -------------------------------------------------------------------------------------

constexpr float PI_GRECO = 3.1415927410e+00f;
constexpr float PI_RESTO = -8.7422776573e-08f;  // what it lacks of pi

// The angle of the finite point (x, y), x not 0 unless y is.
template <class V> inline V arcotangente_finita(V y, V x)
{
    using I = Interi<V>;
    const I segno = I{} + static_cast<int32_t>(SEGNO);
    // Angle and correction of the point that the tangent q is turned to, as n / d.
    const V q = y == 0.0f ? V{} : bit_di<V>(bit_di<I>(y / x) & ~segno);
    V n = q < 0x1p+25f ? tutti<V>(-1.0f) : V{};
    V d = q;
    V alto = tutti<V>(1.5707962513e+00f);
    V basso = tutti<V>(7.5497894159e-08f);
    const auto sotto = [&](float limite, V nn, V dd, float a, float b) {
        const auto c = q < limite;
        n = c ? nn : n;
        d = c ? dd : d;
        alto = c ? tutti<V>(a) : alto;
        basso = c ? tutti<V>(b) : basso;
    };
    sotto(2.4375f, q - 1.5f, 1.0f + 1.5f * q, 9.8279368877e-01f, 3.4473217170e-08f);
    sotto(1.1875f, q - 1.0f, q + 1.0f, 7.8539812565e-01f, 3.7748947079e-08f);
    sotto(0.6875f, 2.0f * q - 1.0f, 2.0f + q, 4.6364760399e-01f, 5.0121582440e-09f);
    sotto(0.4375f, q, tutti<V>(1.0f), 0.0f, 0.0f);
    const V t = n / d;
    const V z = t * t;
    const V w = z * z;
    V s1 = w * 1.6285819933e-02f + 4.9768779427e-02f;
    s1 = w * s1 + 6.6610731184e-02f;
    s1 = w * s1 + 9.0908870101e-02f;
    s1 = w * s1 + 1.4285714924e-01f;
    s1 = z * (w * s1 + 3.3333334327e-01f);
    V s2 = w * -3.6531571299e-02f + -5.8335702866e-02f;
    s2 = w * s2 + -7.6918758452e-02f;
    s2 = w * s2 + -1.1111110449e-01f;
    s2 = w * (w * s2 + -2.0000000298e-01f);
    const V a = alto - ((t * (s1 + s2) - basso) - t);
    const V b = bit_di<I>(x) < 0 ? PI_GRECO - (a - PI_RESTO) : a;
    return bit_di<V>(bit_di<I>(b) ^ (bit_di<I>(y) & segno));
}

/// Angle of the point (x, y), -pi to pi, with every special value as C has it, not-a-numbers of the
/// quiet kind.
inline float arcotangente(float y, float x)
{
    const uint32_t bx = bit_di<uint32_t>(x);
    const uint32_t by = bit_di<uint32_t>(y);
    const uint32_t mx = bx & ~SEGNO;
    const uint32_t my = by & ~SEGNO;
    if (mx > INFINITO || my > INFINITO)
        return x + y;
    if (mx != INFINITO && my != INFINITO && (mx != 0 || my == 0))
        return arcotangente_finita(y, x);
    float v = 1.5707963705e+00f;
    if (mx == INFINITO) {
        const bool dietro = bx != mx;
        v = my == INFINITO ? (dietro ? 2.3561945e+00f : 7.8539818525e-01f)
                           : (dietro ? PI_GRECO : 0.0f);
    }
    return by != my ? -v : v;
}

/// Likewise; quick where all points are finite and none lies on the axis x = 0 but the centre.
inline Vf arcotangente(Vf y, Vf x)
{
    const Vi mx = bit_di<Vi>(x) & ~static_cast<int32_t>(SEGNO);
    const Vi my = bit_di<Vi>(y) & ~static_cast<int32_t>(SEGNO);
    constexpr int32_t FINE = static_cast<int32_t>(INFINITO);
    if (!qualcuno((mx >= FINE) | (my >= FINE) | ((mx == 0) & (my != 0))))
        return arcotangente_finita(y, x);
    Vf v = {};
    for (int i = 0; i < CAMPIONI<Vf>; ++i)
        v[i] = arcotangente(y[i], x[i]);
    return v;
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
