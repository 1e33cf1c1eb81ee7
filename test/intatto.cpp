// A plug-in that hands the picture on as it came: what reaches one can be read from the output.
#include "ofx/ofx.h"

#include <cstring>

namespace {

OfxHost* gHost;
const OfxPropertySuiteV1* gProp;
const OfxImageEffectSuiteV1* gEff;
const OfxParameterSuiteV1* gParm;

template <class Suite> void prendi(const Suite*& suite, const char* nome)
{
    suite = static_cast<const Suite*>(gHost->fetchSuite(gHost->host, nome, 1));
}

OfxStatus entra(const char* azione, const void* maniglia, OfxPropertySetHandle dentro,
                OfxPropertySetHandle)
{
    auto* effetto = static_cast<OfxImageEffectHandle>(const_cast<void*>(maniglia));
    OfxPropertySetHandle p = nullptr;
    const auto chiesta = [&](const char* nome) { return std::strcmp(azione, nome) == 0; };
    constexpr const char* CLIP[] = {"Source", "Output"};
    if (chiesta("OfxActionLoad")) {
        prendi(gProp, "OfxPropertySuite");
        prendi(gEff, "OfxImageEffectSuite");
        prendi(gParm, "OfxParameterSuite");
    } else if (chiesta("OfxActionDescribe")) {
        gEff->getPropertySet(effetto, &p);
        gProp->propSetString(p, "OfxImageEffectPropSupportedContexts", 0,
                             "OfxImageEffectContextFilter");
        gProp->propSetString(p, "OfxImageEffectPropSupportedPixelDepths", 0, "OfxBitDepthFloat");
    } else if (chiesta("OfxImageEffectActionDescribeInContext")) {
        for (const char* clip : CLIP) {
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
        OfxPropertySetHandle foto[2];
        void* dati[2];
        int byte[2];
        int limiti[4];
        gProp->propGetDouble(dentro, "OfxPropTime", 0, &tempo);
        for (int i = 0; i < 2; ++i) {
            OfxImageClipHandle clip;
            gEff->clipGetHandle(effetto, CLIP[i], &clip, nullptr);
            gEff->clipGetImage(clip, tempo, nullptr, &foto[i]);
            gProp->propGetPointer(foto[i], "OfxImagePropData", 0, &dati[i]);
            gProp->propGetInt(foto[i], "OfxImagePropRowBytes", 0, &byte[i]);
            gProp->propGetIntN(foto[i], "OfxImagePropBounds", 4, limiti);
        }
        for (long y = 0; y < limiti[3]; ++y)
            std::memcpy(static_cast<char*>(dati[1]) + y * byte[1],
                        static_cast<char*>(dati[0]) + y * byte[0], 16u * limiti[2]);
        for (const OfxPropertySetHandle f : foto)
            gEff->clipReleaseImage(f);
    } else {
        return kOfxStatReplyDefault;
    }
    return kOfxStatOK;
}

OfxPlugin gPlugin = {"OfxImageEffectPluginAPI",     1,    "it.varno.intatto", 1, 0,
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
