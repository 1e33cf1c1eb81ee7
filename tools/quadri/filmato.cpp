// Movies: what ffprobe tells of one, and times.
#include "tools/quadri/filmato.h"

#include "tools/argomenti.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <nlohmann/json.hpp>
#include <regex>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;
using Json = nlohmann::json;

// Tags that tell of the file that was read, not of what was filmed.
constexpr std::string_view DEL_FILE[] = {"major_brand", "minor_version", "compatible_brands",
                                         "encoder",     "timecode",      "duration"};

Risposta sonda(const Filmato& f, const std::string& cosa)
{
    Comando c;
    aggiungi(c, "ffprobe -v error -protocol_whitelist file " + cosa, {"file:" + f.file});
    return chiedi(c);
}

Json interroga(const Filmato& f)
{
    const Risposta r =
        sonda(f, "-show_streams -show_format -show_pixel_formats -show_entries "
                 "packet=stream_index,flags,pts_time -read_intervals %+#20 -of json");
    if (!r.motivo.empty())
        illeggibile(f, r.motivo);
    Json j = Json::parse(r.testo);
    const std::string tipo = j.at("format").value("format_name", "");
    // Any text is taken for a page of a terminal, and pictures of other kinds for a movie.
    if (tipo.empty() || tipo == "tty" || tipo.starts_with("image2") ||
        OIIO::Strutil::contains(tipo, "_pipe"))
        fallisci("'%s' is %s", f.file,
                 nome_di_filmato(f.file) ? "no movie"
                                         : "nothing that provino reads: it takes EXR, DPX, TIFF, "
                                           "PNG, JPEG, and movies");
    return j;
}

Json scegli_traccia(Filmato& f, const Json& j)
{
    std::vector<Json> filmate;
    for (const Json& s : j.at("streams")) {
        const std::string tipo = s.value("codec_type", "");
        f.audio = f.audio || tipo == "audio";
        f.sottotitoli = f.sottotitoli || tipo == "subtitle";
        if (tipo == "video" && s.at("disposition").value("attached_pic", 0) == 0)
            filmate.push_back(s);
    }
    if (filmate.empty())
        illeggibile(f, "it holds no moving picture");
    if (filmate.size() > 1)
        f.perdite.push_back(
            sprintf("holds %d moving pictures: the first is developed", filmate.size()));
    f.traccia = filmate[0].at("index");
    return filmate[0];
}

// What its packets or frames tell, one a line.
Risposta sonda_traccia(const Filmato& f, const std::string& cosa)
{
    return sonda(f, "-of csv=p=0 -select_streams " + std::to_string(f.traccia) + " -show_entries " +
                        cosa);
}

// The times of all frames in order, seconds; a raw stream has none, and frames `senza` count too.
// `incerto` where some come or are shown before a first whole picture: decoded or not, who knows.
std::vector<double> tempi(const Filmato& f, std::size_t& senza, bool& incerto)
{
    const Risposta r = sonda_traccia(f, "packet=pts_time,flags");
    if (!r.motivo.empty() || !r.detto.empty())
        illeggibile(f, r.motivo.empty() ? r.detto : r.motivo);
    std::vector<double> t;
    double primo = -1e9;
    incerto = !OIIO::Strutil::contains(r.testo.substr(0, r.testo.find('\n')), "K");
    for (const std::string& riga : OIIO::Strutil::splits(r.testo, "\n")) {
        const std::size_t virgola = riga.find(',');
        if (virgola == riga.npos || OIIO::Strutil::contains(riga, "D"))
            continue;  // left out by the file itself
        double v = 0.0;
        if (!leggi_numero(riga.substr(0, virgola), v)) {
            ++senza;
            continue;
        }
        if (t.empty() && OIIO::Strutil::contains(riga, "K"))
            primo = v;
        t.push_back(v);
        incerto = incerto || v < primo;
    }
    std::sort(t.begin(), t.end());
    return t;
}

// Begins with the first frame that a decoder gives out.
void comincia(Filmato& f, std::vector<double>& t, double inizio_del_file)
{
    const std::string testo =
        sonda_traccia(f, "frame=best_effort_timestamp_time -read_intervals %+#64").testo;
    double primo = 0.0;
    if (!leggi_numero(testo.substr(0, testo.find_first_of(",\n")), primo))
        return;
    const auto suo = std::lower_bound(t.begin(), t.end() - 1, primo - 0.001);
    f.timecode = timecode_dopo(f.timecode, f.cadenza, suo - t.begin());
    f.inizio = *suo - inizio_del_file;
    t.erase(t.begin(), suo);
}

