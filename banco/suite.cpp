// The three suites. Every function resolves its handles in the action under way on its thread,
// lets a fault take the call, then checks it.
#include "banco/interno.h"

#include <algorithm>
#include <cstdarg>
#include <cstring>
#include <initializer_list>
#include <utility>

namespace varno::banco {
namespace {

constexpr std::uintptr_t MANIGLIA_FINTA = 0xDEAD0;  // even: never given out
constexpr int INTERO_FINTO = -559038737;
constexpr double NUMERO_FINTO = -6.25e66;

template <class Maniglia> const Oggetto* oggetto(Maniglia h)
{
    const Atto* a = atto_corrente();
    if (a == nullptr)
        return nullptr;
    const auto m = reinterpret_cast<std::uintptr_t>(h);
    if (const auto trovato = a->ambiente.oggetti.find(m); trovato != a->ambiente.oggetti.end())
        return &trovato->second;
    const auto& del_modulo = a->modulo.ambiente.oggetti;  // the host's own properties
    const auto trovato = del_modulo.find(m);
    return trovato != del_modulo.end() ? &trovato->second : nullptr;
}

template <class Tipo_, class Maniglia> Tipo_* preso(Maniglia h, Cosa cosa)
{
    const Oggetto* o = oggetto(h);
    return o != nullptr && o->cosa == cosa ? static_cast<Tipo_*>(o->dove) : nullptr;
}

Insieme* insieme(OfxPropertySetHandle h)
{
    if (auto* img = preso<ImmagineAperta>(h, Cosa::immagine))
        return &img->props;
    return preso<Insieme>(h, Cosa::insieme);
}

std::string nome_o(const char* nome)
{
    return nome != nullptr ? nome : "(null)";
}

bool fra(const Atto& a, std::initializer_list<const char*> azioni)
{
    return std::any_of(azioni.begin(), azioni.end(), [&](const char* n) { return a.nome == n; });
}

bool in_render(const Atto& a)
{
    return a.nome == "OfxImageEffectActionRender";
}

// What a failing call leaves in a handle's place.
template <class Maniglia> void lascia(Maniglia* uscita, Resto resto)
{
    if (uscita == nullptr || resto == Resto::intatto)
        return;
    *uscita = resto == Resto::nullo ? nullptr : come<Maniglia>(MANIGLIA_FINTA);
}

void lascia(int* uscita, Resto resto)
{
    if (uscita != nullptr && resto != Resto::intatto)
        *uscita = resto == Resto::nullo ? 0 : INTERO_FINTO;
}

void lascia(double* uscita, Resto resto)
{
    if (uscita != nullptr && resto != Resto::intatto)
        *uscita = resto == Resto::nullo ? 0.0 : NUMERO_FINTO;
}

void lascia(char** uscita, Resto resto)
{
    if (uscita == nullptr || resto == Resto::intatto)
        return;
    *uscita = resto == Resto::nullo ? nullptr : presta_testo("garbage");
}

// A member that this plug-in has no use for: calling it is reported.
template <class> struct Rifiuta;
template <class R, class... A> struct Rifiuta<R (*)(A...)> {
    static R chiama(A...)
    {
        Voce v("(member that is not used)", "");
        return static_cast<R>(v.viola(5, "unexpected call"));
    }
};
template <class R, class... A> struct Rifiuta<R (*)(A..., ...)> {
    static R chiama(A..., ...)
    {
        Voce v("(member that is not used)", "");
        return static_cast<R>(v.viola(5, "unexpected call"));
    }
};

template <class F> void rifiuta(F& membro)
{
    membro = &Rifiuta<F>::chiama;
}

// --- Properties ----------------------------------------------------------------------------------

std::string nome_proprieta(const Insieme* s, const char* nome)
{
    return (s != nullptr ? s->nome : std::string("?")) + "." + nome_o(nome);
}

OfxStatus scrivi(const char* funzione, OfxPropertySetHandle h, const char* nome, int indice,
                 const Valore& valore)
{
    Insieme* s = insieme(h);
    Voce v(funzione, nome_proprieta(s, nome), indice, testo_di(valore));
    if (v.guasta())
        return v.esci(v.stato);
    if (s == nullptr)
        return v.maniglia_cattiva(h, "property set");
    if (nome == nullptr)
        return v.viola(kOfxStatErrUnknown, "no name");
    if (in_render(*v.atto))
        return v.viola(kOfxStatFailed, "a render sets no property");
    std::string perche;
    const int stato = scrivi_proprieta(*s, nome, indice, valore, perche);
    return stato == kOfxStatOK ? v.esci(stato) : v.rifiuta(stato, perche);
}

// The one way of reading: the last step hands one value out.
template <class Uscita, class Passa>
OfxStatus leggi(const char* funzione, OfxPropertySetHandle h, const char* nome, int indice,
                int quanti, Tipo tipo, Uscita* uscita, Passa passa)
{
    const Insieme* s = insieme(h);
    Voce v(funzione, nome_proprieta(s, nome), indice);
    if (v.guasta()) {
        for (int i = 0; uscita != nullptr && i < quanti; ++i)
            lascia(uscita + i, v.resto);
        return v.esci(v.stato);
    }
    if (s == nullptr)
        return v.maniglia_cattiva(h, "property set");
    if (nome == nullptr || uscita == nullptr)
        return v.viola(kOfxStatErrValue, "null argument");
    if (indice < 0 && quanti < 1)
        return v.viola(kOfxStatErrValue, "bad count");
    for (int i = 0; i < quanti; ++i) {
        const Valore* valore = nullptr;
        std::string perche;
        const int stato = leggi_proprieta(*s, nome, indice < 0 ? i : indice, tipo, valore, perche);
        if (stato != kOfxStatOK)
            return perche.empty() ? v.esci(stato) : v.rifiuta(stato, perche);
        uscita[i] = passa(*valore);
        v.c.valore.append(i > 0 ? " " : "").append(testo_di(*valore));
    }
    return v.esci(kOfxStatOK);
}

OfxStatus propSetString(OfxPropertySetHandle h, const char* nome, int indice, const char* valore)
{
    if (valore != nullptr)
        return scrivi("propSetString", h, nome, indice, std::string(valore));
    Voce v("propSetString", nome_proprieta(insieme(h), nome), indice, "null");
    return v.viola(kOfxStatErrValue, "null text");
}

OfxStatus propSetDouble(OfxPropertySetHandle h, const char* nome, int indice, double valore)
{
    return scrivi("propSetDouble", h, nome, indice, valore);
}

OfxStatus propSetInt(OfxPropertySetHandle h, const char* nome, int indice, int valore)
{
    return scrivi("propSetInt", h, nome, indice, valore);
}

void* passa_puntatore(const Valore& v)
{
    return std::get<void*>(v);
}

char* passa_testo(const Valore& v)
{
    return presta_testo(std::get<std::string>(v));
}

double passa_numero(const Valore& v)
{
    return std::get<double>(v);
}

int passa_intero(const Valore& v)
{
    return std::get<int>(v);
}

OfxStatus propGetPointer(OfxPropertySetHandle h, const char* nome, int indice, void** uscita)
{
    return leggi("propGetPointer", h, nome, indice, 1, Tipo::puntatore, uscita, passa_puntatore);
}

OfxStatus propGetString(OfxPropertySetHandle h, const char* nome, int indice, char** uscita)
{
    return leggi("propGetString", h, nome, indice, 1, Tipo::testo, uscita, passa_testo);
}

OfxStatus propGetDouble(OfxPropertySetHandle h, const char* nome, int indice, double* uscita)
{
    return leggi("propGetDouble", h, nome, indice, 1, Tipo::numero, uscita, passa_numero);
}

OfxStatus propGetInt(OfxPropertySetHandle h, const char* nome, int indice, int* uscita)
{
    return leggi("propGetInt", h, nome, indice, 1, Tipo::intero, uscita, passa_intero);
}

OfxStatus propGetIntN(OfxPropertySetHandle h, const char* nome, int quanti, int* uscita)
{
    return leggi("propGetIntN", h, nome, -1, quanti, Tipo::intero, uscita, passa_intero);
}

// --- Parameters ----------------------------------------------------------------------------------

OfxStatus paramDefine(OfxParamSetHandle h, const char* tipo, const char* nome,
                      OfxPropertySetHandle* props)
{
    Voce v("paramDefine", nome_o(nome), -1, nome_o(tipo));
    if (v.guasta()) {
        lascia(props, v.resto);
        return v.esci(v.stato);
    }
    auto* d = preso<Descrittore>(h, Cosa::parametri);
    if (d == nullptr || v.atto->istanza != nullptr)
        return v.maniglia_cattiva(h, "parameter set");
    if (nome == nullptr || *nome == '\0' || tipo == nullptr)
        return v.viola(kOfxStatErrValue, "no name or type");
    if (v.atto->nome != "OfxImageEffectActionDescribeInContext")
        return v.viola(kOfxStatFailed, "parameters are defined in DescribeInContext");
    if (!e_intero(tipo) && std::strcmp(tipo, "OfxParamTypeDouble") != 0)
        return v.viola(kOfxStatErrUnknown, "type that this host does not know");
    for (const auto& p : d->parametri)
        if (p->nome == nome)
            return v.viola(kOfxStatErrExists, "defined twice");
    auto p = std::make_unique<ParametroDescritto>();
    p->nome = nome;
    p->tipo = tipo;
    p->props = proprieta_parametro(nome, tipo);
    p->maniglia = nuova_maniglia(d->ambiente, Cosa::parametro, p.get());
    p->maniglia_props = nuova_maniglia(d->ambiente, Cosa::insieme, &p->props);
    if (props != nullptr)
        *props = come<OfxPropertySetHandle>(p->maniglia_props);
    d->parametri.push_back(std::move(p));
    return v.esci(kOfxStatOK);
}

OfxStatus paramGetHandle(OfxParamSetHandle h, const char* nome, OfxParamHandle* param,
                         OfxPropertySetHandle* props)
{
    Voce v("paramGetHandle", nome_o(nome), -1, props != nullptr ? "props" : "");
    if (param == nullptr)
        return v.viola(kOfxStatErrBadHandle, "no place for the handle: hosts write it unchecked");
    if (v.guasta()) {
        lascia(param, v.resto);
        lascia(props, v.resto);
        return v.esci(v.stato);
    }
    if (oggetto(h) == nullptr || oggetto(h)->cosa != Cosa::parametri)
        return v.maniglia_cattiva(h, "parameter set");
    if (nome == nullptr)
        return v.viola(kOfxStatErrUnknown, "no name");
    const auto consegna = [&](const auto& parametri) {
        for (const auto& p : parametri)
            if (p->nome == nome) {
                *param = come<OfxParamHandle>(p->maniglia);
                if (props != nullptr)
                    *props = come<OfxPropertySetHandle>(p->maniglia_props);
                return v.esci(kOfxStatOK);
            }
        return v.rifiuta(kOfxStatErrUnknown, "no such parameter");
    };
    return v.atto->istanza != nullptr ? consegna(v.atto->istanza->parametri)
                                      : consegna(v.atto->descrittore->parametri);
}

ParametroIstanza* parametro(OfxParamHandle h)
{
    const Atto* a = atto_corrente();
    return a != nullptr && a->istanza != nullptr ? preso<ParametroIstanza>(h, Cosa::parametro)
                                                 : nullptr;
}

std::string nome_parametro(OfxParamHandle h)
{
    const ParametroIstanza* p = parametro(h);
    return p != nullptr ? p->nome : std::string("?");
}

// The place is read off the arguments only once the parameter's type is known.
OfxStatus leggi_valore(Voce& v, OfxParamHandle h, const double* tempo, va_list argomenti)
{
    const ParametroIstanza* p = parametro(h);
    const bool guasta = v.guasta();
    if (p == nullptr)
        return guasta ? v.esci(v.stato) : v.maniglia_cattiva(h, "parameter");
    void* uscita = va_arg(argomenti, void*);
    if (guasta) {
        if (e_intero(p->tipo))
            lascia(static_cast<int*>(uscita), v.resto);
        else
            lascia(static_cast<double*>(uscita), v.resto);
        return v.esci(v.stato);
    }
    if (uscita == nullptr)
        return v.viola(kOfxStatErrValue, "no place for the value");
    const double valore = valore_di(*p, tempo);
    if (e_intero(p->tipo))
        *static_cast<int*>(uscita) = static_cast<int>(valore);
    else
        *static_cast<double*>(uscita) = valore;
    v.c.valore = testo_di(valore);
    return v.esci(kOfxStatOK);
}

OfxStatus paramGetValue(OfxParamHandle h, ...)
{
    const Lato host(false);
    Voce v("paramGetValue", nome_parametro(h));
    va_list argomenti;
    va_start(argomenti, h);
    const OfxStatus stato = v.atto != nullptr && in_render(*v.atto)
                                ? v.viola(kOfxStatFailed, "a render reads values at its time")
                                : leggi_valore(v, h, nullptr, argomenti);
    va_end(argomenti);
    return stato;
}

OfxStatus paramGetValueAtTime(OfxParamHandle h, OfxTime tempo, ...)
{
    const Lato host(false);
    Voce v("paramGetValueAtTime", nome_parametro(h));
    v.c.tempo = testo_di(tempo);
    va_list argomenti;
    va_start(argomenti, tempo);
    const OfxStatus stato = leggi_valore(v, h, &tempo, argomenti);
    va_end(argomenti);
    return stato;
}

OfxStatus paramSetValue(OfxParamHandle h, ...)
{
    const Lato host(false);
    Voce v("paramSetValue", nome_parametro(h));
    ParametroIstanza* p = parametro(h);
    double valore = 0.0;
    if (p != nullptr) {
        va_list argomenti;
        va_start(argomenti, h);
        valore = e_intero(p->tipo) ? va_arg(argomenti, int) : va_arg(argomenti, double);
        va_end(argomenti);
        v.c.valore = testo_di(valore);
    }
    if (v.guasta())
        return v.esci(v.stato);
    if (p == nullptr)
        return v.maniglia_cattiva(h, "parameter");
    Atto& a = *v.atto;
    if (!fra(a, {"OfxActionCreateInstance", "OfxActionInstanceChanged",
                 "OfxActionBeginInstanceChanged", "OfxActionEndInstanceChanged",
                 "OfxActionSyncPrivateData"}))
        return v.viola(kOfxStatFailed, "values are not set in this action");
    const auto opzioni = static_cast<double>(stringhe(p->props, "OfxParamPropChoiceOption").size());
    const bool dentro = p->tipo == "OfxParamTypeBoolean" ? valore == 0 || valore == 1
                        : p->tipo == "OfxParamTypeChoice"
                            ? valore >= 0 && valore < opzioni
                            : valore >= numero(p->props, "OfxParamPropMin") &&
                                  valore <= numero(p->props, "OfxParamPropMax");
    if (!dentro)
        return v.viola(kOfxStatErrValue, "value out of range");
    p->valore = valore;
    p->chiavi.clear();
    p->funzione = nullptr;
    if (a.nome == "OfxActionCreateInstance")
        return v.esci(kOfxStatOK);
    if (v.c.livello > 8)
        return v.viola(kOfxStatFailed, "changes without end");
    // As hosts do: the plug-in hears of its own change before the call returns.
    notifica(*a.istanza, p->nome.c_str(), "OfxChangePluginEdited");
    return v.esci(kOfxStatOK);
}

// --- Effect --------------------------------------------------------------------------------------

OfxStatus getPropertySet(OfxImageEffectHandle h, OfxPropertySetHandle* props)
{
    Voce v("getPropertySet", "");
    if (v.guasta()) {
        lascia(props, v.resto);
        return v.esci(v.stato);
    }
    const Oggetto* o = oggetto(h);
    if (o == nullptr || o->cosa != Cosa::effetto)
        return v.maniglia_cattiva(h, "effect");
    if (props == nullptr)
        return v.viola(kOfxStatErrValue, "null argument");
    *props = come<OfxPropertySetHandle>(v.atto->istanza != nullptr
                                            ? v.atto->istanza->maniglia_props
                                            : v.atto->descrittore->maniglia_props);
    return v.esci(kOfxStatOK);
}

OfxStatus getParamSet(OfxImageEffectHandle h, OfxParamSetHandle* set)
{
    Voce v("getParamSet", "");
    if (v.guasta()) {
        lascia(set, v.resto);
        return v.esci(v.stato);
    }
    const Oggetto* o = oggetto(h);
    if (o == nullptr || o->cosa != Cosa::effetto)
        return v.maniglia_cattiva(h, "effect");
    if (set == nullptr)
        return v.viola(kOfxStatErrValue, "null argument");
    if (v.atto->nome == "OfxActionDescribe")
        return v.viola(kOfxStatFailed, "no parameters before a context");
    *set = come<OfxParamSetHandle>(v.atto->istanza != nullptr
                                       ? v.atto->istanza->maniglia_parametri
                                       : v.atto->descrittore->maniglia_parametri);
    return v.esci(kOfxStatOK);
}

OfxStatus clipDefine(OfxImageEffectHandle h, const char* nome, OfxPropertySetHandle* props)
{
    Voce v("clipDefine", nome_o(nome));
    if (v.guasta()) {
        lascia(props, v.resto);
        return v.esci(v.stato);
    }
    auto* d = v.atto->istanza == nullptr ? preso<Descrittore>(h, Cosa::effetto) : nullptr;
    if (d == nullptr)
        return v.maniglia_cattiva(h, "effect descriptor");
    if (nome == nullptr || props == nullptr)
        return v.viola(kOfxStatErrValue, "null argument");
    if (v.atto->nome != "OfxImageEffectActionDescribeInContext")
        return v.viola(kOfxStatFailed, "clips are defined in DescribeInContext");
    for (const auto& c : d->clip)
        if (c->nome == nome)
            return v.viola(kOfxStatErrExists, "defined twice");
    auto c = std::make_unique<ClipDescritto>();
    c->nome = nome;
    c->props = proprieta_clip(nome);
    c->maniglia_props = nuova_maniglia(d->ambiente, Cosa::insieme, &c->props);
    *props = come<OfxPropertySetHandle>(c->maniglia_props);
    d->clip.push_back(std::move(c));
    return v.esci(kOfxStatOK);
}

OfxStatus clipGetHandle(OfxImageEffectHandle h, const char* nome, OfxImageClipHandle* clip,
                        OfxPropertySetHandle* props)
{
    Voce v("clipGetHandle", nome_o(nome), -1, props != nullptr ? "props" : "");
    if (v.guasta()) {
        lascia(clip, v.resto);
        lascia(props, v.resto);
        return v.esci(v.stato);
    }
    const auto* i = preso<Istanza>(h, Cosa::effetto);
    if (i == nullptr || v.atto->istanza == nullptr)
        return v.maniglia_cattiva(h, "effect instance");
    if (nome == nullptr || clip == nullptr)
        return v.viola(kOfxStatErrValue, "null argument");
    for (const auto& c : i->clip)
        if (c->nome == nome) {
            *clip = come<OfxImageClipHandle>(c->maniglia);
            if (props != nullptr)
                *props = come<OfxPropertySetHandle>(c->maniglia_props);
            return v.esci(kOfxStatOK);
        }
    return v.viola(kOfxStatErrUnknown, "no such clip");
}

OfxStatus clipGetImage(OfxImageClipHandle h, OfxTime tempo, const OfxRectD* regione,
                       OfxPropertySetHandle* immagine)
{
    const auto* c = atto_corrente() != nullptr && atto_corrente()->istanza != nullptr
                        ? preso<ClipIstanza>(h, Cosa::clip)
                        : nullptr;
    Voce v("clipGetImage", c != nullptr ? c->nome : "?");
    v.c.tempo = testo_di(tempo);
    v.c.valore = regione != nullptr ? "region" : "";
    if (v.guasta()) {
        lascia(immagine, v.resto);
        return v.esci(v.stato);
    }
    if (c == nullptr)
        return v.maniglia_cattiva(h, "clip");
    Atto& a = *v.atto;
    if (immagine == nullptr)
        return v.viola(kOfxStatErrValue, "null argument");
    if (a.nome != "OfxImageEffectActionRender")
        return v.viola(kOfxStatFailed, "images are for renders");
    if (regione != nullptr)
        return v.viola(kOfxStatErrValue, "no region in a render");
    if (std::memcmp(&tempo, &a.istanza->tempo, sizeof tempo) != 0)
        return v.viola(kOfxStatFailed, "another time than the render's");
    const Figura* f = c->nome == "Output" ? a.istanza->uscita : a.istanza->sorgente;
    auto img = std::make_unique<ImmagineAperta>();
    img->clip = c->nome;
    img->props.nome = "image " + c->nome;
    const Rettangolo& l = f->limiti;
    Insieme& s = img->props;
    metti(s, "OfxPropType", Tipo::testo, {std::string("OfxTypeImage")});
    metti(s, "OfxImagePropData", Tipo::puntatore, {f->dati});
    metti(s, "OfxImagePropRowBytes", Tipo::intero, {f->byte_riga});
    metti(s, "OfxImagePropBounds", Tipo::intero, {l.x1, l.y1, l.x2, l.y2});
    metti(s, "OfxImagePropRegionOfDefinition", Tipo::intero, {l.x1, l.y1, l.x2, l.y2});
    metti(s, "OfxImageEffectPropPixelDepth", Tipo::testo, {std::string("OfxBitDepthFloat")});
    metti(s, "OfxImageEffectPropComponents", Tipo::testo, {std::string("OfxImageComponentRGBA")});
    metti(s, "OfxImageEffectPropPreMultiplication", Tipo::testo,
          {std::string("OfxImageAlphaUnPremultiplied")});
    metti(s, "OfxImagePropField", Tipo::testo, {std::string("OfxFieldNone")});
    metti(s, "OfxImagePropPixelAspectRatio", Tipo::numero, {1.0});
    metti(s, "OfxImageEffectPropRenderScale", Tipo::numero, {1.0, 1.0});
    img->maniglia = nuova_maniglia(a.ambiente, Cosa::immagine, img.get());
    *immagine = come<OfxPropertySetHandle>(img->maniglia);
    a.immagini.push_back(std::move(img));
    return v.esci(kOfxStatOK);
}

OfxStatus clipReleaseImage(OfxPropertySetHandle h)
{
    auto* img = preso<ImmagineAperta>(h, Cosa::immagine);
    Voce v("clipReleaseImage", img != nullptr ? img->clip : "?");
    const bool guasta = v.guasta();
    if (img != nullptr) {  // given back, whatever the host answers
        img->rilasciata = true;
        v.atto->ambiente.oggetti.erase(img->maniglia);
    }
    if (guasta)
        return v.esci(v.stato);
    return img != nullptr ? v.esci(kOfxStatOK) : v.maniglia_cattiva(h, "image");
}

// --- The tables ----------------------------------------------------------------------------------

// A suite's function as the plug-in calls it; those of any number of arguments do the same
// themselves.
template <auto F> struct Riparo;
template <class R, class... A, R (*F)(A...)> struct Riparo<F> {
    static R chiama(A... a)
    {
        const Lato host(false);
        return F(a...);
    }
};

OfxPropertySuiteV1 suite_proprieta()
{
    OfxPropertySuiteV1 s{};
    s.propSetString = Riparo<propSetString>::chiama;
    s.propSetDouble = Riparo<propSetDouble>::chiama;
    s.propSetInt = Riparo<propSetInt>::chiama;
    s.propGetPointer = Riparo<propGetPointer>::chiama;
    s.propGetString = Riparo<propGetString>::chiama;
    s.propGetDouble = Riparo<propGetDouble>::chiama;
    s.propGetInt = Riparo<propGetInt>::chiama;
    s.propGetIntN = Riparo<propGetIntN>::chiama;
    rifiuta(s.propSetPointer);
    rifiuta(s.propSetPointerN);
    rifiuta(s.propSetStringN);
    rifiuta(s.propSetDoubleN);
    rifiuta(s.propSetIntN);
    rifiuta(s.propGetPointerN);
    rifiuta(s.propGetStringN);
    rifiuta(s.propGetDoubleN);
    rifiuta(s.propReset);
    rifiuta(s.propGetDimension);
    return s;
}

OfxParameterSuiteV1 suite_parametri()
{
    OfxParameterSuiteV1 s{};
    s.paramDefine = Riparo<paramDefine>::chiama;
    s.paramGetHandle = Riparo<paramGetHandle>::chiama;
    s.paramGetValue = paramGetValue;
    s.paramGetValueAtTime = paramGetValueAtTime;
    s.paramSetValue = paramSetValue;
    rifiuta(s.paramSetGetPropertySet);
    rifiuta(s.paramGetPropertySet);
    rifiuta(s.paramGetDerivative);
    rifiuta(s.paramGetIntegral);
    rifiuta(s.paramSetValueAtTime);
    rifiuta(s.paramGetNumKeys);
    rifiuta(s.paramGetKeyTime);
    rifiuta(s.paramGetKeyIndex);
    rifiuta(s.paramDeleteKey);
    rifiuta(s.paramDeleteAllKeys);
    rifiuta(s.paramCopy);
    rifiuta(s.paramEditBegin);
    rifiuta(s.paramEditEnd);
    return s;
}

OfxImageEffectSuiteV1 suite_effetto()
{
    OfxImageEffectSuiteV1 s{};
    s.getPropertySet = Riparo<getPropertySet>::chiama;
    s.getParamSet = Riparo<getParamSet>::chiama;
    s.clipDefine = Riparo<clipDefine>::chiama;
    s.clipGetHandle = Riparo<clipGetHandle>::chiama;
    s.clipGetImage = Riparo<clipGetImage>::chiama;
    s.clipReleaseImage = Riparo<clipReleaseImage>::chiama;
    rifiuta(s.clipGetPropertySet);
    rifiuta(s.clipGetRegionOfDefinition);
    rifiuta(s.abort);
    rifiuta(s.imageMemoryAlloc);
    rifiuta(s.imageMemoryFree);
    rifiuta(s.imageMemoryLock);
    rifiuta(s.imageMemoryUnlock);
    return s;
}

}  // namespace

const void* suite(const std::string& nome, int versione)
{
    static const OfxPropertySuiteV1 proprieta = suite_proprieta();
    static const OfxParameterSuiteV1 parametri = suite_parametri();
    static const OfxImageEffectSuiteV1 effetto = suite_effetto();
    if (versione != 1)
        return nullptr;
    if (nome == "OfxPropertySuite")
        return &proprieta;
    if (nome == "OfxParameterSuite")
        return &parametri;
    return nome == "OfxImageEffectSuite" ? &effetto : nullptr;
}

}  // namespace varno::banco
