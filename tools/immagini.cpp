#include "tools/immagini.h"

#include "tools/argomenti.h"
#include "tools/dpx.h"
#include "tools/messaggi.h"
#include "tools/profilo.h"
#include "tools/uscita.h"

#include <OpenImageIO/filesystem.h>
#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <cerrno>
#include <cmath>
#include <cstdint>
#include <fstream>
#include <memory>
#include <string_view>
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
    const std::string nome = file.string();
    std::error_code e;
    const fs::file_status stato = fs::status(file, e);
    const auto perche = [&](const std::string& motivo) {
        fallisci("cannot read " + tra_apici(nome) + ": " + motivo);
    };
    if (!fs::status_known(stato))
        perche(e.message());
    if (!fs::exists(stato))
        fallisci("there is no file " + tra_apici(nome));
    if (fs::is_directory(stato))
        fallisci(tra_apici(nome) + " is a folder: give the name of a picture");
    if (!fs::is_regular_file(stato))
        fallisci(tra_apici(nome) + " is no regular file");
    const std::uintmax_t lunghezza = fs::file_size(file, e);
    if (e || lunghezza > FILE_LIMITE)
        fallisci(tra_apici(nome) + " is larger than 4 GiB, too large for one picture");
    errno = 0;
    std::ifstream f(file, std::ios::binary);
    std::vector<unsigned char> dati(static_cast<std::size_t>(lunghezza));
    if (!f ||
        !f.read(reinterpret_cast<char*>(dati.data()), static_cast<std::streamsize>(dati.size())))
        perche(errno != 0 ? std::generic_category().message(errno) : "its length changed");
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
    fallisci(tra_apici(file.string()) + " is damaged, or a kind of " + nome_formato(f) +
             " that is not read" + (motivo.empty() ? "" : " (" + in_una_riga(motivo) + ")"));
}

