// Frames out of a movie, decoded by ffmpeg, and the filters that make full-range RGB of them.
#include "tools/argomenti.h"
#include "tools/quadri/filmato.h"

#include <algorithm>
#include <cmath>
#include <nlohmann/json.hpp>
#include <string_view>

namespace varno::provino {
namespace {

using Json = nlohmann::json;

constexpr std::pair<std::string_view, const char*> MATRICI[] = {
    {"709", "bt709"},         {"601", "smpte170m"},       {"2020", "bt2020nc"},
    {"bt709", "bt709"},       {"smpte170m", "smpte170m"}, {"bt470bg", "bt470bg"},
    {"fcc", "fcc"},           {"smpte240m", "smpte240m"}, {"ycgco", "ycgco"},
    {"bt2020nc", "bt2020nc"},
};

// The filters that turn the picture as a player does.
std::string gira(Filmato& f, const Json& traccia)
{
    int gradi = 0;
    for (const Json& s : traccia.value("side_data_list", Json::array()))
        gradi = (s.value("rotation", gradi) + 360) % 360;
    if (gradi == 90 || gradi == 270) {
        std::swap(f.larghezza, f.altezza);
        const std::vector<std::string> lati = OIIO::Strutil::splits(f.forma, "/");
        f.forma = lati.back() + "/" + lati.front();
    }
    return gradi == 90    ? ",transpose=cclock"
           : gradi == 180 ? ",hflip,vflip"
           : gradi == 270 ? ",transpose=clock"
                          : "";
}

// Matrix and range, as told or as overruled; what an RGB stream tells of its range is a habit of
// containers and counts for nothing.
std::string scegli_colori(Filmato& f, const Json& traccia, const ColoriFilmato& c, bool rgb,
                          bool grigio)
{
    std::string matrice = c.matrice.empty() ? traccia.value("color_space", "") : c.matrice;
    const std::string gamma = traccia.value("color_range", "");
    f.legale = c.gamma.empty() ? !rgb && gamma != "pc" : c.gamma == "legal";
    const auto ignota = [](const std::string& s) { return s.empty() || s == "unknown"; };
    const bool senza_matrice = !rgb && !grigio && ignota(matrice);
    const bool senza_gamma = !rgb && c.gamma.empty() && ignota(gamma);
    if (senza_matrice || senza_gamma)
        f.note.push_back(
            std::string("does not tell its ") +
            (!senza_gamma ? "matrix: taken as BT.709 (--matrix overrules)"
             : senza_matrice
                 ? "matrix and range: taken as BT.709, legal range (--matrix, --range overrule)"
                 : "range: taken as legal (--range overrules)"));
    if (senza_matrice)
        matrice = "bt709";
    for (const auto& [nome, ffmpeg] : MATRICI)
        if (nome == matrice)
            return ffmpeg;
    if (!rgb && !grigio)
        rifiuta("the matrix '%s' of '%s' is not read: %s", matrice, f.file,
                matrice == "bt2020c" ? "export it with BT.2020 of non-constant luminance, or as RGB"
                                     : "--matrix takes 709, 601 or 2020");
    return {};
}

// The layout in planes that has the same samples; alpha aside.
std::string in_piani(const std::string& nome, const Json& formato, const std::string& bit)
{
    if (nome.starts_with("yuvj"))  // which tells of its range, too
        return nome;
    constexpr const char* PARTI[3][3] = {
        {"444", "440", "440"}, {"422", "420", "420"}, {"411", "410", "410"}};
    const int x = std::min(2, formato.value("log2_chroma_w", 0));
    int y = std::min(2, formato.value("log2_chroma_h", 0));
    if (x == 0 && !bit.empty())
        y = 0;  // 440 of more bits, which the filter behind does not know
    return std::string("yuv") + PARTI[x][y] + "p" + bit;
}

// The filter behind takes no size that ends within a sample of chroma: luma is filled up to the end
// of one, which `poi` cuts off again.
std::string riempi(const Json& traccia, const Json& formato, const std::string& piani,
                   std::string& poi)
{
    const int w = traccia.value("width", 0);
    const int h = traccia.value("height", 0);
    const int x = (1 << formato.value("log2_chroma_w", 0)) - 1;
    const int y = (1 << formato.value("log2_chroma_h", 0)) - 1;
    if (((w & x) == 0 && (h & y) == 0) || piani.starts_with("yuv444"))
        return {};
    poi = sprintf(",crop=%d:%d:0:0", w, h) + poi;
    return sprintf(",extractplanes=y+u+v[y][u][v];[y]pad=%d:%d[l];"
                   "[l][u][v]mergeplanes=0x001020:%s",
                   (w + x) & ~x, (h + y) & ~y, piani);
}

constexpr long long VICINO = 48;  // frames that are sooner read over than sought

std::size_t byte_per_fotogramma(const Filmato& f)
{
    const std::size_t piani = f.alfa_sotto ? 6 : f.alfa ? 4 : 3;
    return piani * static_cast<std::size_t>(f.byte) * static_cast<std::size_t>(f.larghezza) *
           static_cast<std::size_t>(f.altezza);
}

void apri(Proiezione& p, long long numero)
{
    const Filmato& f = p.filmato;
    Comando c;
    aggiungi(c, "ffmpeg -nostdin -v error -xerror -protocol_whitelist file,pipe -noautorotate");
    std::string grafo = f.grafo;
    if (numero > 1 && f.costante && f.si_cerca) {
        // Half a frame early: times are rounded, and never by so much.
        const double secondi =
            f.inizio + (static_cast<double>(numero) - 1.5) / numero_cadenza(f.cadenza);
        aggiungi(c, "-ss " + testo_di(secondi));
    } else if (numero > 1) {
        grafo = "trim=start_frame=" + std::to_string(numero - 1) + "," + grafo;
    }
    aggiungi(c, "-i", {"file:" + f.file});
    aggiungi(c, "-map 0:" + std::to_string(f.traccia) + " -vf", {grafo});
    aggiungi(c, "-fps_mode passthrough -f rawvideo -pix_fmt " + f.formato + " pipe:1");
    p.decodifica = avvia(c, SUA_USCITA);
    p.prossimo = numero;
}

// Whole, with fewer frames than its packets, is what plays as long as it tells.
[[noreturn]] void interrotta(Proiezione& p)
{
    const Filmato& f = p.filmato;
    const std::string motivo = attendi(*p.decodifica);
    const bool muta = detto(*p.decodifica).empty();
    p.decodifica.reset();
    if (!motivo.empty())
        fallisci("cannot decode '%s' at frame %d: %s", f.file, p.prossimo, motivo);
    const long long avuti = p.prossimo - 1;
    const std::string fine = sprintf("'%s' ends after frame %d of %d", f.file, avuti, f.quanti);
    p.finita =
        muta && f.durata * numero_cadenza(f.cadenza) - static_cast<double>(avuti) <= RIORDINO;
    if (p.finita)
        throw Finito{{FALLITO, fine}};
    fallisci(fine + ": it is cut short; copy the file again");
}

// From planes of green, blue, red and alpha.
template <class Campione> void intreccia(const Filmato& f, const unsigned char* byte, Foto& foto)
{
    const std::size_t n = quanti_float(foto) / 4;
    const std::size_t piano = f.alfa_sotto ? 2 * n : n;
    const auto* g = reinterpret_cast<const Campione*>(byte);
    const Campione* piani[] = {g + 2 * piano, g, g + piano, f.alfa_sotto ? g + n : g + 3 * piano};
    const float massimo = std::ldexp(1.0f, f.bit) - 1.0f;
    const float scala = sizeof(Campione) < 4 ? 1.0f / massimo : 1.0f;
    // Legal is 16 to 235 of 255, with as many bits more behind the point as there are.
    const float codici = massimo / std::ldexp(1.0f, f.bit - 8);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t c = 0; c < 4; ++c) {
            const float v = c < 3 || f.alfa ? static_cast<float>(piani[c][i]) * scala : 1.0f;
            foto.rgba[4 * i + c] = f.legale && c < 3 ? (v * codici - 16.0f) / 219.0f : v;
        }
}

}  // namespace

