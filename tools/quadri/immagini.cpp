// Picture files in, through OpenImageIO.
#include "tools/quadri/immagini.h"

#include "tools/messaggi.h"
#include "tools/quadri/dpx.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/imagebuf.h>

#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <vector>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t FILE_LIMITE = std::uintmax_t{4} << 30;  // bytes

std::vector<unsigned char> leggi_byte(const fs::path& file)
{
    const std::string nome = file.string();
    std::error_code e;
    const fs::file_status stato = fs::status(file, e);
    if (stato.type() == fs::file_type::not_found)
        fallisci("there is no file '%s'", nome);
    if (!fs::status_known(stato))
        fallisci("cannot read '%s': %s", nome, e.message());
    if (fs::is_directory(stato))
        fallisci("'%s' is a folder: give the name of a picture", nome);
    if (!fs::is_regular_file(stato))
        fallisci("'%s' is no regular file", nome);
    const std::uintmax_t lunghezza = fs::file_size(file, e);
    if (e || lunghezza > FILE_LIMITE)
        fallisci("'%s' is larger than 4 GiB, too large for one picture", nome);
    std::vector<unsigned char> dati(static_cast<std::size_t>(lunghezza));
    errno = 0;
    if (OIIO::Filesystem::read_bytes(nome, dati.data(), dati.size()) != dati.size())
        fallisci("cannot read '%s': %s", nome,
                 errno != 0 ? std::generic_category().message(errno) : "its length changed");
    return dati;
}

// An open picture, and the memory that it reads from.
struct Lettura {
    std::vector<unsigned char> dati;
    std::unique_ptr<OIIO::Filesystem::IOMemReader> memoria;
    std::unique_ptr<OIIO::ImageInput> ingresso;
    Formato formato = Formato::exr;
};

[[noreturn]] void illeggibile(const fs::path& file, Formato f, const std::string& motivo)
{
    fallisci("'%s' is damaged, or a kind of %s that is not read%s", file.string(),
             descrizione(f).nome, motivo.empty() ? "" : " (" + in_una_riga(motivo) + ")");
}

// The part of that number or name.
void scegli_parte(Lettura& l, const std::string& nome, const std::string& parte)
{
    constexpr int LIMITE = 1000;
    std::vector<std::string> parti;  // by name, or by number
    int quale = parte.empty() ? 0 : -1;
    for (int i = 0; i < LIMITE && l.ingresso->seek_subimage(i, 0); ++i) {
        const std::string numero = std::to_string(i);
        const std::string suo = l.ingresso->spec().get_string_attribute("oiio:subimagename");
        if (quale < 0 && (parte == suo || parte == numero))
            quale = i;
        parti.push_back(suo.empty() ? numero : suo);
    }
    static_cast<void>(l.ingresso->geterror());  // that there is no further one
    const std::string tutte = OIIO::Strutil::join(parti, ", ");
    if (quale < 0)
        rifiuta("'%s' has no part '%s'; it has: %s", nome, parte, tutte);
    if (parte.empty() && parti.size() > 1)
        nota(nome, "has " + std::to_string(parti.size()) +
                       " parts, of which the first is read; --part chooses: " + tutte);
    if (!l.ingresso->seek_subimage(quale, 0))
        illeggibile(nome, l.formato, l.ingresso->geterror());
}

Lettura apri_foto(const fs::path& file, const Scelta& scelta)
{
    Lettura l;
    l.dati = leggi_byte(file);
    l.formato = formato_dai_byte(l.dati, file.string());
    const Descrizione& d = descrizione(l.formato);
    if (d.prepara != nullptr)
        d.prepara(l.dati, file.string());

    // By the format's own reader, so that nothing is guessed from the file's name.
    l.memoria = std::make_unique<OIIO::Filesystem::IOMemReader>(l.dati.data(), l.dati.size());
    l.ingresso = OIIO::ImageInput::create(d.oiio);
    if (!l.ingresso)
        fallisci("this OpenImageIO cannot read %s", d.nome);
    l.ingresso->set_ioproxy(l.memoria.get());
    OIIO::ImageSpec come;
    OIIO::ImageSpec testata;
    come.attribute("oiio:UnassociatedAlpha", 1);
    if (!l.ingresso->open(file.string(), testata, come))
        illeggibile(file, l.formato, l.ingresso->geterror());
    scegli_parte(l, file.string(), scelta.parte);
    testata = l.ingresso->spec();
    controlla_misure(testata.width, testata.height, file.string());
    if (testata.deep || testata.depth > 1)
        fallisci("'%s' holds deep or volume data, which are no picture here", file.string());
    if (testata.nchannels < 1 || testata.nchannels > 1024)
        illeggibile(file, l.formato, "channel count");
    if (testata.get_int_attribute("oiio:BitsPerSample") == 24)  // taken for 32, and so for nothing
        illeggibile(file, l.formato, "samples of 24 bits");
    return l;
}

