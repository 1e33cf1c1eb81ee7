// provino sviluppa: pictures, sequences and movies through the plug-in.
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/comandi/rulli.h"
#include "tools/messaggi.h"
#include "tools/quadri/destinazione.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <filesystem>
#include <memory>
#include <system_error>
#include <thread>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

struct OpzioniSviluppo {
    std::vector<std::string> file;  // IN and OUT, or any number of IN
    std::string fotogrammi, salva;
    std::string cartella, desinenza = ".mp4";  // of the outputs of many clips
    ModoDestinazione modo;
    Scelta scelta;
    ColoriFilmato colori;
    OpzioniParametri parametri;
    std::optional<double> tempo;
    std::optional<long long> inizio;
    // One reads or writes while another develops, which uses all cores by itself.
    int lavori = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 2u, 4u));
    bool prova = false;
};

// Those that --frames names, or all that the source has.
std::vector<long long> scegli_numeri(const OpzioniSviluppo& o, const Sorgente& da)
{
    if (o.fotogrammi.empty())
        return da.numeri;
    std::vector<long long> numeri = leggi_fotogrammi(o.fotogrammi);
    const long long primo = da.numeri.front();
    const long long ultimo = da.numeri.back();
    if (da.proiezione && (numeri.front() < primo || numeri.back() > ultimo))
        rifiuta("'%s' has the frames %d to %d, not all of %s", da.nome, primo, ultimo,
                o.fotogrammi);
    return numeri;
}

void controlla_numeri(const OpzioniSviluppo& o, const Sorgente& da, const Destinazione& a,
                      const std::vector<long long>& numeri)
{
    const bool uno = singola(da) && o.fotogrammi.empty();
    if (o.tempo && !uno)
        rifiuta("--time is for a single picture: in a sequence the frame number is the time");
    if (uno && a.modello && !numero_in(da.nome))
        rifiuta("'%s' has a place for a frame number, and '%s' has none: give --frames", a.nome,
                da.nome);
    const std::string mancano = o.fotogrammi.empty() ? in_una_riga(buchi(numeri)) : "";
    if (!mancano.empty() && a.ripresa && !o.modo.continua)
        fallisci("the sequence has no frames %s, and the movie would be shorter: "
                 "--continue-on-error makes it so",
                 mancano);
    if (!mancano.empty())
        perdita("the sequence has no frames " + mancano);
}

// What would be read, written, and lost of the first picture.
void annuncia(const Sorgente& da, const Destinazione& a, const std::vector<long long>& numeri,
              const std::string& formato)
{
    const Foto prima = leggi(da, numeri.front());  // tells what is left out of it
    avvisa_dei_colori(da, prima.testata, formato);
    avvisa_di_cio_che_manca(a, numeri.front(), prima);
    Json j = {{"in", da.nome},
              {"frames", numeri.size()},
              {"width", prima.larghezza},
              {"height", prima.altezza},
              {"out", a.nome}};
    std::string come;
    if (a.ripresa) {
        const Ripresa& m = *a.ripresa;
        const bool audio = !m.audio_da.empty();
        j.update(
            {{"rate", m.cadenza}, {"codec", m.codec}, {"samples", m.formato}, {"audio", audio}});
        come = sprintf(", %s a second, %s in %s, %s", m.cadenza, m.codec, m.formato,
                       audio ? "with audio" : "no audio");
    }
    esito(sprintf("would read %d of '%s', %dx%d, and write '%s'%s", numeri.size(), da.nome,
                  prima.larghezza, prima.altezza, a.nome, come),
          j);
}

void salva_impostazioni(const OpzioniSviluppo& o, const Plugin& plugin,
                        const banco::Istanza& istanza, const Impostazioni& imp)
{
    if (!o.salva.empty())
        scrivi_testo(o.salva, o.modo.scrittura.sovrascrivi,
                     testo_di(in_json(plugin, istanza, imp), 2) + "\n");
}

