#include "tools/argomenti.h"
#include "tools/comandi.h"
#include "tools/messaggi.h"
#include "tools/uscita.h"

#include <exception>
#include <new>
#include <utility>
#include <vector>

namespace varno::provino {

void opzione_plugin(CLI::App& app, Comuni& c)
{
    app.add_option("--plugin", c.plugin, "The plug-in: a bundle, its folder or an .ofx file");
}

void opzioni_parametri(CLI::App& app, Comuni& c)
{
    // One text each: a list would swallow the file names behind it.
    const auto testi = [&](const char* nome, std::vector<std::string>& dove, const char* aiuto) {
        app.add_option(nome, dove, aiuto)->type_size(1)->allow_extra_args(false);
    };
    testi("-p,--param", c.parametri.valori,
          "name=value; a look loads its recipe, as in a host, and what follows overrides it");
    testi("--key", c.parametri.chiavi, "name@time=value; numbers are drawn linearly between keys");
    app.add_option("--settings", c.parametri.da_file, "Settings as --save-settings wrote them");
    app.add_option("--settings-from", c.parametri.da_foto,
                   "A picture that provino developed, for its settings");
}

void opzioni_filmato(CLI::App& app, ColoriFilmato& c)
{
    app.add_option("--matrix", c.matrice, "709, 601 or 2020: of a movie, whatever it tells");
    app.add_option("--range", c.gamma, "legal or full: of a movie, whatever it tells")
        ->check(CLI::IsMember({"legal", "full"}));
}

void opzioni_scrittura(CLI::App& app, Comuni& c)
{
    app.add_option("--depth", c.scrittura.profondita,
                   "half, float, uint16, uint10 or uint8, as the format has it");
    app.add_option("--compression", c.scrittura.compressione,
                   "As OpenImageIO names it: zip, piz, dwaa:45, lzw, jpeg:90");
    app.add_flag("--overwrite", c.scrittura.sovrascrivi, "Replace outputs that exist");
}

namespace {

// The nearest option or command for a word that was not expected.
std::string vicino_a(const CLI::App& app, const std::string& parola)
{
    std::vector<std::string> nomi;
    for (const CLI::Option* o : app.get_options())
        for (const std::string& n : o->get_lnames())
            nomi.push_back("--" + n);
    for (const CLI::App* s : app.get_subcommands([](const CLI::App*) { return true; }))
        nomi.push_back(s->get_name());
    return proposta(parola, nomi);
}

bool esiste(const CLI::App& app, const std::string& comando)
{
    return !app.get_subcommands([&](const CLI::App* s) { return s->get_name() == comando; })
                .empty();
}

int esegui(int argc, char** argv)
{
    CLI::App app("provino: develops pictures with the Varno Color plug-in, on the command line.",
                 "provino");
    app.set_version_flag("--version", "provino " PROVINO_VERSIONE);
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    app.footer("Examples:\n"
               "  provino tavola scene.exr\n"
               "  provino sviluppa scene.exr print.png -p formato=\"Sony S-Log3\" -p look=Amber\n"
               "  provino sviluppa shot.####.dpx out.####.exr --frames 1001-1048 --jobs 2\n"
               "  provino looks scene.exr looks.jpg -p formato=0\n"
               "  provino lut --size 65 amber.cube -p formato=0 -p look=Amber\n"
               "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 the plug-in cannot be loaded.");

    std::vector<std::pair<const char*, Esecuzione>> comandi;
    comandi.emplace_back("parametri", comando_parametri(app));
    comandi.emplace_back("sviluppa", comando_sviluppa(app));
    comandi.emplace_back("looks", comando_looks(app));
    comandi.emplace_back("effetti", comando_effetti(app));
    comandi.emplace_back("tavola", comando_tavola(app));
    comandi.emplace_back("lut", comando_lut(app));
    comandi.emplace_back("confronta", comando_confronta(app));
    comandi.emplace_back("misura", comando_misura(app));

    const CLI::App* scelto = &app;
    try {
        if (argc > 1 && argv[1][0] != '-' && !esiste(app, argv[1]))
            rifiuta("there is no command " + tra_apici(argv[1]) + vicino_a(app, argv[1]) +
                    " ('provino --help' lists them)");
        app.parse(argc, argv);
        for (const auto& [nome, fai] : comandi)
            if (app.got_subcommand(nome))
                fai();
        return FATTO;
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0)
            return app.exit(e);  // help and version
        std::string chi = "provino";
        for (const CLI::App* s : app.get_subcommands()) {
            scelto = s;
            chi += " " + s->get_name();
        }
        std::string testo = in_una_riga(e.what());
        if (const auto resto = scelto->remaining(); !resto.empty())
            testo =
                tra_apici(resto.front()) + " was not expected" + vicino_a(*scelto, resto.front());
        if (scelto == &app && argc < 2)
            testo = "give a command, such as sviluppa";
        errore(testo + " ('" + chi + " --help' tells more)");
        return USO;
    } catch (const Errore& e) {
        if (!e.testo.empty())  // else it was told already
            errore(e.testo);
        return e.uscita;
    } catch (const std::bad_alloc&) {
        errore("there is not enough memory for this picture");
        return FALLITO;
    } catch (const std::exception& e) {
        errore("failed: " + in_una_riga(e.what()));
        return FALLITO;
    }
}

}  // namespace
}  // namespace varno::provino

int main(int argc, char** argv)
{
    varno::provino::apri_messaggi();
    varno::provino::prepara_segnali();
    return varno::provino::esegui(argc, argv);
}
