// The plan of a frame: which sweeps over the picture it takes, what each of them does and where
// everything lies. Made from recipe and size before anything is allocated.
#pragma once

#include "fx/effetto.h"

#include <cstddef>
#include <cstdint>

namespace varno {

constexpr int MASSIMO_STADI = 24;  // effects that a chain may have

/// Where planes lie: behind the colours of the picture's rows, or in the frame's own memory.
struct Posto {
    bool in_quadro = false;
    std::size_t da = 0;  // floats from the beginning of the own memory
};

/// An effect that is on.
struct Stadio {
    const Effetto* effetto = nullptr;
    float quantita = 0.0f;
    Forma forma;                 // of its planes, where they are of the whole frame
    std::ptrdiff_t intorno = 0;  // rows around a row that it looks at
    bool ingrandita = false;     // whether they are enlarged; else a sample is a pixel's own
    Posto nutriti;               // its planes as rows feed them; its step may leave them elsewhere
    Posto pronti;
};

/// One sweep: rows come in, pass some effects while the cache holds them, feed the planes of the
/// next effect and go out.
struct Spazzata {
    bool da_fuori = false;       // rows come graded from outside; else from the picture
    bool fuori = false;          // rows go out finished; else they stay in the picture
    int primo = 0;               // of the stages that change the rows
    int dopo = 0;                // behind the last of them
    std::ptrdiff_t intorno = 0;  // rows around its own that the first one looks at
    int alimenta = -1;           // the stage whose planes the rows feed
    bool luma_prima = false;     // it is fed with the luminance from before the rows were changed
    bool media = false;          // the mean luminance of the rows is taken as they leave
    std::ptrdiff_t insieme = 1;  // rows that go through together
    // What a thread has for itself, floats: rows that do not stay in the picture, luminance of
    // rows, rows of samples, scratch of the step that works on fresh rows, rows around its own.
    std::size_t righe = 0;
    std::size_t luma = 0;
    std::size_t campioni = 0;
    std::size_t appoggio = 0;
    std::size_t vicine = 0;
    std::size_t ripiano = 0;  // all of it
};

struct Programma {
    Quadro quadro;
    int numero_stadi = 0;
    int numero_spazzate = 0;
    Stadio stadi[MASSIMO_STADI];
    Spazzata spazzate[MASSIMO_STADI + 2];

    std::uint64_t thread = 1;      // that run the frame
    bool piano_in_quadro = false;  // a row of the picture has a plane's row behind its colours
    std::size_t somme = 0;         // place of the rows' sums in the own memory, floats
    std::size_t comune = 0;        // place of what threads have and steps ask for
    std::size_t memoria = 0;       // floats of the own memory
};

/// By how much a frame of this size reduces the copies of its wide blurs: 1 to 4.
int riduzione_di(int larghezza, int altezza);

/// Planes of a frame of this size; raggio in its pixels, at least 1.
Forma forma_di(int larghezza, int altezza, int riduzione, int piani, int raggio);

/// The plan of the recipe's effects, with copies reduced by riduzione. An amount of 0, negative or
/// not-a-number leaves its effect out. tutte_prima: all rows must have come in before the first one
/// goes out. Throws std::bad_alloc where no memory is that large.
Programma programma_di(const FxRicetta& ricetta, int larghezza, int altezza, bool tutte_prima,
                       int riduzione);

/// Whether the plan keeps a picture: else rows pass from outside to outside in one sweep.
bool tiene_immagine(const Programma& p);

/// Whether that sweep changes nothing.
bool solo_passaggio(const Programma& p);

}  // namespace varno
