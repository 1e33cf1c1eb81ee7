#pragma once

// A vector of neighbouring floats for the kernels, as wide as the instruction set of the file that
// includes it, and a plain float as the vector of one: arithmetic written as a template over both
// serves whole vectors and the rest of a row alike. Everything has internal linkage, since each
// level must keep its own copy.
//
// A vector is made of lanes ("corsie") of four floats; loads and stores name the two places of the
// lanes apart, so that rows, blocks and RGB are taken apart within the lanes, where shuffles are
// cheap.

#ifndef __GNUC__
#error "the kernels are written in the vector types of GCC and Clang"
#endif

#include "comune/regole.h"

#include <math.h>
#include <stddef.h>
#include <stdint.h>
#include <string.h>

#if defined(__SSE2__)
#include <immintrin.h>
#endif

// Files that are built once see all of it in varno itself.
#ifndef VARNO_LIVELLO
#define VARNO_LIVELLO unico
namespace varno {
namespace unico {
}
using namespace unico;
}  // namespace varno
#endif

namespace varno {
namespace VARNO_LIVELLO {
namespace {

typedef float V4 __attribute__((vector_size(16)));
typedef int32_t I4 __attribute__((vector_size(16)));
#if defined(__AVX2__)
typedef float V8 __attribute__((vector_size(32)));
typedef int32_t I8 __attribute__((vector_size(32)));
using Vf = V8;
using Vi = I8;
#else
using Vf = V4;
using Vi = I4;
#endif

template <class V> constexpr int CAMPIONI = sizeof(V) / sizeof(float);
template <class V> constexpr bool SCALARE = CAMPIONI<V> == 1;
template <class V> constexpr int CORSIA = SCALARE<V> ? 1 : 4;

// --- Load and store, without alignment ----------------------------------------------------------

template <class V> inline V carica(const float* p)
{
    V v;
    memcpy(&v, p, sizeof v);
    return v;
}

template <class V> inline void scrivi(float* p, V v)
{
    memcpy(p, &v, sizeof v);
}

/// Asks for what will follow, some way on, the n floats at p that a vector is made of. The
/// processor reads ahead by itself, but not past the end of a page of 4 KiB. Never faults.
template <class V> inline void leggi_avanti(const float* p, int n = CAMPIONI<V>)
{
    constexpr uintptr_t AVANTI = 2048;  // bytes
    constexpr int LINEA = 16;           // floats
    if constexpr (!SCALARE<V>)
        for (int i = 0; i < n; i += LINEA)
            __builtin_prefetch(
                reinterpret_cast<const void*>(reinterpret_cast<uintptr_t>(p + i) + AVANTI));
}

/// The lanes of the vector lie passo floats apart.
template <class V> inline V carica_corsie(const float* p, ptrdiff_t passo)
{
#if defined(__AVX2__)
    if constexpr (CAMPIONI<V> == 8)
        return V(_mm256_insertf128_ps(_mm256_castps128_ps256(_mm_loadu_ps(p)),
                                      _mm_loadu_ps(p + passo), 1));
#endif
    (void)passo;
    return carica<V>(p);
}

template <class V> inline void scrivi_corsie(float* p, ptrdiff_t passo, V v)
{
#if defined(__AVX2__)
    if constexpr (CAMPIONI<V> == 8) {
        _mm_storeu_ps(p, _mm256_castps256_ps128(__m256(v)));
        _mm_storeu_ps(p + passo, _mm256_extractf128_ps(__m256(v), 1));
        return;
    }
#endif
    (void)passo;
    scrivi(p, v);
}

/// The same value throughout; the subtraction keeps a negative zero.
template <class V> inline V tutti(float v)
{
    return v - V{};
}

// --- Selection, comparison, conversion ----------------------------------------------------------

/// b < a ? b : a, sample by sample, as std::min(a, b): not-a-number in a stays, in b gives a.
template <class V> inline V minimo(V a, V b)
{
#if defined(__AVX2__)
    if constexpr (CAMPIONI<V> == 8)
        return V(_mm256_min_ps(__m256(b), __m256(a)));
#endif
#if defined(__SSE2__)
    if constexpr (CAMPIONI<V> == 4)
        return V(_mm_min_ps(__m128(b), __m128(a)));
#endif
    return b < a ? b : a;
}

/// a < b ? b : a, as std::max(a, b).
template <class V> inline V massimo(V a, V b)
{
#if defined(__AVX2__)
    if constexpr (CAMPIONI<V> == 8)
        return V(_mm256_max_ps(__m256(b), __m256(a)));
#endif
#if defined(__SSE2__)
    if constexpr (CAMPIONI<V> == 4)
        return V(_mm_max_ps(__m128(b), __m128(a)));
#endif
    return a < b ? b : a;
}

template <class V> inline V minimo(V a, float b)
{
    return minimo(a, tutti<V>(b));
}
template <class V> inline V massimo(V a, float b)
{
    return massimo(a, tutti<V>(b));
}
inline float minimo(float a, float b)
{
    return b < a ? b : a;
}
inline float massimo(float a, float b)
{
    return a < b ? b : a;
}

/// Square root, exact as IEEE has it.
inline float radice(float v)
{
    return sqrtf(v);
}
inline Vf radice(Vf v)
{
#if defined(__AVX2__)
    return Vf(_mm256_sqrt_ps(__m256(v)));
#elif defined(__SSE2__)
    return Vf(_mm_sqrt_ps(__m128(v)));
#else
    for (int i = 0; i < CAMPIONI<Vf>; ++i)
        v[i] = sqrtf(v[i]);
    return v;
#endif
}

/// Whether a comparison holds in any sample.
inline bool qualcuno(bool c)
{
    return c;
}
inline bool qualcuno(Vi c)
{
#if defined(__AVX2__)
    return _mm256_movemask_ps(__m256(c)) != 0;
#elif defined(__SSE2__)
    return _mm_movemask_ps(__m128(c)) != 0;
#else
    return (c[0] | c[1] | c[2] | c[3]) != 0;
#endif
}

/// The integers n, n + passo, n + 2 * passo, ... as floats.
template <class V> inline V da_intero(int n, int passo = 1)
{
    if constexpr (SCALARE<V>)
        return static_cast<float>(n);
    else if constexpr (CAMPIONI<V> == 4)
        return __builtin_convertvector((I4{0, 1, 2, 3} * passo + n), V4);
#if defined(__AVX2__)
    else
        return __builtin_convertvector((I8{0, 1, 2, 3, 4, 5, 6, 7} * passo + n), V8);
#endif
}

/// Truncated towards zero; v has to lie in the range of int32.
inline int32_t a_intero(float v)
{
    return static_cast<int32_t>(v);
}

inline Vi a_intero(Vf v)
{
    return __builtin_convertvector(v, Vi);
}

template <class V> inline V tronca(V v)
{
    if constexpr (SCALARE<V>)
        return static_cast<float>(a_intero(v));
    else
        return __builtin_convertvector(a_intero(v), V);
}

// --- Shuffles within lanes ----------------------------------------------------------------------

// Two samples of a, then two of b, by their places in the lane.
template <int A0, int A1, int B0, int B1> inline V4 mischia(V4 a, V4 b)
{
#if defined(__clang__)
    return __builtin_shufflevector(a, b, A0, A1, B0 + 4, B1 + 4);
#else
    return __builtin_shuffle(a, b, I4{A0, A1, B0 + 4, B1 + 4});
#endif
}
#if defined(__AVX2__)
template <int A0, int A1, int B0, int B1> inline V8 mischia(V8 a, V8 b)
{
    return V8(_mm256_shuffle_ps(__m256(a), __m256(b), A0 | A1 << 2 | B0 << 4 | B1 << 6));
}
#endif

#if defined(__AVX2__)
inline V4 prima_corsia(V8 v)
{
    return V4(_mm256_castps256_ps128(__m256(v)));
}

inline V4 seconda_corsia(V8 v)
{
    return V4(_mm256_extractf128_ps(__m256(v), 1));
}
#endif

/// R vectors of groups of R neighbours become one vector for each place in the group. The lanes of
/// the j-th vector start at (lane * R + j) * CORSIA. With R = 4 it is a transposition; with R = 3
/// interleaved RGB of four pixels, in each lane, becomes r, g, b:
///
///     v[0]  r0 g0 b0 r1          v[0]  r0 r1 r2 r3
///     v[1]  g1 b1 r2 g2    ->    v[1]  g0 g1 g2 g3
///     v[2]  b2 r3 g3 b3          v[2]  b0 b1 b2 b3
template <int R, class V> inline void separa(V (&v)[R])
{
    if constexpr (SCALARE<V> || R == 1)
        return;
    else if constexpr (R == 2) {
        const V a = mischia<0, 2, 0, 2>(v[0], v[1]);
        v[1] = mischia<1, 3, 1, 3>(v[0], v[1]);
        v[0] = a;
    } else if constexpr (R == 3) {
        const V xy = mischia<2, 3, 1, 2>(v[1], v[2]);  // r2 g2 r3 g3
        const V yz = mischia<1, 2, 0, 1>(v[0], v[1]);  // g0 b0 g1 b1
        const V x = mischia<0, 3, 0, 2>(v[0], xy);
        const V z = mischia<1, 3, 0, 3>(yz, v[2]);
        v[1] = mischia<0, 2, 1, 3>(yz, xy);
        v[0] = x;
        v[2] = z;
    } else {
        static_assert(R == 4);
        const V a = mischia<0, 1, 0, 1>(v[0], v[1]);
        const V b = mischia<2, 3, 2, 3>(v[0], v[1]);
        const V c = mischia<0, 1, 0, 1>(v[2], v[3]);
        const V d = mischia<2, 3, 2, 3>(v[2], v[3]);
        v[0] = mischia<0, 2, 0, 2>(a, c);
        v[1] = mischia<1, 3, 1, 3>(a, c);
        v[2] = mischia<0, 2, 0, 2>(b, d);
        v[3] = mischia<1, 3, 1, 3>(b, d);
    }
}

/// The way back.
template <int R, class V> inline void intreccia(V (&v)[R])
{
    if constexpr (SCALARE<V> || R == 1)
        return;
    else if constexpr (R == 2) {
        const V a = mischia<0, 1, 0, 1>(v[0], v[1]);
        const V b = mischia<2, 3, 2, 3>(v[0], v[1]);
        v[0] = mischia<0, 2, 1, 3>(a, a);
        v[1] = mischia<0, 2, 1, 3>(b, b);
    } else if constexpr (R == 3) {
        const V xy = mischia<0, 2, 0, 2>(v[0], v[1]);  // r0 r2 g0 g2
        const V yz = mischia<1, 3, 1, 3>(v[1], v[2]);  // g1 g3 b1 b3
        const V zx = mischia<0, 2, 1, 3>(v[2], v[0]);  // b0 b2 r1 r3
        v[0] = mischia<0, 2, 0, 2>(xy, zx);
        v[1] = mischia<0, 2, 1, 3>(yz, xy);
        v[2] = mischia<1, 3, 1, 3>(zx, yz);
    } else {
        separa<R>(v);
    }
}

// --- Pixels -------------------------------------------------------------------------------------

/// Interleaved RGB of neighbouring pixels.
template <class V> inline void carica_rgb(const float* p, V (&rgb)[3])
{
    leggi_avanti<V>(p, 3 * CAMPIONI<V>);
    for (int j = 0; j < 3; ++j)
        rgb[j] = carica_corsie<V>(p + j * CORSIA<V>, 3 * CORSIA<V>);
    separa<3>(rgb);
}

template <class V> inline void scrivi_rgb(float* p, const V (&rgb)[3])
{
    V v[3] = {rgb[0], rgb[1], rgb[2]};
    intreccia<3>(v);
    for (int j = 0; j < 3; ++j)
        scrivi_corsie<V>(p + j * CORSIA<V>, 3 * CORSIA<V>, v[j]);
}

/// Calls passo(V{}, x) along a row of n pixels: whole vectors, then one pixel at a time.
template <class Passo> inline void per_vettori(ptrdiff_t n, const Passo& passo)
{
    ptrdiff_t x = 0;
    for (; x + CAMPIONI<Vf> <= n; x += CAMPIONI<Vf>)
        passo(Vf{}, x);
    for (; x < n; ++x)
        passo(0.0f, x);
}

// --- Arithmetic that effects share --------------------------------------------------------------

/// Holds v to 0..1; not-a-number becomes 0.
template <class V> inline V clamp01(V v)
{
    return v > 0.0f ? minimo(v, 1.0f) : V{};
}

/// Rec.709 luminance, on whatever encoding the colour is in; no clamp.
template <class V> inline V luma_pixel(V r, V g, V b)
{
    return r * 0.2126f + g * 0.7152f + b * 0.0722f;
}

/// h laid over c; no clamp.
template <class V> inline V mescola_schermo(V c, V h)
{
    return 1.0f - (1.0f - h) * (1.0f - c);
}

}  // namespace
}  // namespace VARNO_LIVELLO
}  // namespace varno
