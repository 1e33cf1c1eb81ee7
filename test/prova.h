// What all tests share: libraries, the context of a grade, variables that are set for a while.
#pragma once

#include "colore/colore.h"
#include "looks/catalogo.h"
#include "render/parallel_for.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <array>
#include <atomic>
#include <bit>
#include <climits>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <limits>
#include <map>
#include <memory>
#include <new>
#include <numeric>
#include <random>
#include <string>
#include <thread>
#include <utility>
#include <vector>

/// Sanitizers make everything ten times as slow, and a thread a hundred times.
constexpr bool LENTO = VARNO_LENTO;

inline const std::vector<varno::LookDef>& looks()
{
    static const std::vector<varno::LookDef> tutti = varno::catalogo();
    return tutti;
}

inline varno::Contesto contesto_di(const varno::LookDef& l, float forza = 1.0f, float ev = 0.0f,
                                   int profilo = 0, varno::RGB guadagno = {1.0f, 1.0f, 1.0f})
{
    const varno::Curva curva = varno::normalizza_curva(l.spalla, l.bianco, l.contrasto, l.gamma);
    const varno::Curva neutra = varno::normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);
    return {&l, curva, forza, ev, guadagno, neutra, profilo};
}

/// A process-wide variable has another value while this lives; not while anything runs.
template <class T> struct Finto {
    Finto(T& v, T altra) : dove(v), prima(std::exchange(v, altra)) {}
    ~Finto() { dove = prima; }
    Finto(const Finto&) = delete;
    Finto& operator=(const Finto&) = delete;

    T& dove;
    T prima;
};

/// parallel_for counts on n hardware threads.
inline Finto<unsigned (*)()> thread_finti(unsigned n)
{
    static unsigned quanti;
    quanti = n;
    return {varno::gThreadHardware, [] { return quanti; }};
}
