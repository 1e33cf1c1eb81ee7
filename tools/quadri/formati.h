// The picture formats: how they are recognised, what they can hold, whether a file is whole.
#pragma once

#include "tools/errore.h"

#include <cstdint>
#include <filesystem>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace varno::provino {

enum class Formato { exr, dpx, tiff, png, jpeg };

using Byte = std::span<const unsigned char>;

/// The longest side and the most pixels that are taken for a picture and not for a broken header.
constexpr std::int64_t LATO_LIMITE = 65536;
constexpr std::int64_t PIXEL_LIMITE = std::int64_t{1} << 27;

struct Compressione {
    std::string nome;
    int massimo = 0;  // of the level that may follow behind a colon; 0 for none
};

/// What there is to know of a format.
struct Descrizione {
    const char *oiio, *nome;  // as OpenImageIO and as people call it
    std::vector<std::string_view> firme, desinenze;
    std::vector<std::string> profondita;  // the first is the usual one
    std::vector<Compressione> compressioni;
    /// Of a file before it is read: throws Errore where it is cut short or its header is absurd, as
    /// far as its structure tells, since the readers fill what is missing with black, or trust a
    /// length. None where their own answer will do.
    void (*prepara)(std::vector<unsigned char>& dati, const std::string& nome) = nullptr;
};
const Descrizione& descrizione(Formato f);

/// By the first bytes of the file, whatever its name. Throws Errore for any other kind.
Formato formato_dai_byte(Byte dati, const std::string& nome);

/// Whether a file is to be read as a movie: no picture by its first bytes or its name.
bool da_filmato(const std::filesystem::path& file);

/// By the ending of an output's name, in either case. Throws Errore (usage) for any other ending,
/// and says which there are: of movies too where one would do.
Formato formato_dal_nome(const std::filesystem::path& p, bool o_filmato = false);

/// How a picture is to be written. Empty texts leave it to the picture that was read, where its
/// format is the same, or to the format.
struct Scrittura {
    std::string profondita;    // half, float, uint16, uint10, uint8
    std::string compressione;  // as OpenImageIO names them
    bool sovrascrivi = false;
};

/// Throws Errore (usage) where the format of the name has no such depth or compression.
void controlla_scrittura(const std::filesystem::path& file, const Scrittura& come,
                         bool o_filmato = false);

/// Throws Errore where the size is none or beyond the limits.
void controlla_misure(std::int64_t larghezza, std::int64_t altezza, const std::string& nome);

/// Throw Errore for data that ends too early, and for a header field that cannot be.
[[noreturn]] void tronco(Formato f, const std::string& nome);
[[noreturn]] void guasto(Formato f, const std::string& nome, const char* dove);

/// A number of 1 to 4 bytes; the caller keeps inside the data.
std::uint32_t numero(Byte d, std::size_t da, int byte, bool piccolo_prima = false);

}  // namespace varno::provino
