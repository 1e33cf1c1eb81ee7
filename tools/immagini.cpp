// Picture files in and out, through OpenImageIO.
#include "tools/immagini.h"

#include "tools/argomenti.h"
#include "tools/dpx.h"
#include "tools/messaggi.h"
#include "tools/profilo.h"
#include "tools/uscita.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <memory>
#include <system_error>
#include <vector>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr std::uintmax_t FILE_LIMITE = std::uintmax_t{4} << 30;  // bytes
constexpr const char* SEGNO = SEGNO_IMPOSTAZIONI.data();

// OpenImageIO reads the name of a colour space from an EXR, but writes no name that begins as this
// one must: it gets its four letters when the file stands in memory.
constexpr const char* SPAZIO_EXR = "xxxx:ColorSpace";

// --- Reading -------------------------------------------------------------------------------------

std::vector<unsigned char> leggi_byte(const fs::path& file)
{
    const std::string nome = tra_apici(file.string());
    std::error_code e;
    const fs::file_status stato = fs::status(file, e);
    if (stato.type() == fs::file_type::not_found)
        fallisci("there is no file " + nome);
    if (!fs::status_known(stato))
        fallisci("cannot read " + nome + ": " + e.message());
    if (fs::is_directory(stato))
        fallisci(nome + " is a folder: give the name of a picture");
    if (!fs::is_regular_file(stato))
        fallisci(nome + " is no regular file");
    const std::uintmax_t lunghezza = fs::file_size(file, e);
    if (e || lunghezza > FILE_LIMITE)
        fallisci(nome + " is larger than 4 GiB, too large for one picture");
    std::vector<unsigned char> dati(static_cast<std::size_t>(lunghezza));
    errno = 0;
    if (OIIO::Filesystem::read_bytes(file.string(), dati.data(), dati.size()) != dati.size())
        fallisci("cannot read " + nome + ": " +
                 (errno != 0 ? std::generic_category().message(errno) : "its length changed"));
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
    fallisci(tra_apici(file.string()) + " is damaged, or a kind of " + descrizione(f).nome +
             " that is not read" + (motivo.empty() ? "" : " (" + in_una_riga(motivo) + ")"));
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
        rifiuta(tra_apici(nome) + " has no part " + tra_apici(parte) + "; it has: " + tutte);
    if (parte.empty() && parti.size() > 1)
        nota(nome, "has " + std::to_string(parti.size()) +
                       " parts, of which the first is read; --part chooses: " + tutte);
    if (!l.ingresso->seek_subimage(quale, 0))
        illeggibile(nome, l.formato, l.ingresso->geterror());
}

Lettura apri_foto(const fs::path& file, const Scelta& scelta = {})
{
    Lettura l;
    l.dati = leggi_byte(file);
    l.formato = formato_dai_byte(l.dati, file.string());
    controlla_struttura(l.formato, l.dati, file.string());
    if (l.formato == Formato::dpx)
        completa_testata(l.dati);

    // By the format's own reader, so that nothing is guessed from the file's name.
    l.memoria = std::make_unique<OIIO::Filesystem::IOMemReader>(l.dati.data(), l.dati.size());
    l.ingresso = OIIO::ImageInput::create(descrizione(l.formato).oiio);
    if (!l.ingresso)
        fallisci(std::string("this OpenImageIO cannot read ") + descrizione(l.formato).nome);
    OIIO::ImageSpec come;
    OIIO::ImageSpec testata;
    OIIO::Filesystem::IOProxy* da = l.memoria.get();
    come.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &da);
    come.attribute("oiio:UnassociatedAlpha", 1);
    if (!l.ingresso->open(file.string(), testata, come))
        illeggibile(file, l.formato, l.ingresso->geterror());
    scegli_parte(l, file.string(), scelta.parte);
    testata = l.ingresso->spec();
    controlla_misure(testata.width, testata.height, file.string());
    if (testata.deep || testata.depth > 1)
        fallisci(tra_apici(file.string()) +
                 " holds deep or volume data, which are no picture here");
    if (testata.nchannels < 1 || testata.nchannels > 1024)
        illeggibile(file, l.formato, "channel count");
    return l;
}

// The file's channels that become R, G, B and A; -1 for an alpha that it lacks.
using Canali = std::array<int, 4>;

