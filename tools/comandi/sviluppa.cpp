// provino sviluppa: pictures, sequences and movies through the plug-in.
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/messaggi.h"
#include "tools/quadri/catena.h"
#include "tools/quadri/destinazione.h"
#include "tools/quadri/sorgente.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <thread>

namespace varno::provino {
namespace {

struct OpzioniSviluppo {
    std::string ingresso, uscita, fotogrammi, salva;
    ModoDestinazione modo;
    Scelta scelta;
    ColoriFilmato colori;
    OpzioniParametri parametri;
    std::optional<double> tempo;
    std::optional<long long> inizio;
    // One reads or writes while another develops, which uses all cores by itself.
    int lavori = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 2u, 4u));
    bool json = false, muto = false;
};

// Those that --frames names, or all that the source has.
std::vector<long long> scegli_numeri(const OpzioniSviluppo& o, const Sorgente& da)
{
    if (o.fotogrammi.empty())
        return da.numeri;
    const std::vector<long long> numeri = leggi_fotogrammi(o.fotogrammi);
    const long long primo = da.numeri.front();
    const long long ultimo = da.numeri.back();
    if (da.proiezione && (numeri.front() < primo || numeri.back() > ultimo))
        rifiuta(tra_apici(o.ingresso) + " has the frames " + std::to_string(primo) + " to " +
                std::to_string(ultimo) + ", not all of " + o.fotogrammi);
    return numeri;
}

std::vector<Fotogramma> elenca(const OpzioniSviluppo& o, const Sorgente& da, const Destinazione& a,
                               const std::vector<long long>& numeri)
{
    const bool uno = singola(da) && o.fotogrammi.empty();
    if (o.tempo && !uno)
        rifiuta("--time is for a single picture: in a sequence the frame number is the time");
    if (uno && a.modello && !numero_in(o.ingresso))
        rifiuta(tra_apici(a.nome) + " has a place for a frame number, and " +
                tra_apici(o.ingresso) + " has none: give --frames");
    const std::string mancano = o.fotogrammi.empty() ? in_una_riga(buchi(numeri)) : "";
    if (!mancano.empty() && a.ripresa && !o.modo.continua)
        fallisci("the sequence has no frames " + mancano +
                 ", and the movie would be shorter: --continue-on-error makes it so");
    if (!mancano.empty())
        avviso("the sequence has no frames " + mancano);
    std::vector<Fotogramma> fotogrammi;
    for (const long long n : numeri)
        fotogrammi.push_back(
            {o.tempo.value_or(static_cast<double>(n)), n, nome_al(da, n), nome_al(a, n)});
    return fotogrammi;
}

void sviluppa(const OpzioniSviluppo& o)
{
    if (o.modo.salta && o.modo.scrittura.sovrascrivi)
        rifiuta("--overwrite and --skip-existing contradict each other: give one of them");
    if (o.muto || o.json)
        taci();
    const Sorgente da = apri_sorgente(o.ingresso, o.scelta, o.colori, o.inizio);
    if (!da.proiezione && (!o.colori.matrice.empty() || !o.colori.gamma.empty() || o.inizio))
        rifiuta("--matrix, --range and --start are for a movie that is read");
    Destinazione a = apri_destinazione(o.uscita, o.modo, da);
    const std::vector<long long> numeri = scegli_numeri(o, da);
    Lavoro lavoro;
    lavoro.fotogrammi = elenca(o, da, a, numeri);
    lavoro.salta_esistenti = o.modo.salta;
    lavoro.continua = o.modo.continua;
    Plugin plugin = carica_plugin(o.parametri.plugin);
    const Impostazioni imp = leggi_impostazioni(plugin, o.parametri);
    controlla(a, da, numeri);

    std::vector<banco::IstanzaPtr> istanze;
    const auto quante = std::min(static_cast<std::size_t>(o.lavori), lavoro.fotogrammi.size());
    for (std::size_t i = 0; i < quante; ++i)
        istanze.push_back(istanza_con(plugin, imp));
    std::ranges::for_each(da.note, avviso);
    segui(a, da, numeri);
    avvisa_nulla_di_fatto(plugin, *istanze[0], imp);
    if (!o.salva.empty())
        scrivi_testo(o.salva, o.modo.scrittura.sovrascrivi,
                     in_json(plugin, *istanze[0], imp, false) + "\n");
    a.impostazioni = in_json(plugin, *istanze[0], imp, true);
    lavoro.legge_in_ordine = da.proiezione != nullptr;
    lavoro.scrive_in_ordine = a.ripresa != nullptr;
    lavoro.leggi = [&](std::size_t i) {
        Foto foto = leggi(da, lavoro.fotogrammi[i].numero);
        if (i == 0)
            avvisa_dei_colori(da, foto.testata, formato_di(plugin, *istanze[0]));
        return foto;
    };
    lavoro.scrivi = [&](std::size_t i, const Foto& foto) {
        scrivi(a, lavoro.fotogrammi[i].numero, foto);
    };
    Racconto racconto = racconto_nuovo(o.json, o.muto, lavoro.fotogrammi.size(), plugin.file);
    const bool riuscito =
        esegui_lavoro(lavoro, istanze, [&](const Resoconto& r) { racconta(racconto, lavoro, r); });
    concludi(racconto, lavoro);
    if (riuscito || o.modo.continua)
        concludi(a);
    if (!riuscito)
        throw Errore{FALLITO, {}};  // told frame by frame
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
        "  provino sviluppa b.dpx b.exr --settings-from a.exr\n",
        unite({
            {{"IN", &o->ingresso, "EXR, DPX, TIFF, PNG or JPEG; shot.####.exr, %04d or @@@@ for a sequence; a movie as ffmpeg reads it"},
             {"OUT", &o->uscita, "Picture or movie to write; its ending names the format"},
             {"--frames", &o->fotogrammi, "1-10,20-30x2: these frames; without it all that exist"},
             {"--start", &o->inizio, "Number, and so the time, of a movie's first frame (1)"},
             {"--rate", &m.cadenza, "Frames a second of a sequence that becomes a movie"},
             {"--codec", &m.codec,
              "Of a movie: prores (.mov), h264 (.mp4), ffv1 (.mkv, RGB of 16 bits), "
              "prores4444, dnxhr, h265, or an encoder of ffmpeg's, NAME or NAME:PIXELFORMAT"},
             {"--quality", &m.qualita, "Of a movie: -crf where the encoder has it, as h264 and h265, else -q:v"}},
            opzioni_filmato(o->colori),
            {{"--time", &o->tempo, "Render time of a single picture, in place of the number that its name ends in"},
             {"--jobs", &o->lavori, "Frames under way at once, each on an instance of its own", {.minimo = 1, .massimo = 64, .detto = true}},
             {"--skip-existing", &m.salta, "Leave frames whose output exists"},
             {"--continue-on-error", &m.continua, "Go on after a failed frame; failed ones are listed at the end"},
             {"--save-settings", &o->salva, "Write all parameters and keys as JSON"},
             {"--quiet", &o->muto, "Tell nothing but errors"},
             {"--json", &o->json, "Tell progress as lines of JSON"}},
            opzioni_parametri(o->parametri), opzioni_scelta(o->scelta), opzioni_scrittura(m.scrittura)}),
        [o] { sviluppa(*o); }};
}
// clang-format on

}  // namespace varno::provino
