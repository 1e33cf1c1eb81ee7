// The memory of pictures: planes of floats.
#pragma once

#include <cstddef>
#include <memory>

namespace varno {

/// Gives a plane's memory back to where it came from.
struct RendiPiano {
    std::size_t pagine = 0;  // bytes of the system's own pages; 0: it is the library's
    void operator()(float* p) const noexcept;
};

/// The project's one growable array of floats: a plane of one float a pixel, or pixels of
/// several. Moves, does not copy; one that was moved from may only be assigned to. Zeroes come from
/// the system as untouched pages. A size that cannot be had throws std::bad_alloc.
struct Piano {
    Piano() noexcept = default;
    /// n floats, all 0.
    explicit Piano(std::size_t n);
    /// n floats, all v.
    Piano(std::size_t n, float v);

    float* data() noexcept { return dati.get(); }
    const float* data() const noexcept { return dati.get(); }
    std::size_t size() const noexcept { return lunghezza; }
    bool empty() const noexcept { return lunghezza == 0; }
    float& operator[](std::size_t i) noexcept { return dati[i]; }
    const float& operator[](std::size_t i) const noexcept { return dati[i]; }
    float* begin() noexcept { return dati.get(); }
    float* end() noexcept { return dati.get() + lunghezza; }
    const float* begin() const noexcept { return dati.get(); }
    const float* end() const noexcept { return dati.get() + lunghezza; }
    /// n floats, all 0; what was there is gone.
    void azzera(std::size_t n) { *this = Piano(n); }

  private:
    friend Piano piano_di_lavoro(std::size_t n, bool in_pagine);
    std::unique_ptr<float[], RendiPiano> dati;
    std::size_t lunghezza = 0;
};

/// n floats whose contents are unspecified, for what is written before it is read; in_pagine: many
/// of them straight from the system, for what is given back soon. Throws std::bad_alloc.
Piano piano_di_lavoro(std::size_t n, bool in_pagine = false);

/// Rows of floats that lie in another's memory.
struct Campo {
    float* dati = nullptr;
    std::ptrdiff_t passo = 0;  // floats from one row to the next, also backwards
};

/// The picture while it is worked on: three floats a pixel, interleaved.
using Immagine = Campo;

inline float* riga_di(const Campo& c, std::ptrdiff_t y)
{
    return c.dati + y * c.passo;
}

}  // namespace varno