Canali scegli_canali(const OIIO::ImageSpec& testata, const std::string& file,
                     const std::string& strato)
{
    const std::string tutti = OIIO::Strutil::join(testata.channelnames, ", ");
    const std::string davanti = strato.empty() ? "" : strato + ".";
    Canali k{0, 0, 0, -1};
    const auto canale = [&](const std::string& nome) { return testata.channelindex(nome); };
    const auto rgb = [&](const char* r, const char* g, const char* b) {
        k = {canale(davanti + r), canale(davanti + g), canale(davanti + b), canale(davanti + "A")};
        return std::min({k[0], k[1], k[2]}) >= 0;
    };
    if (rgb("R", "G", "B") || (!strato.empty() && rgb("X", "Y", "Z"))) {
    } else if (!strato.empty()) {
        const int uno = std::max(canale(strato), canale(davanti + "Y"));
        if (uno < 0)
            rifiuta(tra_apici(file) + " has no layer " + tra_apici(strato) +
                    "; its channels are: " + in_una_riga(tutti));
        k = {uno, uno, uno, -1};
    } else if (testata.nchannels >= 3) {
        k = {0, 1, 2, testata.alpha_channel >= 3 ? testata.alpha_channel : -1};
    } else if (testata.nchannels == 2 && testata.alpha_channel == 1) {
        k = {0, 0, 0, 1};
    } else if (testata.nchannels == 2 || testata.z_channel == 0) {
        rifiuta(tra_apici(file) + " holds no colours but " + tutti + ": choose with --layer");
    } else {
        k = {0, 0, 0, -1};
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
    float* p = f.rgba.get();
    for (std::size_t i = 0; i < quanti_float(f); ++i)
        p[i] = std::floor((p[i] * 65535.0f + 0.5f) / sotto) / massimo;
}

// --- Depth and compression -----------------------------------------------------------------------

void controlla_compressione(Formato f, const std::string& chiesta)
{
    const std::string nome = chiesta.substr(0, chiesta.find(':'));
    std::vector<std::string> tutte;
    for (const Compressione& c : descrizione(f).compressioni) {
        tutte.push_back(c.nome);
        long long livello = 0;
        if (c.nome != nome || nome == chiesta)
            continue;
        if (!leggi_intero(chiesta.substr(nome.size() + 1), livello) || livello < 1 ||
            livello > c.massimo)
            rifiuta("the compression " + nome + " of " + descrizione(f).nome +
                    (c.massimo > 0 ? " takes a level from 1 to " + std::to_string(c.massimo)
                                   : " takes no level") +
                    ", not " + tra_apici(chiesta));
    }
    if (std::ranges::count(tutte, nome) == 0)
        rifiuta(std::string(descrizione(f).nome) + " has no compression " + tra_apici(chiesta) +
                ": it takes " + OIIO::Strutil::join(tutte, ", "));
}

std::string profondita_letta(const OIIO::ImageSpec& testata)
{
    const int bit = testata.get_int_attribute("oiio:BitsPerSample", 16);
    if (testata.format == OIIO::TypeUInt16 && bit == 10)
        return "uint10";
    for (const char* nome : {"uint8", "uint16", "half"})
        if (testata.format == OIIO::TypeDesc(nome))
            return nome;
    return "float";
}

// As asked for, else as it was read where the kind of file is the same, else the usual one.
std::string scegli_profondita(Formato f, const Foto& foto, const Scrittura& come)
{
    if (!come.profondita.empty())
        return come.profondita;
    const std::string letta = profondita_letta(foto.testata);
    const std::vector<std::string>& tutte = descrizione(f).profondita;
    return f == foto.formato && std::ranges::count(tutte, letta) > 0 ? letta : tutte.front();
}

// --- Metadata ------------------------------------------------------------------------------------

// What told the colours of the picture that was read, or how its file was laid out.
constexpr const char* SUPERATI =
    "ICCProfile|chromaticities|adoptedNeutral|whiteLuminance|(oiio:|Exif:)(ColorSpace|Gamma)|"
    "dpx:(Transfer|Colorimetric|Gamma|ImageDescriptor|Packing|EndOf.*|Low.*|High.*|BlackLevel|"
    "WhiteLevel|BreakPoint)|"
    "oiio:(subimages|BitsPerSample|ioproxy|UnassociatedAlpha)|planarconfig|"
    "tiff:(PhotometricInterpretation|PlanarConfiguration|Compression|RowsPerStrip|ColorSpace)|"
    "png:filter|jpeg:(subsampling|progressive)|(openexr:)?chunkCount|"
    "openexr:(levelmode|roundingmode|lineOrder)|textureformat|wrapmodes|type";

std::string senza_impostazioni(const std::string& testo)
{
    const std::size_t p = testo.find(SEGNO);
    return p == std::string::npos ? testo
                                  : testo.substr(0, testo.find_last_not_of('\n', p - 1) + 1);
}

OIIO::TypeDesc byte_di(std::size_t quanti)
{
    return {OIIO::TypeDesc::UINT8, static_cast<int>(quanti)};
}

std::string blocco_utente(const OIIO::ImageSpec& testata)
{
    const OIIO::ParamValue* v = testata.find_attribute("dpx:UserData");
    if (v == nullptr || v->type().basetype != OIIO::TypeDesc::UINT8)
        return {};
    return std::string(static_cast<const char*>(v->data()), v->type().size());
}

// Each format keeps its own few texts: EXR and PNG any name, JPEG a history, TIFF and DPX only a
// description and a block of user data, to which ours is added behind what stands there.
void posa_impostazioni(OIIO::ImageSpec& testata, Formato f, const std::string& impostazioni)
{
    const std::string riga = std::string(SEGNO) + " " + impostazioni;
    const auto in_coda = [&](const std::string& prima) {
        const std::string s = senza_impostazioni(prima);
        return s.empty() ? riga : s + '\n' + riga;
    };
    if (f == Formato::exr || f == Formato::png)
        testata.attribute(SEGNO, impostazioni);
    if (f == Formato::jpeg)
        testata.attribute("Exif:ImageHistory", riga);
    if (f == Formato::tiff)
        testata.attribute("ImageDescription",
                          in_coda(testata.get_string_attribute("ImageDescription")));
    if (f == Formato::dpx) {
        const std::string s = in_coda(blocco_utente(testata));
        testata.attribute("dpx:UserData", byte_di(s.size()), s.data());
    }
}

// The frame alone, with no window around it.
void senza_finestra(OIIO::ImageSpec& s)
{
    s.x = s.y = s.full_x = s.full_y = 0;
    s.full_width = s.width;
    s.full_height = s.height;
}

// A damaged header may tell of a display window or of a shape of pixels that cannot be, and that a
// writer would refuse: the picture is good without.
void sana_testata(OIIO::ImageSpec& s)
{
    constexpr int LONTANO = 1 << 24;  // pixels
    const auto vicino = [](int v) { return v > -LONTANO && v < LONTANO; };
    const int numeri[] = {s.x, s.y, s.full_x, s.full_y, s.full_width, s.full_height};
    if (!std::ranges::all_of(numeri, vicino) || s.full_width < 1 || s.full_height < 1)
        senza_finestra(s);
    const float forma = s.get_float_attribute("PixelAspectRatio", 1.0f);
    if (!(forma >= 1e-6f && forma <= 1e6f))
        s.erase_attribute("PixelAspectRatio");
}

// What the values are, in the words that oiiotool and ffmpeg read.
void dichiara_colore(OIIO::ImageSpec& s, Formato f, const std::string& colore)
{
    const bool schermo = colore == SCHERMO;
    s.attribute(f == Formato::exr ? SPAZIO_EXR : "oiio:ColorSpace", colore);
    if (f == Formato::dpx) {
        s.attribute("dpx:Transfer", schermo ? "ITU-R 709-4" : "User defined");
        s.attribute("dpx:Colorimetric", schermo ? "ITU-R 709-4" : "User defined");
        s.erase_attribute("oiio:ColorSpace");
    } else if (schermo && f == Formato::exr) {
        constexpr float REC709[] = {0.64f, 0.33f, 0.30f, 0.60f, 0.15f, 0.06f, 0.3127f, 0.3290f};
        s.attribute("chromaticities", OIIO::TypeDesc(OIIO::TypeDesc::FLOAT, 8), REC709);
    } else if (schermo) {
        const auto& profilo = profilo_schermo();
        s.attribute("ICCProfile", byte_di(profilo.size()), profilo.data());
    }
}

OIIO::ImageSpec spec_d_uscita(Formato f, const Foto& foto, const Scrittura& come,
                              const std::string& profondita, const std::string& impostazioni)
{
    OIIO::ImageSpec s = foto.testata;
    s.width = foto.larghezza;
    s.height = foto.altezza;
    s.depth = 1;
    s.nchannels = foto.alfa && f != Formato::jpeg ? 4 : 3;
    s.channelnames.assign({"R", "G", "B", "A"});
    s.channelnames.resize(static_cast<std::size_t>(s.nchannels));
    s.alpha_channel = s.nchannels == 4 ? 3 : -1;
    s.z_channel = -1;
    s.tile_width = s.tile_height = s.tile_depth = 0;
    s.channelformats.clear();
    s.set_format(OIIO::TypeDesc(profondita == "uint10" ? "uint16" : profondita));
    // The others know no window, or none left of or above the frame's.
    if (f != Formato::exr && (f != Formato::tiff || s.x < 0 || s.y < 0))
        senza_finestra(s);
    sana_testata(s);

    const bool non_associata = foto.testata.get_int_attribute("oiio:UnassociatedAlpha", 0) != 0 ||
                               foto.formato == Formato::png || f == Formato::png;
    s.erase_attribute(SUPERATI);
    if (f != foto.formato || !come.compressione.empty())
        s.erase_attribute("compression");
    s.erase_attribute(SEGNO);
    if (non_associata)
        s.attribute("oiio:UnassociatedAlpha", 1);
    dichiara_colore(s, f, foto.colore);
    const std::size_t livello = come.compressione.find(':');
    if (!come.compressione.empty() && f != Formato::png)
        s.attribute("compression", come.compressione);
    switch (f) {
    case Formato::exr:
        break;
    case Formato::dpx:
        s.attribute("oiio:BitsPerSample", std::stoi(profondita.substr(4)));
        break;
    case Formato::tiff:
        if (s.get_string_attribute("compression", "zip") == "zip")
            s.attribute("compression", "zip:2");  // the last percents take most of the time
        break;
    case Formato::png:
        s.attribute("png:filter", 16);  // differences along the row: small, and fast to make
        s.attribute("png:compressionLevel",
                    livello == std::string::npos ? 2 : come.compressione[livello + 1] - '0');
        break;
    case Formato::jpeg:
        s.attribute("CompressionQuality", 95);
        s.attribute("jpeg:subsampling", "4:4:4");
    }
    s.attribute("Software", "provino " PROVINO_VERSIONE);
    if (!impostazioni.empty())
        posa_impostazioni(s, f, impostazioni);
    return s;
}

// --- Writing -------------------------------------------------------------------------------------

template <class Intero>
bool scrivi_interi(OIIO::ImageOutput& uscita, const Foto& f, int canali, float massimo)
{
    const std::size_t pixel = quanti_float(f) / 4;
    std::vector<Intero> v(pixel * static_cast<std::size_t>(canali));
    Intero* q = v.data();
    const float* p = f.rgba.get();
    for (std::size_t i = 0; i < pixel; ++i, p += 4)
        for (int c = 0; c < canali; ++c) {
            const unsigned n = codice(p[c], massimo);
            // 10 bits stand at the top of 16 with the first ones repeated, as the writer wants
            // them.
            *q++ = static_cast<Intero>(massimo == 1023.0f ? n << 6 | n >> 4 : n);
        }
    return uscita.write_image(OIIO::BaseTypeFromC<Intero>::value, v.data());
}

bool scrivi_pixel(OIIO::ImageOutput& uscita, const Foto& foto, int canali,
                  const std::string& profondita)
{
    if (profondita == "uint8")
        return scrivi_interi<std::uint8_t>(uscita, foto, canali, 255.0f);
    if (profondita == "uint10" || profondita == "uint16")
        return scrivi_interi<std::uint16_t>(uscita, foto, canali,
                                            profondita == "uint10" ? 1023.0f : 65535.0f);
    return uscita.write_image(OIIO::TypeFloat, foto.rgba.get(), 4 * sizeof(float));
}

}  // namespace

