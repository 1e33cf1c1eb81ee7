// Movies: what ffprobe tells of one, times, and frames out of one and into one through pipes.
#pragma once

#include "tools/quadri/filmato_processo.h"
#include "tools/quadri/immagini.h"
#include "tools/quadri/uscita.h"

#include <cstdint>
#include <filesystem>
#include <map>
#include <mutex>
#include <nlohmann/json_fwd.hpp>
#include <optional>
#include <string>
#include <utility>
#include <vector>

namespace varno::provino {

/// What overrules the colours that a movie's stream tells of itself; empty: as it tells.
struct ColoriFilmato {
    std::string matrice;  // 709, 601, 2020, or as ffmpeg names it
    std::string gamma;    // "legal" or "full"
};

/// Frames that a decoder may hold back to bring them into order.
constexpr int RIORDINO = 16;

/// What a movie has beside its pixels.
struct Corredo {
    std::string cadenza;                           // frames a second, "24000/1001"
    std::string timecode;                          // of the first frame; empty: none
    std::string forma;                             // of a pixel, "16/15"
    std::map<std::string, std::string> etichette;  // metadata, without what belongs to the file
};

/// A movie, as ffprobe tells of it.
struct Filmato : Corredo {
    std::string file;
    int traccia = 0;                 // the stream that is developed
    int larghezza = 0, altezza = 0;  // as it is shown: turned
    long long quanti = 0;            // frames
    double durata = 0.0;             // seconds, as the file tells; 0: it does not
    bool costante = true;            // else frames last as long as they like
    bool si_cerca = false;           // its container finds a frame by its time, and exactly
    double inizio = 0.0;             // seconds from the file's start to the first frame
    std::string grafo;               // ffmpeg's filters from the stream to full-range RGB
    std::string formato;             // ffmpeg's name of what comes out of them
    int byte = 4;                    // of one of its samples; 4: a float
    int bit = 0;                     // of an integer
    bool alfa = false;
    bool alfa_sotto = false;             // below the picture, as a second one
    bool legale = false;                 // what comes out is of legal range still
    std::string trasferimento, primari;  // as the stream tells
    bool audio = false, sottotitoli = false;
    std::optional<std::string> impostazioni;  // that provino left in it
    std::vector<std::string> note, perdite;   // what the user should know, and what is not read
};

/// Throws Errore where ffmpeg is missing, or the file is broken or nothing that it reads.
Filmato leggi_filmato(const std::filesystem::path& file, const ColoriFilmato& colori = {});

/// Its filters and what comes out of them, from what ffprobe tells of the stream and of all kinds
/// of samples. Throws Errore where they are none that are read.
void scegli_grafo(Filmato& f, const nlohmann::json& traccia, const nlohmann::json& formati,
                  const ColoriFilmato& c);

/// Throws Errore with ffprobe's reason.
[[noreturn]] void illeggibile(const Filmato& f, const std::string& motivo);

/// A movie that is being decoded, for one thread at a time.
struct Proiezione {
    explicit Proiezione(Filmato f) : filmato(std::move(f)) {}
    const Filmato filmato;
    std::mutex mutex;
    ProcessoPtr decodifica;
    long long prossimo = 1;  // the frame that comes out next
    bool fallita = false, finita = false;
    std::vector<unsigned char> campioni;
};

/// The frame of that number, the first is 1: RGBA float of full range, and its metadata. Rising
/// numbers go on reading; others seek. Throws Finito behind the last frame of a whole movie, else
/// Errore; from the second time on without a text.
Foto leggi_fotogramma(Proiezione& p, long long numero);

/// Marks in a picture's timecode, beside its digits: it drops numbers; beyond 30 frames a second,
/// where it counts pairs of them, this is the second one.
constexpr unsigned TIMECODE_SALTA = 0x40, TIMECODE_SECONDO = 0x8000;

/// What goes with that frame: its size, frame rate, timecode, and the movie's tags.
OIIO::ImageSpec testata_di(const Filmato& f, long long numero);

/// The timecode of frames later; "01:00:59;28" drops numbers. Empty for what is none.
std::string timecode_dopo(const std::string& timecode, const std::string& cadenza,
                          long long fotogrammi);

/// The rates of television, a thousandth below a whole one, as they are: "24000/1001" for "23.976"
/// or "19001/317"; any other as it was given.
std::string cadenza_esatta(const std::string& cadenza);

/// "24", "23.976" or "24000/1001" as a number; 0 for what is none.
double numero_cadenza(const std::string& cadenza);

/// Whether an output's name ends as a movie's.
bool nome_di_filmato(const std::filesystem::path& file);

/// A movie that is being encoded, on its way to its name, which it gets when it is whole.
struct Ripresa : Corredo {
    explicit Ripresa(const std::string& n) : nome(n), provvisorio(accanto_a(n)) {}
    const std::string nome;
    const Provvisorio provvisorio;
    std::string contenitore, codec;  // as ffmpeg names them
    std::vector<std::string> opzioni;
    std::string formato, formato_con_alfa;       // of its samples; the second may be empty
    int scala = 0;                               // its width; 0: as it comes
    std::map<std::string, std::string> scritte;  // drawn into it: "name", "timecode" without one
    std::string audio_da;                        // the file; empty: none
    std::string audio;     // what becomes of it, as ffmpeg takes it behind -c:a
    double inizio = 0.0;   // of the picture within it, seconds
    ProcessoPtr codifica;  // from the first frame on
    int larghezza = 0, altezza = 0;
    bool alfa = false, fallita = false;
    std::vector<std::uint16_t> campioni;
};

/// The container by the name, the codec of that name or, empty, the container's usual one. Throws
/// Errore where there is no such encoder, or it knows no quality.
std::unique_ptr<Ripresa> apri_ripresa(const std::string& nome, const std::string& codec,
                                      const std::string& qualita);

/// Frames in order, all of one size; the settings go into the metadata. Throws Errore, from the
/// second failure on without a text.
void scrivi_fotogramma(Ripresa& r, const Foto& foto, const std::string& impostazioni);

/// The end: the movie stands whole under its name when this returns, and never without. Throws
/// Errore.
void concludi(Ripresa& r, bool sovrascrivi);

}  // namespace varno::provino
