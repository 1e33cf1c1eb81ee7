// Movies: what ffprobe tells of one, colours, times, names of codecs.
#include "tools/quadri/filmato.h"

#include "tools/argomenti.h"
#include "tools/errore.h"
#include "tools/quadri/filmato_flussi.h"
#include "tools/quadri/filmato_processo.h"
#include "tools/quadri/immagini.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <regex>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

constexpr std::pair<std::string_view, const char*> MATRICI[] = {
    {"709", "bt709"},         {"601", "smpte170m"},       {"2020", "bt2020nc"},
    {"bt709", "bt709"},       {"smpte170m", "smpte170m"}, {"bt470bg", "bt470bg"},
    {"fcc", "fcc"},           {"smpte240m", "smpte240m"}, {"ycgco", "ycgco"},
    {"bt2020nc", "bt2020nc"},
};

// Tags that tell of the file that was read, not of what was filmed.
constexpr std::string_view DEL_FILE[] = {"major_brand", "minor_version", "compatible_brands",
                                         "encoder",     "timecode",      "duration"};

[[noreturn]] void illeggibile(const Filmato& f, const std::string& motivo)
{
    const std::string davanti = "file:" + f.file + ": ";
    fallisci("cannot read " + tra_apici(f.file) + " as a movie: " +
             (motivo.starts_with(davanti) ? motivo.substr(davanti.size()) : motivo));
}

Risposta sonda(const Filmato& f, const std::string& cosa)
{
    Comando c = OIIO::Strutil::splits("ffprobe -v error -protocol_whitelist file " + cosa);
    c.push_back("file:" + f.file);
    return chiedi(c);
}

Json interroga(const Filmato& f)
{
    const Risposta r = sonda(f, "-show_streams -show_format -show_pixel_formats -of json");
    if (!r.motivo.empty())
        illeggibile(f, r.motivo);
    const Json j = Json::parse(r.testo);
    const std::string tipo = j.at("format").value("format_name", "");
    // Any text is taken for a page of a terminal, and pictures of other kinds for a movie.
    if (tipo.empty() || tipo == "tty" || tipo.starts_with("image2") ||
        OIIO::Strutil::contains(tipo, "_pipe"))
        fallisci(tra_apici(f.file) + (nome_di_filmato(f.file)
                                          ? " is no movie"
                                          : " is nothing that provino reads: it takes EXR, DPX, "
                                            "TIFF, PNG, JPEG, and movies"));
    return j;
}

Json scegli_traccia(Filmato& f, const Json& j)
{
    std::vector<Json> filmate;
    for (const Json& s : j.at("streams")) {
        const std::string tipo = s.value("codec_type", "");
        f.audio = f.audio || tipo == "audio";
        if (tipo == "video" && s.at("disposition").value("attached_pic", 0) == 0)
            filmate.push_back(s);
    }
    if (filmate.empty())
        illeggibile(f, "it holds no moving picture");
    if (filmate.size() > 1)
        f.perdite.push_back(tra_apici(f.file) + " holds " + std::to_string(filmate.size()) +
                            " moving pictures: the first is developed");
    f.traccia = filmate[0].at("index");
    return filmate[0];
}

