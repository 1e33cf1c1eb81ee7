// A plug-in that hands the picture on as it came: what reaches one can be read from the output.
#include "ofx/ofx.h"

#include <cstddef>
#include <cstring>
#include <initializer_list>

namespace {

OfxHost* gHost;
const OfxPropertySuiteV1* gProp;
const OfxImageEffectSuiteV1* gEff;
const OfxParameterSuiteV1* gParm;

struct Vista {
    OfxPropertySetHandle props = nullptr;
    void* dati = nullptr;
    int byte = 0;
    int limiti[4] = {};
};

Vista prendi(OfxImageEffectHandle effetto, const char* nome, double tempo)
{
    Vista v;
    OfxImageClipHandle clip;
    gEff->clipGetHandle(effetto, nome, &clip, nullptr);
    gEff->clipGetImage(clip, tempo, nullptr, &v.props);
    gProp->propGetPointer(v.props, "OfxImagePropData", 0, &v.dati);
    gProp->propGetInt(v.props, "OfxImagePropRowBytes", 0, &v.byte);
    gProp->propGetIntN(v.props, "OfxImagePropBounds", 4, v.limiti);
    return v;
}

OfxStatus entra(const char* azione, const void* maniglia, OfxPropertySetHandle dentro,
                OfxPropertySetHandle)
{
    auto* effetto = static_cast<OfxImageEffectHandle>(const_cast<void*>(maniglia));
    OfxPropertySetHandle p = nullptr;
    const auto chiesta = [&](const char* nome) { return std::strcmp(azione, nome) == 0; };
    if (chiesta("OfxActionLoad")) {
        gProp = static_cast<const OfxPropertySuiteV1*>(
            gHost->fetchSuite(gHost->host, "OfxPropertySuite", 1));
        gEff = static_cast<const OfxImageEffectSuiteV1*>(
            gHost->fetchSuite(gHost->host, "OfxImageEffectSuite", 1));
        gParm = static_cast<const OfxParameterSuiteV1*>(
            gHost->fetchSuite(gHost->host, "OfxParameterSuite", 1));
    } else if (chiesta("OfxActionDescribe")) {
        gEff->getPropertySet(effetto, &p);
        gProp->propSetString(p, "OfxImageEffectPropSupportedContexts", 0,
                             "OfxImageEffectContextFilter");
        gProp->propSetString(p, "OfxImageEffectPropSupportedPixelDepths", 0, "OfxBitDepthFloat");
    } else if (chiesta("OfxImageEffectActionDescribeInContext")) {
        for (const char* clip : {"Source", "Output"}) {
            gEff->clipDefine(effetto, clip, &p);
            gProp->propSetString(p, "OfxImageEffectPropSupportedComponents", 0,
                                 "OfxImageComponentRGBA");
        }
        // provino asks for it.
        OfxParamSetHandle parametri = nullptr;
        gEff->getParamSet(effetto, &parametri);
        gParm->paramDefine(parametri, "OfxParamTypeChoice", "formato", &p);
        gProp->propSetString(p, "OfxParamPropChoiceOption", 0, "None");
    } else if (chiesta("OfxImageEffectActionRender")) {
        double tempo = 0.0;
        gProp->propGetDouble(dentro, "OfxPropTime", 0, &tempo);
        const Vista da = prendi(effetto, "Source", tempo);
        const Vista a = prendi(effetto, "Output", tempo);
        for (std::ptrdiff_t y = 0; y < a.limiti[3]; ++y)
            std::memcpy(static_cast<char*>(a.dati) + y * a.byte,
                        static_cast<char*>(da.dati) + y * da.byte, 16u * a.limiti[2]);
        gEff->clipReleaseImage(da.props);
        gEff->clipReleaseImage(a.props);
    } else {
        return kOfxStatReplyDefault;
    }
    return kOfxStatOK;
}

OfxPlugin gPlugin = {"OfxImageEffectPluginAPI",     1,    "it.varno.specchio", 1, 0,
                     [](OfxHost* h) { gHost = h; }, entra};

}  // namespace

VARNO_ESPORTA int OfxGetNumberOfPlugins()
{
    return 1;
}
VARNO_ESPORTA OfxPlugin* OfxGetPlugin(int)
{
    return &gPlugin;
}
