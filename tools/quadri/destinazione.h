// What is written: a picture, a numbered sequence or a movie, all given frames alike.
#pragma once

#include "tools/quadri/sorgente.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace varno::provino {

/// How it is to be written; empty texts leave it to the format and the source.
struct ModoDestinazione {
    Scrittura scrittura;                  // of pictures; whether what exists is replaced
    std::string codec, qualita, cadenza;  // of a movie
    std::string audio;                    // copy, aac, none; empty: copied where that goes
    int scala = 0;                        // its width; 0: as it is
    std::string scritte;                  // "name,timecode", drawn into it
    bool salta = false;                   // pictures that exist
    bool continua = false;                // after a frame that failed
};

/// A single picture has neither of the last two.
struct Destinazione {
    std::string nome;  // as it was given
    ModoDestinazione modo;
    std::string impostazioni = {};          // that go into the metadata
    std::optional<Modello> modello = {};    // of a sequence
    std::unique_ptr<Ripresa> ripresa = {};  // of a movie
};

/// By the name, whose ending tells the format; nothing is written yet. Throws Errore where the
/// format has not what is asked for, or cannot hold what the source is.
Destinazione apri_destinazione(const std::string& nome, const ModoDestinazione& modo,
                               const Sorgente& da);

/// The file that frame n goes into.
std::string nome_al(const Destinazione& a, long long n);

/// Before the first frame, so that a long run does not end in a refusal: throws Errore where one of
/// these frames is missing, has no place of its own, is in the way of what is read, or exists.
void controlla(const Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri);

/// Takes into a movie what these frames of the source have beside their pixels: rate, timecode,
/// tags, sound. Notes tell what it does not take.
void segui(Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri);

/// A note on what the output holds not of frame n, as scrivi gives it.
void avvisa_di_cio_che_manca(const Destinazione& a, long long n, const Foto& foto);

/// Writes frame n; those of a movie in order. Pictures from any thread. Throws Errore.
void scrivi(Destinazione& a, long long n, const Foto& foto);

/// The end: a movie stands whole under its name when this returns, and never without. Throws
/// Errore.
void concludi(Destinazione& a);

}  // namespace varno::provino