// The part of that number or name.
void scegli_parte(Lettura& l, const std::string& nome, const std::string& parte)
{
    constexpr int LIMITE = 1000;
    std::vector<std::string> parti;
    for (int i = 0; i < LIMITE && l.ingresso->seek_subimage(i, 0); ++i)
        parti.emplace_back(l.ingresso->spec().get_string_attribute("oiio:subimagename"));
    static_cast<void>(l.ingresso->geterror());  // that there is no further one
    std::string tutte;
    int quale = parte.empty() ? 0 : -1;
    for (std::size_t i = 0; i < parti.size(); ++i) {
        const std::string numero = std::to_string(i);
        if (quale < 0 && (parte == parti[i] || parte == numero))
            quale = static_cast<int>(i);
        tutte += (i > 0 ? ", " : "") + (parti[i].empty() ? numero : parti[i]);
    }
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
    l.ingresso = OIIO::ImageInput::create(nome_oiio(l.formato));
    if (!l.ingresso)
        fallisci(std::string("this OpenImageIO cannot read ") + nome_formato(l.formato));
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

int canale(const OIIO::ImageSpec& testata, const std::string& nome)
{
    const auto& nomi = testata.channelnames;
    const auto dove = std::find(nomi.begin(), nomi.end(), nome);
    return dove == nomi.end() ? -1 : static_cast<int>(dove - nomi.begin());
}

// The file's channels that become R, G, B and A; -1 for an alpha that it lacks.
struct Canali {
    int c[4] = {0, 0, 0, -1};
};

Canali scegli_canali(const OIIO::ImageSpec& testata, const std::string& file,
                     const std::string& strato)
{
    const std::string tutti = OIIO::Strutil::join(testata.channelnames, ", ");
    const std::string davanti = strato.empty() ? "" : strato + ".";
    Canali k;
    const auto rgb = [&](const char* r, const char* g, const char* b) {
        k = {{canale(testata, davanti + r), canale(testata, davanti + g),
              canale(testata, davanti + b), canale(testata, davanti + "A")}};
        return k.c[0] >= 0 && k.c[1] >= 0 && k.c[2] >= 0;
    };
    if (rgb("R", "G", "B") || (!strato.empty() && rgb("X", "Y", "Z"))) {
    } else if (!strato.empty()) {
        const int uno = std::max(canale(testata, strato), canale(testata, davanti + "Y"));
        if (uno < 0)
            rifiuta(tra_apici(file) + " has no layer " + tra_apici(strato) +
                    "; its channels are: " + in_una_riga(tutti));
        k = {{uno, uno, uno, -1}};
    } else if (testata.nchannels >= 3) {
        k = {{0, 1, 2, testata.alpha_channel >= 3 ? testata.alpha_channel : -1}};
    } else if (testata.nchannels == 2 && testata.alpha_channel == 1) {
        k = {{0, 0, 0, 1}};
    } else if (testata.nchannels == 2 || testata.z_channel == 0) {
        rifiuta(tra_apici(file) + " holds no colours but " + tutti + ": choose with --layer");
    } else {
        k = {};
    }
    std::string fuori;
    for (int c = 0; c < testata.nchannels; ++c)
        if (std::find(k.c, k.c + 4, c) == k.c + 4)
            fuori += (fuori.empty() ? "" : ", ") + std::string(testata.channel_name(c));
    if (strato.empty() && !fuori.empty())
        nota(file, "has channels that are left out, --layer chooses: " + in_una_riga(fuori));
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

// Where the last sample of a line is a whole pixel's grey, or its alpha.
void rendi_persi(Foto& f, Byte dati)
{
    const std::vector<float> persi = campioni_persi(dati);
    if (persi.size() != static_cast<std::size_t>(f.altezza))
        return;
    const std::size_t riga = std::size_t{4} * static_cast<std::size_t>(f.larghezza);
    for (std::size_t y = 0; y < persi.size(); ++y) {
        float* p = &f.rgba[(y + 1) * riga - 4];
        if (f.testata.nchannels == 4)
            p[3] = persi[y];
        else if (f.testata.nchannels == 1)
            p[0] = p[1] = p[2] = persi[y];
    }
}

// --- Depth and compression -----------------------------------------------------------------------

struct Compressione {
    std::string_view nome;
    int massimo = 0;  // of the level that may follow behind a colon; 0 for none
};

struct Capacita {
    Formato formato;
    std::vector<std::string_view> profondita;  // the first is the usual one
    std::vector<Compressione> compressioni;
};

const Capacita& capacita(Formato f)
{
    // clang-format off
    static const std::vector<Capacita> tutte = {
        {Formato::exr,  {"half", "float"},
         {{"zip", 9}, {"none"}, {"rle"}, {"zips", 9}, {"piz"}, {"pxr24"}, {"b44"}, {"b44a"},
          {"dwaa", 1000}, {"dwab", 1000}}},
        {Formato::dpx,  {"uint10", "uint8", "uint16"}, {{"none"}}},
        {Formato::tiff, {"uint16", "uint8", "half", "float"},
         {{"zip", 9}, {"none"}, {"lzw"}, {"packbits"}}},
        {Formato::png,  {"uint16", "uint8"}, {{"zip", 9}}},
        {Formato::jpeg, {"uint8"}, {{"jpeg", 100}}},
    };
    // clang-format on
    return tutte[static_cast<std::size_t>(f)];
}

bool contiene(const std::vector<std::string_view>& parole, std::string_view p)
{
    return std::find(parole.begin(), parole.end(), p) != parole.end();
}

void controlla_compressione(Formato f, const std::string& chiesta)
{
    const std::size_t due_punti = chiesta.find(':');
    std::string tutte;
    for (const Compressione& c : capacita(f).compressioni) {
        if (c.nome == chiesta.substr(0, due_punti)) {
            long long livello = 1;
            if (due_punti != std::string::npos &&
                (!leggi_intero(chiesta.substr(due_punti + 1), livello) || livello < 1 ||
                 livello > c.massimo))
                rifiuta("the compression " + std::string(c.nome) + " of " + nome_formato(f) +
                        (c.massimo > 0 ? " takes a level from 1 to " + std::to_string(c.massimo)
                                       : " takes no level") +
                        ", not " + tra_apici(chiesta));
            return;
        }
        tutte += (tutte.empty() ? "" : ", ") + std::string(c.nome);
    }
    rifiuta(std::string(nome_formato(f)) + " has no compression " + tra_apici(chiesta) +
            ": it takes " + tutte);
}

std::string profondita_letta(const OIIO::ImageSpec& testata)
{
    switch (testata.format.basetype) {
    case OIIO::TypeDesc::UINT8:
        return "uint8";
    case OIIO::TypeDesc::UINT16:
        return testata.get_int_attribute("oiio:BitsPerSample", 16) == 10 ? "uint10" : "uint16";
    case OIIO::TypeDesc::HALF:
        return "half";
    default:
        return "float";
    }
}

// As asked for, else as it was read where the kind of file is the same, else the usual one.
std::string scegli_profondita(Formato f, const Foto& foto, const Scrittura& come)
{
    if (!come.profondita.empty())
        return come.profondita;
    const std::string letta = profondita_letta(foto.testata);
    const bool stesso = f == foto.formato && contiene(capacita(f).profondita, letta);
    return stesso ? letta : std::string(capacita(f).profondita.front());
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
    const auto in_coda = [&](const std::string& prima) {
        std::string s = senza_impostazioni(prima);
        if (!s.empty())
            s += '\n';
        return s + SEGNO + " " + impostazioni;
    };
    switch (f) {
    case Formato::exr:
    case Formato::png:
        testata.attribute(SEGNO, impostazioni);
        break;
    case Formato::jpeg:
        testata.attribute("Exif:ImageHistory", std::string(SEGNO) + " " + impostazioni);
        break;
    case Formato::tiff:
        testata.attribute("ImageDescription",
                          in_coda(testata.get_string_attribute("ImageDescription")));
        break;
    case Formato::dpx: {
        const std::string s = in_coda(blocco_utente(testata));
        testata.attribute("dpx:UserData",
                          OIIO::TypeDesc(OIIO::TypeDesc::UINT8, static_cast<int>(s.size())),
                          s.data());
        break;
    }
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
    if (!vicino(s.x) || !vicino(s.y) || !vicino(s.full_x) || !vicino(s.full_y) ||
        s.full_width < 1 || !vicino(s.full_width) || s.full_height < 1 || !vicino(s.full_height))
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
        s.attribute("ICCProfile",
                    OIIO::TypeDesc(OIIO::TypeDesc::UINT8, static_cast<int>(profilo.size())),
                    profilo.data());
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
    s.set_format(profondita == "float"   ? OIIO::TypeFloat
                 : profondita == "half"  ? OIIO::TypeHalf
                 : profondita == "uint8" ? OIIO::TypeUInt8
                                         : OIIO::TypeUInt16);
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
    if (f == Formato::dpx) {
        s.attribute("oiio:BitsPerSample", profondita == "uint10"  ? 10
                                          : profondita == "uint8" ? 8
                                                                  : 16);
    }
    if (f == Formato::jpeg) {
        s.attribute("CompressionQuality", 95);
        s.attribute("jpeg:subsampling", "4:4:4");
    }
    if (f == Formato::png)
        s.attribute("png:filter", 16);  // differences along the row: small, and fast to make
    const std::size_t livello = come.compressione.find(':');
    if (f == Formato::png)
        s.attribute("png:compressionLevel",
                    livello == std::string::npos ? 2 : come.compressione[livello + 1] - '0');
    else if (!come.compressione.empty())
        s.attribute("compression", come.compressione);
    if (f == Formato::tiff && s.get_string_attribute("compression", "zip") == "zip")
        s.attribute("compression", "zip:2");  // the last percents take most of the time
    s.attribute("Software", "provino " PROVINO_VERSIONE);
    if (!impostazioni.empty())
        posa_impostazioni(s, f, impostazioni);
    return s;
}

// --- Writing -------------------------------------------------------------------------------------

template <class Intero> std::vector<Intero> in_interi(const Foto& f, int canali, float massimo)
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
    return v;
}

bool scrivi_pixel(OIIO::ImageOutput& uscita, const Foto& foto, int canali,
                  const std::string& profondita)
{
    if (profondita == "uint8")
        return uscita.write_image(OIIO::TypeUInt8,
                                  in_interi<std::uint8_t>(foto, canali, 255.0f).data());
    if (profondita == "uint10" || profondita == "uint16")
        return uscita.write_image(
            OIIO::TypeUInt16,
            in_interi<std::uint16_t>(foto, canali, profondita == "uint10" ? 1023.0f : 65535.0f)
                .data());
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
    Foto f;
    f.larghezza = testata.width;
    f.altezza = testata.height;
    f.formato = l.formato;
    f.alfa = k.c[3] >= 0;
    f.testata = testata;
    f.rgba.reset(new float[quanti_float(f)]);

    const bool in_fila =
        k.c[1] == k.c[0] + 1 && k.c[2] == k.c[0] + 2 && (!f.alfa || k.c[3] == k.c[0] + 3);
    const int parte = l.ingresso->current_subimage();
    bool letto = false;
    float* p = f.rgba.get();
    const std::size_t pixel = quanti_float(f) / 4;
    if (in_fila) {
        letto = l.ingresso->read_image(parte, 0, k.c[0], k.c[0] + (f.alfa ? 4 : 3), OIIO::TypeFloat,
                                       p, 4 * sizeof(float));
    } else {
        const auto n = static_cast<std::size_t>(testata.nchannels);
        std::vector<float> tutti(pixel * n);
        letto =
            l.ingresso->read_image(parte, 0, 0, testata.nchannels, OIIO::TypeFloat, tutti.data());
        for (std::size_t i = 0; i < pixel; ++i)
            for (std::size_t c = 0; c < (f.alfa ? 4u : 3u); ++c)
                p[4 * i + c] = tutti[i * n + static_cast<std::size_t>(k.c[c])];
    }
    // Some readers fill what is missing, call that a success and leave only a message.
    if (!letto || l.ingresso->has_error())
        illeggibile(file, f.formato, l.ingresso->geterror());
    if (!f.alfa)
        for (std::size_t i = 0; i < pixel; ++i)
            p[4 * i + 3] = 1.0f;
    raddrizza_bit(f);
    if (f.formato == Formato::dpx)
        rendi_persi(f, l.dati);
    return f;
}

void controlla_scrittura(const fs::path& file, const Scrittura& come)
{
    const Formato f = formato_dal_nome(file);
    const Capacita& c = capacita(f);
    if (!come.profondita.empty() && !contiene(c.profondita, come.profondita))
        rifiuta(std::string(nome_formato(f)) + " has no depth " + tra_apici(come.profondita) +
                ": it takes " + OIIO::Strutil::join(c.profondita, ", "));
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
        const auto uscita = OIIO::ImageOutput::create(nome_oiio(f));
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
    const std::string luoghi[] = {testata.get_string_attribute("ImageDescription"),
                                  testata.get_string_attribute("Exif:ImageHistory"),
                                  blocco_utente(testata)};
    for (const std::string& testo : luoghi) {
        const std::size_t p = testo.find(SEGNO);
        if (p != std::string::npos)
            return testo.substr(p + std::string_view(SEGNO).size());
    }
    return std::nullopt;
}

}  // namespace varno::provino
