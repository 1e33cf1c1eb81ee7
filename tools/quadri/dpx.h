// DPX files, as far as the reader behind OpenImageIO has to be helped.
#pragma once

#include "tools/quadri/immagini.h"

#include <string>
#include <vector>

namespace varno::provino {

/// Throws Errore where a field of the header is impossible or the pixels do not fit into the file:
/// the reader behind OpenImageIO takes lengths and counts as they stand. Some writers end the
/// header before its fields on film and television: for those that the file lacks, fields that say
/// nothing go in before the pixels, since the reader takes the first pixels for them.
void prepara_dpx(std::vector<unsigned char>& dati, const std::string& nome);

/// Where lines of 10-bit samples, three to a word, end in a word with one alone, the reader behind
/// OpenImageIO loses that one: it goes into the picture that was read of a checked file.
void rendi_persi(Byte d, Foto& f);

}  // namespace varno::provino
