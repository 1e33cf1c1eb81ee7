#include "tools/formati.h"

#include "tools/dpx.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <optional>

namespace varno::provino {
namespace {

struct Descrizione {
    Formato formato;
    const char* oiio;
    const char* persone;
};

constexpr Descrizione DESCRIZIONI[] = {
    {Formato::exr, "openexr", "EXR"}, {Formato::dpx, "dpx", "DPX"},
    {Formato::tiff, "tiff", "TIFF"},  {Formato::png, "png", "PNG"},
    {Formato::jpeg, "jpeg", "JPEG"},
};

const Descrizione& descrizione(Formato f)
{
    return DESCRIZIONI[static_cast<int>(f)];
}

struct Firma {
    std::string_view byte;
    Formato formato;
};

using namespace std::string_view_literals;

constexpr Firma FIRME[] = {
    {"\x76\x2f\x31\x01"sv, Formato::exr},
    {"SDPX"sv, Formato::dpx},
    {"XPDS"sv, Formato::dpx},
    {"II*\0"sv, Formato::tiff},
    {"MM\0*"sv, Formato::tiff},
    {"II+\0"sv, Formato::tiff},  // more than 4 GiB
    {"MM\0+"sv, Formato::tiff},
    {"\x89PNG\r\n\x1a\n"sv, Formato::png},
    {"\xff\xd8\xff"sv, Formato::jpeg},
};

constexpr std::pair<std::string_view, Formato> DESINENZE[] = {
    {".exr", Formato::exr},   {".dpx", Formato::dpx}, {".tif", Formato::tiff},
    {".tiff", Formato::tiff}, {".png", Formato::png}, {".jpg", Formato::jpeg},
    {".jpeg", Formato::jpeg},
};

void controlla_png(Byte d, const std::string& nome)
{
    if (d.size() < 33)
        tronco(Formato::png, nome);
    controlla_misure(numero(d, 16, 4, false), numero(d, 20, 4, false), nome);
    for (std::size_t p = 8; p + 12 <= d.size();) {
        if (std::equal(d.begin() + p + 4, d.begin() + p + 8, "IEND"))
            return;
        p += std::size_t{12} + numero(d, p, 4, false);
    }
    tronco(Formato::png, nome);
}

void controlla_jpeg(Byte d, const std::string& nome)
{
    bool scansione = false;  // between a start of scan and the next marker stand coded pixels
    for (std::size_t p = 2; p + 1 < d.size();) {
        if (d[p] != 0xff) {
            if (!scansione)
                guasto(Formato::jpeg, nome, "marker");
            ++p;
            continue;
        }
        const unsigned char m = d[p + 1];
        if (m == 0xff) {  // filling
            ++p;
            continue;
        }
        if (m == 0xd9)
            return;
        if ((m == 0x00 && scansione) || (m >= 0xd0 && m <= 0xd7) || m == 0x01) {
            p += 2;
            continue;
        }
        if (p + 4 > d.size())
            break;
        const std::uint32_t lunghezza = numero(d, p + 2, 2, false);
        const bool inizio = m >= 0xc0 && m <= 0xcf && m != 0xc4 && m != 0xc8 && m != 0xcc;
        if (inizio) {
            if (p + 9 > d.size())
                break;
            controlla_misure(numero(d, p + 7, 2, false), numero(d, p + 5, 2, false), nome);
        }
        scansione = m == 0xda;
        p += std::size_t{2} + lunghezza;
    }
    tronco(Formato::jpeg, nome);
}

std::optional<Formato> dalla_firma(Byte dati)
{
    for (const Firma& f : FIRME)
        if (dati.size() >= f.byte.size() &&
            std::equal(f.byte.begin(), f.byte.end(), dati.begin(),
                       [](char a, unsigned char b) { return static_cast<unsigned char>(a) == b; }))
            return f.formato;
    return std::nullopt;
}

std::optional<Formato> dalla_desinenza(const std::filesystem::path& p)
{
    const std::string fine = OIIO::Strutil::lower(p.extension().string());
    for (const auto& [desinenza, formato] : DESINENZE)
        if (fine == desinenza)
            return formato;
    return std::nullopt;
}

}  // namespace

const char* nome_oiio(Formato f)
{
    return descrizione(f).oiio;
}
const char* nome_formato(Formato f)
{
    return descrizione(f).persone;
}

Formato formato_dai_byte(Byte dati, const std::string& nome)
{
    if (dati.empty())
        fallisci(tra_apici(nome) + " is empty");
    if (const auto f = dalla_firma(dati))
        return *f;
    fallisci(tra_apici(nome) +
             " is no picture that provino reads: it takes EXR, DPX, TIFF, PNG and JPEG");
}

Formato formato_dal_nome(const std::filesystem::path& p)
{
    if (const auto f = dalla_desinenza(p))
        return *f;
    rifiuta(tra_apici(p.string()) + " must end in .exr, .dpx, .tif, .tiff, .png, .jpg or .jpeg, or "
                                    "as a movie in .mov, .mp4, .mkv or .mxf: that names its kind");
}

bool sembra_immagine(Byte primi, const std::filesystem::path& p)
{
    return dalla_firma(primi) || dalla_desinenza(p);
}

void controlla_struttura(Formato f, Byte dati, const std::string& nome)
{
    switch (f) {
    case Formato::png:
        controlla_png(dati, nome);
        break;
    case Formato::jpeg:
        controlla_jpeg(dati, nome);
        break;
    case Formato::dpx:
        controlla_dpx(dati, nome);
        break;
    case Formato::exr:
    case Formato::tiff:
        break;
    }
}

void tronco(Formato f, const std::string& nome)
{
    fallisci(tra_apici(nome) + " is cut short or damaged: the " + nome_formato(f) +
             " data ends before its end mark; copy the file again");
}

void guasto(Formato f, const std::string& nome, const char* dove)
{
    fallisci(tra_apici(nome) + " is damaged: its " + nome_formato(f) +
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