void sviluppa(const OpzioniSviluppo& o, Plugin& plugin, const std::string& ingresso,
              const std::string& uscita)
{
    const Sorgente da = apri_sorgente(ingresso, o.scelta, o.colori, o.inizio);
    if (!da.proiezione && (!o.colori.matrice.empty() || !o.colori.gamma.empty() || o.inizio))
        rifiuta("--matrix, --range and --start are for a movie that is read");
    Destinazione a = apri_destinazione(uscita, o.modo, da);
    const std::vector<long long> numeri = scegli_numeri(o, da);
    controlla_numeri(o, da, a, numeri);
    const Impostazioni imp = leggi_impostazioni(plugin, o.parametri);
    if (!o.prova || o.cartella.empty() || fs::exists(o.cartella))
        controlla(a, da, numeri);

    std::vector<banco::IstanzaPtr> istanze(
        std::min(static_cast<std::size_t>(o.lavori), numeri.size()));
    std::ranges::generate(istanze, [&] { return istanza_con(plugin, imp); });
    const banco::Istanza& istanza = *istanze.front();
    const std::string formato = formato_di(plugin, istanza);
    if (o.cartella.empty())
        di_plugin(plugin.file);
    avvisa(da);
    segui(a, da, numeri);
    avvisa_nulla_di_fatto(plugin, istanza, imp);
    if (o.prova)
        return annuncia(da, a, numeri, formato);
    salva_impostazioni(o, plugin, istanza, imp);
    a.impostazioni = testo_di(in_json(plugin, istanza, imp));
    const auto avvisa_del_primo = [&](const Foto& foto) {
        avvisa_dei_colori(da, foto.testata, formato);
    };
    const bool riuscito = esegui_e_racconta({da, a, numeri, o.tempo, avvisa_del_primo}, istanze);
    if (riuscito || o.modo.continua)
        concludi(a);
    if (!riuscito)
        throw Errore{FALLITO, {}};  // told frame by frame
}

// One movie of each clip; those that exist are left as they are.
void sviluppa_rulli(OpzioniSviluppo o, Plugin& plugin)
{
    const std::vector<Rullo> rulli = rulli_di(o.file, o.cartella, o.desinenza);
    if (std::error_code e; !o.prova && !fs::create_directories(o.cartella, e) && e)
        fallisci("cannot make the folder '%s': %s", o.cartella, e.message());
    di_plugin(plugin.file);
    Json falliti = Json::array();
    std::size_t fatti = 0;
    std::size_t saltati = 0;
    o.modo.salta = false;
    if (!o.salva.empty() && !o.prova) {  // once for all
        const Impostazioni imp = leggi_impostazioni(plugin, o.parametri);
        salva_impostazioni(o, plugin, *istanza_con(plugin, imp), imp);
        o.salva.clear();
    }
    for (const auto& [da, a] : rulli) {
        std::error_code e;
        const bool salta =
            fs::exists(a, e) && !o.modo.scrittura.sovrascrivi && !fs::equivalent(da, a, e);
        tappa(salta ? a + ": exists, skipped" : da + " -> " + a,
              {{"clip", da}, {"out", a}, {"status", salta ? "skipped" : "begun"}});
        try {
            if (!salta)
                sviluppa(o, plugin, da, a);
            ++(salta ? saltati : fatti);
        } catch (const Errore& errato) {
            if (errato.uscita == USO && da == rulli.front().da)
                throw;  // what is wrong with the first is wrong with all
            if (!errato.testo.empty())
                errore(errato.testo);
            falliti.push_back(da);
        } catch (const std::exception& errato) {
            errore(da + ": " + errato.what());
            falliti.push_back(da);
        }
    }
    tappa(sprintf("%d clips: %d done, %d skipped, %d failed", rulli.size(), fatti, saltati,
                  falliti.size()),
          {{"clips", rulli.size()}, {"done", fatti}, {"skipped", saltati}, {"failed", falliti}});
    if (!falliti.empty())
        throw Errore{FALLITO, {}};  // told clip by clip
}