void illeggibile(const Filmato& f, const std::string& motivo)
{
    const std::string davanti = "file:" + f.file + ": ";
    fallisci("cannot read '%s' as a movie: %s", f.file,
             motivo.starts_with(davanti) ? motivo.substr(davanti.size()) : motivo);
}

void scegli_grafo(Filmato& f, const nlohmann::json& traccia, const nlohmann::json& formati,
                  const ColoriFilmato& c)
{
    const std::string nome = traccia.value("pix_fmt", "");
    Json formato = {{"flags", Json::object()}};
    for (const nlohmann::json& p : formati)
        if (p.value("name", "") == nome)
            formato = p;
    int minimi = 64;
    for (const nlohmann::json& k : formato.value("components", Json::array())) {
        f.bit = std::max(f.bit, k.at("bit_depth").get<int>());
        minimi = std::min(minimi, k.at("bit_depth").get<int>());
    }
    const auto ha = [&](const char* segno) { return formato.at("flags").value(segno, 0) != 0; };
    const bool rgb = ha("rgb") || ha("palette");
    const bool grigio = !rgb && formato.value("nb_components", 0) < 3;
    if (f.bit == 0 || minimi < 8 || nome.starts_with("xyz") || (grigio && f.bit > 16))
        illeggibile(f, "its samples (" + (nome.empty() ? "unknown" : nome) + ") are not read");
    f.alfa = ha("alpha");
    // ffmpeg is one code off with the alpha of 8 bits that stands between the colours, and would
    // take that of YCbCr for legal range.
    f.alfa_sotto = f.alfa && (!rgb || (f.bit == 8 && !ha("planar")));
    const std::string bit = f.bit == 8 ? "" : std::to_string(f.bit) + "le";  // as names end
    const std::string matrice = scegli_colori(f, traccia, c, rgb, grigio);
    const std::string girato = gira(f, traccia);
    std::string alfa = "setparams=range=full,scale,format=gbrp" + bit;
    if (rgb || grigio) {
        // Laid out in planes and nothing else: their values are left to us.
        f.formato = std::string(f.alfa && !f.alfa_sotto ? "gbrap" : "gbrp") +
                    (f.bit == 32 ? "f" : "") + bit;
        f.byte = f.bit == 8 ? 1 : f.bit == 32 ? 4 : 2;
        f.grafo = "setparams=range=full,scale,format=" + f.formato + girato;
    } else {
        // The first step would scale a full range to legal on its own, was it not told otherwise.
        f.formato = "gbrpf32le";
        const std::string piani = in_piani(nome, formato, bit);
        std::string poi = girato;
        f.grafo = "scale=in_range=tv:out_range=tv,format=" + piani +
                  riempi(traccia, formato, piani, poi) +
                  ",setparams=range=" + (f.legale ? "tv" : "pc") + ":colorspace=" + matrice +
                  ":color_primaries=unknown:color_trc=unknown,zscale=filter=spline36,format=" +
                  f.formato + poi;
        f.legale = false;
        alfa += ",zscale,format=" + f.formato;
    }
    if (f.alfa_sotto)
        f.grafo = "split[c][a];[a]alphaextract," + alfa + girato + "[m];[c]" + f.grafo +
                  "[k];[k][m]vstack";
}

