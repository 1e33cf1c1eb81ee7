// provino looks and effetti: the sheets.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/quadri/foglio.h"
#include "tools/quadri/sorgente.h"
#include "tools/quadri/uscita.h"

#include <algorithm>
#include <filesystem>
#include <memory>
#include <utility>

namespace varno::provino {
namespace {

struct OpzioniFoglio {
    std::string ingresso, uscita, ritaglio;
    int larghezza = 0;               // 0: enough to see the pictures
    int fotogramma = 0;              // of a movie or a sequence; 0: the first
    double quantita = 1.0;           // of each effect
    std::vector<std::string> cunei;  // "name=value,value"
    std::optional<double> tempo;
    OpzioniParametri parametri;
    Scelta scelta;
    ColoriFilmato colori;
    Scrittura scrittura;
};

// What both sheets begin with.
struct Inizio {
    Plugin plugin;
    Impostazioni base;
    Foto foto;
    double tempo;
};

Inizio inizia(const OpzioniFoglio& o)
{
    Plugin plugin = carica_plugin(o.parametri.plugin);
    Impostazioni base = leggi_impostazioni(plugin, o.parametri);
    controlla_scrittura(o.uscita, o.scrittura);
    controlla_uscita(o.uscita, o.scrittura.sovrascrivi);
    di_plugin(plugin.file);
    const Sorgente da = apri_sorgente(o.ingresso, o.scelta, o.colori);
    avvisa(da);
    const long long n = o.fotogramma > 0 ? o.fotogramma : da.numeri.front();
    if (!singola(da) && !std::ranges::binary_search(da.numeri, n))
        rifiuta("'%s' has the frames %d to %d", o.ingresso, da.numeri.front(), da.numeri.back());
    non_sopra(o.uscita, nome_al(da, n));
    Foto foto = leggi(da, n);
    avvisa_dei_colori(da, foto.testata, formato_di(plugin, *istanza_con(plugin, base)));
    return {std::move(plugin), std::move(base), std::move(foto),
            o.tempo.value_or(static_cast<double>(n))};
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
std::string piede(const OpzioniFoglio& o, Inizio& inizio, bool look, bool effetti)
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

// Pictures of 420 pixels at least, unless a width is asked for.
void scrivi_foglio(const OpzioniFoglio& o, int colonne, double forma,
                   const std::vector<Casella>& caselle, const std::string& piede)
{
    constexpr int LARGA = 420;
    const int abbastanza = std::max(1920, LARGA * 200 * colonne / std::max(1, 199 - colonne) + 1);
    scrivi_foto(o.uscita,
                foglio(o.larghezza > 0 ? o.larghezza : abbastanza, colonne, forma, caselle, piede),
                o.scrittura);
    di_scritta(o.uscita);
}

using Modifiche = std::vector<std::pair<std::string, double>>;

// "ev=-1,0,1", one by one.
Modifiche leggi_cuneo(const Plugin& plugin, const std::string& testo)
{
    const std::size_t uguale = testo.find('=');
    OpzioniParametri uno;
    if (uguale != testo.npos)
        for (const std::string& valore : OIIO::Strutil::splits(testo.substr(uguale + 1), ","))
            uno.valori.push_back(testo.substr(0, uguale + 1) + valore);
    if (uno.valori.empty())
        rifiuta("a wedge is written name=value,value, as in ev=-1,0,1, not '%s'", testo);
    return leggi_impostazioni(plugin, uno).modifiche;
}

void looks(const OpzioniFoglio& o)
{
    if (o.cunei.size() > 2)
        rifiuta("--wedge is given once, or twice for columns and rows");
    Inizio inizio = inizia(o);
    const OIIO::ROI parte = o.ritaglio.empty()
                                ? rettangolo(0, 0, inizio.foto.larghezza, inizio.foto.altezza)
                                : leggi_ritaglio(o.ritaglio);
    const double forma = static_cast<double>(parte.width()) / parte.height();
    std::vector<Casella> caselle;
    const auto mostra = [&](const std::string& nome, const Impostazioni& imp, int lato) {
        caselle.push_back({{nome}, lato, [&inizio, &parte, imp](auto& foglio, const auto& dove) {
                               incolla(foglio, dove[0], rendi(inizio, imp), parte);
                           }});
    };
    if (o.cunei.empty()) {
        Impostazioni neutra = inizio.base;
        spegni_effetti(inizio.plugin, neutra);
        mostra("Neutral", con(neutra, "forza", 0.0), 2);
        for (const std::string& nome : trova_parametro(inizio.plugin, "look").opzioni)
            mostra(nome, con(inizio.base, "look", static_cast<double>(caselle.size() - 1)), 1);
        return scrivi_foglio(o, 4, forma, caselle, piede(o, inizio, false, true));
    }
    const Modifiche primo = leggi_cuneo(inizio.plugin, o.cunei.front());
    const Modifiche altro =
        o.cunei.size() > 1 ? leggi_cuneo(inizio.plugin, o.cunei[1]) : Modifiche(1);
    Impostazioni imp;
    for (const auto& [riga, sotto] : altro)
        for (const auto& [nome, valore] : primo) {
            const auto scritto = [&](const std::string& n, double v) {
                imp.modifiche.emplace_back(n, v);
                return n + "=" + scrivi_valore(trova_parametro(inizio.plugin, n), v);
            };
            imp = inizio.base;
            const std::string detto = scritto(nome, valore);
            mostra(riga.empty() ? detto : detto + "   " + scritto(riga, sotto), imp, 1);
        }
    avvisa_nulla_di_fatto(inizio.plugin, *istanza_con(inizio.plugin, imp), imp);
    const int colonne = static_cast<int>(primo.size());
    scrivi_foglio(o, o.cunei.size() > 1 ? colonne : std::min(colonne, 4), forma, caselle,
                  piede(o, inizio, true, true));
}

// Each effect beside the same part without it, pixel for pixel where the picture is large enough.
void effetti(const OpzioniFoglio& o)
{
    Inizio inizio = inizia(o);
    spegni_effetti(inizio.plugin, inizio.base);
    const Foto senza = rendi(inizio, inizio.base);
    const std::optional<OIIO::ROI> ritaglio =
        o.ritaglio.empty() ? std::nullopt : std::optional(leggi_ritaglio(o.ritaglio));
    std::vector<Casella> caselle;
    for (const auto& [p, quantita] : effetti(inizio.plugin)) {
        const double q = std::clamp(o.quantita, quantita.minimo, quantita.massimo);
        const Impostazioni imp = con(con(inizio.base, p.nome, 1.0), quantita.nome, q);
        const auto disegna = [&inizio, &senza, &ritaglio, imp](auto& foglio, const auto& dove) {
            const Foto con_effetto = rendi(inizio, imp);
            const double largo = dove[0].width();
            const double alto = dove[0].height();
            const double scala = std::min({1.0, senza.larghezza / largo, senza.altezza / alto});
            const OIIO::ROI parte =
                ritaglio
                    ? *ritaglio
                    : dove_cambia(senza, con_effetto, std::max(1, static_cast<int>(scala * largo)),
                                  std::max(1, static_cast<int>(scala * alto)));
            incolla(foglio, dove[0], senza, parte);
            incolla(foglio, dove[1], con_effetto, parte);
        };
        caselle.push_back({{"without", p.etichetta + " " + testo_di(q)}, 1, disegna});
    }
    const double forma =
        ritaglio ? static_cast<double>(ritaglio->width()) / ritaglio->height() : 4.0 / 3.0;
    scrivi_foglio(o, 3, 2.0 * forma, caselle, piede(o, inizio, true, false));
}

// clang-format off
Opzioni opzioni_foglio(OpzioniFoglio& o)
{
    return unite({{{"IN", &o.ingresso, "Picture or movie to read"},
                   {"OUT", &o.uscita, "Sheet to write"},
                   {"--width", &o.larghezza, "Width of the sheet in pixels; without it 1920, or what 420 a picture takes",
                    {.minimo = 200, .massimo = 65536}},
                   {"--crop", &o.ritaglio, "WIDTHxHEIGHT+X+Y: show this part of each picture"},
                   {"--frame", &o.fotogramma, "Frame of a movie or a sequence, and its render time; the first is 1",
                    {.minimo = 1, .massimo = 1e9}}},
                  opzioni_filmato(o.colori), {{"--time", &o.tempo, "Render time"}}, opzioni_voce(),
                  opzioni_parametri(o.parametri), opzioni_scelta(o.scelta), opzioni_scrittura(o.scrittura)});
}

}  // namespace

Sottocomando comando_looks()
{
    const auto o = std::make_shared<OpzioniFoglio>();
    return {"looks", nullptr, "Draw a sheet of the neutral picture and all looks, each with its recipe",
            "  provino looks scene.exr looks.jpg -p formato=\"Sony S-Log3\"\n"
            "  provino looks A001.mov exposure.jpg --frame 48 -p formato=\"Sony S-Log3\" -p look=Amber --wedge ev=-1,0,1\n",
            unite({opzioni_foglio(*o),
                   {{"--wedge", &o->cunei, "name=value,value,...: one picture a value in place of the looks; "
                                           "twice for columns and rows"}}}),
            [o] { looks(*o); }};
}

Sottocomando comando_effetti()
{
    const auto o = std::make_shared<OpzioniFoglio>();
    return {"effetti", "effects", "Draw a sheet of the twelve effects, each beside the picture without it",
            "  provino effetti scene.exr effects.png -p formato=\"Sony S-Log3\"\n",
            unite({opzioni_foglio(*o),
                   {{"--amount", &o->quantita, "Amount of each effect, held to its range", {.massimo = 1.0, .detto = true}}}}),
            [o] { effetti(*o); }};
}
// clang-format on

}  // namespace varno::provino