// Whether frames last alike, but for those between the first and the last few that a cut without
// re-encoding took away: seen from the middle on. Where none is missing all are `interi`.
bool in_cadenza(const std::vector<double>& t, double al_secondo, bool& interi)
{
    interi = true;
    const std::size_t orlo = std::min<std::size_t>(RIORDINO, t.size() / 8);
    const std::size_t mezzo = t.size() / 2;
    for (std::size_t i = 0; i < t.size(); ++i) {
        const double atteso = static_cast<double>(i) - static_cast<double>(mezzo);
        const bool suo = std::abs((t[i] - t[mezzo]) * al_secondo - atteso) <= 0.4;
        if (!suo && i >= orlo && i + orlo < t.size())
            return false;
        interi = interi && suo;
    }
    return true;
}

// Whether the file hides frames that it counts, as one does that was cut without re-encoding: the
// stream's first one then, or it does not stand among the file's first packets, or is shown later
// than another.
bool nasconde(const Filmato& f, const Json& pacchetti)
{
    std::vector<double> t;
    for (const Json& p : pacchetti)
        if (p.value("stream_index", -1) == f.traccia) {
            if (OIIO::Strutil::contains(p.value("flags", ""), "D"))
                return true;
            t.push_back(std::atof(p.value("pts_time", "").c_str()));
        }
    return t.empty() || *std::ranges::min_element(t) < t.front();
}

// How many frames, and whether all last alike. Where an index says so it is believed; else all
// packets are read.
void conta(Filmato& f, const Json& traccia, const Json& j)
{
    const std::string tipo = j.at("format").value("format_name", "");
    const std::string media = traccia.value("avg_frame_rate", "");
    f.cadenza = cadenza_esatta(traccia.value("r_frame_rate", ""));
    const double al_secondo = numero_cadenza(f.cadenza);
    f.durata = std::atof(traccia.value("duration", "").c_str());
    const std::string detti = traccia.value("nb_frames", "");
    const double inizio_del_file = std::atof(j.at("format").value("start_time", "").c_str());
    f.inizio = std::atof(traccia.value("start_time", "").c_str()) - inizio_del_file;
    f.quanti = std::llround(f.durata * al_secondo);
    const bool indice = tipo.starts_with("mov") || tipo == "mxf";
    f.si_cerca = tipo.starts_with("mov") || tipo.starts_with("matroska");
    if (indice && f.cadenza == cadenza_esatta(media) && f.quanti > 0 &&
        (detti.empty() || std::atoll(detti.c_str()) == f.quanti) &&
        !nasconde(f, j.value("packets", Json::array())))
        return;
    std::size_t senza = 0;
    bool incerto = false;
    std::vector<double> t = tempi(f, senza, incerto);
    f.si_cerca = f.si_cerca && !incerto && senza == 0;
    if (incerto && senza == 0 && !t.empty())
        comincia(f, t, inizio_del_file);
    f.quanti = static_cast<long long>(t.size() + senza);
    if (f.quanti == 0)
        illeggibile(f, "it holds no frame");
    if (senza > 0)
        return;
    bool interi = true;
    f.costante = in_cadenza(t, al_secondo, interi);
    if (!f.costante && in_cadenza(t, numero_cadenza(media), interi)) {
        f.cadenza = media;
        f.costante = true;
    }
    if (f.costante && !interi) {
        f.inizio +=
            t[t.size() / 2] - t[0] - static_cast<double>(t.size() / 2) / numero_cadenza(f.cadenza);
        f.si_cerca = false;
    }
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

std::string cadenza_esatta(const std::string& cadenza)
{
    const double ridotta = numero_cadenza(cadenza) * 1.001;
    const long intera = std::lround(ridotta);
    return intera > 0 && std::abs(ridotta - static_cast<double>(intera)) < 0.002
               ? std::to_string(1000 * intera) + "/1001"
               : cadenza;
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
    return sprintf("%02d:%02d:%02d%s%02d", n / base / 3600, n / base / 60 % 60, n / base % 60,
                   m[4].str(), n % base);
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
    f.forma = OIIO::Strutil::replace(traccia.value("sample_aspect_ratio", ""), ":", "/");
    if (f.forma.empty() || f.forma[0] == '0')
        f.forma = "1";
    scegli_grafo(f, traccia, j.at("pixel_formats"), colori);
    f.timecode = trova_timecode(j);
    conta(f, traccia, j);
    if (!f.costante)
        f.note.emplace_back("has a variable frame rate: its frames are numbered one by one");
    const std::string campi = traccia.value("field_order", "");
    if (!campi.empty() && campi != "progressive" && campi != "unknown")
        f.note.emplace_back("is interlaced: its frames are developed as they are");

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
    return f;
}

}  // namespace varno::provino
