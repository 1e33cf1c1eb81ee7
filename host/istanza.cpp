// An instance keeps nothing here: its state is the host's parameters. A status is looked at only
// where a failing handle must skip the write that hangs on it.
#include "host/istanza.h"

#include "looks/catalogo.h"
#include "ofx/suite.h"
#include "render/formato.h"
#include "render/parametri_effetti.h"

#include <cstring>

namespace varno {
namespace {

// Null behind the last.
const ParametroEffetto* consiglio(int posto)
{
    for (const ParametroEffetto& p : PARAMETRI_EFFETTI)
        if (p.consiglio == posto)
            return &p;
    return nullptr;
}

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
    const char* mostrata = tendina_colorspace(f);
    for (const char* nome : TENDINE) {
        OfxParamHandle scelta = nullptr;  // hosts write it unchecked, though only props is wanted
        OfxPropertySetHandle props = nullptr;
        if (gParm->paramGetHandle(parametri, nome, &scelta, &props) == kOfxStatOK &&
            props != nullptr)
            gProp->propSetInt(props, "OfxParamPropSecret", 0,
                              mostrata != nullptr && std::strcmp(mostrata, nome) == 0 ? 0 : 1);
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
    int posto = 1;
    while (const ParametroEffetto* c = consiglio(posto++)) {
        const float v = ricetta.*c->campo;
        OfxParamHandle quantita = nullptr;
        if (gParm->paramGetHandle(parametri, c->quantita, &quantita, nullptr) == kOfxStatOK)
            gParm->paramSetValue(quantita, static_cast<double>(v));
        OfxParamHandle interruttore = nullptr;
        if (gParm->paramGetHandle(parametri, c->interruttore, &interruttore, nullptr) == kOfxStatOK)
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
