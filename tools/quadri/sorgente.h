// What is read: a picture, a numbered sequence or a movie, all asked alike for a frame.
#pragma once

#include "tools/quadri/filmato.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varno::provino {

/// A file name with a place for the frame number.
struct Modello {
    std::string prima, dopo;  // the path before and behind the number
    int cifre = 0;            // filled up with zeroes to so many
};

/// The place in the last part of a path: "####" or "@@@@" (as many digits as signs), "%04d" or
/// "%d". None where there is no such sign; throws Errore (usage) where there are several.
std::optional<Modello> modello_in(const std::string& percorso);

/// Of a name that is read: none where a file is called just so, whatever signs are in it.
std::optional<Modello> modello_letto(const std::string& percorso);

std::string nome_al(const Modello& m, long long fotogramma);

/// The number that a file's name ends in, before the ending; none where there is none.
std::optional<long long> numero_in(const std::string& percorso);

/// "4-5, 9": the frames that are missing between the first and the last.
std::string buchi(const std::vector<long long>& fotogrammi);

/// The frames that exist as files, in order.
std::vector<long long> fotogrammi_esistenti(const Modello& m);

/// "1-10,20-30x2": in order, each once. Throws Errore (usage).
std::vector<long long> leggi_fotogrammi(const std::string& testo);

/// A single picture has neither of the last two.
struct Sorgente {
    std::string nome;                             // as it was given
    Scelta scelta;                                // of each picture
    std::vector<long long> numeri = {};           // rising; of a picture the one in its name, or 0
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
