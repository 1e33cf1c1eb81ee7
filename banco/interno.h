#pragma once

// What the files of the bench host share: objects behind handles, and the action under way.

#include "banco/banco.h"
#include "ofx/ofx.h"

#include <cstdint>
#include <mutex>
#include <optional>
#include <unordered_map>
#include <variant>

namespace varno::banco {

// --- Property sets -------------------------------------------------------------------------------

enum class Tipo { intero, numero, testo, puntatore };
using Valore = std::variant<int, double, std::string, void*>;  // in the order of Tipo

struct Proprieta {
    Tipo tipo = Tipo::intero;
    int dimensione = 1;       // 0: any number of values
    bool scrivibile = false;  // by the plug-in
    bool assente = false;     // left out on purpose: no violation to ask for it
    std::vector<Valore> valori;
};

struct Insieme {
    std::string nome;  // as the log tells it
    std::map<std::string, Proprieta, std::less<>> proprieta;
};

/// Adds or replaces a property with its values.
void metti(Insieme& s, const std::string& nome, Tipo tipo, std::vector<Valore> valori,
           bool scrivibile = false, int dimensione = -1);

Insieme proprieta_host();
Insieme proprieta_effetto();
Insieme proprieta_clip(const std::string& nome);
Insieme proprieta_parametro(const std::string& nome, const std::string& tipo);
/// A descriptor's set as it stands on an instance: what stays writable there.
Insieme proprieta_su_istanza(const Insieme& descrittore);

/// Status of a write, and the reason in words where it is refused.
int scrivi_proprieta(Insieme& s, const char* nome, int indice, const Valore& v,
                     std::string& perche);
/// Status of a read; where it is OK, uscita points to the value.
int leggi_proprieta(const Insieme& s, const char* nome, int indice, Tipo tipo,
                    const Valore*& uscita, std::string& perche);

std::string testo_di(const Valore& v);
int intero(const Insieme& s, std::string_view nome);
double numero(const Insieme& s, std::string_view nome);
std::string stringa(const Insieme& s, std::string_view nome);
std::vector<std::string> stringhe(const Insieme& s, std::string_view nome);

// --- Handles -------------------------------------------------------------------------------------

enum class Cosa { effetto, insieme, immagine, parametri, parametro, clip };

struct Oggetto {
    Cosa cosa;
    void* dove;
};

/// The handles that are good in one module, context or instance. A handle is a number that is never
/// given out twice, so that a stale or foreign one is always found out and never followed.
struct Ambiente {
    std::unordered_map<std::uintptr_t, Oggetto> oggetti;
};

std::uintptr_t nuova_maniglia(Ambiente& a, Cosa cosa, void* dove);

template <class Maniglia> Maniglia come(std::uintptr_t m)
{
    return reinterpret_cast<Maniglia>(m);  // never followed
}

// --- What a module and an instance are -----------------------------------------------------------

struct ParametroDescritto {
    std::string nome, tipo;
    Insieme props;
    std::uintptr_t maniglia = 0, maniglia_props = 0;
};

struct ClipDescritto {
    std::string nome;
    Insieme props;
    std::uintptr_t maniglia_props = 0;
};

/// One context of the plug-in, or what Describe alone describes.
struct Descrittore {
    Ambiente ambiente;
    Insieme props;
    std::uintptr_t maniglia = 0, maniglia_props = 0, maniglia_parametri = 0;
    std::vector<std::unique_ptr<ParametroDescritto>> parametri;
    std::vector<std::unique_ptr<ClipDescritto>> clip;
};

struct Modulo {
    std::filesystem::path binario;
    void* libreria = nullptr;
    int (*quanti)() = nullptr;
    OfxPlugin* (*dammi)(int) = nullptr;
    OfxPlugin* plugin = nullptr;
    std::mutex mutex;
    OfxHost host{};
    Insieme props_host;
    Registro registro;
    std::vector<std::string> mancanti;
    Ambiente ambiente;                  // the host's own properties
    std::unique_ptr<Descrittore> base;  // what Describe fills
    bool caricato = false;
    std::map<std::string, std::unique_ptr<Descrittore>> contesti;
};

struct ParametroIstanza {
    std::string nome, tipo;
    Insieme props;
    std::uintptr_t maniglia = 0, maniglia_props = 0;
    double valore = 0.0;
    std::vector<std::pair<double, double>> chiavi;  // by time
    std::function<double(double)> funzione;
};

struct ClipIstanza {
    std::string nome;
    Insieme props;
    std::uintptr_t maniglia = 0, maniglia_props = 0;
};

struct Istanza {
    Modulo* modulo = nullptr;
    mutable std::mutex mutex;
    Registro registro;
    Ambiente ambiente;
    Insieme props;
    std::uintptr_t maniglia = 0, maniglia_props = 0, maniglia_parametri = 0;
    std::vector<std::unique_ptr<ParametroIstanza>> parametri;
    std::vector<std::unique_ptr<ClipIstanza>> clip;
    bool creata = false;
    double tempo = 0.0;  // of the render under way
    const Figura* sorgente = nullptr;
    const Figura* uscita = nullptr;
};

ParametroIstanza* trova(const Istanza& i, std::string_view nome);
double valore_di(const ParametroIstanza& p, const double* tempo);
bool e_intero(const std::string& tipo);

// --- The action under way ------------------------------------------------------------------------

struct ImmagineAperta {
    std::string clip;
    Insieme props;
    std::uintptr_t maniglia = 0;
    bool rilasciata = false;
};

/// One action on this thread, from before the plug-in is called until it has returned or thrown.
struct Atto {
    Atto(const char* nome, Modulo& m, Registro& r, Ambiente& a, Descrittore* d, Istanza* i);
    ~Atto();
    Atto(const Atto&) = delete;
    Atto& operator=(const Atto&) = delete;

