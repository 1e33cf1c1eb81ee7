// The plug-in, found and loaded in the bench host, and pictures through it.
#include "tools/plugin/plugin.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"

#include <new>
#include <system_error>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr const char* NOME_BUNDLE = "VarnoColor.ofx.bundle";

[[noreturn]] void senza_plugin(const std::string& testo)
{
    throw Errore{SENZA_PLUGIN, testo};
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
    std::vector<fs::path> cartelle = banco::cartelle_di_ricerca();
    const fs::path del_sistema = cartelle.back();
    cartelle.pop_back();
    for (const fs::path& c : cartelle)
        if (std::error_code e; !fs::is_directory(c, e))
            avviso("OFX_PLUGIN_PATH names " + tra_apici(c.string()) +
                   ", and there is no such folder");
    fs::path trovato;
    const auto cerca = [&trovato](const std::vector<fs::path>& dove) {
        for (const banco::Trovato& t : banco::cerca(dove))
            if (trovato.empty() && t.bundle.filename() == NOME_BUNDLE && !t.binario.empty())
                trovato = t.bundle;
    };
    cerca(cartelle);
    std::error_code e;
    const fs::path qui = fs::read_symlink("/proc/self/exe", e).parent_path();
    for (const fs::path& accanto : {qui / NOME_BUNDLE, qui.parent_path() / NOME_BUNDLE})
        if (trovato.empty() && fs::exists(accanto, e))
            trovato = accanto;
    if (trovato.empty())
        cerca({del_sistema});
    if (trovato.empty())
        senza_plugin(std::string("found no ") + NOME_BUNDLE +
                     " where hosts look: install it, set OFX_PLUGIN_PATH to its folder, or give "
                     "--plugin PATH");
    return trovato;
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
        p.file = fs::absolute(banco::binario(*p.modulo)).lexically_normal().string();
        return p;
    } catch (const std::exception& e) {
        // The bench host and the system's loader each begin with the file once more.
        std::string motivo = in_una_riga(e.what());
        for (const std::string& capo :
             {banco::binario_di(fs::absolute(dove)).string() + ": ",
              banco::binario_di(dove).string() + ": ", std::string("cannot be loaded: ")})
            motivo = OIIO::Strutil::replace(motivo, capo, "", true);
        senza_plugin("cannot load " + tra_apici(dove.string()) + ": " + motivo);
    }
}

std::string file_del_plugin()
{
    try {
        return carica_plugin({}).file;
    } catch (const Errore& e) {
        return "none (" + e.testo + ")";
    }
}

std::string_view genere(const banco::Parametro& p)
{
    if (p.tipo == "OfxParamTypeChoice")
        return "choice";
    return p.tipo == "OfxParamTypeBoolean" ? "switch" : "number";
}

const banco::Parametro& trova_parametro(const Plugin& p, std::string_view nome)
{
    std::vector<std::string> nomi;
    for (const banco::Parametro& q : p.parametri) {
        if (q.nome == nome)
            return q;
        nomi.push_back(q.nome);
    }
    for (const banco::Parametro& q : p.parametri) {
        if (OIIO::Strutil::iequals(q.etichetta, std::string(nome)))
            return q;
        nomi.push_back(q.etichetta);
    }
    rifiuta("there is no parameter '%s'%s ('provino parametri' lists them all)", nome,
            proposta(nome, nomi));
}

void rendi_in(banco::Istanza& istanza, const Foto& sorgente, Foto& a, double tempo)
{
    int stato = 0;
    try {
        stato = banco::rendi(istanza, tempo, {0, 0, a.larghezza, a.altezza}, figura(sorgente),
                             figura(a));
    } catch (const std::bad_alloc&) {
        throw;
    } catch (const std::exception& e) {
        fallisci("the plug-in failed: " + in_una_riga(e.what()));
    }
    if (stato != 0)
        fallisci("the plug-in could not develop the picture (status %d)", stato);
}

Foto rendi_foto(banco::Istanza& istanza, const Foto& sorgente, double tempo)
{
    Foto a = foto_nuova(sorgente.larghezza, sorgente.altezza, sorgente.alfa);
    rendi_in(istanza, sorgente, a, tempo);
    a.formato = sorgente.formato;
    a.testata = sorgente.testata;
    return a;
}

}  // namespace varno::provino
