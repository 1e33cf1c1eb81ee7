// Handles, actions under way, and what the plug-in did wrong.
#include "banco/interno.h"

#include <algorithm>
#include <atomic>
#include <list>
#include <utility>

namespace varno::banco {
namespace {

thread_local Atto* gAtto = nullptr;
thread_local bool gNelPlugin = false;
thread_local std::list<std::string> gPrestati;  // texts lent during the outermost action

// Relaxed: a counter that ordered the threads would hide the plug-in's own races from a sanitizer.
std::atomic<std::uintptr_t> gManiglie{0x10001};

std::mutex gMutexViolazioni;
std::vector<std::string> gViolazioni;

bool combacia(const std::string& regola, const std::string& testo)
{
    return regola.empty() || regola == testo;
}

}  // namespace

Atto* atto_corrente()
{
    return gAtto;
}

bool nel_plugin()
{
    return gNelPlugin;
}

Lato::Lato(bool plugin) : prima(std::exchange(gNelPlugin, plugin)) {}

Lato::~Lato()
{
    gNelPlugin = prima;
}

std::uintptr_t nuova_maniglia(Ambiente& a, Cosa cosa, void* dove)
{
    const std::uintptr_t m = gManiglie.fetch_add(2, std::memory_order_relaxed);
    a.oggetti.emplace(m, Oggetto{cosa, dove});
    return m;
}

std::vector<std::string> violazioni_senza_azione()
{
    const std::lock_guard<std::mutex> guardia(gMutexViolazioni);
    return std::exchange(gViolazioni, {});
}

std::string testo(const Chiamata& c)
{
    std::string t = c.funzione;
    if (!c.nome.empty())
        t.append(" ").append(c.nome);
    if (c.indice >= 0)
        t.append("[").append(std::to_string(c.indice)).append("]");
    if (!c.tempo.empty())
        t.append(" @").append(c.tempo);
    if (!c.valore.empty())
        t.append(" = ").append(c.valore);
    if (c.stato != kOfxStatOK)
        t.append(" -> ").append(std::to_string(c.stato));
    return t;
}

// --- The action ----------------------------------------------------------------------------------

Atto::Atto(const char* n, Modulo& m, Registro& r, Ambiente& a, Descrittore* d, Istanza* i)
    : nome(n), modulo(m), registro(r), ambiente(a), descrittore(d), istanza(i), fuori(gAtto)
{
    gAtto = this;
}

Atto::~Atto()
{
    gAtto = fuori;
    // An exception that passes leaves the images: what is counted, not held against the plug-in. A
    // module with a C++ library of its own is not in this one's count of exceptions.
    for (const auto& img : immagini) {
        if (img->rilasciata)
            continue;
        ambiente.oggetti.erase(img->maniglia);
        if (dentro)
            ++registro.immagini_aperte;
        else
            registro.violazioni.push_back(nome + ": image of " + img->clip + " not released");
    }
    for (const std::uintptr_t p : prestiti)
        ambiente.oggetti.erase(p);
    if (gAtto == nullptr)
        gPrestati.clear();
}

OfxPropertySetHandle Atto::presta(Insieme& s)
{
    prestiti.push_back(nuova_maniglia(ambiente, Cosa::insieme, &s));
    return come<OfxPropertySetHandle>(prestiti.back());
}

int Atto::chiama(std::uintptr_t handle, OfxPropertySetHandle in, OfxPropertySetHandle out)
{
    const Lato plugin(true);
    dentro = true;
    const int stato = modulo.plugin->mainEntry(nome.c_str(), come<const void*>(handle), in, out);
    dentro = false;
    return stato;
}

// --- The call ------------------------------------------------------------------------------------

Voce::Voce(const char* funzione, std::string nome, int indice, std::string valore) : atto(gAtto)
{
    for (std::string& t : gPrestati)
        std::fill(t.begin(), t.end(), '#');
    c.funzione = funzione;
    c.nome = std::move(nome);
    c.indice = indice;
    c.valore = std::move(valore);
    if (atto == nullptr) {
        const std::lock_guard<std::mutex> guardia(gMutexViolazioni);
        gViolazioni.push_back(testo(c) + ": no action is under way on this thread");
        return;
    }
    c.azione = atto->nome;
    for (const Atto* a = atto->fuori; a != nullptr; a = a->fuori)
        ++c.livello;
    riga = atto->registro.chiamate.size();
    if (atto->registro.scrivi)
        atto->registro.chiamate.push_back(c);  // its place is before what is nested in it
}

Voce::~Voce()
{
    if (atto != nullptr && atto->registro.scrivi && riga < atto->registro.chiamate.size())
        atto->registro.chiamate[riga] = c;
}

bool Voce::guasta()
{
    if (atto == nullptr) {
        stato = kOfxStatFailed;
        return true;
    }
    for (Guasto& g : atto->registro.guasti) {
        if (!combacia(g.funzione, c.funzione) || !combacia(g.nome, c.nome) ||
            !combacia(g.azione, c.azione))
            continue;
        if (g.dopo > 0) {
            --g.dopo;
            continue;
        }
        if (g.quante == 0)
            continue;
        if (g.quante > 0)
            --g.quante;
        atto->guasto = true;
        stato = g.stato;
        resto = g.resto;
        return true;
    }
    return false;
}

int Voce::esci(int esito)
{
    c.stato = esito;
    return esito;
}

int Voce::viola(int esito, const std::string& perche)
{
    esci(esito);
    if (atto != nullptr)
        atto->registro.violazioni.push_back(c.azione + ": " + testo(c) + ": " + perche);
    return esito;
}

int Voce::rifiuta(int esito, const std::string& perche)
{
    return atto != nullptr && atto->guasto ? esci(esito) : viola(esito, perche);
}

int Voce::maniglia_cattiva(const void* h, const char* quale)
{
    return rifiuta(kOfxStatErrBadHandle,
                   std::string(h == nullptr ? "null " : "stale or foreign ") + quale + " handle");
}

char* presta_testo(const std::string& t)
{
    return gPrestati.emplace_back(t).data();
}

}  // namespace varno::banco
