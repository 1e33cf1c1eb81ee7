// provino guarda: the light table.
#include "tools/guarda/guarda.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"
#include "tools/quadri/uscita.h"

#include <OpenImageIO/filesystem.h>
#include <nlohmann/json.hpp>

#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <utility>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

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
void apri_nel_browser(const fs::path& cartella, const std::string& indirizzo)
{
    const std::string pagina = (cartella / "provino.html").string();
    if (cartella.empty() ||
        !OIIO::Filesystem::write_text_file(
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
    const CartellaProvvisoria cartella;
    if (!o.senza_browser)
        apri_nel_browser(cartella.nome, indirizzo(porta));
    guarda(t, porta, imp, parametri_in_json(t.plugin), parole_della_sorgente(o));
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
