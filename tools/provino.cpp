// The command line: options, help, and which sub-command runs.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"
#include "tools/quadri/sorgente.h"
#include "tools/quadri/uscita.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <cmath>
#include <exception>
#include <filesystem>
#include <new>
#include <system_error>
#include <type_traits>
#include <variant>

namespace varno::provino {
namespace {

// Into the parser, by the kind of the value.
void aggiungi(CLI::App& app, const Opzione& o)
{
    const Limiti& l = o.limiti;
    const bool per_nome = o.nome[0] == '-';
    const auto posa = [&](auto* dove) {
        using Valore = std::decay_t<decltype(*dove)>;
        CLI::Option* voce = nullptr;
        if constexpr (std::is_same_v<Valore, bool>)
            voce = app.add_flag(o.nome, *dove, o.aiuto);
        else
            voce = app.add_option(o.nome, *dove, o.aiuto);
        if (std::is_same_v<Valore, std::vector<std::string>> && per_nome)
            voce->type_size(1)->allow_extra_args(false);  // a list swallows file names behind it
        if constexpr (std::is_same_v<Valore, int> || std::is_same_v<Valore, double>)
            if (l.minimo < l.massimo && std::isfinite(l.massimo))
                voce->check(
                    CLI::Range(static_cast<Valore>(l.minimo), static_cast<Valore>(l.massimo)));
        voce->required(!per_nome);
        return voce;
    };
    CLI::Option* voce = std::visit(posa, o.dove);
    if (std::isinf(l.massimo))
        voce->check([](const std::string& testo) {
            double v = 0.0;
            return leggi_numero(testo, v) && v >= 0.0
                       ? ""
                       : "it takes 0 or a larger number, not " + testo;
        });
    if (!l.valori.empty())
        voce->check(CLI::IsMember(l.valori));
    if (l.detto)
        voce->capture_default_str();
    if (l.esclude != nullptr)
        voce->excludes(app.get_option(l.esclude));
}

std::vector<std::string> comandi_e_opzioni(const CLI::App& app)
{
    std::vector<std::string> nomi;
    for (const CLI::Option* o : app.get_options())
        for (const std::string& n : o->get_lnames())
            nomi.push_back("--" + n);
    for (const CLI::App* s : app.get_subcommands({})) {
        nomi.push_back(s->get_name());
        nomi.insert(nomi.end(), s->get_aliases().begin(), s->get_aliases().end());
    }
    return nomi;
}

const CLI::App* comando(const CLI::App& app, const std::string& nome)
{
    for (const CLI::App* s : app.get_subcommands({}))
        if (s->check_name(nome))
            return s;
    return nullptr;
}

// What may follow the words behind the program's name, one a line, for the shell to complete: a
// command, an option of it, a parameter, a value. Files are the shell's own affair.
void completa(const CLI::App& app, const std::vector<Sottocomando>& comandi,
              const std::vector<std::string>& parole)
{
    const CLI::App* scelto = parole.empty() ? nullptr : comando(app, parole.front());
    std::vector<std::string> seguono = comandi_e_opzioni(scelto != nullptr ? *scelto : app);
    if (scelto != nullptr && (parole.back() == "-p" || parole.back() == "--param")) {
        seguono.clear();
        for (const banco::Parametro& p : carica_plugin({}).parametri) {
            seguono.push_back(p.nome + "=");
            for (const std::string& o : p.opzioni)
                seguono.push_back(p.nome + "=" + o);
        }
    }
    for (const Sottocomando& c : comandi)
        for (const auto& [nome, dove, aiuto, limiti] : c.opzioni)
            if (scelto != nullptr && scelto->check_name(c.nome) && parole.back() == nome)
                for (const auto* valori : {&limiti.valori, &limiti.proposte})
                    if (!valori->empty())
                        seguono = *valori;
    std::ranges::for_each(seguono, riga);
}

// What to write in place of the words that were not expected.
std::string rimedio(const CLI::App& app, const std::vector<std::string>& resto)
{
    const std::string& parola = resto.front();
    std::error_code e;
    if (parola.find('=') != std::string::npos && parola.front() != '-')
        return ": give -p before each, as in -p " + parola;
    for (std::string file : resto)
        if (numero_in(file) && std::filesystem::exists(file, e)) {
            auto c = file.end() - std::ssize(std::filesystem::path(file).extension().string());
            while (c != file.begin() && std::isdigit(static_cast<unsigned char>(c[-1])))
                *--c = '#';
            return ": give a sequence in quotes, as " + tra_apici(file);
        }
    std::string vicina = proposta(parola, comandi_e_opzioni(app));
    if (!vicina.empty() || !parola.starts_with("--"))
        return vicina;
    for (const CLI::App* s : app.get_parent()->get_subcommands({}))
        if (s->get_option_no_throw(parola) != nullptr)
            return ": it is for provino " + s->get_name();
    const std::string valore = resto.size() > 1 ? resto[1] : "...";
    return "; a parameter is given as " +
           tra_apici("-p " + parola.substr(2) +
                     (parola.find('=') == parola.npos ? "=" + valore : ""));
}

// Runs what the words say; where they say nothing that can be, an Errore tells the way out.
void analizza(CLI::App& app, const std::vector<std::string>& parole)
{
    const auto scelto = [&app] {
        return app.get_subcommands().empty() ? &app : app.get_subcommands().front();
    };
    const auto rimanda = [&](const std::string& testo) {
        rifiuta("%s ('provino %s--help' tells more)", testo,
                scelto() == &app ? "" : scelto()->get_name() + " ");
    };
    const auto inattese = [&](std::vector<std::string> resto) {
        const auto segue = std::ranges::find(parole, resto.front());
        if (resto.size() == 1 && resto[0].starts_with("--") && std::end(parole) - segue > 1)
            resto.push_back(segue[1]);
        rimanda(tra_apici(resto.front()) + " was not expected" + rimedio(*scelto(), resto));
    };
    try {
        app.parse(std::vector<std::string>(parole.rbegin(), parole.rend()));
    } catch (const Inattese& e) {
        inattese(e.parole);
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0)
            app.exit(e);  // help and version
        else if (!scelto()->remaining().empty())
            inattese(scelto()->remaining());
        else
            rimanda(parole.empty() ? "give a command, such as sviluppa" : in_una_riga(e.what()));
    }
}

void esegui(std::vector<std::string> parole)
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

