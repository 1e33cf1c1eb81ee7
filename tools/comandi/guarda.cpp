// provino guarda: the light table.
#include "tools/guarda/guarda.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"
#include "tools/quadri/uscita.h"

#include <algorithm>
#include <csignal>
#include <cstdlib>
#include <filesystem>
#include <memory>
#include <unistd.h>

namespace varno::provino {
namespace {

// A file of the user's alone leads there, since a command line, and the key on it, is everybody's
// to read. The browser takes its signals as any program does.
std::string apri_nel_browser(const std::string& indirizzo)
{
    std::string nome = (std::filesystem::temp_directory_path() / "provino-XXXXXX.html").string();
    const int file = mkstemps(nome.data(), 5);
    if (file < 0)
        return {};
    close(file);
    const std::string testo = "<meta charset=utf-8><meta name=referrer content=no-referrer>"
                              "<meta http-equiv=refresh content=\"0;url=" +
                              indirizzo + "\">\n";
    scrivi_byte(nome, Byte(reinterpret_cast<const unsigned char*>(testo.data()), testo.size()),
                nome);
    sigset_t nessuno;
    sigset_t prima;
    sigemptyset(&nessuno);
    pthread_sigmask(SIG_SETMASK, &nessuno, &prima);
    const std::string comando =
        "setsid -f xdg-open " + per_la_shell({nome}) + " > /dev/null 2>&1 < /dev/null";
    static_cast<void>(!std::system(comando.c_str()));
    pthread_sigmask(SIG_SETMASK, &prima, nullptr);
    return nome;
}

struct OpzioniTavolo {
    std::string ingresso;
    Scelta scelta;
    ColoriFilmato colori;
    OpzioniParametri parametri;
    int porta = 0;  // 0: any
    bool senza_browser = false;
};

// The words that name the source, as this run was given them.
std::vector<std::string> parole_della_sorgente(const OpzioniTavolo& o)
{
    std::vector<std::string> p = {"provino", "sviluppa",
                                  std::filesystem::absolute(o.ingresso).lexically_normal()};
    const auto opzione = [&](const char* nome, const std::string& valore) {
        if (!valore.empty())
            p.insert(p.end(), {nome, valore});
    };
    opzione("--plugin", o.parametri.plugin.empty()
                            ? ""
                            : std::filesystem::absolute(o.parametri.plugin).string());
    opzione("--part", o.scelta.parte);
    opzione("--layer", o.scelta.strato);
    opzione("--matrix", o.colori.matrice);
    opzione("--range", o.colori.gamma);
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
    const std::string file = o.senza_browser ? "" : apri_nel_browser(indirizzo(porta));
    guarda(t, porta, imp, parametri_in_json(t.plugin), parole_della_sorgente(o));
    unlink(file.c_str());
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