OIIO::ImageSpec testata_di(const Filmato& f, long long numero)
{
    OIIO::ImageSpec testata(f.larghezza, f.altezza, f.alfa ? 4 : 3, OIIO::TypeHalf);
    for (const auto& [nome, valore] : f.etichette)
        testata.attribute(nome, valore);
    int cadenza[2] = {0, 1};
    if (std::sscanf(f.cadenza.c_str(), "%d/%d", &cadenza[0], &cadenza[1]) >= 1)
        testata.attribute("FramesPerSecond", OIIO::TypeRational, cadenza);
    float forma[2] = {1.0f, 1.0f};
    if (std::sscanf(f.forma.c_str(), "%f/%f", &forma[0], &forma[1]) == 2)
        testata.attribute("PixelAspectRatio", forma[0] / forma[1]);
    // SMPTE 12M as EXR and DPX hold it: two decimal digits a byte, hours first.
    std::string t = timecode_dopo(f.timecode, f.cadenza, numero - 1);
    const long al_secondo = std::lround(numero_cadenza(f.cadenza));
    if (t.size() != 11 || al_secondo > 60)
        return testata;
    unsigned segni = t[8] == ';' ? TIMECODE_SALTA : 0;
    if (const int quadro = std::stoi(t.substr(9)); al_secondo > 30) {
        segni |= quadro % 2 != 0 ? TIMECODE_SECONDO : 0;
        t.replace(9, 2, sprintf("%02d", quadro / 2));
    }
    std::erase_if(t, [](char c) { return c < '0' || c > '9'; });
    const unsigned codice[2] = {OIIO::Strutil::stoui(t, nullptr, 16) | segni, 0};
    testata.attribute("smpte:TimeCode", OIIO::TypeTimeCode, codice);
    return testata;
}

Foto leggi_fotogramma(Proiezione& p, long long numero)
{
    const Filmato& f = p.filmato;
    if (p.finita)
        throw Finito{{FALLITO, {}}};
    if (p.fallita)
        throw Errore{FALLITO, {}};
    p.fallita = true;  // until it went well
    if (!p.decodifica || numero < p.prossimo || numero > p.prossimo + VICINO)
        apri(p, numero);
    p.campioni.resize(byte_per_fotogramma(f));
    for (; p.prossimo <= numero; ++p.prossimo)
        if (std::fread(p.campioni.data(), 1, p.campioni.size(), p.decodifica->tubo) !=
            p.campioni.size())
            interrotta(p);
    Foto foto = foto_nuova(f.larghezza, f.altezza, f.alfa);
    const auto intreccia_di = f.byte == 1   ? intreccia<std::uint8_t>
                              : f.byte == 2 ? intreccia<std::uint16_t>
                                            : intreccia<float>;
    intreccia_di(f, p.campioni.data(), foto);
    foto.testata = testata_di(f, numero);
    p.fallita = false;
    return foto;
}

}  // namespace varno::provino