// The file's channels that become R, G, B and A; -1 for an alpha that it lacks.
using Canali = std::array<int, 4>;

// What stands before "R": of a file that has layers alone, the first one's name.
std::string primo_strato(const OIIO::ImageSpec& testata)
{
    const auto& nomi = testata.channelnames;
    const auto rosso = std::ranges::find_if(nomi, [](const auto& n) { return n.ends_with(".R"); });
    return testata.channelindex("R") >= 0 || rosso == nomi.end()
               ? ""
               : rosso->substr(0, rosso->size() - 1);
}

// A channel that is a picture by itself; -1 for none.
int grigio(const OIIO::ImageSpec& testata)
{
    const bool uno =
        testata.nchannels == 1 || (testata.nchannels == 2 && testata.alpha_channel == 1);
    const int quale = uno ? 0 : testata.channelindex("Y");
    return quale == testata.z_channel ? -1 : quale;
}

Canali scegli_canali(const OIIO::ImageSpec& testata, const std::string& file,
                     const std::string& strato)
{
    const std::string tutti = OIIO::Strutil::join(testata.channelnames, ", ");
    const std::string davanti = strato.empty() ? primo_strato(testata) : strato + ".";
    Canali k{0, 0, 0, -1};
    const auto canale = [&](const std::string& nome) { return testata.channelindex(nome); };
    const auto rgb = [&](const char* r, const char* g, const char* b) {
        k = {canale(davanti + r), canale(davanti + g), canale(davanti + b), canale(davanti + "A")};
        return std::min({k[0], k[1], k[2]}) >= 0;
    };
    if (strato.empty() && canale("RY") >= 0 && canale("BY") >= 0)
        fallisci("'%s' holds luminance and colour differences (%s), which are not read: save it as "
                 "RGB",
                 file, in_una_riga(tutti));
    const auto tra_i_primi = [](int c) { return c >= 0 && c < 3; };
    const bool altro = tra_i_primi(testata.alpha_channel) || tra_i_primi(testata.z_channel) ||
                       testata.get_int_attribute("tiff:PhotometricInterpretation") == 5;  // inks
    if (rgb("R", "G", "B") || rgb("X", "Y", "Z")) {
    } else if (!strato.empty()) {
        const int uno = std::max(canale(strato), canale(davanti + "Y"));
        if (uno < 0)
            rifiuta("'%s' has no layer '%s'; its channels are: %s", file, strato,
                    in_una_riga(tutti));
        k = {uno, uno, uno, -1};
    } else if (testata.nchannels >= 3 && !altro) {
        k = {0, 1, 2, testata.alpha_channel};
    } else if (const int uno = grigio(testata); uno >= 0) {
        k = {uno, uno, uno, testata.alpha_channel > uno ? testata.alpha_channel : -1};
    } else {
        rifiuta("'%s' holds no colours but %s: choose with --layer", file, in_una_riga(tutti));
    }
    std::vector<std::string> fuori;
    for (int c = 0; c < testata.nchannels; ++c)
        if (std::ranges::count(k, c) == 0)
            fuori.emplace_back(testata.channel_name(c));
    if (strato.empty() && !fuori.empty())
        nota(file, "has channels that are left out, --layer chooses: " +
                       in_una_riga(OIIO::Strutil::join(fuori, ", ")));
    return k;
}

