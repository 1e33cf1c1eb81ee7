// provino sviluppa: pictures, sequences and movies through the plug-in.
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/messaggi.h"
#include "tools/quadri/catena.h"
#include "tools/quadri/destinazione.h"
#include "tools/quadri/sorgente.h"

#include <algorithm>

namespace varno::provino {
namespace {

// Those that --frames names, or all that the source has.
std::vector<long long> scegli_numeri(const Opzioni& o, const Sorgente& da)
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

std::vector<Fotogramma> elenca(const Opzioni& o, const Sorgente& da, const Destinazione& a,
                               const std::vector<long long>& numeri)
{
    const bool uno = singola(da) && o.fotogrammi.empty();
    if (o.tempo && !uno)
        rifiuta("--time is for a single picture: in a sequence the frame number is the time");
    if (uno && a.modello && !numero_in(o.ingresso))
        rifiuta(tra_apici(a.nome) + " has a place for a frame number, and " +
                tra_apici(o.ingresso) + " has none: give --frames");
    if (const std::string mancano = buchi(numeri); o.fotogrammi.empty() && !mancano.empty())
        avviso("the sequence has no frames " + in_una_riga(mancano));
    std::vector<Fotogramma> fotogrammi;
    for (const long long n : numeri)
        fotogrammi.push_back(
            {o.tempo.value_or(static_cast<double>(n)), n, nome_al(da, n), nome_al(a, n)});
    return fotogrammi;
}

}  // namespace

void comando_sviluppa(const Opzioni& o)
{
    if (o.salta && o.scrittura.sovrascrivi)
        rifiuta("--overwrite and --skip-existing contradict each other: give one of them");
    if (o.muto || o.json)
        taci();
    const Sorgente da = apri_sorgente(o.ingresso, o.scelta, o.colori, o.inizio);
    if (!da.proiezione && (!o.colori.matrice.empty() || !o.colori.gamma.empty() || o.inizio))
        rifiuta("--matrix, --range and --start are for a movie that is read");
    Destinazione a = apri_destinazione(
        o.uscita, {o.scrittura, o.codec, o.qualita, o.cadenza, o.salta, o.continua}, da);
    const std::vector<long long> numeri = scegli_numeri(o, da);
    Lavoro lavoro;
    lavoro.fotogrammi = elenca(o, da, a, numeri);
    lavoro.salta_esistenti = o.salta;
    lavoro.continua = o.continua;
    Plugin plugin = carica_plugin(o.plugin);
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
        scrivi_testo(o.salva, o.scrittura.sovrascrivi,
                     in_json(plugin, *istanze[0], imp, false) + "\n");
    a.impostazioni = in_json(plugin, *istanze[0], imp, true);
    lavoro.legge_in_ordine = da.proiezione != nullptr;
    lavoro.scrive_in_ordine = a.ripresa != nullptr;
    lavoro.leggi = [&](std::size_t i) { return leggi(da, lavoro.fotogrammi[i].numero); };
    lavoro.scrivi = [&](std::size_t i, const Foto& foto) {
        scrivi(a, lavoro.fotogrammi[i].numero, foto);
    };
    Racconto racconto = racconto_nuovo(o.json, o.muto, lavoro.fotogrammi.size(), plugin.file);
    const bool riuscito =
        esegui_lavoro(lavoro, istanze, [&](const Resoconto& r) { racconta(racconto, lavoro, r); });
    concludi(racconto, lavoro);
    if (riuscito || o.continua)
        concludi(a);
    if (!riuscito)
        throw Errore{FALLITO, {}};  // told frame by frame
}

}  // namespace varno::provino
