// What stands in a picture file beside its pixels.
#include "tools/quadri/immagini_testata.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/filmato.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <lcms2.h>
#include <regex>
#include <utility>

namespace varno::provino {
namespace {

constexpr const char* SEGNO = SEGNO_IMPOSTAZIONI.data();

// Bytes of metadata that a JPEG takes in one block, and that are read back of a TIFF, less what
// goes around them.
constexpr std::size_t BLOCCO_LIMITE = 60000;

// Drops what told the colours of the picture that was read, or how its file was laid out. Not by
// erase_attribute, whose patterns know no alternatives.
void togli_superati(OIIO::ImageSpec& s)
{
    static const std::regex SUPERATI(
        "ICCProfile.*|chromaticities|adoptedNeutral|whiteLuminance|(oiio:|Exif:)(ColorSpace|Gamma)|"
        "acesImageContainerFlag|colorInteropID|(lookMod|rendering)Transform|"
        "dpx:(Transfer|Colorimetric|Gamma|ImageDescriptor|Packing|EndOf.*|Low.*|High.*|BlackLevel|"
        "WhiteLevel|BreakPoint)|"
        "oiio:(subimages|BitsPerSample|UnassociatedAlpha)|planarconfig|"
        "tiff:(PhotometricInterpretation|PlanarConfiguration|Compression|RowsPerStrip|ColorSpace)|"
        "png:filter|jpeg:(subsampling|progressive)|(openexr:)?chunkCount|"
        "openexr:(levelmode|roundingmode|lineOrder)|textureformat|wrapmodes|type",
        std::regex::icase);
    std::erase_if(s.extra_attribs, [](const OIIO::ParamValue& v) {
        return std::regex_match(v.name().string(), SUPERATI);
    });
}

OIIO::TypeDesc byte_di(std::size_t quanti)
{
    return {OIIO::TypeDesc::UINT8, static_cast<int>(quanti)};
}

// A text, or a block of bytes that is one.
std::string testo_in(const OIIO::ImageSpec& testata, const char* nome)
{
    const OIIO::ParamValue* v = testata.find_attribute(nome);
    if (v != nullptr && v->type().basetype == OIIO::TypeDesc::UINT8)
        return {static_cast<const char*>(v->data()), v->type().size()};
    return testata.get_string_attribute(nome);
}

// Each format keeps its own few texts: EXR and PNG any name, JPEG a history, of which ours is all,
// TIFF and DPX only a description and a block of user data, to which ours is added behind what
// stands there.
void posa_impostazioni(OIIO::ImageSpec& testata, Formato f, const std::string& impostazioni,
                       const std::string& file)
{
    if (f == Formato::exr || f == Formato::png)
        return testata.attribute(SEGNO, impostazioni);
    const char* nome = f == Formato::jpeg   ? "Exif:ImageHistory"
                       : f == Formato::tiff ? "ImageDescription"
                                            : "dpx:UserData";
    std::string s = f == Formato::jpeg ? "" : testo_in(testata, nome);
    if (const std::size_t nostre = s.find(SEGNO); nostre != std::string::npos)
        s.erase(nostre == 0 ? 0 : s.find_last_not_of('\n', nostre - 1) + 1);
    s += std::string(s.empty() ? "" : "\n") + SEGNO + " " + impostazioni;
    if (f == Formato::tiff && s.size() > BLOCCO_LIMITE)
        nota(file, "holds no settings of this length, as no TIFF does: they are left out");
    else if (f == Formato::dpx)
        testata.attribute(nome, byte_di(s.size()), s.data());
    else
        testata.attribute(nome, s);
}

// JPEG's library ends the program over a block of metadata that is too long for it: the longest of
// them go until all fit into one.
void togli_lunghi(OIIO::ImageSpec& s, const std::string& file)
{
    const auto lungo = [](const OIIO::ParamValue& v) -> std::size_t {
        if (v.type() != OIIO::TypeString)
            return v.name() == "ICCProfile" ? 0 : v.datasize();
        const std::string testo = v.get_string(0);
        const auto in_xml = [](char c) { return std::string_view("&<>\"'").find(c) < 5; };
        return testo.size() + 5 * std::ranges::count_if(testo, in_xml);
    };
    for (;;) {
        std::size_t tutti = 0;
        for (const OIIO::ParamValue& v : s.extra_attribs)
            tutti += lungo(v);
        if (tutti <= BLOCCO_LIMITE)
            return;
        const auto v = std::ranges::max_element(s.extra_attribs, {}, lungo);
        nota(file,
             "holds no " + v->name().string() + " of this length, as no JPEG does: it is left out");
        s.extra_attribs.erase(v);
    }
}

// The display window goes where the format knows none; TIFF knows one that starts at 0 and not
// behind the frame's. A damaged header may tell of one or of a shape of pixels that cannot be, and
// that a writer would refuse: the picture is good without.
void posa_finestra(OIIO::ImageSpec& s, Formato f)
{
    constexpr int LONTANO = 1 << 24;  // pixels
    const auto vicino = [](int v) { return v > -LONTANO && v < LONTANO; };
    const int numeri[] = {s.x, s.y, s.full_x, s.full_y, s.full_width, s.full_height};
    const bool vicini = std::ranges::all_of(numeri, vicino);
    if (f == Formato::tiff && vicini) {
        s.x -= std::exchange(s.full_x, 0);
        s.y -= std::exchange(s.full_y, 0);
    }
    if ((f != Formato::exr && (f != Formato::tiff || s.x < 0 || s.y < 0)) || !vicini ||
        s.full_width < 1 || s.full_height < 1) {
        s.x = s.y = 0;
        s.set_roi_full(s.roi());
    }
    const float forma = s.get_float_attribute("PixelAspectRatio", 1.0f);
    if (!(forma >= 1e-6f && forma <= 1e6f))
        s.erase_attribute("PixelAspectRatio");
}

// An ICC profile of what the plug-in makes: Rec.709 primaries, gamma 2.4, white D65.
const std::vector<unsigned char>& profilo_schermo()
{
    static const std::vector<unsigned char> profilo = [] {
        constexpr cmsCIExyY BIANCO = {0.3127, 0.3290, 1.0};
        constexpr cmsCIExyYTRIPLE PRIMARI = {
            {0.640, 0.330, 1.0}, {0.300, 0.600, 1.0}, {0.150, 0.060, 1.0}};
        cmsToneCurve* gamma = cmsBuildGamma(nullptr, 2.4);
        cmsToneCurve* curve[3] = {gamma, gamma, gamma};
        cmsHPROFILE p = cmsCreateRGBProfile(&BIANCO, &PRIMARI, curve);
        cmsSetProfileVersion(p, 2.1);
        cmsMLU* nome = cmsMLUalloc(nullptr, 1);
        cmsMLUsetASCII(nome, "en", "US", "Rec.709 primaries, gamma 2.4");
        cmsWriteTag(p, cmsSigProfileDescriptionTag, nome);
        cmsUInt32Number quanti = 0;
        cmsSaveProfileToMem(p, nullptr, &quanti);
        std::vector<unsigned char> byte(quanti);
        cmsSaveProfileToMem(p, byte.data(), &quanti);
        cmsMLUfree(nome);
        cmsCloseProfile(p);
        cmsFreeToneCurve(gamma);
        // No date of making, so that the same picture is always the same file.
        std::fill_n(byte.begin() + 24, 12, std::uint8_t{0});
        return byte;
    }();
    return profilo;
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

// Each of the two that hold a frame rate has its own field for it.
void posa_cadenza(OIIO::ImageSpec& s, Formato f)
{
    const float v = cadenza_in(s);
    if (f == Formato::dpx && v > 0.0f)
        s.attribute("dpx:FrameRate", v);
    if (f != Formato::exr || !(v > 0.0f) || s.find_attribute("FramesPerSecond") != nullptr)
        return;
    int rapporto[2] = {0, 0};
    if (std::sscanf(cadenza_esatta(testo_di(v)).c_str(), "%d/%d", &rapporto[0], &rapporto[1]) < 2) {
        rapporto[0] = static_cast<int>(std::lround(1000.0f * v));
        rapporto[1] = 1000;
    }
    s.attribute("FramesPerSecond", OIIO::TypeRational, rapporto);
}

}  // namespace

OIIO::ImageSpec testata_d_uscita(Formato f, const Foto& foto, const Scrittura& come,
                                 const std::string& profondita, const std::string& impostazioni,
                                 const std::string& file)
{
    OIIO::ImageSpec s(foto.larghezza, foto.altezza, foto.alfa && f != Formato::jpeg ? 4 : 3,
                      OIIO::TypeDesc(profondita == "uint10" ? "uint16" : profondita));
    s.extra_attribs = foto.testata.extra_attribs;
    s.x = foto.testata.x;
    s.y = foto.testata.y;
    s.set_roi_full(foto.testata.roi_full());
    posa_finestra(s, f);
    const bool non_associata = foto.testata.get_int_attribute("oiio:UnassociatedAlpha", 0) != 0 ||
                               foto.formato == Formato::png || f == Formato::png;
    togli_superati(s);
    if (f != foto.formato || !come.compressione.empty())
        s.erase_attribute("compression");
    s.erase_attribute(SEGNO);
    if (non_associata)
        s.attribute("oiio:UnassociatedAlpha", 1);
    dichiara_colore(s, f, foto.colore);
    if (!come.compressione.empty() && f != Formato::png)
        s.attribute("compression", come.compressione);
    if (f == Formato::dpx)
        s.attribute("oiio:BitsPerSample", std::stoi(profondita.substr(4)));
    posa_cadenza(s, f);
    if (f == Formato::tiff && s.get_string_attribute("compression", "zip") == "zip")
        s.attribute("compression", "zip:2");  // the last percents take most of the time
    if (f == Formato::png) {
        s.attribute("png:filter", 16);  // differences along the row: small, and fast to make
        const bool livello = come.compressione.find(':') != std::string::npos;
        s.attribute("png:compressionLevel", livello ? come.compressione.back() - '0' : 2);
    }
    if (f == Formato::jpeg) {
        s.attribute("CompressionQuality", 95);
        s.attribute("jpeg:subsampling", "4:4:4");
    }
    s.attribute("Software", "provino " PROVINO_VERSIONE);
    if (!impostazioni.empty())
        posa_impostazioni(s, f, impostazioni, file);
    if (f == Formato::jpeg)
        togli_lunghi(s, file);
    return s;
}

void avvisa_di_cio_che_manca(const std::filesystem::path& file, const Foto& foto)
{
    const Formato f = formato_dal_nome(file);
    if (foto.alfa && f == Formato::jpeg)
        nota(file.string(), "holds no alpha, as no JPEG does: it is left out");
    OIIO::ImageSpec testata = foto.testata;
    posa_finestra(testata, f);
    if (ha_finestra(foto.testata) && !ha_finestra(testata))
        nota(file.string(), SENZA_FINESTRA);
}

std::optional<std::string> impostazioni_in(const OIIO::ImageSpec& testata)
{
    if (const std::string proprio = testo_in(testata, SEGNO); !proprio.empty())
        return proprio;
    for (const char* nome : {"ImageDescription", "Exif:ImageHistory", "dpx:UserData"}) {
        const std::string testo = testo_in(testata, nome);
        if (const std::size_t p = testo.find(SEGNO); p != std::string::npos)
            return testo.substr(p + SEGNO_IMPOSTAZIONI.size());
    }
    return std::nullopt;
}

}  // namespace varno::provino
