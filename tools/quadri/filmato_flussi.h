// Frames out of a movie and into one, through pipes.
#pragma once

#include "tools/quadri/filmato.h"
#include "tools/quadri/filmato_processo.h"
#include "tools/quadri/immagini.h"

#include <cstdint>
#include <vector>

namespace varno::provino {

/// A movie that is being decoded.
struct LetturaFilmato {
    explicit LetturaFilmato(const Filmato& f) : filmato(f) {}
    const Filmato& filmato;
    ProcessoPtr decodifica;
    long long prossimo = 1;  // the frame that comes out next
    bool fallita = false, finita = false;
    std::vector<unsigned char> campioni;
};

/// The frame of that number, the first is 1: RGBA float of full range, and in its metadata the
/// frame rate, its timecode and the movie's tags. Rising numbers go on reading; others seek. Throws
/// Finito behind the last frame of a whole movie, else Errore; from the second time on without a
/// text.
Foto leggi_fotogramma(LetturaFilmato& l, long long numero);

/// What goes with that frame: its size, frame rate, timecode, and the movie's tags.
OIIO::ImageSpec testata_di(const Filmato& f, long long numero);

/// Whether an output's name ends as a movie's.
bool nome_di_filmato(const std::filesystem::path& file);

/// How a movie is to be written.
struct ModoFilmato {
    std::string contenitore;  // as ffmpeg names it
    std::string codec;
    std::vector<std::string> opzioni;
    std::string formato, formato_con_alfa;  // of its samples; the second may be empty
    std::string cadenza, timecode, forma;   // as a Filmato's
    std::map<std::string, std::string> etichette;
    std::string impostazioni;
    int scala = 0;                               // its width; 0: as it comes
    std::map<std::string, std::string> scritte;  // drawn into it: "name", "timecode" without one
    std::string audio_da;                        // the file; empty: none
    std::string audio;    // what becomes of it, as ffmpeg takes it behind -c:a
    double inizio = 0.0;  // of the picture within it, seconds
};

/// The container by the name, the codec of that name or, empty, the container's usual one. Throws
/// Errore where there is no such encoder, or it knows no quality.
ModoFilmato scegli_modo(const std::filesystem::path& file, const std::string& codec,
                        const std::string& qualita);

/// Takes rate, tags and timecode of a movie that is developed from behind so many frames on, and,
/// where that is all of it, its audio: as it is where the container takes that, else as AAC, or PCM
/// for MXF; `audio` is copy, aac, none or empty. Returns what the user should know, behind the
/// output's name. Throws Errore (usage) where it is to be copied and cannot.
std::vector<std::string> segui(ModoFilmato& modo, const Filmato& da, long long saltati, bool intero,
                               const std::string& audio);

/// Takes rate, unless it is set, and timecode of a picture; false where it knows no rate, which is
/// 24 then.
bool segui(ModoFilmato& modo, const OIIO::ImageSpec& testata);

/// A movie that is being encoded into a file.
struct ScritturaFilmato {
    ModoFilmato modo;
    std::filesystem::path file;  // that is filled
    std::string nome;            // that people know
    ProcessoPtr codifica = {};   // from the first frame on
    int larghezza = 0, altezza = 0;
    bool alfa = false, fallita = false;
    std::vector<std::uint16_t> campioni = {};
};

/// Frames in order, all of one size. Throws Errore, from the second failure on without a text.
void scrivi_fotogramma(ScritturaFilmato& s, const Foto& foto);

/// The end: the file is whole when this returns. Throws Errore.
void concludi(ScritturaFilmato& s);

}  // namespace varno::provino
