#include "ospite.h"

#include <dlfcn.h>

#include <cmath>
#include <cstdarg>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <initializer_list>

namespace varno::ospite {
namespace {

struct Definizione {
    char nome[32] = {};
    bool numero = false;
    bool scelta = false;
    double predefinito = 0.0, minimo = 0.0, massimo = 0.0;
    int opzioni = 0;
    OfxPropertySetStruct props;
};

struct Descrizione {
    Definizione parametri[MASSIMO_PARAMETRI];
    int quanti = 0;
    bool imparata = false;  // from then on only read: other threads render while one describes
    const char* suite_mancante = nullptr;
};
Descrizione gDescrizione;

bool e(const char* a, const char* b)
{
    return std::strcmp(a, b) == 0;
}

int cerca(const char* nome)
{
    for (int i = 0; i < gDescrizione.quanti; ++i)
        if (e(gDescrizione.parametri[i].nome, nome))
            return i;
    return -1;
}

// The plug-in hands back what it was given: an effect is its own parameter set.
Istanza* di(OfxParamSetHandle h)
{
    return reinterpret_cast<Istanza*>(h);
}

// A clip is the property set of its image.
OfxPropertySetHandle di(OfxImageClipHandle h)
{
    return reinterpret_cast<OfxPropertySetHandle>(h);
}

extern "C" {

// --- Properties ---------------------------------------------------------------------------------

static OfxStatus prop_set_string(OfxPropertySetHandle p, const char* nome, int indice, const char*)
{
    if (p == nullptr)
        return kOfxStatErrBadHandle;
    if (p->genere == OfxPropertySetStruct::parametro && !gDescrizione.imparata &&
        e(nome, "OfxParamPropChoiceOption"))
        gDescrizione.parametri[p->indice].opzioni = indice + 1;
    return kOfxStatOK;
}

static OfxStatus prop_set_double(OfxPropertySetHandle p, const char* nome, int, double v)
{
    if (p == nullptr)
        return kOfxStatErrBadHandle;
    if (p->genere != OfxPropertySetStruct::parametro || gDescrizione.imparata)
        return kOfxStatOK;
    Definizione& d = gDescrizione.parametri[p->indice];
    if (e(nome, "OfxParamPropDefault"))
        d.predefinito = v;
    else if (e(nome, "OfxParamPropMin"))
        d.minimo = v;
    else if (e(nome, "OfxParamPropMax"))
        d.massimo = v;
    return kOfxStatOK;
}

static OfxStatus prop_set_int(OfxPropertySetHandle p, const char* nome, int, int v)
{
    return prop_set_double(p, nome, 0, v);
}

static OfxStatus prop_get_pointer(OfxPropertySetHandle p, const char* nome, int, void** v)
{
    if (p == nullptr || !e(nome, "OfxImagePropData"))
        return kOfxStatErrUnknown;
    const Istanza& i = *p->effetto;
    *v = (p->genere == OfxPropertySetStruct::sorgente ? i.sorgente : i.uscita).dati;
    return kOfxStatOK;
}

static OfxStatus prop_get_string(OfxPropertySetHandle p, const char* nome, int, char** v)
{
    if (p == nullptr || !e(nome, "OfxPropName") || p->nome == nullptr)
        return kOfxStatErrUnknown;
    *v = const_cast<char*>(p->nome);
    return kOfxStatOK;
}

static OfxStatus prop_get_double(OfxPropertySetHandle p, const char* nome, int, double* v)
{
    if (p == nullptr || !e(nome, "OfxPropTime"))
        return kOfxStatErrUnknown;
    *v = p->tempo;
    return kOfxStatOK;
}

static OfxStatus prop_get_int(OfxPropertySetHandle p, const char* nome, int, int* v)
{
    if (p == nullptr || !e(nome, "OfxImagePropRowBytes"))
        return kOfxStatErrUnknown;
    const Istanza& i = *p->effetto;
    *v = (p->genere == OfxPropertySetStruct::sorgente ? i.sorgente : i.uscita).byte_riga;
    return kOfxStatOK;
}

static OfxStatus prop_get_int_n(OfxPropertySetHandle p, const char* nome, int n, int* v)
{
    if (p == nullptr || n != 4)
        return kOfxStatErrUnknown;
    const int* da = p->finestra;
    if (e(nome, "OfxImagePropBounds"))
        da = (p->genere == OfxPropertySetStruct::sorgente ? p->effetto->sorgente
                                                          : p->effetto->uscita)
                 .limiti;
    else if (!e(nome, "OfxImageEffectPropRenderWindow"))
        return kOfxStatErrUnknown;
    std::memcpy(v, da, 4 * sizeof(int));
    return kOfxStatOK;
}

// --- Parameters ---------------------------------------------------------------------------------

static OfxStatus param_define(OfxParamSetHandle, const char* tipo, const char* nome,
                              OfxPropertySetHandle* props)
{
    const int gia = cerca(nome);
    const int i = gia < 0 ? gDescrizione.quanti : gia;
    if (i >= MASSIMO_PARAMETRI || (gia < 0 && gDescrizione.imparata))
        std::abort();
    Definizione& d = gDescrizione.parametri[i];
    if (gia < 0) {
        std::snprintf(d.nome, sizeof d.nome, "%s", nome);
        d.numero = e(tipo, "OfxParamTypeDouble");
        d.scelta = e(tipo, "OfxParamTypeChoice");
        d.props.genere = OfxPropertySetStruct::parametro;
        d.props.indice = i;
        ++gDescrizione.quanti;
    }
    if (props != nullptr)
        *props = &d.props;
    return kOfxStatOK;
}

static OfxStatus param_get_handle(OfxParamSetHandle set, const char* nome, OfxParamHandle* param,
                                  OfxPropertySetHandle* props)
{
    const int i = cerca(nome);
    if (i < 0 || set == nullptr)
        return kOfxStatErrUnknown;
    *param = &di(set)->parametri[i];  // unchecked, as real hosts do
    if (props != nullptr)
        *props = &gDescrizione.parametri[i].props;
    return kOfxStatOK;
}

static OfxStatus leggi(OfxParamHandle p, std::va_list argomenti)
{
    if (p == nullptr)
        return kOfxStatErrBadHandle;
    if (p->numero)
        *va_arg(argomenti, double*) = p->v;
    else
        *va_arg(argomenti, int*) = p->i;
    return kOfxStatOK;
}

static OfxStatus param_get_value(OfxParamHandle p, ...)
{
    std::va_list argomenti;
    va_start(argomenti, p);
    const OfxStatus s = leggi(p, argomenti);
    va_end(argomenti);
    return s;
}

static OfxStatus param_get_value_at_time(OfxParamHandle p, OfxTime tempo, ...)
{
    std::va_list argomenti;
    va_start(argomenti, tempo);
    const OfxStatus s = leggi(p, argomenti);
    va_end(argomenti);
    return s;
}

static OfxStatus param_set_value(OfxParamHandle p, ...)
{
    if (p == nullptr)
        return kOfxStatErrBadHandle;
    std::va_list argomenti;
    va_start(argomenti, p);
    if (p->numero)
        p->v = va_arg(argomenti, double);
    else
        p->i = va_arg(argomenti, int);
    va_end(argomenti);
    return kOfxStatOK;
}

// --- Effects, clips, images ---------------------------------------------------------------------

static OfxStatus get_property_set(OfxImageEffectHandle i, OfxPropertySetHandle* p)
{
    if (i == nullptr)
        return kOfxStatErrBadHandle;
    *p = &i->props;
    return kOfxStatOK;
}

static OfxStatus get_param_set(OfxImageEffectHandle i, OfxParamSetHandle* s)
{
    if (i == nullptr)
        return kOfxStatErrBadHandle;
    *s = reinterpret_cast<OfxParamSetHandle>(i);
    return kOfxStatOK;
}

static OfxStatus clip_define(OfxImageEffectHandle i, const char*, OfxPropertySetHandle* p)
{
    return get_property_set(i, p);
}

static OfxStatus clip_get_handle(OfxImageEffectHandle i, const char* nome, OfxImageClipHandle* clip,
                                 OfxPropertySetHandle*)
{
    if (i == nullptr)
        return kOfxStatErrBadHandle;
    *clip = reinterpret_cast<OfxImageClipHandle>(e(nome, "Source") ? &i->props_sorgente
                                                                   : &i->props_uscita);
    return kOfxStatOK;
}

static OfxStatus clip_get_image(OfxImageClipHandle clip, OfxTime, const OfxRectD*,
                                OfxPropertySetHandle* immagine)
{
    OfxPropertySetHandle p = di(clip);
    const bool sorgente = p->genere == OfxPropertySetStruct::sorgente;
    if ((sorgente ? p->effetto->sorgente : p->effetto->uscita).manca)
        return kOfxStatFailed;
    ++p->effetto->prese;
    *immagine = p;
    return kOfxStatOK;
}

static OfxStatus clip_release_image(OfxPropertySetHandle p)
{
    if (p == nullptr)
        return kOfxStatErrBadHandle;
    ++p->effetto->rilasciate;
    return kOfxStatOK;
}

}  // extern "C"

// What the plug-in may call; anything else would be a jump to null.
const OfxPropertySuiteV1 PROP = [] {
    OfxPropertySuiteV1 s = {};
    s.propSetString = prop_set_string;
    s.propSetDouble = prop_set_double;
    s.propSetInt = prop_set_int;
    s.propGetPointer = prop_get_pointer;
    s.propGetString = prop_get_string;
    s.propGetDouble = prop_get_double;
    s.propGetInt = prop_get_int;
    s.propGetIntN = prop_get_int_n;
    return s;
}();
const OfxParameterSuiteV1 PARM = [] {
    OfxParameterSuiteV1 s = {};
    s.paramDefine = param_define;
    s.paramGetHandle = param_get_handle;
    s.paramGetValue = param_get_value;
    s.paramGetValueAtTime = param_get_value_at_time;
    s.paramSetValue = param_set_value;
    return s;
}();
const OfxImageEffectSuiteV1 EFF = [] {
    OfxImageEffectSuiteV1 s = {};
    s.getPropertySet = get_property_set;
    s.getParamSet = get_param_set;
    s.clipDefine = clip_define;
    s.clipGetHandle = clip_get_handle;
    s.clipGetImage = clip_get_image;
    s.clipReleaseImage = clip_release_image;
    return s;
}();

extern "C" {
static const void* fetch_suite(OfxPropertySetHandle, const char* nome, int)
{
    if (gDescrizione.suite_mancante != nullptr && e(nome, gDescrizione.suite_mancante))
        return nullptr;
    if (e(nome, "OfxPropertySuite"))
        return &PROP;
    if (e(nome, "OfxParameterSuite"))
        return &PARM;
    return e(nome, "OfxImageEffectSuite") ? &EFF : nullptr;
}
}

OfxHost gOspite = {nullptr, fetch_suite};

// Property sets point to their instance, which may have been copied or moved by its owner.
void lega(Istanza& i)
{
    i.props.effetto = i.props_sorgente.effetto = i.props_uscita.effetto = &i;
    i.props_sorgente.genere = OfxPropertySetStruct::sorgente;
    i.props_uscita.genere = OfxPropertySetStruct::uscita;
}

}  // namespace

OfxPlugin* apri(const char* percorso, void** modulo)
{
    void* m = dlopen(percorso, RTLD_NOW | RTLD_LOCAL);
    if (m == nullptr) {
        std::fprintf(stderr, "%s\n", dlerror());
        std::exit(3);
    }
    if (modulo != nullptr)
        *modulo = m;
    return reinterpret_cast<OfxPlugin* (*)(int)>(dlsym(m, "OfxGetPlugin"))(0);
}

void dai_host(OfxPlugin* p, bool nullo)
{
    p->setHost(nullo ? nullptr : &gOspite);
}

void suite_mancante(const char* nome)
{
    gDescrizione.suite_mancante = nome;
}

bool presenta(OfxPlugin* p)
{
    dai_host(p);
    const bool fatto = azione(p, "OfxActionLoad") == kOfxStatOK && descrivi(p);
    gDescrizione.imparata = true;
    return fatto;
}

bool descrivi(OfxPlugin* p)
{
    Istanza descrittore;
    return azione(p, "OfxActionDescribe", &descrittore) == kOfxStatOK &&
           azione(p, "OfxImageEffectActionDescribeInContext", &descrittore) == kOfxStatOK;
}

void predefiniti(Istanza& i)
{
    lega(i);
    for (int n = 0; n < gDescrizione.quanti; ++n)
        imposta(i, n, gDescrizione.parametri[n].predefinito);
}

int quanti_parametri()
{
    return gDescrizione.quanti;
}

const char* nome_parametro(int indice)
{
    return gDescrizione.parametri[indice].nome;
}

int parametro(const char* nome)
{
    const int i = cerca(nome);
    if (i < 0) {
        std::fprintf(stderr, "no parameter %s\n", nome);
        std::exit(2);
    }
    return i;
}

void intervallo(int indice, double& minimo, double& massimo)
{
    const Definizione& d = gDescrizione.parametri[indice];
    minimo = d.numero ? d.minimo : 0.0;
    massimo = d.numero ? d.massimo : d.scelta ? d.opzioni - 1 : 1.0;
}

bool e_numero(int indice)
{
    return gDescrizione.parametri[indice].numero;
}

namespace {

bool e_effetto(const char* nome)
{
    for (const char* grado : {"formato", "cs_sony3", "cs_sony2", "cs_canon", "cs_apple", "look",
                              "forza", "ev", "temp", "tinta"})
        if (e(nome, grado))
            return false;
    return true;
}

void sorteggia(Istanza& i, unsigned seme, bool effetti)
{
    Caso caso{seme * 2654435761u + 97u};
    for (int n = 0; n < gDescrizione.quanti; ++n) {
        if (e_effetto(nome_parametro(n)) != effetti)
            continue;
        double minimo = 0.0;
        double massimo = 0.0;
        intervallo(n, minimo, massimo);
        imposta(i, n,
                e_numero(n) ? minimo + (massimo - minimo) * static_cast<double>(caso.uno())
                            : caso.fino_a(static_cast<unsigned>(massimo)));
    }
}

}  // namespace

void sorteggia_grado(Istanza& i, unsigned seme)
{
    sorteggia(i, seme, false);
}

void sorteggia_effetti(Istanza& i, unsigned seme)
{
    sorteggia(i, seme, true);
}

void imposta(Istanza& i, int indice, double valore)
{
    OfxParamStruct& p = i.parametri[indice];
    p.numero = gDescrizione.parametri[indice].numero;
    if (p.numero)
        p.v = valore;
    else
        p.i = static_cast<int>(valore);
}

void imposta(Istanza& i, const char* nome, double valore)
{
    imposta(i, parametro(nome), valore);
}

int azione(OfxPlugin* p, const char* nome, Istanza* i)
{
    if (i != nullptr)
        lega(*i);
    return p->mainEntry(nome, i, nullptr, nullptr);
}

int cambiato(OfxPlugin* p, Istanza& i, const char* nome)
{
    lega(i);
    OfxPropertySetStruct argomenti;
    argomenti.genere = OfxPropertySetStruct::argomenti;
    argomenti.nome = nome;
    return p->mainEntry("OfxActionInstanceChanged", &i, &argomenti, nullptr);
}

int rendi(OfxPlugin* p, Istanza& i, double tempo, const int (&finestra)[4])
{
    lega(i);
    OfxPropertySetStruct argomenti;
    argomenti.genere = OfxPropertySetStruct::argomenti;
    argomenti.tempo = tempo;
    std::memcpy(argomenti.finestra, finestra, sizeof finestra);
    return p->mainEntry("OfxImageEffectActionRender", &i, &argomenti, nullptr);
}

std::uint32_t Caso::prossimo()
{
    stato = stato * 1664525u + 1013904223u;
    return stato;
}

unsigned Caso::fino_a(unsigned massimo)
{
    return (prossimo() >> 8) % (massimo + 1);
}

float Caso::uno()
{
    return static_cast<float>(prossimo() >> 8) * 0x1p-24f;
}

Quadro::Quadro(int l, int a)
    : larghezza(l), altezza(a), rgba(static_cast<std::size_t>(l) * static_cast<std::size_t>(a) * 4)
{
}

Immagine immagine(Quadro& q)
{
    return {q.rgba.data(), q.larghezza * 16, {0, 0, q.larghezza, q.altezza}};
}

void disegna(Quadro& q, unsigned seme)
{
    Caso caso{12345u + seme * 2654435761u};
    const auto rumore = [&caso] { return caso.uno(); };
    for (int y = 0; y < q.altezza; ++y)
        for (int x = 0; x < q.larghezza; ++x) {
            float* p = &q.rgba[4 * (static_cast<std::size_t>(y) * q.larghezza + x)];
            const float u = static_cast<float>(x) / static_cast<float>(q.larghezza);
            const float v = static_cast<float>(y) / static_cast<float>(q.altezza);
            p[0] = 0.8f * u + 0.2f * rumore();
            p[1] = 0.6f * v + 0.3f * u + 0.1f * rumore();
            p[2] = 0.9f * (1.0f - u) * v + 0.1f * rumore();
            p[3] = rumore();
            if (rumore() > 0.99f)
                p[0] = p[1] = p[2] = 1.5f;  // a lamp
            if (rumore() > 0.995f)
                p[1] = -0.25f;
        }
    if (q.rgba.size() > 64) {
        q.rgba[17] = NAN;
        q.rgba[22] = INFINITY;
        q.rgba[27] = NAN;  // an alpha
    }
}

int rendi(OfxPlugin* p, Istanza& i, double tempo, Quadro& da, Quadro& a)
{
    i.sorgente = immagine(da);
    i.uscita = immagine(a);
    const int finestra[4] = {0, 0, a.larghezza, a.altezza};
    return rendi(p, i, tempo, finestra);
}

std::uint64_t somma(const Quadro& q, std::uint64_t s)
{
    for (const float f : q.rgba) {
        std::uint32_t bit = 0x7fc00000u;
        if (!std::isnan(f))
            std::memcpy(&bit, &f, sizeof bit);
        s = (s ^ bit) * 1099511628211ull;
    }
    return s;
}

}  // namespace varno::ospite
