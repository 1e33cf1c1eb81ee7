// provino sviluppa: pictures, sequences and movies through the plug-in.
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/messaggi.h"
#include "tools/quadri/catena.h"
#include "tools/quadri/filmato_flussi.h"
#include "tools/quadri/sequenza.h"
#include "tools/quadri/uscita.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <filesystem>
#include <optional>
#include <system_error>
#include <thread>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

// The movies of a run.
struct Filmati {
    std::optional<Filmato> da;
    std::optional<ModoFilmato> a;
    long long primo = 1;  // number of the first frame that is read
};

Filmati apri_filmati(const Opzioni& o)
{
    Filmati f;
    if (da_filmato(o.ingresso))
        f.da = leggi_filmato(o.ingresso, o.colori);
    else if (!o.colori.matrice.empty() || !o.colori.gamma.empty() || o.inizio)
        rifiuta("--matrix, --range and --start are for a movie that is read");
    f.primo = o.inizio.value_or(1);
    if (nome_di_filmato(o.uscita) && !modello_in(o.uscita)) {
        if (o.salta || o.continua || !o.scrittura.profondita.empty() ||
            !o.scrittura.compressione.empty())
            rifiuta("--depth, --compression, --skip-existing and --continue-on-error are for "
                    "pictures; a movie takes --codec and --quality");
        f.a = scegli_modo(o.uscita, o.codec, o.qualita);
    } else if (!o.codec.empty() || !o.qualita.empty()) {
        rifiuta("--codec and --quality are for a movie that is written");
    }
    if (!o.cadenza.empty() && (f.da || !f.a))
        rifiuta("--rate is for a sequence that becomes a movie");
    if (!o.cadenza.empty() && numero_cadenza(o.cadenza) == 0.0)
        rifiuta("--rate takes frames a second, as in 24 or 24000/1001, not " +
                tra_apici(o.cadenza));
    if (f.da && f.a && !f.da->costante)
        fallisci(tra_apici(o.ingresso) +
                 " has a variable frame rate; make it constant first: ffmpeg -i " + o.ingresso +
                 " -fps_mode cfr -r " + f.da->cadenza + " -c:v ffv1 -c:a copy constant.mkv");
    return f;
}

std::vector<long long> scegli_numeri(const Opzioni& o, const Filmati& f,
                                     const std::optional<Modello>& da)
{
    if (!f.da)
        return o.fotogrammi.empty() ? fotogrammi_esistenti(*da) : leggi_fotogrammi(o.fotogrammi);
    const long long ultimo = f.primo + f.da->quanti - 1;
    std::vector<long long> numeri = leggi_fotogrammi(
        o.fotogrammi.empty() ? std::to_string(f.primo) + "-" + std::to_string(ultimo)
                             : o.fotogrammi);
    if (numeri.front() < f.primo || numeri.back() > ultimo)
        rifiuta(tra_apici(o.ingresso) + " has the frames " + std::to_string(f.primo) + " to " +
                std::to_string(ultimo) + ", not all of " + o.fotogrammi);
    return numeri;
}

std::vector<Fotogramma> elenca(const Opzioni& o, const Filmati& f)
{
    const std::optional<Modello> da = f.da ? std::nullopt : modello_letto(o.ingresso);
    if (!da && !f.da && o.fotogrammi.empty()) {
        const auto numero = static_cast<double>(numero_in(o.ingresso).value_or(0));
        if (std::error_code e;
            o.ingresso.find('*') != std::string::npos && !fs::exists(o.ingresso, e))
            rifiuta("a sequence is not written with '*': give '" +
                    OIIO::Strutil::replace(o.ingresso, "*", "####") + "', in quotes");
        return {{o.tempo.value_or(numero), o.ingresso, o.uscita}};
    }
    if (o.tempo)
        rifiuta("--time is for a single picture: in a sequence the frame number is the time");
    const std::vector<long long> numeri = scegli_numeri(o, f, da);
    if (numeri.empty())
        fallisci("no file is named like " + tra_apici(o.ingresso));
    if (const std::string mancano = buchi(numeri); o.fotogrammi.empty() && !mancano.empty())
        avviso("the sequence has no frames " + in_una_riga(mancano));
    const std::optional<Modello> a = modello_in(o.uscita);
    if (!a && !f.a && numeri.size() > 1)
        rifiuta(std::to_string(numeri.size()) + " frames would go into the one file " +
                tra_apici(o.uscita) + ": put #### where the frame number goes");
    std::vector<Fotogramma> fotogrammi;
    for (const long long n : numeri)
        fotogrammi.push_back({static_cast<double>(n), da ? nome_al(*da, n) : o.ingresso,
                              a ? nome_al(*a, n) : o.uscita});
    return fotogrammi;
}

