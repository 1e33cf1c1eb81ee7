#include "tools/plugin.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"

#include <exception>
#include <system_error>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr const char* NOME_BUNDLE = "VarnoColor.ofx.bundle";

[[noreturn]] void senza_plugin(const std::string& testo)
{
    throw Errore{SENZA_PLUGIN, testo};
}

fs::path questo_programma()
{
    std::error_code e;
    return fs::read_symlink("/proc/self/exe", e);
}

fs::path trova_plugin(const std::string& dato)
{
    if (!dato.empty()) {
        const fs::path p(dato);
        std::error_code e;
        if (!fs::exists(p, e))
            senza_plugin("there is no plug-in " + tra_apici(dato) +
                         ": --plugin takes a bundle or an .ofx file");
        return fs::exists(p / NOME_BUNDLE, e) ? p / NOME_BUNDLE : p;
    }
    for (const banco::Trovato& t : banco::cerca(banco::cartelle_di_ricerca()))
        if (t.bundle.filename() == NOME_BUNDLE && !t.binario.empty())
            return t.bundle;
    const fs::path cartella = questo_programma().parent_path();
    for (const fs::path& p :
         {cartella / NOME_BUNDLE, cartella.parent_path() / NOME_BUNDLE, fs::path(PROVINO_BUNDLE)}) {
        std::error_code e;
        if (fs::exists(p, e))
            return p;
    }
    senza_plugin(
        std::string("found no ") + NOME_BUNDLE +
        " where hosts look: install it, set OFX_PLUGIN_PATH to its folder, or give --plugin PATH");
}

banco::Figura figura(const Foto& f)
{
    const std::size_t riga = std::size_t{4} * static_cast<std::size_t>(f.larghezza);
    const int byte = static_cast<int>(riga * sizeof(float));
    return {&f.rgba[riga * static_cast<std::size_t>(f.altezza - 1)],
            -byte,
            {0, 0, f.larghezza, f.altezza}};
}

}  // namespace

Plugin carica_plugin(const std::string& percorso)
{
    const fs::path dove = trova_plugin(percorso);
    try {
        Plugin p;
        p.modulo = banco::carica(dove);
        p.parametri = banco::parametri(*p.modulo);
        banco::registro(*p.modulo).scrivi = false;
        return p;
    } catch (const std::exception& e) {
        senza_plugin("cannot load " + tra_apici(dove.string()) + ": " + in_una_riga(e.what()));
    }
}

const banco::Parametro& trova_parametro(const Plugin& p, std::string_view nome)
{
    std::vector<std::string> nomi;
    for (const banco::Parametro& q : p.parametri) {
        if (q.nome == nome)
            return q;
        nomi.push_back(q.nome);
    }
    rifiuta("there is no parameter " + tra_apici(std::string(nome)) + proposta(nome, nomi) +
            " ('provino parametri' lists them all)");
}

Foto rendi_foto(banco::Istanza& istanza, const Foto& sorgente, double tempo)
{
    Foto a = foto_nuova(sorgente.larghezza, sorgente.altezza, sorgente.alfa);
    int stato = 0;
    try {
        stato = banco::rendi(istanza, tempo, {0, 0, a.larghezza, a.altezza}, figura(sorgente),
                             figura(a));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        fallisci(std::string("the plug-in failed: ") + in_una_riga(e.what()));
    }
    if (stato != 0)
        fallisci("the plug-in could not develop the picture (status " + std::to_string(stato) +
                 ")");
    a.formato = sorgente.formato;
    a.testata = sorgente.testata;
    return a;
}

}  // namespace varno::provino