    const std::vector<Sottocomando> comandi = {
        comando_parametri(), comando_sviluppa(), comando_looks(),
        comando_effetti(),   comando_tavola(),   comando_lut(),
        comando_confronta(), comando_misura(),   comando_guarda()};
    for (const Sottocomando& c : comandi) {
        CLI::App* questo = app.add_subcommand(c.nome, c.aiuto);
        for (const Opzione& o : c.opzioni)
            aggiungi(*questo, o);
        questo->footer(std::string("Examples:\n") + c.esempi);
        questo->callback(c.fai);
        if (c.inglese != nullptr)
            questo->alias(c.inglese);
    }

    if (!parole.empty() && parole.front() == "help") {
        std::erase(parole, "help");
        parole.emplace_back("--help");
    }
    const std::string prima = parole.empty() ? "" : parole.front();
    if (prima == "--complete")
        return completa(app, comandi, {parole.begin() + 1, parole.end()});
    if (!prima.empty() && prima[0] != '-' && comando(app, prima) == nullptr)
        rifiuta("there is no command '%s'%s ('provino --help' lists them)", prima,
                proposta(prima, comandi_e_opzioni(app)));
    analizza(app, parole);
}

}  // namespace
}  // namespace varno::provino

int main(int argc, char** argv)
{
    using namespace varno::provino;
    apri_messaggi();
    prepara_segnali();
    try {
        esegui({argv + 1, argv + argc});
        return FATTO;
    } catch (const Errore& e) {
        if (!e.testo.empty())  // else it was told already
            errore(e.testo);
        return e.uscita;
    } catch (const std::bad_alloc&) {
        errore("there is not enough memory for this picture");
    } catch (const std::exception& e) {
        errore("failed: " + in_una_riga(e.what()));
    }
    return FALLITO;
}
