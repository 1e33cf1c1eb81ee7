// What stands in a picture file beside its pixels.
#pragma once

#include "tools/quadri/immagini.h"

#include <string>

namespace varno::provino {

/// OpenImageIO reads the name of a colour space from an EXR, but writes no name that begins as this
/// one must: it gets its four letters when the file stands in memory.
constexpr const char* SPAZIO_EXR = "xxxx:ColorSpace";

/// The header of a file that holds the picture in that format and depth: metadata follows, but for
/// what told the colours and the layout of the file that was read. Notes call it `file`.
OIIO::ImageSpec testata_d_uscita(Formato f, const Foto& foto, const Scrittura& come,
                                 const std::string& profondita, const std::string& impostazioni,
                                 const std::string& file);

}  // namespace varno::provino
