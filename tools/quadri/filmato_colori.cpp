// Movies: what their samples mean, and the filters that make full-range RGB of them.
#include "tools/quadri/filmato_colori.h"

#include "tools/errore.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
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
            tra_apici(f.file) + " does not tell its " +
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
        rifiuta("the matrix " + tra_apici(matrice) + " of " + tra_apici(f.file) + " is not read: " +
                (matrice == "bt2020c"
                     ? "export it with BT.2020 of non-constant luminance, or as RGB"
                     : "--matrix takes 709, 601 or 2020"));
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
    poi = OIIO::Strutil::sprintf(",crop=%d:%d:0:0", w, h) + poi;
    return OIIO::Strutil::sprintf(",extractplanes=y+u+v[y][u][v];[y]pad=%d:%d[l];"
                                  "[l][u][v]mergeplanes=0x001020:%s",
                                  (w + x) & ~x, (h + y) & ~y, piani);
}

}  // namespace

void illeggibile(const Filmato& f, const std::string& motivo)
{
    const std::string davanti = "file:" + f.file + ": ";
    fallisci("cannot read " + tra_apici(f.file) + " as a movie: " +
             (motivo.starts_with(davanti) ? motivo.substr(davanti.size()) : motivo));
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

}  // namespace varno::provino
