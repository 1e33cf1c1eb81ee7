// A clock for the benchmarks.
#pragma once

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <vector>

namespace varno::bench {

/// Milliseconds that a piece of work takes.
template <class Lavoro> double millisecondi(const Lavoro& lavoro)
{
    using orologio = std::chrono::steady_clock;
    const auto inizio = orologio::now();
    lavoro();
    return std::chrono::duration<double, std::milli>(orologio::now() - inizio).count();
}

/// The upper one of the two in the middle where they are even in number; there must be one.
inline double mediana(std::vector<double> v)
{
    const auto mezzo = v.begin() + static_cast<std::ptrdiff_t>(v.size() / 2);
    std::nth_element(v.begin(), mezzo, v.end());
    return *mezzo;
}

}  // namespace varno::bench
