// Movies: what ffprobe tells of one, and times.
#pragma once

#include <filesystem>
#include <map>
#include <optional>
#include <string>
#include <vector>

namespace varno::provino {

/// What overrules the colours that a movie's stream tells of itself; empty: as it tells.
struct ColoriFilmato {
    std::string matrice;  // 709, 601, 2020, or as ffmpeg names it
    std::string gamma;    // "legal" or "full"
};

/// Frames that a decoder may hold back to bring them into order.
constexpr int RIORDINO = 16;

/// A movie, as ffprobe tells of it.
struct Filmato {
    std::string file;
    int traccia = 0;                 // the stream that is developed
    int larghezza = 0, altezza = 0;  // as it is shown: turned
    long long quanti = 0;            // frames
    std::string cadenza;             // frames a second, "24000/1001"
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
    std::string forma;                   // of a pixel, "16/15"
    std::string timecode;                // of the first frame; empty: none
    bool audio = false, sottotitoli = false;
    std::map<std::string, std::string> etichette;  // metadata, without what belongs to the file
    std::optional<std::string> impostazioni;       // that provino left in it
    std::vector<std::string> note;                 // what the user should know
    std::vector<std::string> perdite;              // what is not read of it
};

/// Throws Errore where ffmpeg is missing, or the file is broken or nothing that it reads.
Filmato leggi_filmato(const std::filesystem::path& file, const ColoriFilmato& colori = {});

/// The timecode of frames later; "01:00:59;28" drops numbers. Empty for what is none.
std::string timecode_dopo(const std::string& timecode, const std::string& cadenza,
                          long long fotogrammi);

/// The rates of television, a thousandth below a whole one, as they are: "24000/1001" for "23.976"
/// or "19001/317"; any other as it was given.
std::string cadenza_esatta(const std::string& cadenza);

/// "24", "23.976" or "24000/1001" as a number; 0 for what is none.
double numero_cadenza(const std::string& cadenza);

}  // namespace varno::provino
