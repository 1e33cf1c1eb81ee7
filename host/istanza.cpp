// An instance keeps nothing here: its state is the host's parameters. A status is looked at only
// where a failing handle must skip the write that hangs on it.
#include "host/istanza.h"

#include "looks/catalogo.h"
#include "ofx/suite.h"

#include <cstring>

namespace varno {
namespace {

struct Tendina {
    const char* nome;
    int formati[2];  // the log formats that show it
};

constexpr Tendina TENDINE[] = {
    {"cs_sony3", {0, 0}},
    {"cs_sony2", {1, 1}},
    {"cs_canon", {4, 12}},
    {"cs_apple", {11, 11}},
};

struct Consiglio {
    const char* quantita;
    const char* interruttore;
    float FxRicetta::*campo;
};

// Grain and star are the user's own: no look touches them.
constexpr Consiglio CONSIGLI[] = {
    {"halation", "halation_on", &FxRicetta::halation},
    {"bloom", "bloom_on", &FxRicetta::bloom},
    {"enhance", "enhance_on", &FxRicetta::enhance},
    {"vignetta", "vignetta_on", &FxRicetta::vignetta},
    {"promist", "promist_on", &FxRicetta::promist},
    {"mistw", "mistw_on", &FxRicetta::mistw},
    {"glimmer", "glimmer_on", &FxRicetta::glimmer},
    {"pelle", "pelle_on", &FxRicetta::pelle},
    {"streak", "streak_on", &FxRicetta::streak},
    {"ca", "ca_on", &FxRicetta::ca},
};

}  // namespace

void aggiorna_tendina_colorspace(OfxImageEffectHandle handle)
{
    OfxParamSetHandle parametri = nullptr;
    gEff->getParamSet(handle, &parametri);
    OfxParamHandle formato = nullptr;
    if (gParm->paramGetHandle(parametri, "formato", &formato, nullptr) != kOfxStatOK)
        return;
    int f = 0;
    gParm->paramGetValue(formato, &f);
    for (const Tendina& t : TENDINE) {
        OfxParamHandle scelta = nullptr;  // hosts write it unchecked, though only props is wanted
        OfxPropertySetHandle props = nullptr;
        if (gParm->paramGetHandle(parametri, t.nome, &scelta, &props) == kOfxStatOK &&
            props != nullptr)
            gProp->propSetInt(props, "OfxParamPropSecret", 0,
                              f == t.formati[0] || f == t.formati[1] ? 0 : 1);
    }
}

void applica_look(OfxImageEffectHandle handle)
{
    OfxParamSetHandle parametri = nullptr;
    gEff->getParamSet(handle, &parametri);
    OfxParamHandle scelta = nullptr;
    gParm->paramGetHandle(parametri, "look", &scelta, nullptr);
    int indice = 0;
    gParm->paramGetValue(scelta, &indice);
    static const std::vector<LookDef> lks = catalogo();
    if (indice < 0 || static_cast<std::size_t>(indice) >= lks.size())
        return;
    const FxRicetta& ricetta = lks[static_cast<std::size_t>(indice)].ricetta;
    for (const Consiglio& c : CONSIGLI) {
        const float v = ricetta.*c.campo;
        OfxParamHandle quantita = nullptr;
        if (gParm->paramGetHandle(parametri, c.quantita, &quantita, nullptr) == kOfxStatOK)
            gParm->paramSetValue(quantita, static_cast<double>(v));
        OfxParamHandle interruttore = nullptr;
        if (gParm->paramGetHandle(parametri, c.interruttore, &interruttore, nullptr) == kOfxStatOK)
            gParm->paramSetValue(interruttore, v > 0.0f ? 1 : 0);
    }
}

OfxStatus istanza_cambiata(OfxImageEffectHandle handle, OfxPropertySetHandle inArgs)
{
    char* nome = nullptr;
    gProp->propGetString(inArgs, "OfxPropName", 0, &nome);
    if (nome == nullptr)
        return kOfxStatOK;
    // Both comparisons come before any other call into the host, which ends the text's life.
    const bool formato = std::strcmp(nome, "formato") == 0;
    const bool look = std::strcmp(nome, "look") == 0;
    if (formato)
        aggiorna_tendina_colorspace(handle);
    else if (look)
        applica_look(handle);
    return kOfxStatOK;
}

}  // namespace varno
