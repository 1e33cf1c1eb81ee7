// provino guarda: the light table, what its page asks for, and the answers.
#include "tools/comandi/comandi.h"
#include "tools/guarda/porta.h"
#include "tools/guarda/tavolo.h"
#include "tools/messaggi.h"
#include "tools/quadri/uscita.h"

#include <OpenImageIO/filesystem.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cctype>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <map>
#include <memory>
#include <mutex>
#include <utility>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr std::size_t PAGINE_LIMITE = 64;

// The number of each page's newest wish: older ones that are still under way are dropped.
struct Turni {
    std::mutex mutex;
    std::map<std::string, long long> ultimi;
};

// Takes a page's wish of that number, 0 for one that stays; returns what tells whether it is to be
// dropped.
std::function<bool()> iscrivi(Turni& t, const std::string& pagina, long long numero)
{
    if (numero <= 0)
        return [] { return false; };
    const std::lock_guard<std::mutex> chiuso(t.mutex);
    if (!t.ultimi.contains(pagina) && t.ultimi.size() >= PAGINE_LIMITE)
        t.ultimi.clear();  // an older wish than the newest may be rendered once
    t.ultimi[pagina] = std::max(t.ultimi[pagina], numero);
    return [&t, pagina, numero] {
        const std::lock_guard<std::mutex> ancora(t.mutex);
        return t.ultimi[pagina] > numero;
    };
}

long long numero_di(const Tavolo& t, const Json& j)
{
    const auto n = j.at("numero").get<long long>();
    if (!std::ranges::binary_search(t.sorgente.numeri, n))
        rifiuta("there is no frame %d", n);
    return n;
}

// Runs of numbers, first and last: few where none is missing.
Json tratti(const std::vector<long long>& numeri)
{
    Json j = Json::array();
    for (const long long n : numeri)
        if (j.empty() || j.back()[1] != n - 1)
            j.push_back({n, n});
        else
            j.back()[1] = n;
    return j;
}

Json inizio(Tavolo& t, const std::string& corsa, const Impostazioni& imp)
{
    const FotoPtr prima = quadro(t, {t.sorgente.numeri.front()});
    Json j = scrivi_stato(t.plugin, imp);
    j.update({{"corsa", corsa},
              {"sorgente", fs::path(t.sorgente.nome).filename().string()},
              {"numeri", tratti(t.sorgente.numeri)},
              {"larghezza", prima->larghezza},
              {"altezza", prima->altezza},
              {"dichiarati", parametri_in_json(t.plugin)}});
    for (const auto& [interruttore, quantita] : effetti(t.plugin))
        j["effetti"].push_back({interruttore.nome, quantita.nome});
    return j;
}

Consegna quadro_per(Tavolo& t, Turni& turni, const Json& j)
{
    const std::string chiesta = j.value("forma", "png");
    const Forma forma = chiesta == "jpeg"   ? Forma::jpeg
                        : chiesta == "file" ? Forma::file
                                            : Forma::png;
    const auto lato = [&j](const char* nome) { return std::clamp(j.value(nome, 0), 0, 1 << 16); };
    const Posto posto = {numero_di(t, j), lato("larghezza"), lato("altezza")};
    std::optional<Impostazioni> imp;
    if (j.value("vista", "adesso") != "registrata")
        imp = leggi_stato(t.plugin, j);
    const auto byte =
        dipingi(t, posto, imp, forma, iscrivi(turni, j.value("pagina", ""), j.value("turno", 0LL)));
    const FotoPtr intera = quadro(t, {posto.numero});
    return {{byte.begin(), byte.end()},
            forma == Forma::jpeg ? "image/jpeg" : "image/png",
            sprintf("%dx%d", intera->larghezza, intera->altezza)};
}

// The recorded code values of a pixel.
Json punto(Tavolo& t, const Json& j)
{
    const FotoPtr foto = quadro(t, {numero_di(t, j)});
    const int x = j.at("x").get<int>();
    const int y = j.at("y").get<int>();
    if (x < 0 || y < 0 || x >= foto->larghezza || y >= foto->altezza)
        rifiuta("there is no such pixel");
    const float* p = &foto->rgba[4 * (static_cast<std::size_t>(y) * foto->larghezza + x)];
    return {{"valori", {p[0], p[1], p[2]}}};
}

// The name that a picture of this is saved under: "A001-12-cinema-print.png".
std::string nome_d_uscita(const Sorgente& da, long long numero, const std::string& look)
{
    std::string s = fs::path(nome_al(da, numero)).stem().string();
    if (!da.modello && da.numeri.size() > 1)
        s += "-" + std::to_string(numero);
    s += "-" + OIIO::Strutil::lower(look);
    std::ranges::replace_if(
        s, [](unsigned char c) { return std::isalnum(c) == 0 && c != '.' && c != '_' && c < 0x80; },
        '-');
    if (s.starts_with('-'))  // would be taken for an option
        s.insert(0, "_");
    return s + ".png";
}

Json comando_per(Tavolo& t, const Json& j, std::vector<std::string> parole)
{
    const long long numero = numero_di(t, j);
    const Impostazioni imp = leggi_stato(t.plugin, j);
    const std::string look = valore_scritto(t.plugin, *istanza_con(t.plugin, imp), "look");
    const std::string nome = nome_d_uscita(t.sorgente, numero, look);
    parole.insert(parole.begin() + 3, {nome, "--depth", "uint8"});
    if (t.sorgente.numeri.size() > 1)
        parole.insert(parole.end(), {"--frames", std::to_string(numero)});
    std::ranges::move(parole_di(t.plugin, imp), std::back_inserter(parole));
    return {{"comando", per_la_shell(parole)}, {"nome", nome}};
}

