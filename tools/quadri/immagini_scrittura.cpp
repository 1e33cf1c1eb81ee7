// Picture files out, through OpenImageIO.
#include "tools/quadri/immagini_testata.h"

#include "tools/messaggi.h"
#include "tools/quadri/dpx.h"
#include "tools/quadri/uscita.h"

#include <OpenImageIO/filesystem.h>

#include <cstdint>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

// As asked for, else as it was read where the kind of file is the same, else the usual one.
std::string scegli_profondita(Formato f, const Foto& foto, const Scrittura& come)
{
    if (!come.profondita.empty())
        return come.profondita;
    const std::vector<std::string>& tutte = descrizione(f).profondita;
    const bool dieci = foto.testata.get_int_attribute("oiio:BitsPerSample") == 10;
    if (f == foto.formato)
        for (const char* letta : {dieci ? "uint10" : "", foto.testata.format.c_str(), "float"})
            if (std::ranges::count(tutte, letta) > 0)
                return letta;
    return tutte.front();
}

bool scrivi_pixel(OIIO::ImageOutput& uscita, const Foto& f, const std::string& profondita)
{
    if (!profondita.starts_with("uint"))
        return uscita.write_image(OIIO::TypeFloat, f.rgba.get(), 4 * sizeof(float));
    // Fewer bits stand at the top of 16 with the first ones repeated, which is the same fraction.
    const int bit = std::stoi(profondita.substr(4));
    const auto massimo = static_cast<float>((1 << bit) - 1);
    std::vector<std::uint16_t> v(quanti_float(f));
    for (std::size_t i = 0; i < v.size(); ++i) {
        const unsigned n = codice(f.rgba[i], massimo);
        v[i] = static_cast<std::uint16_t>(n << (16 - bit) | n >> (2 * bit - 16));
    }
    return uscita.write_image(OIIO::TypeUInt16, v.data(), 4 * sizeof(v[0]));
}

}  // namespace

std::vector<unsigned char> codifica(Formato f, const std::string& nome,
                                    const OIIO::ImageSpec& testata, const std::string& detto,
                                    const std::function<bool(OIIO::ImageOutput&)>& pixel)
{
    constexpr int LATO_JPEG = 65500;  // beyond it the library ends the program
    if (f == Formato::jpeg && std::max(testata.width, testata.height) > LATO_JPEG)
        fallisci("cannot write %s: %dx%d are more than the 65500 pixels a side of a JPEG", detto,
                 testata.width, testata.height);
    std::vector<unsigned char> memoria;
    OIIO::Filesystem::IOVecOutput verso(memoria);
    const auto uscita = OIIO::ImageOutput::create(descrizione(f).oiio);
    if (uscita && f != Formato::tiff)
        uscita->set_ioproxy(&verso);
    if (!uscita || !uscita->open(nome, testata) || !pixel(*uscita) || !uscita->close())
        fallisci("cannot write %s: %s", detto,
                 in_una_riga(uscita ? uscita->geterror() : OIIO::geterror()));
    return memoria;
}

std::vector<unsigned char> codifica_foto(const fs::path& file, const Foto& foto,
                                         const Scrittura& come, const std::string& impostazioni,
                                         const fs::path& tiff)
{
    avvisa_di_cio_che_manca(file, foto);
    const Formato f = formato_dal_nome(file);
    const std::string profondita = scegli_profondita(f, foto, come);
    const OIIO::ImageSpec testata =
        testata_d_uscita(f, foto, come, profondita, impostazioni, file.string());

    if (f == Formato::tiff)
        scrivi_byte(tiff, {}, file.string());  // tells the system's reason
    // DPX keeps the name that it is opened by.
    std::vector<unsigned char> memoria =
        codifica(f, (f == Formato::tiff ? tiff : file).string(), testata, tra_apici(file.string()),
                 [&](OIIO::ImageOutput& u) { return scrivi_pixel(u, foto, profondita); });
    if (f == Formato::exr) {
        const std::string nome = std::string(SPAZIO_EXR) + '\0' + "string";
        const auto dove = std::search(memoria.begin(), memoria.end(), nome.begin(), nome.end());
        if (dove != memoria.end())
            std::copy_n("oiio", 4, dove);
    }
    // Below 1:1 the writer leaves a ratio without a whole.
    if (f == Formato::dpx)
        scrivi_forma_dpx(memoria, testata.get_float_attribute("PixelAspectRatio", 1.0f));
    return memoria;
}

void scrivi_foto(const fs::path& file, const Foto& foto, const Scrittura& come,
                 const std::string& impostazioni)
{
    scrivi_intero(file, come.sovrascrivi, [&](const fs::path& provvisorio) {
        // From memory, so that a full disk is told by our own write and never missed.
        const auto byte = codifica_foto(file, foto, come, impostazioni, provvisorio);
        if (!byte.empty())
            scrivi_byte(provvisorio, {reinterpret_cast<const char*>(byte.data()), byte.size()},
                        file.string());
    });
}

}  // namespace varno::provino
