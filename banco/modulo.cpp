// The plug-in's binary: found in its bundle, loaded, described, unloaded.
#include "banco/interno.h"

#include <algorithm>
#include <cstring>
#include <stdexcept>
#include <system_error>

#if defined(_WIN32)
#include <windows.h>
#else
#include <dlfcn.h>
#endif

namespace fs = std::filesystem;

namespace varno::banco {
namespace {

#if defined(_WIN32)
void* apri_libreria(const fs::path& p, std::string& errore)
{
    const HMODULE h = LoadLibraryExW(p.c_str(), nullptr, LOAD_WITH_ALTERED_SEARCH_PATH);
    if (h == nullptr)
        errore = "LoadLibrary error " + std::to_string(GetLastError());
    return h;
}

void* simbolo(void* libreria, const char* nome)
{
    return reinterpret_cast<void*>(GetProcAddress(static_cast<HMODULE>(libreria), nome));
}

void chiudi_libreria(void* libreria)
{
    FreeLibrary(static_cast<HMODULE>(libreria));
}
#else
void* apri_libreria(const fs::path& p, std::string& errore)
{
    void* h = dlopen(p.c_str(), RTLD_NOW | RTLD_LOCAL);
    if (h == nullptr)
        errore = dlerror();
    return h;
}

void* simbolo(void* libreria, const char* nome)
{
    return dlsym(libreria, nome);
}

void chiudi_libreria(void* libreria)
{
    dlclose(libreria);
}
#endif

const void* prendi_suite(OfxPropertySetHandle host, const char* nome, int versione)
{
    const Lato lato(false);
    Voce v("fetchSuite", nome != nullptr ? nome : "(null)", versione);
    if (v.guasta())
        return nullptr;
    Modulo& m = v.atto->modulo;
    if (host != m.host.host) {
        v.viola(kOfxStatErrBadHandle, "not the host's own property set");
        return nullptr;
    }
    if (nome == nullptr ||
        std::find(m.mancanti.begin(), m.mancanti.end(), nome) != m.mancanti.end())
        return nullptr;
    return suite(nome, versione);
}

std::unique_ptr<Descrittore> nuovo_descrittore()
{
    auto d = std::make_unique<Descrittore>();
    d->props = proprieta_effetto();
    d->maniglia = nuova_maniglia(d->ambiente, Cosa::effetto, d.get());
    d->maniglia_props = nuova_maniglia(d->ambiente, Cosa::insieme, &d->props);
    d->maniglia_parametri = nuova_maniglia(d->ambiente, Cosa::parametri, d.get());
    return d;
}

// What a host refuses once a description is complete.
void controlla_effetto(Registro& r, const Insieme& s)
{
    for (const char* nome :
         {"OfxImageEffectPropSupportedContexts", "OfxImageEffectPropSupportedPixelDepths"})
        if (stringhe(s, nome).empty())
            r.violazioni.push_back(std::string("OfxActionDescribe: ") + nome + " is empty");
}

void controlla_contesto(Registro& r, const Descrittore& d)
{
    const std::string dove = "OfxImageEffectActionDescribeInContext: ";
    for (const char* nome : {"Source", "Output"})
        if (std::none_of(d.clip.begin(), d.clip.end(),
                         [&](const auto& c) { return c->nome == nome; }))
            r.violazioni.push_back(dove + "no clip " + nome);
    for (const auto& c : d.clip)
        if (stringhe(c->props, "OfxImageEffectPropSupportedComponents").empty())
            r.violazioni.push_back(dove + "no components on " + c->nome);
    for (const auto& p : d.parametri) {
        const Insieme& s = p->props;
        if (p->tipo == "OfxParamTypeChoice") {
            const auto quante = stringhe(s, "OfxParamPropChoiceOption").size();
            const int predefinito = intero(s, "OfxParamPropDefault");
            if (predefinito < 0 || static_cast<std::size_t>(predefinito) >= quante)
                r.violazioni.push_back(dove + "default of " + p->nome + " is no option");
        } else if (p->tipo == "OfxParamTypeDouble") {
            const double v = numero(s, "OfxParamPropDefault");
            if (!(v >= numero(s, "OfxParamPropMin") && v <= numero(s, "OfxParamPropMax")))
                r.violazioni.push_back(dove + "default of " + p->nome + " is out of range");
        }
    }
}

bool andata(int stato)
{
    return stato == kOfxStatOK || stato == kOfxStatReplyDefault;
}

void pretendi(bool vero, const Modulo& m, const std::string& che)
{
    if (!vero)
        throw std::runtime_error(m.binario.string() + ": " + che);
}

ModuloPtr avvia(ModuloPtr m, OfxPlugin* plugin)
{
    m->plugin = plugin;
    pretendi(m->plugin != nullptr && m->plugin->pluginApi != nullptr &&
                 std::strcmp(m->plugin->pluginApi, "OfxImageEffectPluginAPI") == 0 &&
                 m->plugin->apiVersion == 1 && m->plugin->setHost != nullptr &&
                 m->plugin->mainEntry != nullptr,
             *m, "holds no image effect of version 1");
    m->props_host = proprieta_host();
    m->host.host =
        come<OfxPropertySetHandle>(nuova_maniglia(m->ambiente, Cosa::insieme, &m->props_host));
    m->host.fetchSuite = prendi_suite;
    m->base = nuovo_descrittore();
    return m;
}

}  // namespace

void ChiudiModulo::operator()(Modulo* m) const
{
    if (m->caricato)
        azione(*m, "OfxActionUnload");
    if (m->libreria != nullptr)
        chiudi_libreria(m->libreria);
    delete m;
}

ModuloPtr apri(const fs::path& bundle_o_binario)
{
    ModuloPtr m(new Modulo);
    std::error_code errore;
    if (!fs::exists(bundle_o_binario, errore))
        throw std::runtime_error(bundle_o_binario.string() + ": no such file");
    m->binario = binario_di(bundle_o_binario);
    if (m->binario.empty())
        throw std::runtime_error(bundle_o_binario.string() + ": holds no binary for this system");
    m->binario = fs::absolute(m->binario);
    std::string perche;
    m->libreria = apri_libreria(m->binario, perche);
    pretendi(m->libreria != nullptr, *m, "cannot be loaded: " + perche);
    m->quanti = reinterpret_cast<int (*)()>(simbolo(m->libreria, "OfxGetNumberOfPlugins"));
    m->dammi = reinterpret_cast<OfxPlugin* (*)(int)>(simbolo(m->libreria, "OfxGetPlugin"));
    pretendi(m->quanti != nullptr && m->dammi != nullptr, *m, "is no OFX plug-in");
    OfxPlugin* p = m->quanti() > 0 ? m->dammi(0) : nullptr;
    return avvia(std::move(m), p);
}

ModuloPtr apri(OfxPlugin* collegato)
{
    return avvia(ModuloPtr(new Modulo), collegato);
}

ModuloPtr carica(ModuloPtr m)
{
    dai_host(*m);
    const auto esegui = [&](const char* che, int stato) {
        pretendi(andata(stato), *m,
                 std::string(che) + " failed with status " + std::to_string(stato));
    };
    esegui("OfxActionLoad", azione(*m, "OfxActionLoad"));
    esegui("OfxActionDescribe", azione(*m, "OfxActionDescribe"));
    for (const std::string& contesto :
         stringhe(m->base->props, "OfxImageEffectPropSupportedContexts"))
        if (contesto == FILTRO || contesto == GENERALE)
            esegui("OfxImageEffectActionDescribeInContext",
                   descrivi_in_contesto(*m, contesto.c_str()));
    return m;
}

ModuloPtr carica(const fs::path& bundle_o_binario)
{
    return carica(apri(bundle_o_binario));
}

OfxPlugin* plugin(Modulo& m)
{
    return m.plugin;
}

int numero_plugin(Modulo& m)
{
    return m.quanti();
}

OfxPlugin* plugin_numero(Modulo& m, int n)
{
    return m.dammi(n);
}

fs::path binario(const Modulo& m)
{
    return m.binario;
}

void dai_host(Modulo& m, bool nullo)
{
    m.plugin->setHost(nullo ? nullptr : &m.host);
}

void suite_mancanti(Modulo& m, std::vector<std::string> nomi)
{
    m.mancanti = std::move(nomi);
}

int azione(Modulo& m, const char* nome)
{
    const std::lock_guard<std::mutex> guardia(m.mutex);
    const bool descrive = std::strcmp(nome, "OfxActionDescribe") == 0;
    if (descrive)
        m.base = nuovo_descrittore();
    Atto a(nome, m, m.registro, m.base->ambiente, m.base.get(), nullptr);
    const int stato = a.chiama(descrive ? m.base->maniglia : 0, nullptr, nullptr);
    if (std::strcmp(nome, "OfxActionLoad") == 0)
        m.caricato = andata(stato);
    else if (std::strcmp(nome, "OfxActionUnload") == 0)
        m.caricato = false;
    else if (descrive && !a.guasto)
        controlla_effetto(m.registro, m.base->props);
    return stato;
}

int descrivi_in_contesto(Modulo& m, const char* contesto)
{
    const std::lock_guard<std::mutex> guardia(m.mutex);
    auto nuovo = nuovo_descrittore();
    nuovo->props = m.base->props;
    Descrittore& d = *nuovo;
    m.contesti[contesto] = std::move(nuovo);
    Insieme in;
    in.nome = "inArgs";
    metti(in, "OfxImageEffectPropContext", Tipo::testo, {std::string(contesto)});
    Atto a("OfxImageEffectActionDescribeInContext", m, m.registro, d.ambiente, &d, nullptr);
    const int stato = a.chiama(d.maniglia, a.presta(in), nullptr);
    if (!a.guasto)
        controlla_contesto(m.registro, d);
    return stato;
}

Registro& registro(Modulo& m)
{
    return m.registro;
}

std::vector<Parametro> parametri(const Modulo& m, const char* contesto)
{
    std::vector<Parametro> tutti;
    const auto trovato = m.contesti.find(contesto);
    if (trovato == m.contesti.end())
        return tutti;
    for (const auto& descritto : trovato->second->parametri) {
        const Insieme& s = descritto->props;
        Parametro p;
        p.nome = descritto->nome;
        p.tipo = descritto->tipo;
        p.etichetta = stringa(s, "OfxPropLabel");
        p.hint = stringa(s, "OfxParamPropHint");
        p.opzioni = stringhe(s, "OfxParamPropChoiceOption");
        if (e_intero(p.tipo)) {
            p.predefinito = intero(s, "OfxParamPropDefault");
        } else {
            p.predefinito = numero(s, "OfxParamPropDefault");
            p.minimo = numero(s, "OfxParamPropMin");
            p.massimo = numero(s, "OfxParamPropMax");
        }
        tutti.push_back(std::move(p));
    }
    return tutti;
}

}  // namespace varno::banco