    /// Lends a property set to the action under the given name.
    OfxPropertySetHandle presta(Insieme& s);
    int chiama(std::uintptr_t handle, OfxPropertySetHandle in, OfxPropertySetHandle out);

    std::string nome;
    Modulo& modulo;
    Registro& registro;
    Ambiente& ambiente;
    Descrittore* descrittore;
    Istanza* istanza;
    Atto* fuori;
    bool guasto = false;  // a call was made to fail: what then goes astray is the host's doing
    std::vector<std::unique_ptr<ImmagineAperta>> immagini;
    std::vector<std::uintptr_t> prestiti;
    bool dentro = false;  // mainEntry was called and has not returned
};

Atto* atto_corrente();

/// Tells nel_plugin() until it ends.
struct Lato {
    explicit Lato(bool plugin);
    ~Lato();
    Lato(const Lato&) = delete;
    Lato& operator=(const Lato&) = delete;
    bool prima;
};

/// The three actions of a change, nested where they come from within another action.
int notifica(Istanza& i, const char* nome, const char* motivo);

/// The suite of that name and version, or null.
const void* suite(const std::string& nome, int versione);

// --- One suite call ------------------------------------------------------------------------------

struct Voce {
    /// Writes the call down and ends the life of all texts handed out before.
    Voce(const char* funzione, std::string nome, int indice = -1, std::string valore = {});
    ~Voce();
    Voce(const Voce&) = delete;
    Voce& operator=(const Voce&) = delete;

    /// A fault takes this call; stato and resto say how.
    bool guasta();
    int esci(int esito);
    int viola(int esito, const std::string& perche);
    /// A violation only while no call of this action was made to fail before.
    int rifiuta(int esito, const std::string& perche);
    /// A handle that is not good here.
    int maniglia_cattiva(const void* h, const char* quale);

    Atto* atto;
    Chiamata c;
    std::size_t riga = 0;
    int stato = 0;
    Resto resto = Resto::intatto;
};

/// A text for the plug-in, good until the next suite call on this thread.
char* presta_testo(const std::string& t);

}  // namespace varno::banco
