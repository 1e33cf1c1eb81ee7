// Frames into a movie, encoded by ffmpeg.
#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/filmato.h"

#include <algorithm>
#include <cmath>
#include <regex>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;
using OIIO::Strutil::contains, OIIO::Strutil::splits;

constexpr std::size_t VALORE_LIMITE = 65536;  // of a tag: a program's argument is not endless

struct Contenitore {
    std::string_view desinenza;
    const char *ffmpeg, *codec;
};

constexpr Contenitore CONTENITORI[] = {
    {".mov", "mov", "prores"},    {".mp4", "mp4", "h264"},  {".m4v", "mp4", "h264"},
    {".mkv", "matroska", "ffv1"}, {".mxf", "mxf", "dnxhr"},
};

struct Codec {
    std::string_view nome;
    const char *ffmpeg, *opzioni, *formato, *formato_con_alfa;
};

// clang-format off
constexpr Codec CODEC[] = {
    {"prores",     "prores_ks", "-profile:v 3 -vendor apl0",                  "yuv422p10le", ""},
    {"prores4444", "prores_ks", "-profile:v 4 -vendor apl0",                  "yuv444p10le", "yuva444p10le"},
    {"dnxhr",      "dnxhd",     "-profile:v dnxhr_hqx",                       "yuv422p10le", ""},
    {"h264",       "libx264",   "-crf 16",                                    "yuv420p",     ""},
    {"h265",       "libx265",   "-crf 18 -x265-params log-level=error",       "yuv420p10le", ""},
    {"ffv1",       "ffv1",      "-level 3 -g 1 -slices 16 -slicecrc 1",       "gbrp16le",    "gbrap16le"},
};
// clang-format on

// Of those that another encoder takes, the first of these.
constexpr std::string_view PREFERITI[] = {"yuv422p10le", "yuv420p10le", "yuv444p10le", "yuv422p",
                                          "yuv420p",     "yuvj420p",    "rgb48be",     "rgb24"};

// The table's end where it is none of them.
const Contenitore* contenitore(const fs::path& file)
{
    return std::ranges::find(CONTENITORI, OIIO::Strutil::lower(file.extension().string()),
                             &Contenitore::desinenza);
}

bool di_quicktime(const Ripresa& r)
{
    return r.contenitore == "mov" || r.contenitore == "mp4";
}

bool in_rgb(const std::string& formato)
{
    return contains(formato, "rgb") || contains(formato, "bgr") || formato.starts_with("gbr");
}

bool piena(const std::string& formato)
{
    return in_rgb(formato) || formato.starts_with("yuvj");
}

// As a value of a filter's option in a graph: once for the option, once for the graph.
std::string protetto(const std::string& testo)
{
    static const std::regex NELL_OPZIONE("[\\\\':]");
    static const std::regex NEL_GRAFO("[\\\\'\\[\\],;]");
    return std::regex_replace(std::regex_replace(testo, NELL_OPZIONE, "\\$&"), NEL_GRAFO, "\\$&");
}

// The name on the left, the timecode on the right, at the bottom.
std::string scritte(const Ripresa& r, int altezza)
{
    const int lato = std::max(12, altezza / 24);
    std::string s;
    for (const auto& [cosa, testo] : r.scritte) {
        s += sprintf(",drawtext=font=DejaVu Sans:fontcolor=white:fontsize=%d:box=1:"
                     "boxcolor=black@0.5:boxborderw=%d:y=h-%d:x=",
                     lato, lato / 4, lato * 3 / 2);
        s += cosa == "name" ? std::to_string(lato) + ":expansion=none:text=" + protetto(testo)
                            : "w-tw-" + std::to_string(lato) + ":rate=" + r.cadenza +
                                  ":timecode=" + protetto(r.timecode.empty() ? testo : r.timecode);
    }
    return s;
}

std::string grafo(const Ripresa& r, const std::string& tubo, const std::string& formato,
                  int larghezza, int altezza)
{
    const bool rgb = in_rgb(formato);
    const std::string gamma = piena(formato) ? "full" : "limited";
    std::string zscale = rgb ? "" : ",zscale=filter=spline36:matrix=bt709:range=" + gamma;
    if (r.scala > 0)
        zscale +=
            sprintf("%sw=%d:h=%d", rgb ? ",zscale=filter=spline36:" : ":", larghezza, altezza);
    else if (rgb && formato != tubo)
        zscale = ",zscale";
    return "setparams=color_primaries=bt709:color_trc=bt709" + zscale + ",format=" + formato +
           ",setparams=range=" + (piena(formato) ? "pc" : "tv") +
           ":colorspace=" + (rgb ? "gbr" : "bt709") +
           ",setsar=" + (r.forma.empty() ? "1" : r.forma) + ":max=10000" + scritte(r, altezza);
}