// 10 and 12 bits come at the top of 16, those below repeated or not; the code value is the fraction
// of its own range.
void raddrizza_bit(Foto& f)
{
    const int bit = f.testata.get_int_attribute("oiio:BitsPerSample", 0);
    if (f.testata.format != OIIO::TypeUInt16 || bit <= 8 || bit >= 16)
        return;
    const auto massimo = static_cast<float>((1 << bit) - 1);
    const auto sotto = static_cast<float>(1 << (16 - bit));
    for (float& v : std::span(f.rgba.get(), quanti_float(f)))
        v = std::floor((v * 65535.0f + 0.5f) / sotto) / massimo;
}

// Where 0 is white the reader turns samples of 8 bits, alpha among them, and no others.
void raddrizza_bianco(Foto& f)
{
    if (f.testata.get_int_attribute("tiff:PhotometricInterpretation", 1) != 0)
        return;
    const bool alfa = f.testata.format == OIIO::TypeUInt8;
    for (std::size_t i = 0; i < quanti_float(f); ++i)
        if ((i % 4 == 3) == alfa && (f.alfa || !alfa))
            f.rgba[i] = 1.0f - f.rgba[i];
}

}  // namespace

Foto foto_nuova(int larghezza, int altezza, bool alfa)
{
    const std::size_t quanti = std::size_t{4} * larghezza * altezza;
    return {.larghezza = larghezza,
            .altezza = altezza,
            .rgba = std::make_unique_for_overwrite<float[]>(quanti),
            .alfa = alfa,
            .testata = {larghezza, altezza, alfa ? 4 : 3, OIIO::TypeFloat}};
}

OIIO::ImageBuf tela(const Foto& f)
{
    return OIIO::ImageBuf({f.larghezza, f.altezza, 4, OIIO::TypeFloat}, f.rgba.get());
}

OIIO::ImageSpec leggi_testata(const fs::path& file, const Scelta& scelta)
{
    return apri_foto(file, scelta).ingresso->spec();
}

Foto leggi_foto(const fs::path& file, const Scelta& scelta)
{
    Lettura l = apri_foto(file, scelta);
    const OIIO::ImageSpec& testata = l.ingresso->spec();
    const Canali k = scegli_canali(testata, file.string(), scelta.strato);
    if (testata.get_int_attribute("Orientation", 1) != 1)
        nota(file.string(), "asks to be shown turned: its pixels are developed as they lie");
    Foto f = foto_nuova(testata.width, testata.height, k[3] >= 0);
    f.formato = l.formato;
    f.testata = testata;

    // The channels from the first to the last that counts; where they are more than four, not at
    // once into the place of the picture.
    const auto [primo, ultimo] = std::minmax_element(k.begin(), k.begin() + (f.alfa ? 4 : 3));
    const std::size_t passo = std::max(4, *ultimo - *primo + 1);
    const std::size_t pixel = quanti_float(f) / 4;
    std::vector<float> larghi(passo > 4 ? pixel * passo : 0);
    float* letti = passo > 4 ? larghi.data() : f.rgba.get();
    const bool letto =
        l.ingresso->read_image(l.ingresso->current_subimage(), 0, *primo, *ultimo + 1,
                               OIIO::TypeFloat, letti, passo * sizeof(float));
    // Some readers fill what is missing, call that a success and leave only a message.
    if (!letto || l.ingresso->has_error())
        illeggibile(file, f.formato, l.ingresso->geterror());
    for (std::size_t i = 0; i < pixel; ++i) {
        std::array<float, 4> v;
        for (std::size_t c = 0; c < 4; ++c)
            v[c] = k[c] < 0 ? 1.0f : letti[passo * i + k[c] - *primo];
        std::copy(v.begin(), v.end(), &f.rgba[4 * i]);
    }
    raddrizza_bit(f);
    raddrizza_bianco(f);
    if (f.formato == Formato::dpx)
        rendi_persi(l.dati, f, l.ingresso->current_subimage(), k);
    return f;
}

float cadenza_in(const OIIO::ImageSpec& testata)
{
    return testata.get_float_attribute("FramesPerSecond",
                                       testata.get_float_attribute("dpx:FrameRate"));
}

bool ha_finestra(const OIIO::ImageSpec& testata)
{
    return testata.roi() != testata.roi_full();
}

}  // namespace varno::provino
