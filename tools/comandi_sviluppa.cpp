#include "tools/catena.h"
#include "tools/comandi.h"
#include "tools/messaggi.h"
#include "tools/racconto.h"
#include "tools/sequenza.h"
#include "tools/uscita.h"

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

struct Opzioni {
    Comuni comuni;
    std::string ingresso, uscita, fotogrammi, salva;
    std::optional<double> tempo;
    // One reads or writes while another develops, which uses all cores by itself.
    int lavori = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 2u, 4u));
    bool salta = false, continua = false, muto = false, json = false;
};

// A name that stands for a file as it is has no place for a number, whatever signs are in it.
std::optional<Modello> modello_ingresso(const std::string& nome)
{
    std::error_code e;
    return fs::exists(nome, e) ? std::nullopt : modello_in(nome);
}

std::vector<Fotogramma> elenca(const Opzioni& o)
{
    const std::optional<Modello> da = modello_ingresso(o.ingresso);
    if (!da && o.fotogrammi.empty())
        return {{o.tempo.value_or(0.0), o.ingresso, o.uscita}};
    if (o.tempo)
        rifiuta("--time is for a single picture: in a sequence the frame number is the time");
    const std::vector<long long> numeri =
        o.fotogrammi.empty() ? fotogrammi_esistenti(*da) : leggi_fotogrammi(o.fotogrammi);
    if (numeri.empty())
        fallisci("no file is named like " + tra_apici(o.ingresso));
    const std::optional<Modello> a = modello_in(o.uscita);
    if (!a && numeri.size() > 1)
        rifiuta(std::to_string(numeri.size()) + " frames would go into the one file " +
                tra_apici(o.uscita) + ": put #### where the frame number goes");
    std::vector<Fotogramma> fotogrammi;
    for (const long long n : numeri)
        fotogrammi.push_back({static_cast<double>(n), da ? nome_al(*da, n) : o.ingresso,
                              a ? nome_al(*a, n) : o.uscita});
    return fotogrammi;
}

// Before the first frame is begun, so that a long run does not end in a refusal.
void controlla_uscite(const Opzioni& o, const std::vector<Fotogramma>& fotogrammi)
{
    controlla_scrittura(fotogrammi.front().uscita, o.comuni.scrittura);
    for (const Fotogramma& f : fotogrammi) {
        std::error_code e;
        if (o.salta && fs::is_regular_file(f.uscita, e))
            continue;
        try {
            controlla_uscita(f.uscita, o.comuni.scrittura.sovrascrivi);
        } catch (Errore& errore) {
            if (fotogrammi.size() > 1 && fs::is_regular_file(f.uscita, e))
                errore.testo = tra_apici(f.uscita) + " exists already: give --overwrite to replace "
                                                     "such frames or --skip-existing to leave them";
            throw;
        }
    }
}

void sviluppa(const Opzioni& o)
{
    if (o.salta && o.comuni.scrittura.sovrascrivi)
        rifiuta("--overwrite and --skip-existing contradict each other: give one of them");
    Lavoro lavoro;
    lavoro.fotogrammi = elenca(o);
    lavoro.salta_esistenti = o.salta;
    lavoro.continua = o.continua;
    Plugin plugin = carica_plugin(o.comuni.plugin);
    const Impostazioni imp = leggi_impostazioni(plugin, o.comuni.parametri);
    controlla_uscite(o, lavoro.fotogrammi);

    std::vector<banco::IstanzaPtr> istanze;
    const auto quante = std::min(static_cast<std::size_t>(o.lavori), lavoro.fotogrammi.size());
    for (std::size_t i = 0; i < quante; ++i)
        istanze.push_back(istanza_con(plugin, imp));
    if (!o.muto && !o.json)
        avvisa_spenti(plugin, *istanze[0], imp);
    if (!o.salva.empty())
        scrivi_testo(o.salva, o.comuni.scrittura.sovrascrivi,
                     in_json(plugin, *istanze[0], imp, false) + "\n");
    const std::string impostazioni = in_json(plugin, *istanze[0], imp, true);
    lavoro.leggi = [&](std::size_t i) { return leggi_foto(lavoro.fotogrammi[i].ingresso); };
    lavoro.scrivi = [&](std::size_t i, const Foto& foto) {
        scrivi_foto(lavoro.fotogrammi[i].uscita, foto, o.comuni.scrittura, impostazioni);
    };
    Racconto racconto = racconto_nuovo(o.json, o.muto, lavoro.fotogrammi.size());
    const bool riuscito =
        esegui_lavoro(lavoro, istanze, [&](const Resoconto& r) { racconta(racconto, lavoro, r); });
    concludi(racconto, lavoro);
    if (!riuscito)
        throw Errore{FALLITO, {}};  // told frame by frame
}

}  // namespace

Esecuzione comando_sviluppa(CLI::App& programma)
{
    auto o = std::make_shared<Opzioni>();
    CLI::App* app = programma.add_subcommand("sviluppa", "Develop a picture or a sequence");
    app->add_option("IN", o->ingresso,
                    "EXR, DPX, TIFF, PNG or JPEG; shot.####.exr, %04d or @@@@ for a sequence")
        ->required();
    app->add_option("OUT", o->uscita, "Picture to write; its ending names the format")->required();
    app->add_option("--frames", o->fotogrammi,
                    "1-10,20-30x2: these frames; without it all that exist");
    app->add_option("--time", o->tempo, "Render time of a single picture; moves the grain");
    app->add_option("--jobs", o->lavori, "Frames under way at once, each on an instance of its own")
        ->capture_default_str()
        ->check(CLI::Range(1, 64));
    app->add_flag("--skip-existing", o->salta, "Leave frames whose output exists");
    app->add_flag("--continue-on-error", o->continua,
                  "Go on after a failed frame; failed ones are listed at the end");
    app->add_option("--save-settings", o->salva, "Write all parameters and keys as JSON");
    app->add_flag("--quiet", o->muto, "Tell nothing but errors");
    app->add_flag("--json", o->json, "Tell progress as lines of JSON");
    opzione_plugin(*app, o->comuni);
    opzioni_parametri(*app, o->comuni);
    opzioni_scrittura(*app, o->comuni);
    return [o] { sviluppa(*o); };
}

}  // namespace varno::provino