void comincia(const OpzioniSviluppo& o)
{
    if (o.modo.salta && o.modo.scrittura.sovrascrivi)
        rifiuta("--overwrite and --skip-existing contradict each other: give one of them");
    if (o.cartella.empty() && o.file.size() < 2)
        rifiuta("OUT is required, or --to for a folder of movies");
    if (o.cartella.empty() && o.file.size() > 2)
        throw Inattese{{o.file.begin() + 2, o.file.end()}};
    Plugin plugin = carica_plugin(o.parametri.plugin);
    if (o.cartella.empty())
        sviluppa(o, plugin, o.file[0], o.file[1]);
    else
        sviluppa_rulli(o, plugin);
}

}  // namespace

// clang-format off
Sottocomando comando_sviluppa()
{
    const auto o = std::make_shared<OpzioniSviluppo>();
    ModoDestinazione& m = o->modo;
    return {
        "sviluppa", "develop", "Develop a movie, a picture or a sequence",
        "  provino sviluppa scene.exr print.png -p formato=\"Sony S-Log3\" -p look=Amber\n"
        "  provino sviluppa 'shot.####.dpx' 'out.####.exr' --frames 1001-1048 -p promist_on=on -p promist=1/4\n"
        "  provino sviluppa still.tif 'out.####.png' --frames 1-48 --key ev@1=0 --key ev@48=1\n"
        "  provino sviluppa b.dpx b.exr --settings-from a.exr\n"
        "  provino sviluppa 'card/*.mov' --to review/ --as .mp4 --scale 1920 --burn name,timecode -p formato=\"Sony S-Log3\"\n",
        unite({
            {{"FILE", &o->file,
              "IN OUT: EXR, DPX, TIFF, PNG or JPEG; shot.####.exr, %04d or @@@@ for a sequence; a movie as ffmpeg reads it. "
              "With --to any number of IN, folders and 'card/*.mov' among them"},
             {"--to", &o->cartella, "Folder for a movie of each IN, those that exist are skipped"},
             {"--as", &o->desinenza, "Their ending, .mp4 if not given"},
             {"--scale", &m.scala, "Width of a movie that is written", {.minimo = 16, .massimo = 65536}},
             {"--burn", &m.scritte, "name,timecode: drawn into a movie that is written", {.proposte = {"name", "timecode", "name,timecode"}}},
             {"--dry-run", &o->prova, "Tell what would be read, written and lost"},
             {"--frames", &o->fotogrammi, "1-10,20-30x2: these frames; without it all that exist"},
             {"--start", &o->inizio, "Number, and so the time, of a movie's first frame (1)"},
             {"--rate", &m.cadenza, "Frames a second of a sequence that becomes a movie"},
             {"--codec", &m.codec,
              "Of a movie: prores (.mov), h264 (.mp4), ffv1 (.mkv, RGB of 16 bits), "
              "prores4444, dnxhr, h265, or an encoder of ffmpeg's, NAME or NAME:PIXELFORMAT",
              {.proposte = {"prores", "prores4444", "dnxhr", "h264", "h265", "ffv1"}}},
             {"--quality", &m.qualita, "Of a movie: -crf where the encoder has it, as h264 and h265, else -q:v"},
             {"--audio", &m.audio,
              "Of a movie: copy, aac or none; without it copied where the output holds it, else AAC (PCM in .mxf)",
              {.valori = {"copy", "aac", "none"}}}},
            opzioni_filmato(o->colori),
            {{"--time", &o->tempo, "Render time of a single picture, in place of the number that its name ends in"},
             {"--jobs", &o->lavori, "Frames under way at once, each on an instance of its own", {.minimo = 1, .massimo = 64, .detto = true}},
             {"--skip-existing", &m.salta, "Leave frames whose output exists"},
             {"--continue-on-error", &m.continua, "Go on after a failed frame; failed ones are listed at the end"},
             {"--save-settings", &o->salva, "Write all parameters and keys as JSON"}},
            opzioni_voce(), opzioni_parametri(o->parametri), opzioni_scelta(o->scelta), opzioni_scrittura(m.scrittura)}),
        [o] { comincia(*o); }};
}
// clang-format on

}  // namespace varno::provino
