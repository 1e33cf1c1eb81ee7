// The whole contact surface with the host. Statuses of the host's property and parameter calls are
// not looked at; exceptions pass through mainEntry into the host.
#include "host/istanza.h"
#include "host/parametri.h"
#include "ofx/suite.h"
#include "render/render.h"

#include <cstring>

namespace varno {

OfxHost* gHost = nullptr;
const OfxImageEffectSuiteV1* gEff = nullptr;
const OfxPropertySuiteV1* gProp = nullptr;
const OfxParameterSuiteV1* gParm = nullptr;

namespace {

OfxStatus carica()
{
    if (gHost == nullptr)
        return kOfxStatFailed;
    // All three are asked for, also where one is missing.
    gEff = static_cast<const OfxImageEffectSuiteV1*>(
        gHost->fetchSuite(gHost->host, "OfxImageEffectSuite", 1));
    gProp = static_cast<const OfxPropertySuiteV1*>(
        gHost->fetchSuite(gHost->host, "OfxPropertySuite", 1));
    gParm = static_cast<const OfxParameterSuiteV1*>(
        gHost->fetchSuite(gHost->host, "OfxParameterSuite", 1));
    return gEff != nullptr && gProp != nullptr && gParm != nullptr ? kOfxStatOK : kOfxStatFailed;
}

OfxStatus descrivi(OfxImageEffectHandle effetto)
{
    OfxPropertySetHandle p = nullptr;
    gEff->getPropertySet(effetto, &p);
    gProp->propSetString(p, "OfxPropLabel", 0, "Varno Color");
    gProp->propSetString(p, "OfxImageEffectPluginPropGrouping", 0, "Varno");
    gProp->propSetString(p, "OfxImageEffectPropSupportedContexts", 0,
                         "OfxImageEffectContextFilter");
    gProp->propSetString(p, "OfxImageEffectPropSupportedContexts", 1,
                         "OfxImageEffectContextGeneral");
    gProp->propSetString(p, "OfxImageEffectPropSupportedPixelDepths", 0, "OfxBitDepthFloat");
    gProp->propSetInt(p, "OfxImageEffectPropSupportsMultiResolution", 0, 0);
    gProp->propSetInt(p, "OfxImageEffectPropSupportsTiles", 0, 0);
    gProp->propSetString(p, "OfxImageEffectPluginRenderThreadSafety", 0,
                         "OfxImageEffectRenderInstanceSafe");
    return kOfxStatOK;
}

void definisci_clip(OfxImageEffectHandle effetto, const char* nome)
{
    OfxPropertySetHandle p = nullptr;
    gEff->clipDefine(effetto, nome, &p);
    gProp->propSetString(p, "OfxImageEffectPropSupportedComponents", 0, "OfxImageComponentRGBA");
}

OfxStatus describeInContext(OfxImageEffectHandle effetto)
{
    definisci_clip(effetto, "Source");
    definisci_clip(effetto, "Output");
    OfxParamSetHandle parametri = nullptr;
    gEff->getParamSet(effetto, &parametri);
    definisci_parametri(parametri);
    return kOfxStatOK;
}

extern "C" {

// No suite may be called here: the pointer is only kept.
static void setHost(OfxHost* host)
{
    gHost = host;
}

static OfxStatus mainEntry(const char* action, const void* handle, OfxPropertySetHandle inArgs,
                           OfxPropertySetHandle /*outArgs*/)
{
    auto* effetto = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    const auto e = [action](const char* nome) { return std::strcmp(action, nome) == 0; };

    if (e("OfxActionLoad"))
        return carica();
    if (e("OfxActionDescribe"))
        return descrivi(effetto);
    if (e("OfxImageEffectActionDescribeInContext"))
        return describeInContext(effetto);
    if (e("OfxImageEffectActionRender"))
        return render(effetto, inArgs);
    if (e("OfxImageEffectActionGetClipPreferences"))
        return kOfxStatReplyDefault;
    if (e("OfxActionInstanceChanged"))
        return istanza_cambiata(effetto, inArgs);
    if (e("OfxActionCreateInstance")) {
        aggiorna_tendina_colorspace(effetto);
        return kOfxStatOK;
    }
    if (e("OfxActionDestroyInstance"))
        return kOfxStatOK;
    return kOfxStatReplyDefault;
}

}  // extern "C"

OfxPlugin gPlugin = {
    "OfxImageEffectPluginAPI", 1, "com.varnotone.varnocolor", 1, 0, setHost, mainEntry,
};

}  // namespace
}  // namespace varno

VARNO_ESPORTA int OfxGetNumberOfPlugins()
{
    return 1;
}

VARNO_ESPORTA OfxPlugin* OfxGetPlugin(int nth)
{
    return nth == 0 ? &varno::gPlugin : nullptr;
}
