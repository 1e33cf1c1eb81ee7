// The command line: options, help, and which sub-command runs.
#include "tools/argomenti.h"
#include "tools/comandi.h"
#include "tools/messaggi.h"
#include "tools/plugin.h"
#include "tools/sequenza.h"
#include "tools/uscita.h"

#include <exception>
#include <filesystem>
#include <new>
#include <string>
#include <system_error>
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

void opzioni_lettura(CLI::App& app, Comuni& c)
{
    app.add_option("--part", c.scelta.parte, "Part of a multi-part EXR, by number from 0 or name");
    app.add_option("--layer", c.scelta.strato, "Layer of an EXR, or one channel alone, as grey");
}

void opzioni_scrittura(CLI::App& app, Comuni& c)
{
    app.add_option("--depth", c.scrittura.profondita,
                   "half, float, uint16, uint10 or uint8, as the format has it");
    app.add_option("--compression", c.scrittura.compressione,
                   "zip, piz, dwaa:45, lzw, jpeg:90 ...; zip:1 to zip:9 with a level");
    app.add_flag("--overwrite", c.scrittura.sovrascrivi, "Replace outputs that exist");
}

namespace {

struct Comando {
    const char* nome;
    const char* inglese;
    Esecuzione (*aggiungi)(CLI::App&);
    const char* esempi;
};

// clang-format off
constexpr Comando COMANDI[] = {
    {"parametri", "parameters", comando_parametri,
     "  provino parametri --json\n"},
    {"sviluppa",  "develop",    comando_sviluppa,
     "  provino sviluppa scene.exr print.png -p formato=\"Sony S-Log3\" -p look=Amber\n"
     "  provino sviluppa 'shot.####.dpx' 'out.####.exr' --frames 1001-1048 -p promist_on=on -p promist=1/4\n"
     "  provino sviluppa still.tif 'out.####.png' --frames 1-48 --key ev@1=0 --key ev@48=1\n"
     "  provino sviluppa b.dpx b.exr --settings-from a.exr\n"},
    {"looks",     nullptr,      comando_looks,
     "  provino looks scene.exr looks.jpg -p formato=\"Sony S-Log3\"\n"},
    {"effetti",   "effects",    comando_effetti,
     "  provino effetti scene.exr effects.png -p formato=\"Sony S-Log3\"\n"},
    {"tavola",    "scene",      comando_tavola,
     "  provino tavola scene.exr --size 3840x2160\n"},
    {"lut",       nullptr,      comando_lut,
     "  provino lut amber.cube --size 65 -p formato=\"Sony S-Log3\" -p look=Amber\n"},
    {"confronta", "compare",    comando_confronta,
     "  provino confronta a.exr b.exr --limit 0.001 --split ab.png\n"
     "  provino confronta 'a.####.exr' 'b.####.exr' --difference 'd.####.png' --gain 20\n"},
    {"misura",    "measure",    comando_misura,
     "  provino misura --size 3840x2160 -p look=Amber\n"},
};
// clang-format on

std::vector<std::string> comandi_e_opzioni(const CLI::App& app)
{
    std::vector<std::string> nomi;
    for (const CLI::Option* o : app.get_options())
        for (const std::string& n : o->get_lnames())
            nomi.push_back("--" + n);
    for (const CLI::App* s : app.get_subcommands([](const CLI::App*) { return true; })) {
        nomi.push_back(s->get_name());
        nomi.insert(nomi.end(), s->get_aliases().begin(), s->get_aliases().end());
    }
    return nomi;
}

const CLI::App* comando(const CLI::App& app, const std::string& nome)
{
    const auto trovati =
        app.get_subcommands([&](const CLI::App* s) { return s->check_name(nome); });
    return trovati.empty() ? nullptr : trovati.front();
}

// What may follow the words behind the program's name, one a line, for the shell to complete: a
// command, an option of it, a parameter, a value. Files are the shell's own affair.
void completa(const CLI::App& app, const std::vector<std::string>& parole)
{
    const CLI::App* scelto = parole.empty() ? nullptr : comando(app, parole.front());
    if (scelto == nullptr || (parole.back() != "-p" && parole.back() != "--param")) {
        for (const std::string& n : comandi_e_opzioni(scelto != nullptr ? *scelto : app))
            riga(n);
        return;
    }
    for (const banco::Parametro& p : carica_plugin({}).parametri) {
        riga(p.nome + "=");
        for (const std::string& o : p.opzioni)
            riga(p.nome + "=" + o);
    }
}

// What to write in place of the words that were not expected.
std::string rimedio(const CLI::App& app, const std::vector<std::string>& resto)
{
    const std::string& parola = resto.front();
    std::error_code e;
    if (parola.find('=') != std::string::npos && parola.front() != '-')
        return ": give -p before each, as in -p " + parola;
    for (const std::string& file : resto)
        if (const auto n = numero_in(file); n && std::filesystem::exists(file, e)) {
            const std::filesystem::path p(file);
            const std::string radice = p.stem().string();
            const std::size_t fine = radice.find_last_not_of("0123456789") + 1;
            const std::string modello = radice.substr(0, fine) +
                                        std::string(radice.size() - fine, '#') +
                                        p.extension().string();
            return ": give a sequence in quotes, as " +
                   tra_apici((p.parent_path() / modello).string());
        }
    const std::string vicino = proposta(parola, comandi_e_opzioni(app));
    if (parola.starts_with("--"))
        try {
            const Plugin plugin = carica_plugin({});
            const std::string nome = trova_parametro(plugin, parola.substr(2)).nome;
            return "; did you mean '-p " + nome + "=" + (resto.size() > 1 ? resto[1] : "...") +
                   "'?";
        } catch (const Errore&) {  // no parameter either
        }
    return vicino;
}

int esegui(int argc, char** argv)
{
    CLI::App app("provino: develops pictures with the Varno Color plug-in, on the command line.",
                 "provino");
    app.set_version_flag(
        "--version", [] { return "provino " PROVINO_VERSIONE "\nplug-in " + file_del_plugin(); });
    app.require_subcommand(1);
    app.get_formatter()->column_width(34);
    app.footer("Examples:\n"
               "  provino tavola scene.exr\n"
               "  provino sviluppa scene.exr print.png -p formato=\"Sony S-Log3\" -p look=Amber\n"
               "  provino sviluppa 'shot.####.dpx' 'out.####.exr' --frames 1001-1048\n"
               "  provino looks scene.exr looks.jpg -p formato=0\n"
               "  provino lut --size 65 amber.cube -p formato=0 -p look=Amber\n"
               "Exit codes: 0 done, 1 failed, 2 wrong usage, 3 the plug-in cannot be loaded.");

    std::vector<std::pair<const char*, Esecuzione>> comandi;
    for (const Comando& c : COMANDI) {
        comandi.emplace_back(c.nome, c.aggiungi(app));
        CLI::App* questo = app.get_subcommand(c.nome);
        questo->footer(std::string("Examples:\n") + c.esempi);
        if (c.inglese != nullptr)
            questo->alias(c.inglese);
    }

    const CLI::App* scelto = &app;
    try {
        if (argc > 1 && std::string(argv[1]) == "--complete") {
            completa(app, {argv + 2, argv + argc});
            return FATTO;
        }
        if (argc > 1 && argv[1][0] != '-' && comando(app, argv[1]) == nullptr)
            rifiuta("there is no command " + tra_apici(argv[1]) +
                    proposta(argv[1], comandi_e_opzioni(app)) + " ('provino --help' lists them)");
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
            testo = tra_apici(resto.front()) + " was not expected" + rimedio(*scelto, resto);
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