// The filters that turn the picture as a player does.
std::string gira(Filmato& f, const Json& traccia)
{
    int gradi = 0;
    for (const Json& s : traccia.value("side_data_list", Json::array()))
        gradi = (s.value("rotation", gradi) + 360) % 360;
    if (gradi == 90 || gradi == 270) {
        std::swap(f.larghezza, f.altezza);
        const std::vector<std::string> lati = OIIO::Strutil::splits(f.forma, ":");
        f.forma = lati.back() + ":" + lati.front();
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
        rifiuta("the matrix " + tra_apici(matrice) + " of " + tra_apici(f.file) +
                " is not read: --matrix takes 709, 601 or 2020");
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

void scegli_grafo(Filmato& f, const Json& traccia, const Json& formati, const ColoriFilmato& c)
{
    const std::string nome = traccia.value("pix_fmt", "");
    Json formato = {{"flags", Json::object()}};
    for (const Json& p : formati)
        if (p.value("name", "") == nome)
            formato = p;
    int minimi = 64;
    for (const Json& k : formato.value("components", Json::array())) {
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
        // YCgCo is made of codes, not of light: it is legal afterwards as it was before.
        const bool codici = f.legale && matrice == "ycgco";
        f.formato = "gbrpf32le";
        f.grafo = "scale=in_range=tv:out_range=tv,format=" + in_piani(nome, formato, bit) +
                  ",setparams=range=" + (f.legale && !codici ? "tv" : "pc") +
                  ":colorspace=" + matrice +
                  ":color_primaries=unknown:color_trc=unknown,zscale=filter=spline36,format=" +
                  f.formato + girato;
        f.legale = codici;
        alfa += ",zscale,format=" + f.formato;
    }
    if (f.alfa_sotto)
        f.grafo = "split[c][a];[a]alphaextract," + alfa + girato + "[m];[c]" + f.grafo +
                  "[k];[k][m]vstack";
}

// The times of all frames in order, seconds; a raw stream has none, and frames without count too.
std::vector<double> tempi(const Filmato& f, std::size_t& quanti)
{
    const Risposta r = sonda(f, "-select_streams " + std::to_string(f.traccia) +
                                    " -show_entries packet=pts_time,flags -of csv=p=0");
    if (!r.motivo.empty() || !r.detto.empty())
        illeggibile(f, r.motivo.empty() ? r.detto : r.motivo);
    std::vector<double> t;
    quanti = 0;
    for (const std::string& riga : OIIO::Strutil::splits(r.testo, "\n")) {
        const std::vector<std::string> campi = OIIO::Strutil::splits(riga, ",");
        if (campi.size() < 2 || OIIO::Strutil::contains(campi[1], "D"))
            continue;  // left out by the file itself
        ++quanti;
        if (double v = 0.0; leggi_numero(campi[0], v))
            t.push_back(v);
    }
    std::sort(t.begin(), t.end());
    return t;
}

bool in_cadenza(const std::vector<double>& t, double al_secondo)
{
    for (std::size_t i = 0; i < t.size(); ++i)
        if (std::abs((t[i] - t[0]) * al_secondo - static_cast<double>(i)) > 0.4)
            return false;
    return true;
}

// How many frames, and whether all last alike. Where an index says so it is believed; else all
// packets are read.
void conta(Filmato& f, const Json& traccia, const std::string& tipo)
{
    const std::string media = traccia.value("avg_frame_rate", "");
    f.cadenza = traccia.value("r_frame_rate", "");
    const double al_secondo = numero_cadenza(f.cadenza);
    const double durata = std::atof(traccia.value("duration", "").c_str());
    const std::string detti = traccia.value("nb_frames", "");
    f.quanti = std::llround(durata * al_secondo);
    const bool indice = tipo.starts_with("mov") || tipo == "mxf";
    f.si_cerca = indice || tipo.starts_with("matroska");
    if (indice && f.cadenza == media && f.quanti > 0 &&
        (detti.empty() || std::atoll(detti.c_str()) == f.quanti))
        return;
    std::size_t quanti = 0;
    const std::vector<double> t = tempi(f, quanti);
    f.quanti = static_cast<long long>(quanti);
    if (quanti == 0)
        illeggibile(f, "it holds no frame");
    if (t.size() < quanti || in_cadenza(t, al_secondo))
        return;
    f.cadenza = media;
    f.costante = in_cadenza(t, numero_cadenza(media));
}

// Of the file or of any stream in it, such as the one that holds nothing else.
std::string trova_timecode(const Json& j)
{
    for (const char* dove : {"streams", "format"}) {
        const Json piatto = j.at(dove).flatten();
        for (const auto& [percorso, valore] : piatto.items())
            if (OIIO::Strutil::iends_with(percorso, "/tags/timecode"))
                return valore;
    }
    return {};
}

}  // namespace

double numero_cadenza(const std::string& cadenza)
{
    double n = 0.0;
    return leggi_numero(cadenza, n) ? std::max(n, 0.0) : 0.0;
}

std::string timecode_dopo(const std::string& timecode, const std::string& cadenza,
                          long long fotogrammi)
{
    static const std::regex FORMA("(\\d\\d):(\\d\\d):(\\d\\d)([:;.])(\\d\\d+)");
    std::smatch m;
    const long long base = std::llround(numero_cadenza(cadenza));
    if (base < 1 || !std::regex_match(timecode, m, FORMA))
        return {};
    const auto parte = [&](int i) { return std::atoll(m[i].str().c_str()); };
    // Two of thirty numbers are left out at each minute that is no tenth one.
    const long long saltati = m[4].str() == ":" ? 0 : base / 15;
    const long long minuti = parte(1) * 60 + parte(2);
    const long long in_dieci = base * 600 - 9 * saltati;
    long long n = (minuti * 60 + parte(3)) * base + parte(5) - saltati * (minuti - minuti / 10);
    n = (n + fotogrammi) % (in_dieci * 144);
    n += 9 * saltati * (n / in_dieci) +
         saltati * (std::max(0LL, n % in_dieci - saltati) / (base * 60 - saltati));
    return OIIO::Strutil::sprintf("%02d:%02d:%02d%s%02d", n / base / 3600, n / base / 60 % 60,
                                  n / base % 60, m[4].str(), n % base);
}

Filmato leggi_filmato(const fs::path& file, const ColoriFilmato& colori)
{
    Filmato f;
    f.file = file.string();
    const Json j = interroga(f);
    const Json traccia = scegli_traccia(f, j);
    f.larghezza = traccia.value("width", 0);
    f.altezza = traccia.value("height", 0);
    controlla_misure(f.larghezza, f.altezza, f.file);
    f.trasferimento = traccia.value("color_transfer", "");
    f.primari = traccia.value("color_primaries", "");
    f.forma = traccia.value("sample_aspect_ratio", "");
    if (f.forma.empty() || f.forma[0] == '0')
        f.forma = "1:1";
    scegli_grafo(f, traccia, j.at("pixel_formats"), colori);
    conta(f, traccia, j.at("format").value("format_name", ""));
    f.inizio = std::atof(traccia.value("start_time", "").c_str()) -
               std::atof(j.at("format").value("start_time", "").c_str());
    if (!f.costante)
        f.note.push_back(tra_apici(f.file) +
                         " has a variable frame rate: its frames are numbered one by one");
    const std::string campi = traccia.value("field_order", "");
    if (!campi.empty() && campi != "progressive" && campi != "unknown")
        f.note.push_back(tra_apici(f.file) +
                         " is interlaced: its frames are developed as they are");

    const Json etichette = j.at("format").value("tags", Json::object());
    for (const auto& [nome, valore] : etichette.items()) {
        const std::string n = OIIO::Strutil::lower(nome);
        const std::string v = valore;
        if (v.starts_with(SEGNO_IMPOSTAZIONI))
            f.impostazioni = v.substr(SEGNO_IMPOSTAZIONI.size());
        else if (n == SEGNO_IMPOSTAZIONI)
            f.impostazioni = v;
        else if (std::ranges::count(DEL_FILE, n) == 0)
            f.etichette[nome] = v;
    }
    f.timecode = trova_timecode(j);
    return f;
}

}  // namespace varno::provino
