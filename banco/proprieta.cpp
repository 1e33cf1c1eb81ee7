// Property sets: what each holds, and what may be written into it.
#include "banco/interno.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <iterator>
#include <limits>

namespace varno::banco {
namespace {

constexpr Tipo I = Tipo::intero;
constexpr Tipo D = Tipo::numero;
constexpr Tipo S = Tipo::testo;

struct Regola {
    const char* nome;
    Tipo tipo;
    int dimensione;           // 0: any
    const char* predefinito;  // null: no value yet
};

// clang-format off
constexpr Regola EFFETTO[] = {
    {"OfxPropLabel",                                   S, 1, ""},
    {"OfxPropShortLabel",                              S, 1, ""},
    {"OfxPropLongLabel",                               S, 1, ""},
    {"OfxImageEffectPluginPropGrouping",               S, 1, ""},
    {"OfxPropVersion",                                 I, 0, nullptr},
    {"OfxPropVersionLabel",                            S, 1, ""},
    {"OfxPropPluginDescription",                       S, 1, ""},
    {"OfxImageEffectPropSupportedContexts",            S, 0, nullptr},
    {"OfxImageEffectPropSupportedPixelDepths",         S, 0, nullptr},
    {"OfxImageEffectPropSupportsMultiResolution",      I, 1, "1"},
    {"OfxImageEffectPropSupportsTiles",                I, 1, "1"},
    {"OfxImageEffectPluginRenderThreadSafety",         S, 1, "OfxImageEffectRenderInstanceSafe"},
    {"OfxImageEffectPluginPropHostFrameThreading",     I, 1, "1"},
    {"OfxImageEffectPropTemporalClipAccess",           I, 1, "0"},
    {"OfxImageEffectPluginPropSingleInstance",         I, 1, "0"},
    {"OfxImageEffectPropMultipleClipDepths",           I, 1, "0"},
    {"OfxImageEffectPropSupportsMultipleClipPARs",     I, 1, "0"},
    {"OfxImageEffectPluginPropFieldRenderTwiceAlways", I, 1, "1"},
    {"OfxImageEffectPropClipPreferencesSlaveParam",    S, 0, nullptr},
};

constexpr Regola CLIP[] = {
    {"OfxPropLabel",                          S, 1, ""},
    {"OfxPropShortLabel",                     S, 1, ""},
    {"OfxPropLongLabel",                      S, 1, ""},
    {"OfxImageEffectPropSupportedComponents", S, 0, nullptr},
    {"OfxImageEffectPropTemporalClipAccess",  I, 1, "0"},
    {"OfxImageEffectPropSupportsTiles",       I, 1, "1"},
    {"OfxImageClipPropOptional",              I, 1, "0"},
    {"OfxImageClipPropIsMask",                I, 1, "0"},
    {"OfxImageClipPropFieldExtraction",       S, 1, "OfxFieldDoubled"},
};

constexpr Regola PARAMETRO[] = {
    {"OfxPropShortLabel",            S, 1, ""},
    {"OfxPropLongLabel",             S, 1, ""},
    {"OfxParamPropHint",             S, 1, ""},
    {"OfxParamPropParent",           S, 1, ""},
    {"OfxParamPropSecret",           I, 1, "0"},
    {"OfxParamPropEnabled",          I, 1, "1"},
    {"OfxParamPropPersistant",       I, 1, "1"},
    {"OfxParamPropEvaluateOnChange", I, 1, "1"},
    {"OfxParamPropCanUndo",          I, 1, "1"},
    {"OfxParamPropCacheInvalidation", S, 1, "OfxParamInvalidateValueChange"},
};

// Texts that only take words of the standard.
struct Parole {
    const char* proprieta;
    std::vector<std::string> ammesse;
};
// clang-format on

const std::vector<Parole>& parole()
{
    static const std::vector<Parole> tutte = {
        {"OfxImageEffectPropSupportedContexts",
         {"OfxImageEffectContextFilter", "OfxImageEffectContextGeneral",
          "OfxImageEffectContextGenerator", "OfxImageEffectContextTransition",
          "OfxImageEffectContextPaint", "OfxImageEffectContextRetimer"}},
        {"OfxImageEffectPropSupportedPixelDepths",
         {"OfxBitDepthFloat", "OfxBitDepthByte", "OfxBitDepthShort", "OfxBitDepthHalf"}},
        {"OfxImageEffectPropSupportedComponents",
         {"OfxImageComponentRGBA", "OfxImageComponentRGB", "OfxImageComponentAlpha"}},
        {"OfxImageEffectPluginRenderThreadSafety",
         {"OfxImageEffectRenderUnsafe", "OfxImageEffectRenderInstanceSafe",
          "OfxImageEffectRenderFullySafe"}},
        {"OfxParamPropDoubleType",
         {"OfxParamDoubleTypePlain", "OfxParamDoubleTypeScale", "OfxParamDoubleTypeAngle",
          "OfxParamDoubleTypeTime"}},
    };
    return tutte;
}

// Flags: ints of which only 0 and 1 are meant.
bool e_interruttore(std::string_view nome)
{
    return nome.find("Supports") != nome.npos || nome == "OfxParamPropSecret";
}

Valore da_testo(Tipo tipo, const char* t)
{
    if (tipo == I)
        return std::atoi(t);
    if (tipo == D)
        return std::strtod(t, nullptr);
    return std::string(t);
}

template <std::size_t N> void aggiungi(Insieme& s, const Regola (&regole)[N])
{
    for (const Regola& r : regole) {
        std::vector<Valore> valori;
        if (r.predefinito != nullptr)
            valori.push_back(da_testo(r.tipo, r.predefinito));
        metti(s, r.nome, r.tipo, std::move(valori), true, r.dimensione);
    }
}

const Valore* primo(const Insieme& s, std::string_view nome)
{
    const auto trovata = s.proprieta.find(nome);
    return trovata == s.proprieta.end() || trovata->second.valori.empty()
               ? nullptr
               : &trovata->second.valori[0];
}

}  // namespace

void metti(Insieme& s, const std::string& nome, Tipo tipo, std::vector<Valore> valori,
           bool scrivibile, int dimensione)
{
    const int d = dimensione >= 0 ? dimensione : static_cast<int>(valori.size());
    s.proprieta[nome] = Proprieta{tipo, d, scrivibile, false, std::move(valori)};
}

Insieme proprieta_host()
{
    Insieme s;
    s.nome = "host";
    const auto testi = [](std::initializer_list<const char*> t) {
        return std::vector<Valore>(t.begin(), t.end());
    };
    metti(s, "OfxPropType", S, testi({"OfxTypeImageEffectHost"}));
    metti(s, "OfxPropName", S, testi({"varno.banco"}));
    metti(s, "OfxPropLabel", S, testi({"Varno bench"}));
    metti(s, "OfxPropVersion", I, {1, 0});
    metti(s, "OfxPropAPIVersion", I, {1, 4});
    metti(s, "OfxImageEffectHostPropIsBackground", I, {1});
    metti(s, "OfxImageEffectPropSupportedContexts", S, testi({FILTRO, GENERALE}));
    metti(s, "OfxImageEffectPropSupportedComponents", S, testi({"OfxImageComponentRGBA"}));
    metti(s, "OfxImageEffectPropSupportedPixelDepths", S, testi({"OfxBitDepthFloat"}));
    metti(s, "OfxImageEffectPropSupportsTiles", I, {0});
    metti(s, "OfxImageEffectPropSupportsMultiResolution", I, {0});
    metti(s, "OfxParamHostPropSupportsChoiceAnimation", I, {1});
    metti(s, "OfxParamHostPropSupportsBooleanAnimation", I, {1});
    metti(s, "OfxParamHostPropMaxParameters", I, {-1});
    return s;
}

Insieme proprieta_effetto()
{
    Insieme s;
    s.nome = "effect";
    metti(s, "OfxPropType", S, {std::string("OfxTypeImageEffect")});
    aggiungi(s, EFFETTO);
    return s;
}

Insieme proprieta_clip(const std::string& nome)
{
    Insieme s;
    s.nome = "clip " + nome;
    metti(s, "OfxPropType", S, {std::string("OfxTypeClip")});
    metti(s, "OfxPropName", S, {nome});
    aggiungi(s, CLIP);
    return s;
}

Insieme proprieta_parametro(const std::string& nome, const std::string& tipo)
{
    Insieme s;
    s.nome = nome;
    metti(s, "OfxPropType", S, {std::string("OfxTypeParameter")});
    metti(s, "OfxPropName", S, {nome});
    metti(s, "OfxParamPropType", S, {tipo});
    metti(s, "OfxPropLabel", S, {nome}, true);
    metti(s, "OfxParamPropScriptName", S, {nome}, true);
    aggiungi(s, PARAMETRO);
    if (tipo == "OfxParamTypeDouble") {
        const double estremo = std::numeric_limits<double>::max();
        metti(s, "OfxParamPropDefault", D, {0.0}, true);
        metti(s, "OfxParamPropMin", D, {-estremo}, true);
        metti(s, "OfxParamPropMax", D, {estremo}, true);
        metti(s, "OfxParamPropDisplayMin", D, {-estremo}, true);
        metti(s, "OfxParamPropDisplayMax", D, {estremo}, true);
        metti(s, "OfxParamPropDoubleType", S, {std::string("OfxParamDoubleTypePlain")}, true);
        metti(s, "OfxParamPropIncrement", D, {1.0}, true);
        metti(s, "OfxParamPropDigits", I, {2}, true);
        metti(s, "OfxParamPropAnimates", I, {1}, true);
    } else {
        metti(s, "OfxParamPropDefault", I, {0}, true);
        metti(s, "OfxParamPropAnimates", I, {0}, true);
    }
    if (tipo == "OfxParamTypeChoice") {
        metti(s, "OfxParamPropChoiceOption", S, {}, true, 0);
        metti(s, "OfxParamPropChoiceOrder", I, {}, true, 0);
    }
    return s;
}

Insieme proprieta_su_istanza(const Insieme& descrittore)
{
    Insieme s = descrittore;
    for (auto& [nome, p] : s.proprieta)
        p.scrivibile = nome == "OfxParamPropSecret" || nome == "OfxParamPropEnabled" ||
                       nome == "OfxPropLabel" || nome == "OfxPropInstanceData";
    return s;
}

int scrivi_proprieta(Insieme& s, const char* nome, int indice, const Valore& v, std::string& perche)
{
    const auto trovata = s.proprieta.find(std::string_view(nome));
    if (trovata == s.proprieta.end()) {
        perche = "no such property";
        return kOfxStatErrUnknown;
    }
    Proprieta& p = trovata->second;
    if (static_cast<int>(p.tipo) != static_cast<int>(v.index())) {
        perche = "wrong type";
        return kOfxStatErrUnknown;
    }
    if (!p.scrivibile) {
        perche = "read-only";
        return kOfxStatErrValue;
    }
    const auto quanti = static_cast<int>(p.valori.size());
    // A property of any dimension grows one by one, so that no gap is left.
    if (indice < 0 || (p.dimensione > 0 ? indice >= p.dimensione : indice > quanti)) {
        perche = "bad index";
        return kOfxStatErrBadIndex;
    }
    if (p.tipo == Tipo::testo) {
        for (const Parole& gruppo : parole())
            if (trovata->first == gruppo.proprieta &&
                std::find(gruppo.ammesse.begin(), gruppo.ammesse.end(), std::get<std::string>(v)) ==
                    gruppo.ammesse.end()) {
                perche = "not a word of the standard";
                return kOfxStatErrValue;
            }
    } else if (p.tipo == Tipo::intero && e_interruttore(nome) && std::get<int>(v) != 0 &&
               std::get<int>(v) != 1) {
        perche = "a flag is 0 or 1";
        return kOfxStatErrValue;
    }
    if (indice >= quanti)
        p.valori.resize(static_cast<std::size_t>(indice) + 1, v);
    p.valori[static_cast<std::size_t>(indice)] = v;

    // As the standard has it, a limit resets its display limit and a label the other labels.
    const auto anche = [&](const char* altra) {
        const auto altra_trovata = s.proprieta.find(std::string_view(altra));
        if (altra_trovata != s.proprieta.end())
            altra_trovata->second.valori = {v};
    };
    if (trovata->first == "OfxParamPropMin")
        anche("OfxParamPropDisplayMin");
    if (trovata->first == "OfxParamPropMax")
        anche("OfxParamPropDisplayMax");
    if (trovata->first == "OfxPropLabel") {
        anche("OfxPropShortLabel");
        anche("OfxPropLongLabel");
    }
    return kOfxStatOK;
}

int leggi_proprieta(const Insieme& s, const char* nome, int indice, Tipo tipo,
                    const Valore*& uscita, std::string& perche)
{
    const auto trovata = s.proprieta.find(std::string_view(nome));
    if (trovata == s.proprieta.end() || trovata->second.tipo != tipo) {
        perche = trovata == s.proprieta.end() ? "no such property" : "wrong type";
        return kOfxStatErrUnknown;
    }
    const Proprieta& p = trovata->second;
    if (p.assente)
        return kOfxStatErrUnknown;
    if (indice < 0 || indice >= static_cast<int>(p.valori.size())) {
        perche = "bad index";
        return kOfxStatErrBadIndex;
    }
    uscita = &p.valori[static_cast<std::size_t>(indice)];
    return kOfxStatOK;
}

std::string testo_di(double v)
{
    char t[32];
#ifdef __cpp_lib_to_chars
    const double grandezza = std::abs(v);
    const bool fisso = v == 0.0 || (grandezza >= 1e-5 && grandezza < 1e15);
    const auto fine = std::to_chars(
        t, std::end(t), v, fisso ? std::chars_format::fixed : std::chars_format::scientific);
    return {t, fine.ptr};
#else  // the packages' C++ library, where only messages need it
    std::snprintf(t, sizeof t, "%.17g", v);
    return t;
#endif
}

std::string testo_di(const Valore& v)
{
    if (const int* i = std::get_if<int>(&v))
        return std::to_string(*i);
    if (const double* d = std::get_if<double>(&v))
        return testo_di(*d);
    if (const std::string* t = std::get_if<std::string>(&v))
        return *t;
    return std::get<void*>(v) == nullptr ? "null" : "pointer";
}

int intero(const Insieme& s, std::string_view nome)
{
    const Valore* v = primo(s, nome);
    return v != nullptr ? std::get<int>(*v) : 0;
}

double numero(const Insieme& s, std::string_view nome)
{
    const Valore* v = primo(s, nome);
    return v != nullptr ? std::get<double>(*v) : 0.0;
}

std::string stringa(const Insieme& s, std::string_view nome)
{
    const Valore* v = primo(s, nome);
    return v != nullptr ? std::get<std::string>(*v) : std::string();
}

std::vector<std::string> stringhe(const Insieme& s, std::string_view nome)
{
    std::vector<std::string> testi;
    const auto trovata = s.proprieta.find(nome);
    if (trovata != s.proprieta.end())
        for (const Valore& v : trovata->second.valori)
            testi.push_back(std::get<std::string>(v));
    return testi;
}

}  // namespace varno::banco