Foto foto_nuova(int larghezza, int altezza, bool alfa)
{
    Foto f;
    f.larghezza = larghezza;
    f.altezza = altezza;
    f.alfa = alfa;
    f.rgba.reset(new float[quanti_float(f)]);
    f.testata = OIIO::ImageSpec(larghezza, altezza, alfa ? 4 : 3, OIIO::TypeFloat);
    return f;
}

OIIO::ImageSpec leggi_testata(const fs::path& file)
{
    return apri_foto(file).ingresso->spec();
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

    // RGB or RGBA one beside the other go straight to their places.
    const int quanti = f.alfa ? 4 : 3;
    const bool in_fila = k[1] == k[0] + 1 && k[2] == k[0] + 2 && (!f.alfa || k[3] == k[0] + 3);
    const int parte = l.ingresso->current_subimage();
    bool letto = false;
    float* p = f.rgba.get();
    const std::size_t pixel = quanti_float(f) / 4;
    if (in_fila) {
        letto = l.ingresso->read_image(parte, 0, k[0], k[0] + quanti, OIIO::TypeFloat, p,
                                       4 * sizeof(float));
    } else {
        const auto n = static_cast<std::size_t>(testata.nchannels);
        std::vector<float> tutti(pixel * n);
        letto =
            l.ingresso->read_image(parte, 0, 0, testata.nchannels, OIIO::TypeFloat, tutti.data());
        for (std::size_t i = 0; i < pixel; ++i)
            for (int c = 0; c < quanti; ++c)
                p[4 * i + c] = tutti[i * n + k[c]];
    }
    // Some readers fill what is missing, call that a success and leave only a message.
    if (!letto || l.ingresso->has_error())
        illeggibile(file, f.formato, l.ingresso->geterror());
    if (!f.alfa)
        for (std::size_t i = 0; i < pixel; ++i)
            p[4 * i + 3] = 1.0f;
    raddrizza_bit(f);
    if (f.formato == Formato::dpx)
        rendi_persi(l.dati, f);
    return f;
}

