// What is read: a picture, a numbered sequence or a movie, all asked alike for a frame.
#pragma once

#include "tools/quadri/filmato_flussi.h"
#include "tools/quadri/sequenza.h"

#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace varno::provino {

/// A movie and its decoder, for one thread at a time.
struct Proiezione {
    explicit Proiezione(Filmato f) : filmato(std::move(f)) {}
    const Filmato filmato;
    LetturaFilmato lettura{filmato};
    std::mutex mutex;
};

/// A single picture has neither of the last two.
struct Sorgente {
    std::string nome;  // as it was given
    Scelta scelta;     // of each picture
    std::vector<long long> numeri =
        {};  // of its frames, rising: a picture has the one in its name, or 0
    std::optional<Modello> modello = {};          // of a sequence
    std::unique_ptr<Proiezione> proiezione = {};  // of a movie
};

/// What the user should know of it.
void avvisa(const Sorgente& s);

inline bool singola(const Sorgente& s)
{
    return !s.modello && !s.proiezione;
}

/// Finds the frames. `primo` is the number of a movie's first one, 1 where none is given. Nothing
/// is opened of a picture or a sequence yet. Throws Errore.
Sorgente apri_sorgente(const std::string& nome, const Scelta& scelta = {},
                       const ColoriFilmato& colori = {}, std::optional<long long> primo = {});

/// The file that frame n comes from.
std::string nome_al(const Sorgente& s, long long n);

/// Frame n, a picture's whatever n is, from any thread. A movie goes on reading where the numbers
/// rise by little, and seeks else; after a failure it is to be opened again. Throws Errore.
Foto leggi(const Sorgente& s, long long n);

/// Size and metadata of the first frame, without its pixels. Throws Errore.
OIIO::ImageSpec leggi_testata(const Sorgente& s);

/// Notes on what a frame with that metadata is, as far as it does not fit the log format: HLG, PQ,
/// log or a wide gamut left at none, or what provino made.
void avvisa_dei_colori(const Sorgente& s, const OIIO::ImageSpec& testata,
                       const std::string& formato);

/// The settings that provino left in it, if any. Throws Errore.
std::optional<std::string> leggi_impostazioni(const Sorgente& s);

}  // namespace varno::provino
