#pragma once

// A strict OFX host for tests and tools: it loads the plug-in as hosts do, checks every call that
// the plug-in makes, writes them down, and fails those that it is told to fail.

#include "banco/tela.h"

#include <cstddef>
#include <filesystem>
#include <functional>
#include <map>
#include <memory>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

extern "C" {
struct OfxPlugin;
}

namespace varno::banco {

constexpr const char* FILTRO = "OfxImageEffectContextFilter";
constexpr const char* GENERALE = "OfxImageEffectContextGeneral";

// --- Finding -------------------------------------------------------------------------------------

/// A bundle that was met; binario is empty where it holds none for this system.
struct Trovato {
    std::filesystem::path bundle;
    std::filesystem::path binario;
};

/// The folders that hosts search: those of OFX_PLUGIN_PATH, then the system's.
std::vector<std::filesystem::path> cartelle_di_ricerca();

/// All bundles below the folders, sub-folders included, in their order and by name within one;
/// names with a leading '@' are skipped, folders that do not exist ignored.
std::vector<Trovato> cerca(const std::vector<std::filesystem::path>& cartelle);

/// The binary of a bundle for this system, or the path itself where it is no bundle. Empty where
/// the bundle holds none.
std::filesystem::path binario_di(const std::filesystem::path& bundle_o_binario);

/// The shortest text that reads back as the same number.
std::string testo_di(double v);

// --- What is written down, and what fails --------------------------------------------------------

/// One suite call of the plug-in.
struct Chiamata {
    std::string azione;    // the innermost action under way
    std::string funzione;  // member of the suite, or fetchSuite
    std::string nome;      // parameter, clip, suite; of a property "set.property"
    int indice = -1;       // of a property; -1 for none
    std::string tempo;     // of a value or an image at a time
    std::string valore;    // given or handed out; doubles so that they read back exactly
    int stato = 0;         // what the host answered
    int livello = 0;       // actions around this one: 1 for what a nested change calls
};

/// "function name[index] @time = value -> status", without the parts that do not apply; status 0 is
/// not told. A handle's value is "props" where its property set was asked for too.
std::string testo(const Chiamata& c);

/// What the outputs of a failing call hold afterwards; with status 0 the host hands out that.
enum class Resto { intatto, nullo, spazzatura };

/// Makes matching calls fail. Empty texts match all.
struct Guasto {
    std::string funzione = {};
    std::string nome = {};  // as in Chiamata
    std::string azione = {};
    int stato = 1;
    long dopo = 0;     // so many matching calls pass first
    long quante = -1;  // then so many fail; -1: all
    Resto resto = Resto::intatto;
};

/// What a module or an instance remembers of the plug-in's calls.
struct Registro {
    bool scrivi = true;  // off: calls are checked but not written down
    std::vector<Chiamata> chiamate;
    std::vector<std::string> violazioni;  // calls that a host may refuse or crash on, in words
    std::vector<Guasto> guasti;
    std::size_t immagini_aperte = 0;  // left unreleased when an exception passed
};

/// Calls that came while no action was under way on their thread, since this was last asked: always
/// violations.
std::vector<std::string> violazioni_senza_azione();

// --- The module ----------------------------------------------------------------------------------

/// A parameter as the plug-in describes it; a range only where it is a double.
struct Parametro {
    std::string nome, etichetta, hint;
    std::string tipo;  // "OfxParamTypeDouble", "OfxParamTypeBoolean", "OfxParamTypeChoice"
    std::vector<std::string> opzioni;
    double predefinito = 0.0;
    double minimo = 0.0, massimo = 0.0;
};

struct Modulo;
struct ChiudiModulo {
    void operator()(Modulo* m) const;
};
using ModuloPtr = std::unique_ptr<Modulo, ChiudiModulo>;

/// Opens a bundle or a binary and finds plug-in 0; nothing is told to it yet. Throws
/// std::runtime_error with the reason, in one line.
ModuloPtr apri(const std::filesystem::path& bundle_o_binario);

/// The same for a plug-in that is linked into this program.
ModuloPtr apri(OfxPlugin* collegato);

/// setHost, Load, Describe and DescribeInContext for both contexts. Throws std::runtime_error where
/// one of them fails.
ModuloPtr carica(ModuloPtr aperto);
ModuloPtr carica(const std::filesystem::path& bundle_o_binario);

/// Whether this thread is in the plug-in's code: called by an action and not in one of the host's
/// functions. Always false on threads of the plug-in's own.
bool nel_plugin();

/// The loaded record; its declaration is in ofx/ofx.h.
OfxPlugin* plugin(Modulo& m);
int numero_plugin(Modulo& m);
OfxPlugin* plugin_numero(Modulo& m, int n);
std::filesystem::path binario(const Modulo& m);

/// Hands the host over, or null.
void dai_host(Modulo& m, bool nullo = false);

/// fetchSuite answers null for these names from now on.
void suite_mancanti(Modulo& m, std::vector<std::string> nomi);

/// One action on the module: Load, Describe, Unload, any other name with a null handle. Exceptions
/// of the plug-in pass.
int azione(Modulo& m, const char* nome);
int descrivi_in_contesto(Modulo& m, const char* contesto);

Registro& registro(Modulo& m);

/// The parameters in the order of their definition; empty before that context was described.
std::vector<Parametro> parametri(const Modulo& m, const char* contesto = FILTRO);

// --- Instances -----------------------------------------------------------------------------------

// The functions below take the instance's own lock: several instances may be used at once from
// several threads, one instance from one at a time waits. The module must outlive its instances.
struct Istanza;
struct DistruggiIstanza {
    void operator()(Istanza* i) const;  // sends DestroyInstance where it was created
};
using IstanzaPtr = std::unique_ptr<Istanza, DistruggiIstanza>;

/// The host's side alone: parameters at their defaults, nothing told to the plug-in.
IstanzaPtr nuova_istanza(Modulo& m, const char* contesto = FILTRO);

/// nuova_istanza with saved values, then CreateInstance and GetClipPreferences. Throws
/// std::runtime_error where creation fails or a name is unknown.
IstanzaPtr crea_istanza(Modulo& m, const std::map<std::string, double>& valori = {},
                        const char* contesto = FILTRO);

/// Any action on the instance with no arguments: CreateInstance, DestroyInstance and so on.
int azione(Istanza& i, const char* nome);

/// Not locked: to be read and set while nothing runs on the instance.
Registro& registro(Istanza& i);

/// Sets a value (of a choice or switch: an int) and forgets keys; the plug-in is not told. Throws
/// std::out_of_range for an unknown name, as all that follow.
void imposta(Istanza& i, std::string_view nome, double valore);

/// imposta, then BeginInstanceChanged, InstanceChanged, EndInstanceChanged. Returns the status of
/// the second.
int cambia(Istanza& i, std::string_view nome, double valore,
           const char* motivo = "OfxChangeUserEdited");

/// The trio alone, for any name (unknown ones, clips); null leaves the name out.
int avvisa(Istanza& i, const char* nome, const char* motivo = "OfxChangeUserEdited");

/// Keys of time and value, any order: doubles are interpolated linearly, others held.
void imposta_chiavi(Istanza& i, std::string_view nome,
                    std::vector<std::pair<double, double>> chiavi);

/// The value at a time comes from the function, which must not use the instance.
void imposta_funzione(Istanza& i, std::string_view nome, std::function<double(double)> f);

/// As it is set, or what its keys and its function come to at a time.
double valore(const Istanza& i, std::string_view nome, const double* tempo = nullptr);
bool nascosto(const Istanza& i, std::string_view nome);

/// One frame as hosts ask for it: region of definition, region of interest, identity, begin,
/// render, end. Returns the status of the render. The window is not held to the bounds.
int rendi(Istanza& i, double tempo, const Rettangolo& finestra, const Figura& sorgente,
          const Figura& uscita);

/// The render action alone.
int rendi_solo(Istanza& i, double tempo, const Rettangolo& finestra, const Figura& sorgente,
               const Figura& uscita);

}  // namespace varno::banco
