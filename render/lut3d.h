// The grade as a 3D table, and the one of the process.
#pragma once

#include "comune/piano.h"

#include <cstdint>
#include <memory>
#include <mutex>

namespace varno {

struct Contesto;

/// Points per axis of the table that renders use.
constexpr int PUNTI_TABELLA = 81;

/// The grade as a table: blue slowest, then green, red and the channel; the sample of (R, G, B)
/// starts at ((B * N + G) * N + R) * 3.
struct Lut3D {
    std::int32_t N = 0;  // points per axis; 0 while nothing has been built
    Piano dati;          // N * N * N * 3 floats

    /// Evaluates applica_colore at all points of a grid of n an axis, 1 to 894, on the threads of
    /// parallel_for. Throws std::bad_alloc.
    void costruisci(const Contesto& contesto, int n);
};

/// The settings that a table was built from, as the host gave them. The start values match none.
struct Chiave {
    std::int32_t look = -1;
    std::int32_t profilo = -1;
    double forza = -1.0;
    double ev = -99.0;
    double temp = -99.0;
    double tinta = -99.0;
};

/// The one table of the process with its key and its guard. A table is never changed once it
/// stands here: a render holds the one that it grades through, and a rebuild puts another in place.
struct TabellaCondivisa {
    std::mutex mutex_lut;
    std::shared_ptr<const Lut3D> lut;  // null until the first render
    Chiave chiave;
};

extern TabellaCondivisa gLut;

/// The table for these settings: the shared one where the key is equal in every value, else a new
/// one, built under the lock and shared from then on. A failed build changes neither table nor key.
/// A key with not-a-number in it never matches. Throws std::bad_alloc, std::system_error.
std::shared_ptr<const Lut3D> aggiorna_tabella(const Contesto& contesto, const Chiave& chiave);

}  // namespace varno
