// DPX files, as far as the reader and the writer behind OpenImageIO have to be helped.
#pragma once

#include "tools/quadri/immagini.h"

#include <array>
#include <string>
#include <vector>

namespace varno::provino {

/// Before one is read. Throws Errore where a field of the header is impossible or the pixels do not
/// fit into the file: the reader takes lengths and counts as they stand. Some writers end the
/// header before its fields on film and television: for those that the file lacks, fields that say
/// nothing go in before the pixels, since the reader takes the first pixels for them. Rows that end
/// on 32 bits get their padding told, and pixels their place.
void prepara_dpx(std::vector<unsigned char>& dati, const std::string& nome);

/// Where rows of 10-bit samples, three to a word, end in a word that is not full, the reader loses
/// some of it: they go into the picture that was read of that element of a checked file, whose
/// channels became R, G, B and A.
void rendi_persi(Byte d, Foto& f, int parte, const std::array<int, 4>& canali);

/// Into a file: the shape of a pixel below 1:1, of which the writer leaves 0.
void scrivi_forma_dpx(std::vector<unsigned char>& dati, float forma);

}  // namespace varno::provino
