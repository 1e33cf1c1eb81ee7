// The picture formats: how they are recognised, what they can hold, whether a file is whole.
#include "tools/quadri/formati.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <array>
#include <optional>
#include <system_error>

namespace varno::provino {
namespace {

using namespace std::string_view_literals;

// In the order of Formato.
// clang-format off
const Descrizione DESCRIZIONI[] = {
    {"openexr", "EXR", {"\x76\x2f\x31\x01"}, {".exr"},
     {"half", "float"},
     {{"zip", 9}, {"none"}, {"rle"}, {"zips", 9}, {"piz"}, {"pxr24"}, {"b44"}, {"b44a"},
      {"dwaa", 1000}, {"dwab", 1000}}},
    {"dpx", "DPX", {"SDPX", "XPDS"}, {".dpx"},
     {"uint10", "uint8", "uint16"}, {{"none"}}},
    {"tiff", "TIFF", {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}, {".tif", ".tiff"},
     {"uint16", "uint8", "half", "float"}, {{"zip", 9}, {"none"}, {"lzw"}, {"packbits"}}},
    {"png", "PNG", {"\x89PNG\r\n\x1a\n"}, {".png"},
     {"uint16", "uint8"}, {{"zip", 9}}},
    {"jpeg", "JPEG", {"\xff\xd8\xff"}, {".jpg", ".jpeg"},
     {"uint8"}, {{"jpeg", 100}}},
};
// clang-format on

template <class Prova> std::optional<Formato> trova(const Prova& prova)
{
    const auto* d = std::ranges::find_if(DESCRIZIONI, prova);
    return d == std::end(DESCRIZIONI) ? std::nullopt
                                      : std::optional(static_cast<Formato>(d - DESCRIZIONI));
}

std::optional<Formato> dalla_firma(Byte dati)
{
    const std::string_view testo(reinterpret_cast<const char*>(dati.data()), dati.size());
    return trova([&](const Descrizione& d) {
        return std::ranges::any_of(d.firme, [&](auto firma) { return testo.starts_with(firma); });
    });
}

std::optional<Formato> dalla_desinenza(const std::filesystem::path& p)
{
    const std::string fine = OIIO::Strutil::lower(p.extension().string());
    return trova([&](const Descrizione& d) { return std::ranges::count(d.desinenze, fine) > 0; });
}

}  // namespace

const Descrizione& descrizione(Formato f)
{
    return DESCRIZIONI[static_cast<int>(f)];
}

Formato formato_dai_byte(Byte dati, const std::string& nome)
{
    if (dati.empty())
        fallisci(tra_apici(nome) + " is empty");
    if (const auto f = dalla_firma(dati))
        return *f;
    fallisci(
        tra_apici(nome) +
        " is no picture that provino reads: it takes EXR, DPX, TIFF, PNG and JPEG, and movies");
}

Formato formato_dal_nome(const std::filesystem::path& p, bool o_filmato)
{
    if (const auto f = dalla_desinenza(p))
        return *f;
    rifiuta(tra_apici(p.string()) + " must end in .exr, .dpx, .tif, .tiff, .png, .jpg or .jpeg" +
            (o_filmato ? ", or as a movie in .mov, .mp4, .mkv or .mxf" : "") +
            ": that names its kind");
}

bool da_filmato(const std::filesystem::path& file)
{
    std::error_code e;
    std::array<unsigned char, 16> primi{};
    return std::filesystem::is_regular_file(file, e) &&
           OIIO::Filesystem::read_bytes(file.string(), primi.data(), primi.size()) ==
               primi.size() &&
           !dalla_firma(primi) && !dalla_desinenza(file);
}

void tronco(Formato f, const std::string& nome)
{
    fallisci(tra_apici(nome) + " is cut short or damaged: the " + descrizione(f).nome +
             " data ends before its end mark; copy the file again");
}

void guasto(Formato f, const std::string& nome, const char* dove)
{
    fallisci(tra_apici(nome) + " is damaged: its " + descrizione(f).nome +
             " header holds an impossible " + dove);
}

std::uint32_t numero(Byte d, std::size_t da, int byte, bool piccolo_prima)
{
    std::uint32_t n = 0;
    for (int i = 0; i < byte; ++i)
        n = n << 8 | d[da + static_cast<std::size_t>(piccolo_prima ? byte - 1 - i : i)];
    return n;
}

void controlla_misure(std::int64_t larghezza, std::int64_t altezza, const std::string& nome)
{
    if (larghezza < 1 || altezza < 1)
        fallisci(tra_apici(nome) + " is damaged: its header tells of no pixels");
    if (larghezza > LATO_LIMITE || altezza > LATO_LIMITE || larghezza * altezza > PIXEL_LIMITE)
        fallisci(tra_apici(nome) + " is too large or damaged: its header tells of " +
                 std::to_string(larghezza) + "x" + std::to_string(altezza) +
                 " pixels, the limit is 65536 a side and 134 million in all");
}

}  // namespace varno::provino
