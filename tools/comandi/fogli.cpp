// provino looks and effetti: the sheets.
#include "tools/comandi/comandi.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/foglio.h"
#include "tools/quadri/sorgente.h"
#include "tools/quadri/uscita.h"

#include <algorithm>
#include <filesystem>
#include <utility>

namespace varno::provino {
namespace {

constexpr int FESSURA = 2;  // between the two parts of a pair, pixels

// What both sheets begin with.
struct Inizio {
    Plugin plugin;
    Impostazioni base;
    Foto foto;
    double tempo;
};

Inizio inizia(const Opzioni& o)
{
    Plugin plugin = carica_plugin(o.plugin);
    Impostazioni base = leggi_impostazioni(plugin, o.parametri);
    controlla_scrittura(o.uscita, o.scrittura);
    controlla_uscita(o.uscita, o.scrittura.sovrascrivi);
    riga("plug-in " + plugin.file);
    const Sorgente da = apri_sorgente(o.ingresso, o.scelta, o.colori);
    std::ranges::for_each(da.note, avviso);
    const long long n = o.fotogramma > 0 ? o.fotogramma : da.numeri.front();
    if (!singola(da) && !std::ranges::binary_search(da.numeri, n))
        rifiuta(tra_apici(o.ingresso) + " has the frames " + std::to_string(da.numeri.front()) +
                " to " + std::to_string(da.numeri.back()));
    const double tempo = static_cast<double>(da.modello ? n : o.fotogramma);
    return {std::move(plugin), std::move(base), leggi(da, n), o.tempo.value_or(tempo)};
}

OIIO::ROI tutta(const Foto& foto)
{
    return rettangolo(0, 0, foto.larghezza, foto.altezza);
}

Impostazioni con(Impostazioni imp, const std::string& nome, double valore)
{
    imp.modifiche.emplace_back(nome, valore);
    return imp;
}

Foto rendi(Inizio& inizio, const Impostazioni& imp)
{
    return rendi_foto(*istanza_con(inizio.plugin, imp), inizio.foto, inizio.tempo);
}

// File, look and settings, as far as the sheet itself does not tell them and they are not the
// plug-in's own.
std::string piede(const Opzioni& o, Inizio& inizio, bool look, bool effetti)
{
    const banco::IstanzaPtr istanza = istanza_con(inizio.plugin, inizio.base);
    std::string s = std::filesystem::path(o.ingresso).filename().string();
    for (const banco::Parametro& p : inizio.plugin.parametri) {
        const double v = banco::valore(*istanza, p.nome);
        const bool sempre = p.nome == "formato" || p.nome == "look";
        if ((v != p.predefinito || sempre) && (effetti || !di_effetto(inizio.plugin, p)) &&
            (look || p.nome != "look") && !banco::nascosto(*istanza, p.nome))
            s += "   " + p.nome + "=" + scrivi_valore(p, v);
    }
    return s;
}

// The large one top left, the small ones row by row in what is left of four by four.
OIIO::ROI posto_del_look(const Foglio& foglio, int n)
{
    if (n == 0)
        return posto(foglio, 0, 0, 2);
    return n <= 4 ? posto(foglio, 2 + (n - 1) % 2, (n - 1) / 2)
                  : posto(foglio, (n - 5) % 4, 2 + (n - 5) / 4);
}

}  // namespace

void comando_looks(const Opzioni& o)
{
    Inizio inizio = inizia(o);
    const OIIO::ROI parte = o.ritaglio.empty() ? tutta(inizio.foto) : leggi_ritaglio(o.ritaglio);
    Foglio foglio =
        foglio_nuovo(o.larghezza, 4, 4, static_cast<double>(parte.width()) / parte.height());
    const auto mostra = [&](int n, const std::string& nome, const Impostazioni& imp) {
        const OIIO::ROI dove = posto_del_look(foglio, n);
        incolla(foglio, dove, rendi(inizio, imp), parte);
        scrivi_sotto(foglio, dove, nome);
    };
    Impostazioni neutra = inizio.base;
    spegni_effetti(inizio.plugin, neutra);
    mostra(0, "Neutral", con(neutra, "forza", 0.0));
    const std::vector<std::string> nomi = trova_parametro(inizio.plugin, "look").opzioni;
    for (int i = 0; i < static_cast<int>(nomi.size()); ++i)
        mostra(i + 1, nomi[static_cast<std::size_t>(i)], con(inizio.base, "look", i));
    scrivi_piede(foglio, piede(o, inizio, false, true));
    scrivi_foto(o.uscita, foglio.foto, o.scrittura);
}

// Each effect beside the same part without it, pixel for pixel where the picture is large enough.
void comando_effetti(const Opzioni& o)
{
    constexpr int COLONNE = 3;
    constexpr int RIGHE = 4;
    Inizio inizio = inizia(o);
    spegni_effetti(inizio.plugin, inizio.base);
    const Foto senza = rendi(inizio, inizio.base);
    OIIO::ROI parte;
    double forma = 4.0 / 3.0;
    if (!o.ritaglio.empty()) {
        parte = leggi_ritaglio(o.ritaglio);
        forma = static_cast<double>(parte.width()) / parte.height();
    }
    Foglio foglio = foglio_nuovo(o.larghezza, COLONNE, RIGHE, 2.0 * forma);
    const int largo = (foglio.cella_l - FESSURA) / 2;
    int n = 0;
    for (const auto& [p, quantita] : effetti(inizio.plugin)) {
        const double q = std::clamp(o.quantita, quantita.minimo, quantita.massimo);
        const Foto con_effetto =
            rendi(inizio, con(con(inizio.base, p.nome, 1.0), quantita.nome, q));
        if (o.ritaglio.empty()) {
            const double scala = std::min({1.0, static_cast<double>(senza.larghezza) / largo,
                                           static_cast<double>(senza.altezza) / foglio.cella_a});
            parte = dove_cambia(senza, con_effetto, std::max(1, static_cast<int>(scala * largo)),
                                std::max(1, static_cast<int>(scala * foglio.cella_a)));
        }
        const OIIO::ROI dove = posto(foglio, n % COLONNE, n / COLONNE);
        const OIIO::ROI sinistra(dove.xbegin, dove.xbegin + largo, dove.ybegin, dove.yend);
        const OIIO::ROI destra(dove.xend - largo, dove.xend, dove.ybegin, dove.yend);
        incolla(foglio, sinistra, senza, parte);
        incolla(foglio, destra, con_effetto, parte);
        scrivi_sotto(foglio, sinistra, "without");
        scrivi_sotto(foglio, destra, p.etichetta + " " + testo_di(q));
        ++n;
    }
    scrivi_piede(foglio, piede(o, inizio, true, false));
    scrivi_foto(o.uscita, foglio.foto, o.scrittura);
}

}  // namespace varno::provino
