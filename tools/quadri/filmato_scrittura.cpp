// Frames into a movie, encoded by ffmpeg.
#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/filmato_flussi.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <cctype>
#include <cmath>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;
using OIIO::Strutil::contains, OIIO::Strutil::splits;

constexpr std::size_t VALORE_LIMITE = 65536;  // of a tag: a program's argument is not endless

struct Contenitore {
    std::string_view desinenza;
    const char* ffmpeg;
    const char* codec;
};

constexpr Contenitore CONTENITORI[] = {
    {".mov", "mov", "prores"},    {".mp4", "mp4", "h264"},  {".m4v", "mp4", "h264"},
    {".mkv", "matroska", "ffv1"}, {".mxf", "mxf", "dnxhr"},
};

struct Codec {
    const char* nome;
    const char* ffmpeg;
    const char* opzioni;
    const char* formato;
    const char* formato_con_alfa;
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

const Contenitore* contenitore(const fs::path& file)
{
    const std::string fine = OIIO::Strutil::lower(file.extension().string());
    const auto* c = std::ranges::find(CONTENITORI, fine, &Contenitore::desinenza);
    return c == std::end(CONTENITORI) ? nullptr : c;
}

bool in_rgb(const std::string& formato)
{
    return contains(formato, "rgb") || contains(formato, "bgr") || formato.starts_with("gbr");
}

bool piena(const std::string& formato)
{
    return in_rgb(formato) || formato.starts_with("yuvj");
}

// As a value of a filter's option in a graph.
std::string protetto(const std::string& testo)
{
    const auto davanti = [](const std::string& s, std::string_view segni) {
        std::string t;
        for (const char c : s)
            t += (segni.find(c) != segni.npos ? "\\" : "") + std::string(1, c);
        return t;
    };
    return davanti(davanti(testo, "\\':"), "\\'[],;");
}

// The name on the left, the timecode on the right, at the bottom.
std::string scritte(const ModoFilmato& m, int altezza)
{
    const int lato = std::max(12, altezza / 24);
    std::string s;
    for (const auto& [cosa, testo] : m.scritte) {
        s += OIIO::Strutil::sprintf(",drawtext=font=DejaVu Sans:fontcolor=white:fontsize=%d:box=1:"
                                    "boxcolor=black@0.5:boxborderw=%d:y=h-%d:x=",
                                    lato, lato / 4, lato * 3 / 2);
        s += cosa == "name" ? std::to_string(lato) + ":expansion=none:text=" + protetto(testo)
                            : "w-tw-" + std::to_string(lato) + ":rate=" + m.cadenza +
                                  ":timecode=" + protetto(m.timecode.empty() ? testo : m.timecode);
    }
    return s;
}

std::string grafo(const ModoFilmato& m, const std::string& tubo, const std::string& formato,
                  int larghezza, int altezza)
{
    const bool rgb = in_rgb(formato);
    const std::string gamma = piena(formato) ? "full" : "limited";
    std::string zscale = rgb ? "" : ",zscale=filter=spline36:matrix=bt709:range=" + gamma;
    if (m.scala > 0)
        zscale += OIIO::Strutil::sprintf("%sw=%d:h=%d", rgb ? ",zscale=filter=spline36:" : ":",
                                         larghezza, altezza);
    else if (rgb && formato != tubo)
        zscale = ",zscale";
    return "setparams=color_primaries=bt709:color_trc=bt709" + zscale + ",format=" + formato +
           ",setparams=range=" + (piena(formato) ? "pc" : "tv") +
           ":colorspace=" + (rgb ? "gbr" : "bt709") +
           ",setsar=" + (m.forma.empty() ? "1" : m.forma) + ":max=10000" + scritte(m, altezza);
}

std::string misure(int larghezza, int altezza)
{
    return std::to_string(larghezza) + "x" + std::to_string(altezza);
}

void comincia(ScritturaFilmato& s, const Foto& foto)
{
    ModoFilmato& m = s.modo;
    if (ha_finestra(foto.testata))
        nota(s.nome, SENZA_FINESTRA);
    s.larghezza = foto.larghezza;
    s.altezza = foto.altezza;
    s.alfa = foto.alfa && !m.formato_con_alfa.empty();
    const std::string& formato = s.alfa ? m.formato_con_alfa : m.formato;
    const bool pari_a = contains(formato, "420");
    const bool pari_l = pari_a || contains(formato, "422");
    const int larghezza = m.scala > 0 ? m.scala : s.larghezza;
    const int altezza = m.scala > 0 ? std::max(2, 2 * static_cast<int>(std::lround(
                                                          0.5 * s.altezza * m.scala / s.larghezza)))
                                    : s.altezza;
    if ((pari_l && larghezza % 2 != 0) || (pari_a && altezza % 2 != 0))
        fallisci("a picture of " + misure(larghezza, altezza) + " does not go into " + formato +
                 ", which halves it: give another --codec, such as "
                 "prores4444 or ffv1");
    const std::string tubo = s.alfa ? "gbrap16le" : "gbrp16le";
    Comando c = splits("ffmpeg -nostdin -v error -xerror -y -thread_queue_size 2 -f rawvideo "
                       "-pix_fmt " +
                       tubo + " -s " + misure(s.larghezza, s.altezza) + " -framerate " + m.cadenza);
    const auto aggiungi = [&c](const Comando& altre) {
        c.insert(c.end(), altre.begin(), altre.end());
    };
    aggiungi({"-i", "pipe:0"});
    if (!m.audio_da.empty()) {
        // The sound is moved, since frames only move by whole ones; where a container knows no
        // later start, the sound before the picture goes.
        if (m.inizio > 0.0 && m.contenitore == "mxf")
            aggiungi({"-ss", testo_di(m.inizio)});
        else if (m.inizio != 0.0)
            aggiungi({"-itsoffset", testo_di(-m.inizio)});
        aggiungi(splits("-vn -sn -dn -protocol_whitelist file -i"));
        aggiungi({"file:" + m.audio_da, "-map", "0:v", "-map", "1:a", "-c:a"});
        aggiungi(splits(m.audio));
        if (m.inizio > 0.0)
            aggiungi({"-avoid_negative_ts", "make_zero"});
    } else {
        aggiungi({"-map", "0:v"});
    }
    // Each frame once; streams keep their tags, such as a language.
    aggiungi(splits("-fps_mode passthrough -map_metadata:g -1 -map_chapters -1"));
    aggiungi({"-vf", grafo(m, tubo, formato, larghezza, altezza), "-c:v", m.codec});
    aggiungi(splits(std::string("-color_primaries bt709 -color_trc bt709 -colorspace ") +
                    (in_rgb(formato) ? "rgb" : "bt709") + " -color_range " +
                    (piena(formato) ? "pc" : "tv")));
    aggiungi(m.opzioni);
    for (const auto& [nome, valore] : m.etichette)
        if (!contains(nome, "=") && valore.size() < VALORE_LIMITE)
            aggiungi({"-metadata", nome + "=" + valore});
    // Few containers take any name.
    const bool mov = m.contenitore == "mov" || m.contenitore == "mp4";
    const std::string segno(SEGNO_IMPOSTAZIONI);
    aggiungi({"-metadata",
              (mov || m.contenitore == "matroska" ? segno + "=" : "comment=" + segno + " ") +
                  m.impostazioni});
    if (mov)
        aggiungi({"-movflags", "+use_metadata_tags+write_colr"});
    if (!m.timecode.empty())
        aggiungi({"-timecode", m.timecode});
    aggiungi({"-f", m.contenitore, "file:" + s.file.string()});
    s.codifica = avvia(c, SUO_INGRESSO);
}

[[noreturn]] void interrotta(ScritturaFilmato& s, const std::string& motivo)
{
    s.codifica.reset();
    fallisci("cannot write " + tra_apici(s.nome) + ": " +
             (motivo.empty()
                  ? "the encoder ended too early"
                  : OIIO::Strutil::replace(motivo, "file:" + s.file.string() + ": ", "")));
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
    return contenitore(file) != nullptr;
}

ModoFilmato scegli_modo(const fs::path& file, const std::string& codec, const std::string& qualita)
{
    ModoFilmato m;
    m.contenitore = contenitore(file)->ffmpeg;
    const std::size_t due_punti = codec.find(':');
    const std::string nome = codec.empty() ? contenitore(file)->codec : codec.substr(0, due_punti);
    m.codec = nome;
    std::vector<std::string> nomi;
    for (const Codec& c : CODEC) {
        nomi.emplace_back(c.nome);
        if (nome == c.nome) {
            m.codec = c.ffmpeg;
            m.opzioni = splits(c.opzioni);
            m.formato = c.formato;
            m.formato_con_alfa = c.formato_con_alfa;
        }
    }
    if (nome == "h265" && (m.contenitore == "mov" || m.contenitore == "mp4"))
        m.opzioni.insert(m.opzioni.end(), {"-tag:v", "hvc1"});  // which players of these want
    const std::string aiuto = chiedi({"ffmpeg", "-hide_banner", "-h", "encoder=" + m.codec}).testo;
    if (!contains(aiuto, "Encoder "))
        rifiuta("ffmpeg has no encoder " + tra_apici(m.codec) + proposta(nome, nomi) +
                " (prores, prores4444, dnxhr, h264, h265, ffv1, or a name of 'ffmpeg -encoders')");
    constexpr std::string_view CAPO = "pixel formats:";
    const std::size_t p = aiuto.find(CAPO);  // some encoders tell of none
    const std::string presi =
        p == aiuto.npos ? "" : aiuto.substr(p + CAPO.size(), aiuto.find('\n', p) - p - CAPO.size());
    const std::vector<std::string> formati = splits(presi);
    const auto prende = [&](std::string_view f) {
        return std::ranges::find(formati, f) != formati.end();
    };
    if (m.formato.empty()) {
        const auto* f = std::find_if(std::begin(PREFERITI), std::end(PREFERITI), prende);
        m.formato = f == std::end(PREFERITI) ? "yuv420p" : *f;
    }
    if (due_punti != codec.npos) {
        m.formato = codec.substr(due_punti + 1);
        m.formato_con_alfa.clear();
        if (!formati.empty() && !prende(m.formato))
            rifiuta(tra_apici(m.codec) + " takes no samples " + tra_apici(m.formato) +
                    ": it takes" + presi);
    }
    double v = 0.0;
    const bool crf = contains(aiuto, " -crf ");
    const int peggiore = !crf ? 64 : m.codec.starts_with("libx26") ? 51 : 63;
    if (!qualita.empty() && (!leggi_numero(qualita, v) || v < 0.0 || v > peggiore))
        rifiuta("--quality of " + nome + " goes from 0 to " + std::to_string(peggiore) +
                ", the lower the better, not " + tra_apici(qualita));
    if (!qualita.empty())
        m.opzioni.insert(m.opzioni.end(), {crf ? "-crf" : "-q:v", qualita});
    return m;
}

void scrivi_fotogramma(ScritturaFilmato& s, const Foto& foto)
{
    if (s.fallita)
        throw Errore{FALLITO, {}};
    s.fallita = true;  // until it went well
    if (!s.codifica)
        comincia(s, foto);
    if (foto.larghezza != s.larghezza || foto.altezza != s.altezza)
        interrotta(s, "a picture of " + misure(foto.larghezza, foto.altezza) +
                          " follows others of " + misure(s.larghezza, s.altezza));
    separa(foto, s.alfa, s.campioni);
    if (std::fwrite(s.campioni.data(), sizeof(s.campioni[0]), s.campioni.size(),
                    s.codifica->tubo) != s.campioni.size())
        interrotta(s, attendi(*s.codifica));
    s.fallita = false;
}

void concludi(ScritturaFilmato& s)
{
    if (s.fallita || !s.codifica)
        throw Errore{FALLITO, {}};
    if (const std::string motivo = attendi(*s.codifica); !motivo.empty())
        interrotta(s, motivo);
}

}  // namespace varno::provino
