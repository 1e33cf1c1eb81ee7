// A plug-in that breaks one rule at a time: its minor version says which. What the bench host does
// not find out here it would not find out anywhere.
#include "ofx/ofx.h"

#include <cstring>
#include <thread>

namespace {

OfxHost* gHost;
const OfxImageEffectSuiteV1* gEff;
const OfxPropertySuiteV1* gProp;
const OfxParameterSuiteV1* gParm;
OfxPropertySetHandle gVecchio;  // of an action that is over
OfxParamHandle gAltrui;         // of the instance that was created first

bool reato(unsigned quale);

void descrivi(OfxImageEffectHandle effetto)
{
    OfxPropertySetHandle p = nullptr;
    gEff->getPropertySet(effetto, &p);
    for (int i = 0; i < 2; ++i)
        gProp->propSetString(p, "OfxImageEffectPropSupportedContexts", i,
                             i == 0 ? "OfxImageEffectContextFilter"
                                    : "OfxImageEffectContextGeneral");
    if (!reato(1))
        gProp->propSetString(p, "OfxImageEffectPropSupportedPixelDepths", 0, "OfxBitDepthFloat");
    if (reato(2))
        gProp->propSetString(p, "OfxPropType", 0, "mine");
    if (reato(3))
        gProp->propSetInt(p, "OfxImageEffectPropSupportsTiles", 0, 2);
    if (reato(4))
        gProp->propSetString(p, "OfxImageEffectPluginRenderThreadSafety", 0, "quite");
    if (reato(5))
        gProp->propSetString(p, "OfxPropLabel", 0, nullptr);
    if (reato(6))
        gHost->fetchSuite(nullptr, "OfxPropertySuite", 1);
}

void descrivi_contesto(OfxImageEffectHandle effetto)
{
    OfxPropertySetHandle p = nullptr;
    for (const char* clip : {"Source", "Output"}) {
        gEff->clipDefine(effetto, clip, &p);
        if (!reato(7))
            gProp->propSetString(p, "OfxImageEffectPropSupportedComponents", 0,
                                 "OfxImageComponentRGBA");
    }
    OfxParamSetHandle set = nullptr;
    gEff->getParamSet(effetto, &set);
    gParm->paramDefine(set, "OfxParamTypeDouble", "d", &p);
    gProp->propSetDouble(p, "OfxParamPropMin", 0, 0.0);
    gProp->propSetDouble(p, "OfxParamPropMax", 0, 1.0);
    if (reato(8))
        gProp->propSetDouble(p, "OfxParamPropDefault", 0, 2.0);
    if (reato(9))
        gParm->paramDefine(set, "OfxParamTypeDouble", "d", &p);
    gParm->paramDefine(set, "OfxParamTypeChoice", "c", &p);
    gProp->propSetString(p, "OfxParamPropChoiceOption", reato(10) ? 1 : 0, "one");
    if (reato(11)) {
        OfxParamHandle h = nullptr;
        int v = 0;
        gParm->paramGetHandle(set, "c", &h, nullptr);
        gParm->paramGetValue(h, &v);
    }
}

void cambia(OfxImageEffectHandle effetto, OfxPropertySetHandle in)
{
    OfxParamSetHandle set = nullptr;
    OfxParamHandle h = nullptr;
    gEff->getParamSet(effetto, &set);
    gParm->paramGetHandle(set, "d", &h, nullptr);
    char* nome = nullptr;
    gProp->propGetString(in, "OfxPropName", 0, &nome);
    if (reato(20))
        gParm->paramSetValue(h, 1.5);
    if (reato(21))
        gParm->paramSetValue(h, 0.5);
    if (reato(22)) {
        OfxPropertySetHandle p = nullptr;
        gEff->getPropertySet(effetto, &p);
        gParm->paramGetHandle(set, nome, &h, nullptr);
    }
}

void rendi(OfxImageEffectHandle effetto, OfxPropertySetHandle in)
{
    OfxImageClipHandle clip = nullptr;
    gEff->clipGetHandle(effetto, "Source", &clip, nullptr);
    OfxPropertySetHandle img = nullptr;
    const OfxRectD regione = {0, 0, 1, 1};
    gEff->clipGetImage(clip, reato(30) ? 9.0 : 1.0, reato(31) ? &regione : nullptr, &img);
    double d = 0.0;
    int i = 0;
    OfxParamSetHandle set = nullptr;
    gEff->getParamSet(effetto, &set);
    OfxParamHandle h = nullptr;
    gParm->paramGetHandle(set, "d", reato(32) ? nullptr : &h, nullptr);
    if (reato(33))
        gParm->paramSetValue(h, 0.5);
    if (reato(34))
        gParm->paramGetValue(h, &d);
    if (reato(35))
        gProp->propGetInt(in, "OfxPropTime", 0, &i);
    if (reato(36))
        gProp->propGetInt(in, "OfxPropTimes", 0, &i);
    if (reato(37))
        gProp->propGetDouble(in, "OfxPropTime", 1, &d);
    if (reato(38))
        gProp->propGetDouble(gVecchio, "OfxPropTime", 0, &d);
    if (reato(39))
        gParm->paramGetValueAtTime(gAltrui, 1.0, &d);
    if (reato(40)) {
        OfxPropertySetHandle p = nullptr;
        gParm->paramGetHandle(set, "d", &h, &p);
        gProp->propSetInt(p, "OfxParamPropSecret", 0, 1);
    }
    if (reato(41))
        std::thread([&] { gProp->propGetDouble(in, "OfxPropTime", 0, &d); }).join();
    if (reato(42))
        gProp->propReset(in, "OfxPropTime");
    if (!reato(43))
        gEff->clipReleaseImage(img);
    if (reato(44))
        gEff->clipReleaseImage(img);
    if (reato(45))
        gProp->propGetInt(img, "OfxImagePropRowBytes", 0, &i);
    gVecchio = in;
}

extern "C" {

void setHost(OfxHost* host)
{
    gHost = host;
}

OfxStatus mainEntry(const char* azione, const void* handle, OfxPropertySetHandle in,
                    OfxPropertySetHandle)
{
    auto* effetto = static_cast<OfxImageEffectHandle>(const_cast<void*>(handle));
    const auto e = [&](const char* nome) { return std::strcmp(azione, nome) == 0; };
    if (e("OfxActionLoad")) {
        gEff = static_cast<const OfxImageEffectSuiteV1*>(
            gHost->fetchSuite(gHost->host, "OfxImageEffectSuite", 1));
        gProp = static_cast<const OfxPropertySuiteV1*>(
            gHost->fetchSuite(gHost->host, "OfxPropertySuite", 1));
        gParm = static_cast<const OfxParameterSuiteV1*>(
            gHost->fetchSuite(gHost->host, "OfxParameterSuite", 1));
    } else if (e("OfxActionDescribe")) {
        descrivi(effetto);
    } else if (e("OfxImageEffectActionDescribeInContext")) {
        descrivi_contesto(effetto);
    } else if (e("OfxActionInstanceChanged")) {
        cambia(effetto, in);
    } else if (e("OfxImageEffectActionRender")) {
        rendi(effetto, in);
    } else if (e("OfxActionCreateInstance") && gAltrui == nullptr) {
        OfxParamSetHandle set = nullptr;
        gEff->getParamSet(effetto, &set);
        gParm->paramGetHandle(set, "d", &gAltrui, nullptr);
    } else {
        return kOfxStatReplyDefault;
    }
    return kOfxStatOK;
}

}  // extern "C"

OfxPlugin gPlugin = {
    "OfxImageEffectPluginAPI", 1, "com.varnotone.cattivo", 1, 0, setHost, mainEntry};

bool reato(unsigned quale)
{
    return gPlugin.pluginVersionMinor == quale;
}

}  // namespace

VARNO_ESPORTA int OfxGetNumberOfPlugins()
{
    return 1;
}

VARNO_ESPORTA OfxPlugin* OfxGetPlugin(int nth)
{
    return nth == 0 ? &gPlugin : nullptr;
}