// What of the source the movie takes with it; notes on what it does not.
void segui(ModoFilmato& modo, const Opzioni& o, const Filmati& f, const Lavoro& lavoro)
{
    const std::vector<Fotogramma>& tutti = lavoro.fotogrammi;
    const std::string nome = tra_apici(o.uscita);
    if (!f.da) {
        modo.cadenza = o.cadenza;
        if (!segui(modo, leggi_testata(tutti.front().ingresso)))
            avviso(nome + " runs at 24 frames a second, since the pictures do not tell (--rate "
                          "overrules)");
        return;
    }
    const bool intero = tutti.size() == static_cast<std::size_t>(f.da->quanti);
    const auto saltati = static_cast<long long>(tutti.front().tempo) - f.primo;
    if (!segui(modo, *f.da, saltati, intero))
        avviso(nome + " cannot hold the audio as it is, which is left out: a .mov or .mkv can");
    else if (f.da->audio && !intero)
        avviso(nome + " is without audio, which is copied with whole clips only");
    if (f.da->alfa && modo.formato_con_alfa.empty())
        avviso(nome + " is without alpha: --codec prores4444 or ffv1 hold it");
}

// Before the first frame is begun, so that a long run does not end in a refusal.
void controlla_uscite(const Opzioni& o, const Filmati& filmati,
                      const std::vector<Fotogramma>& fotogrammi)
{
    if (filmati.a)
        return controlla_uscita(o.uscita, o.scrittura.sovrascrivi);
    controlla_scrittura(fotogrammi.front().uscita, o.scrittura);
    for (const Fotogramma& f : fotogrammi) {
        std::error_code e;
        const bool esiste = fs::is_regular_file(f.uscita, e);
        if (esiste && o.salta)
            continue;
        if (esiste && !o.scrittura.sovrascrivi && fotogrammi.size() > 1)
            fallisci(tra_apici(f.uscita) + " exists already: give --overwrite to replace such "
                                           "frames or --skip-existing to leave them");
        controlla_uscita(f.uscita, o.scrittura.sovrascrivi);
    }
}

}  // namespace

void comando_sviluppa(const Opzioni& o)
{
    if (o.salta && o.scrittura.sovrascrivi)
        rifiuta("--overwrite and --skip-existing contradict each other: give one of them");
    if (o.muto || o.json)
        taci();
    Filmati filmati = apri_filmati(o);
    Lavoro lavoro;
    lavoro.fotogrammi = elenca(o, filmati);
    lavoro.salta_esistenti = o.salta;
    lavoro.continua = o.continua;
    Plugin plugin = carica_plugin(o.plugin);
    const Impostazioni imp = leggi_impostazioni(plugin, o.parametri);
    controlla_uscite(o, filmati, lavoro.fotogrammi);

    std::vector<banco::IstanzaPtr> istanze;
    const auto quante = std::min(static_cast<std::size_t>(o.lavori), lavoro.fotogrammi.size());
    for (std::size_t i = 0; i < quante; ++i)
        istanze.push_back(istanza_con(plugin, imp));
    if (filmati.da)
        std::ranges::for_each(filmati.da->note, avviso);
    if (filmati.a)
        segui(*filmati.a, o, filmati, lavoro);
    avvisa_nulla_di_fatto(plugin, *istanze[0], imp);
    if (!o.salva.empty())
        scrivi_testo(o.salva, o.scrittura.sovrascrivi,
                     in_json(plugin, *istanze[0], imp, false) + "\n");
    const std::string impostazioni = in_json(plugin, *istanze[0], imp, true);
    std::optional<LetturaFilmato> lettura;
    if (filmati.da)
        lettura.emplace(*filmati.da);
    lavoro.legge_in_ordine = filmati.da.has_value();
    lavoro.leggi = [&](std::size_t i) {
        const Fotogramma& f = lavoro.fotogrammi[i];
        return lettura
                   ? leggi_fotogramma(*lettura, static_cast<long long>(f.tempo) - filmati.primo + 1)
                   : leggi_foto(f.ingresso, o.scelta);
    };
    lavoro.scrivi = [&](std::size_t i, const Foto& foto) {
        scrivi_foto(lavoro.fotogrammi[i].uscita, foto, o.scrittura, impostazioni);
    };
    const auto esegui = [&] {
        Racconto racconto = racconto_nuovo(o.json, o.muto, lavoro.fotogrammi.size(), plugin.file);
        const bool riuscito = esegui_lavoro(
            lavoro, istanze, [&](const Resoconto& r) { racconta(racconto, lavoro, r); });
        concludi(racconto, lavoro);
        if (!riuscito)
            throw Errore{FALLITO, {}};  // told frame by frame
    };
    if (!filmati.a)
        return esegui();
    filmati.a->impostazioni = impostazioni;
    lavoro.scrive_in_ordine = true;
    scrivi_intero(o.uscita, o.scrittura.sovrascrivi, [&](const fs::path& provvisorio) {
        ScritturaFilmato filmato{*filmati.a, provvisorio, o.uscita};
        lavoro.scrivi = [&](std::size_t, const Foto& foto) { scrivi_fotogramma(filmato, foto); };
        esegui();
        concludi(filmato);
    });
}

}  // namespace varno::provino
