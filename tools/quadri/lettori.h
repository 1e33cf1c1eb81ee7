// What the readers behind OpenImageIO get wrong, and what is done about it.
#pragma once

#include "tools/quadri/immagini.h"

#include <array>
#include <string>
#include <vector>

namespace varno::provino {

/// Before a file is read. Throws Errore where it is cut short or its header is absurd, as far as
/// its structure tells: the readers fill what is missing with black, or trust a length. TIFF and
/// EXR are left to theirs.
void prepara_lettura(Formato f, std::vector<unsigned char>& dati, const std::string& nome);

/// After it was read: values that came wrong.
void sana_letti(Byte dati, int parte, const std::array<int, 4>& canali, Foto& f);

}  // namespace varno::provino