// Until the page says that it has seen enough; `comando` are the words of a command that develops
// the source, before its output.
void rispondi(Tavolo& t, Porta& porta, const Impostazioni& imp,
              const std::vector<std::string>& comando)
{
    Turni turni;
    const std::string corsa = chiave_nuova();
    const auto json = [&](const std::string& percorso, const auto& fai) {
        ascolta(porta, percorso, [&t, fai](const Json& j) {
            const std::lock_guard<std::mutex> una(t.istanze);
            return in_json(fai(j));
        });
    };
    json("/inizio", [&](const Json&) { return inizio(t, corsa, imp); });
    json("/stato", [&](const Json& j) { return scrivi_stato(t.plugin, leggi_stato(t.plugin, j)); });
    json("/comando", [&](const Json& j) { return comando_per(t, j, comando); });
    ascolta(porta, "/punto", [&](const Json& j) { return in_json(punto(t, j)); });
    ascolta(porta, "/quadro", [&](const Json& j) { return quadro_per(t, turni, j); });
    ascolta(porta, "/fine", [&](const Json&) {
        finisci(porta);
        return in_json(Json::object());
    });
    servi(porta);
}

struct OpzioniTavolo {
    std::string ingresso;
    Scelta scelta;
    ColoriFilmato colori;
    OpzioniParametri parametri;
    int porta = 0;  // 0: any
    bool senza_browser = false;
};

// A page in a folder of the user's alone leads there, since a command line, and the key on it, is
// everybody's to read. The browser takes its signals as any program does.
void apri_nel_browser(const Effimero& cartella, const std::string& indirizzo)
{
    const std::string pagina = (*cartella / "provino.html").string();
    if (!OIIO::Filesystem::write_text_file(
            pagina, "<meta charset=utf-8><meta name=referrer content=no-referrer>"
                    "<meta http-equiv=refresh content=\"0;url=" +
                        indirizzo + "\">\n"))
        return;
    sigset_t nessuno;
    sigset_t prima;
    sigemptyset(&nessuno);
    pthread_sigmask(SIG_SETMASK, &nessuno, &prima);
    static_cast<void>(!std::system(
        ("setsid -f xdg-open " + per_la_shell({pagina}) + " > /dev/null 2>&1 < /dev/null")
            .c_str()));
    pthread_sigmask(SIG_SETMASK, &prima, nullptr);
}

// The words that name the source, as this run was given them.
std::vector<std::string> parole_della_sorgente(const OpzioniTavolo& o)
{
    const std::string plugin =
        o.parametri.plugin.empty() ? "" : fs::absolute(o.parametri.plugin).string();
    std::vector<std::string> p = {"provino", "sviluppa",
                                  fs::absolute(o.ingresso).lexically_normal()};
    for (const auto& [opzione, valore] : {std::pair("--plugin", plugin),
                                          {"--part", o.scelta.parte},
                                          {"--layer", o.scelta.strato},
                                          {"--matrix", o.colori.matrice},
                                          {"--range", o.colori.gamma}})
        if (!valore.empty())
            p.insert(p.end(), {opzione, valore});
    return p;
}

// What there is to say before anything is seen, and whether it can be.
void avvisa(Tavolo& t, const Impostazioni& imp)
{
    const banco::IstanzaPtr istanza = istanza_con(t.plugin, imp);
    const FotoPtr prima = quadro(t, {t.sorgente.numeri.front()});
    avvisa(t.sorgente);
    avvisa_dei_colori(t.sorgente, prima->testata, formato_di(t.plugin, *istanza));
    avvisa_nulla_di_fatto(t.plugin, *istanza, imp);
}

void apri(const OpzioniTavolo& o)
{
    Tavolo t{.plugin = carica_plugin(o.parametri.plugin),
             .sorgente = apri_sorgente(o.ingresso, o.scelta, o.colori)};
    const Impostazioni imp = leggi_impostazioni(t.plugin, o.parametri);
    avvisa(t, imp);
    Porta porta = apri_porta(o.porta);
    riga("plug-in " + t.plugin.file);
    riga("the light table is at " + indirizzo(porta) + " until ctrl-C");
    const Effimero cartella = cartella_provvisoria();
    if (!o.senza_browser && cartella)
        apri_nel_browser(cartella, indirizzo(porta));
    rispondi(t, porta, imp, parole_della_sorgente(o));
}

}  // namespace

// clang-format off
Sottocomando comando_guarda()
{
    const auto o = std::make_shared<OpzioniTavolo>();
    return {"guarda", "view", "Open a page in the browser to see and set the looks on a picture",
            "  provino guarda A001.mov -p formato=\"Sony S-Log3\"\n",
            unite({{{"IN", &o->ingresso, "Picture, shot.####.exr, or movie to look at"},
                    {"--port", &o->porta, "Port on this machine; any free one if not given", {1, 65535}},
                    {"--no-open", &o->senza_browser, "Print the address, and open no browser"}},
                   opzioni_filmato(o->colori), opzioni_scelta(o->scelta), opzioni_parametri(o->parametri)}),
            [o] { apri(*o); }};
}
// clang-format on

}  // namespace varno::provino