void controlla_scrittura(const fs::path& file, const Scrittura& come)
{
    const Formato f = formato_dal_nome(file);
    const std::vector<std::string>& tutte = descrizione(f).profondita;
    if (!come.profondita.empty() && std::ranges::count(tutte, come.profondita) == 0)
        rifiuta(std::string(descrizione(f).nome) + " has no depth " + tra_apici(come.profondita) +
                ": it takes " + OIIO::Strutil::join(tutte, ", "));
    if (!come.compressione.empty())
        controlla_compressione(f, come.compressione);
}

void scrivi_foto(const fs::path& file, const Foto& foto, const Scrittura& come,
                 const std::string& impostazioni)
{
    controlla_scrittura(file, come);
    const Formato f = formato_dal_nome(file);
    if (foto.alfa && f == Formato::jpeg)
        nota(file.string(), "holds no alpha, as no JPEG does: it is left out");
    const std::string profondita = scegli_profondita(f, foto, come);
    OIIO::ImageSpec testata = spec_d_uscita(f, foto, come, profondita, impostazioni);

    scrivi_intero(file, come.sovrascrivi, [&](const fs::path& provvisorio) {
        // Into memory, so that a full disk is told by our own write and never missed. TIFF alone
        // reads back what it wrote, which that memory cannot do.
        std::vector<unsigned char> memoria;
        OIIO::Filesystem::IOVecOutput verso(memoria);
        OIIO::Filesystem::IOProxy* proxy = &verso;
        const bool diretto = f == Formato::tiff;
        if (diretto)
            scrivi_byte(provvisorio, {},
                        file.string());  // tells the system's reason where it cannot
        else
            testata.attribute("oiio:ioproxy", OIIO::TypeDesc::PTR, &proxy);
        const auto uscita = OIIO::ImageOutput::create(descrizione(f).oiio);
        if (!uscita || !uscita->open(provvisorio.string(), testata) ||
            !scrivi_pixel(*uscita, foto, testata.nchannels, profondita) || !uscita->close())
            fallisci("cannot write " + tra_apici(file.string()) + ": " +
                     in_una_riga(uscita ? uscita->geterror() : OIIO::geterror()));
        if (f == Formato::exr) {
            const std::string nome = std::string(SPAZIO_EXR) + '\0' + "string";
            const auto dove = std::search(memoria.begin(), memoria.end(), nome.begin(), nome.end());
            if (dove != memoria.end())
                std::copy_n("oiio", 4, dove);
        }
        if (!diretto)
            scrivi_byte(provvisorio, memoria, file.string());
    });
}

std::optional<std::string> impostazioni_in(const OIIO::ImageSpec& testata)
{
    const std::string proprio = testata.get_string_attribute(SEGNO);
    if (!proprio.empty())
        return proprio;
    for (const std::string& testo :
         {std::string(testata.get_string_attribute("ImageDescription")),
          std::string(testata.get_string_attribute("Exif:ImageHistory")), blocco_utente(testata)})
        if (const std::size_t p = testo.find(SEGNO); p != std::string::npos)
            return testo.substr(p + SEGNO_IMPOSTAZIONI.size());
    return std::nullopt;
}

}  // namespace varno::provino
