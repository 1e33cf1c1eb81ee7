#pragma once

// A host that allocates nothing while the plug-in works and checks nothing but itself: allocations
// counted during an action are the plug-in's own, and a million frames take minutes. What a strict
// host sees of the calls is the bench host's matter.

#include "ofx/ofx.h"

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <vector>

struct OfxParamStruct {
    bool numero = false;  // a double, else an int
    double v = 0.0;
    int i = 0;
};

namespace varno::ospite {

constexpr int MASSIMO_PARAMETRI = 64;

/// One image as the plug-in is told of it: dati is the first pixel of limiti.
struct Immagine {
    void* dati = nullptr;
    int byte_riga = 0;
    int limiti[4] = {0, 0, 0, 0};
    bool manca = false;  // clipGetImage fails
};

}  // namespace varno::ospite

struct OfxPropertySetStruct {
    enum Genere { descrittore, parametro, argomenti, sorgente, uscita };
    Genere genere = descrittore;
    OfxImageEffectStruct* effetto = nullptr;
    int indice = 0;              // of a parameter
    const char* nome = nullptr;  // of an argument: OfxPropName
    double tempo = 0.0;          // of an argument
    int finestra[4] = {0, 0, 0, 0};
};

struct OfxImageEffectStruct {
    OfxParamStruct parametri[varno::ospite::MASSIMO_PARAMETRI];
    varno::ospite::Immagine sorgente, uscita;
    OfxPropertySetStruct props_sorgente, props_uscita, props;
    std::atomic<int> prese{0};       // images handed out
    std::atomic<int> rilasciate{0};  // and given back
};

namespace varno::ospite {

using Istanza = OfxImageEffectStruct;

/// The plug-in of a module file: dlopen and OfxGetPlugin. Prints the reason and exits where that
/// fails. modulo gets the handle for dlclose, where it is not null.
OfxPlugin* apri(const char* percorso, void** modulo = nullptr);

/// setHost, Load, Describe and DescribeInContext; learns the parameters from it. False where an
/// action fails.
bool presenta(OfxPlugin* p);
/// Describe and DescribeInContext alone.
bool descrivi(OfxPlugin* p);

/// All parameters at the defaults of the description.
void predefiniti(Istanza& i);

int quanti_parametri();
const char* nome_parametro(int indice);
/// Index by name; exits for an unknown one.
int parametro(const char* nome);
/// Range of a double, number of options of a choice as its massimo + 1, 0..1 of a switch.
void intervallo(int indice, double& minimo, double& massimo);
bool e_numero(int indice);

/// Settings from a seed, each within its range: those of the table (grade) and those of the
/// effects.
void sorteggia_grado(Istanza& i, unsigned seme);
void sorteggia_effetti(Istanza& i, unsigned seme);

void imposta(Istanza& i, const char* nome, double valore);
void imposta(Istanza& i, int indice, double valore);

/// fetchSuite answers null for this name; null for none.
void suite_mancante(const char* nome);
/// Hands over the host's record, or null.
void dai_host(OfxPlugin* p, bool nullo = false);

int azione(OfxPlugin* p, const char* nome, Istanza* i = nullptr);
/// InstanceChanged; a null name is left out.
int cambiato(OfxPlugin* p, Istanza& i, const char* nome);
/// The render action.
int rendi(OfxPlugin* p, Istanza& i, double tempo, const int (&finestra)[4]);

/// A picture of its own: RGBA, no padding, bounds from 0.
struct Quadro {
    Quadro(int larghezza, int altezza);
    int larghezza, altezza;
    std::vector<float> rgba;
};
Immagine immagine(Quadro& q);

/// Numbers that are the same on every machine.
struct Caso {
    std::uint32_t stato;
    std::uint32_t prossimo();
    unsigned fino_a(unsigned massimo);  // 0 .. massimo
    float uno();                        // 0 .. 1
};

/// A picture of smooth gradients, lamps far above white, fine texture and a few odd values, the
/// same on every machine.
void disegna(Quadro& q, unsigned seme = 0);

/// One frame of the whole of a picture into another of its size. Returns the status.
int rendi(OfxPlugin* p, Istanza& i, double tempo, Quadro& da, Quadro& a);

/// 64-bit FNV-1a over the samples' bits; every not-a-number counts as the same.
std::uint64_t somma(const Quadro& q, std::uint64_t s = 14695981039346656037ull);

}  // namespace varno::ospite