void comincia(Ripresa& r, const Foto& foto, const std::string& impostazioni)
{
    r.larghezza = foto.larghezza;
    r.altezza = foto.altezza;
    r.alfa = foto.alfa && !r.formato_con_alfa.empty();
    const std::string& formato = r.alfa ? r.formato_con_alfa : r.formato;
    const bool pari_a = contains(formato, "420");
    const bool pari_l = pari_a || contains(formato, "422");
    const int larghezza = r.scala > 0 ? r.scala : r.larghezza;
    const int altezza = r.scala > 0 ? std::max(2, 2 * static_cast<int>(std::lround(
                                                          0.5 * r.altezza * r.scala / r.larghezza)))
                                    : r.altezza;
    if ((pari_l && larghezza % 2 != 0) || (pari_a && altezza % 2 != 0))
        fallisci("a picture of %dx%d does not go into %s, which halves it: give another --codec, "
                 "such as prores4444 or ffv1",
                 larghezza, altezza, formato);
    const std::string tubo = r.alfa ? "gbrap16le" : "gbrp16le";
    Comando c;
    aggiungi(c, sprintf("ffmpeg -nostdin -v error -xerror -y -thread_queue_size 2 -f rawvideo "
                        "-pix_fmt %s -s %dx%d -framerate %s -i pipe:0",
                        tubo, r.larghezza, r.altezza, r.cadenza));
    if (!r.audio_da.empty()) {
        // The sound is moved, since frames only move by whole ones; where a container knows no
        // later start, the sound before the picture goes.
        if (r.inizio > 0.0 && r.contenitore == "mxf")
            aggiungi(c, sprintf("-ss %.6f", r.inizio));
        else if (r.inizio != 0.0)
            aggiungi(c, sprintf("-itsoffset %.6f", -r.inizio));
        aggiungi(c, "-vn -sn -dn -protocol_whitelist file -i", {"file:" + r.audio_da});
        aggiungi(c, "-map 0:v -map 1:a -c:a " + r.audio);
        aggiungi(c, r.inizio > 0.0 ? "-avoid_negative_ts make_zero" : "");
    } else {
        aggiungi(c, "-map 0:v");
    }
    // Each frame once; streams keep their tags, such as a language.
    aggiungi(c, "-fps_mode passthrough -map_metadata:g -1 -map_chapters -1 -vf",
             {grafo(r, tubo, formato, larghezza, altezza), "-c:v", r.codec});
    aggiungi(c, sprintf("-color_primaries bt709 -color_trc bt709 -colorspace %s -color_range %s",
                        in_rgb(formato) ? "rgb" : "bt709", piena(formato) ? "pc" : "tv"));
    c.insert(c.end(), r.opzioni.begin(), r.opzioni.end());
    for (const auto& [nome, valore] : r.etichette)
        if (!contains(nome, "=") && valore.size() < VALORE_LIMITE)
            aggiungi(c, "-metadata", {nome + "=" + valore});
    // Few containers take any name.
    const std::string segno(SEGNO_IMPOSTAZIONI);
    const bool ogni_nome = di_quicktime(r) || r.contenitore == "matroska";
    aggiungi(c, "-metadata", {(ogni_nome ? segno + "=" : "comment=" + segno + " ") + impostazioni});
    aggiungi(c, di_quicktime(r) ? "-movflags +use_metadata_tags+write_colr" : "");
    aggiungi(c, r.timecode.empty() ? "" : "-timecode " + r.timecode);
    aggiungi(c, "-f " + r.contenitore, {"file:" + r.provvisorio.file->string()});
    r.codifica = avvia(c, SUO_INGRESSO);
}

[[noreturn]] void interrotta(Ripresa& r, const std::string& motivo)
{
    r.codifica.reset();
    const std::string davanti = "file:" + r.provvisorio.file->string() + ": ";
    fallisci("cannot write '%s': %s", r.nome,
             motivo.empty() ? "the encoder ended too early"
                            : OIIO::Strutil::replace(motivo, davanti, ""));
}

