// The memory of pictures: planes of floats, and the arena that a frame takes them from.
#pragma once

#include <cstddef>
#include <memory>

namespace varno {

/// The memory of one frame: blocks taken from the system on demand and handed from one plane to the
/// next, given back all together at its end. Belongs to one render; not for several threads.
/// It must outlive the planes taken from it.
struct Arena {
    static constexpr int MASSIMO = 32;

    struct Blocco {
        float* dati = nullptr;
        std::size_t byte = 0;
        bool in_uso = false;
    };
    Blocco blocchi[MASSIMO];
    int quanti = 0;

    Arena() = default;
    Arena(const Arena&) = delete;
    Arena& operator=(const Arena&) = delete;
    ~Arena();
};

/// Where a plane's memory goes back to: a block of an arena, or the system.
struct RendiPiano {
    Arena::Blocco* blocco = nullptr;
    void operator()(float* p) const noexcept;
};

/// The project's one growable array of floats: a plane of one float a pixel, or a working image of
/// three. Moves, does not copy; one that was moved from may only be assigned to. Zeroes come from
/// the system as untouched pages. Behind the last float lie four more that may be read, not
/// written. A size that cannot be had throws std::bad_alloc.
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
    friend Piano piano_di_lavoro(std::size_t n, Arena* arena);
    std::unique_ptr<float[], RendiPiano> dati;
    std::size_t lunghezza = 0;
};

/// Three floats a pixel, interleaved, row after row.
using Immagine = Piano;

/// n floats whose contents are unspecified, from the arena where there is one: for stages that
/// write every sample before they read it.
Piano piano_di_lavoro(std::size_t n, Arena* arena);

}  // namespace varno
