// The command line: options, help, and which sub-command runs.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"
#include "tools/quadri/sequenza.h"
#include "tools/quadri/uscita.h"

#include <CLI/CLI.hpp>

#include <algorithm>
#include <cctype>
#include <exception>
#include <new>
#include <system_error>
#include <thread>
#include <vector>

namespace varno::provino {

namespace {

// --- Options -------------------------------------------------------------------------------------

void opzione_plugin(CLI::App& app, Opzioni& o)
{
    app.add_option("--plugin", o.plugin, "The plug-in: a bundle, its folder or an .ofx file");
}

void opzioni_parametri(CLI::App& app, Opzioni& o)
{
    opzione_plugin(app, o);
    // One text each: a list would swallow the file names behind it.
    const auto testi = [&](const char* nome, std::vector<std::string>& dove, const char* aiuto) {
        app.add_option(nome, dove, aiuto)->type_size(1)->allow_extra_args(false);
    };
    testi("-p,--param", o.parametri.valori,
          "name=value; a look loads its recipe, as in a host, and what follows overrides it");
    testi("--key", o.parametri.chiavi, "name@time=value; numbers are drawn linearly between keys");
    app.add_option("--settings", o.parametri.da_file, "Settings as --save-settings wrote them");
    app.add_option("--settings-from", o.parametri.da_foto,
                   "A picture that provino developed, for its settings");
}

void opzioni_filmato(CLI::App& app, Opzioni& o)
{
    app.add_option("--matrix", o.colori.matrice, "709, 601 or 2020: of a movie, whatever it tells");
    app.add_option("--range", o.colori.gamma, "legal or full: of a movie, whatever it tells")
        ->check(CLI::IsMember({"legal", "full"}));
}

void opzione_sostituisci(CLI::App& app, Opzioni& o)
{
    app.add_flag("--overwrite", o.scrittura.sovrascrivi, "Replace outputs that exist");
}

void opzioni_scrittura(CLI::App& app, Opzioni& o)
{
    app.add_option("--depth", o.scrittura.profondita,
                   "half, float, uint16, uint10 or uint8, as the format has it");
    app.add_option("--compression", o.scrittura.compressione,
                   "zip, piz, dwaa:45, lzw, jpeg:90 ...; zip:1 to zip:9 with a level");
    opzione_sostituisci(app, o);
}

void opzioni_di_un_passaggio(CLI::App& app, Opzioni& o)
{
    opzioni_parametri(app, o);
    app.add_option("--part", o.scelta.parte, "Part of a multi-part EXR, by number from 0 or name");
    app.add_option("--layer", o.scelta.strato, "Layer of an EXR, or one channel alone, as grey");
    opzioni_scrittura(app, o);
}

void di_parametri(CLI::App& app, Opzioni& o)
{
    opzione_plugin(app, o);
    app.add_flag("--json", o.json, "As JSON");
}

void di_sviluppa(CLI::App& app, Opzioni& o)
{
    // One reads or writes while another develops, which uses all cores by itself.
    o.lavori = static_cast<int>(std::clamp(std::thread::hardware_concurrency(), 2u, 4u));
    app.add_option("IN", o.ingresso,
                   "EXR, DPX, TIFF, PNG or JPEG; shot.####.exr, %04d or @@@@ for a sequence; "
                   "a movie as ffmpeg reads it")
        ->required();
    app.add_option("OUT", o.uscita, "Picture or movie to write; its ending names the format")
        ->required();
    app.add_option("--frames", o.fotogrammi,
                   "1-10,20-30x2: these frames; without it all that exist");
    app.add_option("--start", o.inizio, "Number, and so the time, of a movie's first frame (1)");
    app.add_option("--rate", o.cadenza, "Frames a second of a sequence that becomes a movie");
    app.add_option("--codec", o.codec,
                   "Of a movie: prores (.mov), h264 (.mp4), ffv1 (.mkv, RGB of 16 bits), "
                   "prores4444, dnxhr, h265, or an encoder of ffmpeg's, NAME or NAME:PIXELFORMAT");
    app.add_option("--quality", o.qualita,
                   "Of a movie: -crf where the encoder has it, as h264 and h265, else -q:v");
    opzioni_filmato(app, o);
    app.add_option("--time", o.tempo,
                   "Render time of a single picture, in place of the number that its name ends in");
    app.add_option("--jobs", o.lavori, "Frames under way at once, each on an instance of its own")
        ->capture_default_str()
        ->check(CLI::Range(1, 64));
    app.add_flag("--skip-existing", o.salta, "Leave frames whose output exists");
    app.add_flag("--continue-on-error", o.continua,
                 "Go on after a failed frame; failed ones are listed at the end");
    app.add_option("--save-settings", o.salva, "Write all parameters and keys as JSON");
    app.add_flag("--quiet", o.muto, "Tell nothing but errors");
    app.add_flag("--json", o.json, "Tell progress as lines of JSON");
    opzioni_di_un_passaggio(app, o);
}

void di_looks(CLI::App& app, Opzioni& o)
{
    app.add_option("IN", o.ingresso, "Picture or movie to read")->required();
    app.add_option("OUT", o.uscita, "Sheet to write")->required();
    app.add_option("--width", o.larghezza, "Width of the sheet in pixels")
        ->capture_default_str()
        ->check(CLI::Range(200, 65536));
    app.add_option("--crop", o.ritaglio, "WIDTHxHEIGHT+X+Y: show this part of each picture");
    app.add_option("--frame", o.fotogramma, "Frame of a movie, and its render time; the first is 1")
        ->check(CLI::Range(1, 1000000000));
    opzioni_filmato(app, o);
    app.add_option("--time", o.tempo, "Render time");
    opzioni_di_un_passaggio(app, o);
}

void di_effetti(CLI::App& app, Opzioni& o)
{
    di_looks(app, o);
    app.add_option("--amount", o.quantita, "Amount of each effect, held to its range")
        ->capture_default_str()
        ->check(CLI::Range(0.0, 1.0));
}

void di_tavola(CLI::App& app, Opzioni& o)
{
    app.add_option("OUT", o.uscita, "Picture to write")->required();
    app.add_option("--size", o.misura, "WIDTHxHEIGHT")->capture_default_str();
    opzioni_scrittura(app, o);
}

void di_lut(CLI::App& app, Opzioni& o)
{
    app.add_option("OUT", o.uscita, "The .cube file to write")->required();
    app.add_option("--size", o.lato,
                   "Points an axis: 17, 32, 33, 64, 65 or 81; 81 are the plug-in's own")
        ->check(CLI::IsMember({17, 32, 33, 64, 65, 81}));
    app.add_option("--time", o.tempo, "Time at which keyed settings are read");
    opzione_sostituisci(app, o);
    opzioni_parametri(app, o);
}

void di_confronta(CLI::App& app, Opzioni& o)
{
    const CLI::Validator positivo(
        [](std::string& testo) {
            double v = 0.0;
            return leggi_numero(testo, v) && v >= 0.0
                       ? ""
                       : "it takes 0 or a larger number, not " + testo;
        },
        "");
    app.add_option("A", o.ingresso, "One picture, shot.####.exr, or a movie")->required();
    app.add_option("B", o.altro, "The other, of the same size")->required();
    app.add_option("--limit", o.limite, "Largest difference that passes; 0 wants equal values")
        ->check(positivo);
    app.add_option("--split", o.affiancati, "Write A left and B right of a divider");
    app.add_option("--difference", o.differenza, "Write how far they are apart");
    app.add_option("--gain", o.guadagno, "Times that --difference is scaled")->check(positivo);
    opzioni_filmato(app, o);
    opzione_sostituisci(app, o);
    app.add_flag("--json", o.json, "For machines");
}

void di_misura(CLI::App& app, Opzioni& o)
{
    app.add_option("--size", o.misura, "WIDTHxHEIGHT");
    app.add_option("--rounds", o.giri, "Frames a figure, whose median is told")
        ->check(CLI::Range(1, 1000));
    auto* csv = app.add_flag("--csv", o.csv, "name,milliseconds");
    app.add_flag("--json", o.json, "For machines")->excludes(csv);
    opzioni_parametri(app, o);
}

// --- Sub-commands --------------------------------------------------------------------------------

struct Comando {
    const char* nome;
    const char* inglese;
    const char* aiuto;
    const char* esempi;
    void (*opzioni)(CLI::App&, Opzioni&);
    void (*fai)(const Opzioni&);
};

// clang-format off
constexpr Comando COMANDI[] = {
    {"parametri", "parameters", "List the plug-in's parameters as it declares them",
     "  provino parametri --json\n",
     di_parametri, comando_parametri},
    {"sviluppa", "develop", "Develop a movie, a picture or a sequence",
     "  provino sviluppa scene.exr print.png -p formato=\"Sony S-Log3\" -p look=Amber\n"
     "  provino sviluppa 'shot.####.dpx' 'out.####.exr' --frames 1001-1048 -p promist_on=on -p promist=1/4\n"
     "  provino sviluppa still.tif 'out.####.png' --frames 1-48 --key ev@1=0 --key ev@48=1\n"
     "  provino sviluppa b.dpx b.exr --settings-from a.exr\n",
     di_sviluppa, comando_sviluppa},
    {"looks", nullptr, "Draw a sheet of the neutral picture and all looks, each with its recipe",
     "  provino looks scene.exr looks.jpg -p formato=\"Sony S-Log3\"\n",
     di_looks, comando_looks},
    {"effetti", "effects", "Draw a sheet of the twelve effects, each beside the picture without it",
     "  provino effetti scene.exr effects.png -p formato=\"Sony S-Log3\"\n",
     di_effetti, comando_effetti},
    {"tavola", "scene", "Draw a test scene as S-Log3 / S-Gamut3.Cine code values",
     "  provino tavola scene.exr --size 3840x2160\n",
     di_tavola, comando_tavola},
    {"lut", nullptr, "Write the grade, without effects, as a .cube",
     "  provino lut amber.cube --size 65 -p formato=\"Sony S-Log3\" -p look=Amber\n",
     di_lut, comando_lut},
    {"confronta", "compare", "Compare two pictures, sequences or movies; exit code 1 where they differ",
     "  provino confronta a.exr b.exr --limit 0.001 --split ab.png\n"
     "  provino confronta 'a.####.exr' 'b.####.exr' --difference 'd.####.png' --gain 20\n",
     di_confronta, comando_confronta},
    {"misura", "measure", "Measure milliseconds a frame, through the plug-in",
     "  provino misura --size 3840x2160 -p look=Amber\n",
     di_misura, comando_misura},
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
    for (std::string file : resto)
        if (numero_in(file) && std::filesystem::exists(file, e)) {
            auto c = file.end() - std::ssize(std::filesystem::path(file).extension().string());
            while (c != file.begin() && std::isdigit(static_cast<unsigned char>(c[-1])))
                *--c = '#';
            return ": give a sequence in quotes, as " + tra_apici(file);
        }
    if (parola.starts_with("--"))
        try {
            const Plugin plugin = carica_plugin({});
            const std::string nome = trova_parametro(plugin, parola.substr(2)).nome;
            return "; did you mean '-p " + nome + "=" + (resto.size() > 1 ? resto[1] : "...") +
                   "'?";
        } catch (const Errore&) {  // no parameter either
        }
    return proposta(parola, comandi_e_opzioni(app));
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

    Opzioni opzioni;
    for (const Comando& c : COMANDI) {
        CLI::App* questo = app.add_subcommand(c.nome, c.aiuto);
        c.opzioni(*questo, opzioni);
        questo->footer(std::string("Examples:\n") + c.esempi);
        questo->callback([&opzioni, fai = c.fai] { fai(opzioni); });
        if (c.inglese != nullptr)
            questo->alias(c.inglese);
    }

    try {
        if (argc > 1 && std::string(argv[1]) == "--complete") {
            completa(app, {argv + 2, argv + argc});
            return FATTO;
        }
        if (argc > 1 && argv[1][0] != '-' && comando(app, argv[1]) == nullptr)
            rifiuta("there is no command " + tra_apici(argv[1]) +
                    proposta(argv[1], comandi_e_opzioni(app)) + " ('provino --help' lists them)");
        app.parse(argc, argv);
        return FATTO;
    } catch (const CLI::ParseError& e) {
        if (e.get_exit_code() == 0)
            return app.exit(e);  // help and version
        const auto scelti = app.get_subcommands();
        const CLI::App& scelto = scelti.empty() ? app : *scelti.front();
        std::string testo = in_una_riga(e.what());
        if (const auto resto = scelto.remaining(); !resto.empty())
            testo = tra_apici(resto.front()) + " was not expected" + rimedio(scelto, resto);
        if (argc < 2)
            testo = "give a command, such as sviluppa";
        errore(testo + " ('provino " + (scelti.empty() ? "" : scelto.get_name() + " ") +
               "--help' tells more)");
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
