// Picture files in and out, through OpenImageIO.
#pragma once

#include "tools/quadri/formati.h"

#include <OpenImageIO/imageio.h>

#include <algorithm>
#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace varno::provino {

/// The name of the settings in what provino writes.
constexpr std::string_view SEGNO_IMPOSTAZIONI = "provino:settings";
/// How oiiotool and its like call what the plug-in makes, Rec.709 at a display's gamma of 2.4, and
/// values that are no colours for a display.
constexpr const char* SCHERMO = "GammaCorrected2.4";
constexpr const char* DATI = "data";

/// A picture in memory: RGBA float, the file's top row first; values as in the file (integers as
/// fractions of their range), with no conversion of colour and no multiplication by alpha.
struct Foto {
    int larghezza = 0, altezza = 0;
    std::unique_ptr<float[]> rgba;
    bool alfa = false;  // else alpha is 1 everywhere and is not written
    Formato formato = Formato::exr;
    std::string colore = SCHERMO;  // what a file written of it says its values are
    OIIO::ImageSpec testata;       // what the file told: metadata, data window, depth
};

/// What to read of a file that holds several pictures; empty for the first, and for its RGB.
struct Scelta {
    std::string parte;   // a number from 0, or a name
    std::string strato;  // what stands before ".R" in the channels' names, or one channel
};

inline std::size_t quanti_float(const Foto& f)
{
    return std::size_t{4} * static_cast<std::size_t>(f.larghezza) *
           static_cast<std::size_t>(f.altezza);
}

/// The code value of n bits, held to the range; a NaN becomes 0.
inline unsigned codice(float v, float massimo)
{
    return v > 0.0f ? static_cast<unsigned>(std::min(v, 1.0f) * massimo + 0.5f) : 0u;
}

/// A picture of that size, its pixels not yet set.
Foto foto_nuova(int larghezza, int altezza, bool alfa = false);

/// Its memory as OpenImageIO works on it.
OIIO::ImageBuf tela(const Foto& f);

/// Reads a whole file; grey becomes RGB. A note tells what is left out: other parts, channels, the
/// orientation. Throws Errore.
Foto leggi_foto(const std::filesystem::path& file, const Scelta& scelta = {});

/// Its metadata alone.
OIIO::ImageSpec leggi_testata(const std::filesystem::path& file, const Scelta& scelta = {});

/// Writes in the format that the name tells. Integers are rounded and held to 0..1, a NaN becomes
/// 0. Metadata follows, but for what told the colours of the file that was read: in its place
/// stands what they are now. Software and, unless empty, the settings are added. Throws Errore.
void scrivi_foto(const std::filesystem::path& file, const Foto& foto, const Scrittura& come,
                 const std::string& impostazioni = {});

/// The bytes that it writes into a file of that name. A TIFF's library reads back what it wrote,
/// which memory cannot do: it goes into `tiff`, and here is nothing.
std::vector<unsigned char> codifica_foto(const std::filesystem::path& file, const Foto& foto,
                                         const Scrittura& come, const std::string& impostazioni,
                                         const std::filesystem::path& tiff = {});

/// The same of a header and whatever fills it, a TIFF into `nome`. Throws Errore that calls it
/// `detto`.
std::vector<unsigned char> codifica(Formato f, const std::string& nome,
                                    const OIIO::ImageSpec& testata, const std::string& detto,
                                    const std::function<bool(OIIO::ImageOutput&)>& pixel);

/// A note on what that file's format holds not, as scrivi_foto gives it.
void avvisa_di_cio_che_manca(const std::filesystem::path& file, const Foto& foto);

/// Frames a second that a picture tells of; 0 for none.
float cadenza_in(const OIIO::ImageSpec& testata);

/// Whether its display window is another than its frame, which only an EXR holds.
bool ha_finestra(const OIIO::ImageSpec& testata);
constexpr const char* SENZA_FINESTRA =
    "holds no display window around its frame, as the source has: it is left out";

/// The settings that scrivi_foto left in a file's metadata, if any.
std::optional<std::string> impostazioni_in(const OIIO::ImageSpec& testata);

}  // namespace varno::provino
