// The picture formats: how they are recognised, what they can hold, whether a file is whole.
#include "tools/quadri/formati.h"

#include "tools/argomenti.h"
#include "tools/quadri/dpx.h"

#include <OpenImageIO/filesystem.h>

#include <algorithm>
#include <array>
#include <iterator>
#include <optional>

namespace varno::provino {
namespace {

using namespace std::string_view_literals;

// A file that ends early is read as a picture, its rest black.
void controlla_png(std::vector<unsigned char>& d, const std::string& nome)
{
    if (d.size() < 33)
        tronco(Formato::png, nome);
    controlla_misure(numero(d, 16, 4), numero(d, 20, 4), nome);
    for (std::size_t p = 8; p + 12 <= d.size();) {
        if (std::equal(d.begin() + p + 4, d.begin() + p + 8, "IEND"))
            return;
        p += std::size_t{12} + numero(d, p, 4);
    }
    tronco(Formato::png, nome);
}

// The same; and a size is believed, and memory taken, before a pixel is found.
void controlla_jpeg(std::vector<unsigned char>& d, const std::string& nome)
{
    bool scansione = false;  // between a start of scan and the next marker stand coded pixels
    for (std::size_t p = 2; p + 1 < d.size();) {
        const unsigned char m = d[p + 1];
        if (d[p] != 0xff && !scansione)
            guasto(Formato::jpeg, nome, "marker");
        const bool riempie = d[p] != 0xff || m == 0xff;  // coded, or filling
        if (riempie || (m == 0x00 && scansione) || (m >= 0xd0 && m <= 0xd7) || m == 0x01) {
            p += riempie ? 1 : 2;
            continue;
        }
        if (m == 0xd9)
            return;
        const bool misure = m >= 0xc0 && m <= 0xcf && m != 0xc4 && m != 0xc8 && m != 0xcc;
        if (p + (misure ? 9 : 4) > d.size())
            break;
        if (misure)
            controlla_misure(numero(d, p + 7, 2), numero(d, p + 5, 2), nome);
        scansione = m == 0xda;
        p += std::size_t{2} + numero(d, p + 2, 2);
    }
    tronco(Formato::jpeg, nome);
}

// In the order of Formato.
// clang-format off
const Descrizione DESCRIZIONI[] = {
    {"openexr", "EXR", {"\x76\x2f\x31\x01"}, {".exr"},
     {"half", "float"},
     {{"zip", 9}, {"none"}, {"rle"}, {"zips", 9}, {"piz"}, {"pxr24"}, {"b44"}, {"b44a"},
      {"dwaa", 1000}, {"dwab", 1000}}},
    {"dpx", "DPX", {"SDPX", "XPDS"}, {".dpx"},
     {"uint10", "uint8", "uint16"}, {{"none"}}, prepara_dpx},
    {"tiff", "TIFF", {"II*\0"sv, "MM\0*"sv, "II+\0"sv, "MM\0+"sv}, {".tif", ".tiff"},
     {"uint16", "uint8", "half", "float"}, {{"zip", 9}, {"none"}, {"lzw"}, {"packbits"}}},
    {"png", "PNG", {"\x89PNG\r\n\x1a\n"}, {".png"},
     {"uint16", "uint8"}, {{"zip", 9}}, controlla_png},
    {"jpeg", "JPEG", {"\xff\xd8\xff"}, {".jpg", ".jpeg"},
     {"uint8"}, {{"jpeg", 100}}, controlla_jpeg},
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

void controlla_compressione(Formato f, const std::string& chiesta)
{
    const Descrizione& d = descrizione(f);
    const std::size_t fine = std::min(chiesta.find(':'), chiesta.size());
    const std::string nome = chiesta.substr(0, fine);
    const auto c = std::ranges::find(d.compressioni, nome, &Compressione::nome);
    if (c == d.compressioni.end()) {
        std::vector<std::string> nomi;
        std::ranges::transform(d.compressioni, std::back_inserter(nomi), &Compressione::nome);
        rifiuta("%s has no compression '%s': it takes %s", d.nome, chiesta,
                OIIO::Strutil::join(nomi, ", "));
    }
    long long livello = 0;
    if (fine < chiesta.size() &&
        (!leggi_intero(chiesta.substr(fine + 1), livello) || livello < 1 || livello > c->massimo))
        rifiuta("the compression %s of %s takes %s, not '%s'", nome, d.nome,
                c->massimo > 0 ? "a level from 1 to " + std::to_string(c->massimo) : "no level",
                chiesta);
}

}  // namespace

const Descrizione& descrizione(Formato f)
{
    return DESCRIZIONI[static_cast<int>(f)];
}

Formato formato_dai_byte(Byte dati, const std::string& nome)
{
    if (dati.empty())
        fallisci("'%s' is empty", nome);
    if (const auto f = dalla_firma(dati))
        return *f;
    fallisci("'%s' is no picture that provino reads: it takes EXR, DPX, TIFF, PNG and JPEG, and "
             "movies",
             nome);
}

Formato formato_dal_nome(const std::filesystem::path& p, bool o_filmato)
{
    if (const auto f = dalla_desinenza(p))
        return *f;
    rifiuta("'%s' must end in .exr, .dpx, .tif, .tiff, .png, .jpg or .jpeg%s: that names its kind",
            p.string(), o_filmato ? ", or as a movie in .mov, .mp4, .mkv or .mxf" : "");
}

void controlla_scrittura(const std::filesystem::path& file, const Scrittura& come, bool o_filmato)
{
    const Formato f = formato_dal_nome(file, o_filmato);
    const std::vector<std::string>& tutte = descrizione(f).profondita;
    if (!come.profondita.empty() && std::ranges::count(tutte, come.profondita) == 0)
        rifiuta("%s has no depth '%s': it takes %s", descrizione(f).nome, come.profondita,
                OIIO::Strutil::join(tutte, ", "));
    if (!come.compressione.empty())
        controlla_compressione(f, come.compressione);
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
    fallisci("'%s' is cut short or damaged: the %s data ends before its end mark; copy the file "
             "again",
             nome, descrizione(f).nome);
}

void guasto(Formato f, const std::string& nome, const char* dove)
{
    fallisci("'%s' is damaged: its %s header holds an impossible %s", nome, descrizione(f).nome,
             dove);
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
        fallisci("'%s' is damaged: its header tells of no pixels", nome);
    if (larghezza > LATO_LIMITE || altezza > LATO_LIMITE || larghezza * altezza > PIXEL_LIMITE)
        fallisci(
            "'%s' is too large or damaged: its header tells of %dx%d pixels, the limit is 65536 a "
            "side and 134 million in all",
            nome, larghezza, altezza);
}

}  // namespace varno::provino