// Into planes of green, blue, red and alpha.
void separa(const Foto& foto, bool alfa, std::vector<std::uint16_t>& campioni)
{
    const std::size_t n = quanti_float(foto) / 4;
    campioni.resize(n * (alfa ? 4 : 3));
    constexpr std::size_t CANALI[] = {1, 2, 0, 3};
    std::uint16_t* q = campioni.data();
    for (std::size_t piano = 0; piano < (alfa ? 4u : 3u); ++piano, q += n) {
        const float* p = foto.rgba.get() + CANALI[piano];
        for (std::size_t i = 0; i < n; ++i)
            q[i] = static_cast<std::uint16_t>(codice(p[4 * i], 65535.0f));
    }
}

}  // namespace

bool nome_di_filmato(const fs::path& file)
{
    return contenitore(file) != std::end(CONTENITORI);
}

std::unique_ptr<Ripresa> apri_ripresa(const std::string& file, const std::string& codec,
                                      const std::string& qualita)
{
    auto r = std::make_unique<Ripresa>(file);
    r->contenitore = contenitore(file)->ffmpeg;
    const std::size_t due_punti = codec.find(':');
    const std::string nome = codec.empty() ? contenitore(file)->codec : codec.substr(0, due_punti);
    r->codec = nome;
    std::vector<std::string> nomi;
    for (const Codec& c : CODEC) {
        nomi.emplace_back(c.nome);
        if (nome == c.nome) {
            r->codec = c.ffmpeg;
            r->opzioni = splits(c.opzioni);
            r->formato = c.formato;
            r->formato_con_alfa = c.formato_con_alfa;
        }
    }
    if (nome == "h265" && di_quicktime(*r))
        aggiungi(r->opzioni, "-tag:v hvc1");  // which players of these want
    const std::string aiuto = chiedi({"ffmpeg", "-hide_banner", "-h", "encoder=" + r->codec}).testo;
    if (!contains(aiuto, "Encoder "))
        rifiuta("ffmpeg has no encoder '%s'%s (prores, prores4444, dnxhr, h264, h265, ffv1, or a "
                "name of 'ffmpeg -encoders')",
                r->codec, proposta(nome, nomi));
    static const std::regex RIGA("pixel formats:([^\n]*)");
    std::smatch presi;  // some encoders tell of none
    std::regex_search(aiuto, presi, RIGA);
    const std::vector<std::string> formati = splits(presi.str(1));
    const auto prende = [&](std::string_view f) { return std::ranges::count(formati, f) > 0; };
    if (r->formato.empty()) {
        const auto* f = std::ranges::find_if(PREFERITI, prende);
        r->formato = f == std::end(PREFERITI) ? "yuv420p" : *f;
    }
    if (due_punti != codec.npos) {
        r->formato = codec.substr(due_punti + 1);
        r->formato_con_alfa.clear();
        if (!formati.empty() && !prende(r->formato))
            rifiuta("'%s' takes no samples '%s': it takes%s", r->codec, r->formato, presi.str(1));
    }
    double v = 0.0;
    const bool crf = contains(aiuto, " -crf ");
    const int peggiore = !crf ? 64 : r->codec.starts_with("libx26") ? 51 : 63;
    if (!qualita.empty() && (!leggi_numero(qualita, v) || v < 0.0 || v > peggiore))
        rifiuta("--quality of %s goes from 0 to %d, the lower the better, not '%s'", nome, peggiore,
                qualita);
    if (!qualita.empty())
        aggiungi(r->opzioni, crf ? "-crf" : "-q:v", {qualita});
    return r;
}

void scrivi_fotogramma(Ripresa& r, const Foto& foto, const std::string& impostazioni)
{
    if (r.fallita)
        throw Errore{FALLITO, {}};
    r.fallita = true;  // until it went well
    if (!r.codifica)
        comincia(r, foto, impostazioni);
    if (foto.larghezza != r.larghezza || foto.altezza != r.altezza)
        interrotta(r, sprintf("a picture of %dx%d follows others of %dx%d", foto.larghezza,
                              foto.altezza, r.larghezza, r.altezza));
    separa(foto, r.alfa, r.campioni);
    if (std::fwrite(r.campioni.data(), sizeof(r.campioni[0]), r.campioni.size(),
                    r.codifica->tubo) != r.campioni.size())
        interrotta(r, attendi(*r.codifica));
    r.fallita = false;
}

void concludi(Ripresa& r, bool sovrascrivi)
{
    if (r.fallita || !r.codifica)
        throw Errore{FALLITO, {}};
    if (const std::string motivo = attendi(*r.codifica); !motivo.empty())
        interrotta(r, motivo);
    dai_nome(r.provvisorio, sovrascrivi);
}

}  // namespace varno::provino
