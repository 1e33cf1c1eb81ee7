// A small plug-in that breaks one rule at a time: each check of the bench host is made to speak.
#include "host.h"
#include "ofx/ofx.h"

using namespace prova;

namespace {

constexpr const char* DESCRIBE = "OfxActionDescribe";
constexpr const char* CONTESTO = "OfxImageEffectActionDescribeInContext";
constexpr const char* CREATE = "OfxActionCreateInstance";
constexpr const char* CHANGED = "OfxActionInstanceChanged";
constexpr const char* RENDER = "OfxImageEffectActionRender";

OfxHost* gHost;
const OfxPropertySuiteV1* gProp;
const OfxParameterSuiteV1* gParm;
const OfxImageEffectSuiteV1* gEff;

int gN[4];
double gD;
char* gT;
OfxPropertySetHandle gH, gClip;
OfxParamHandle gP;
OfxImageClipHandle gC;

// What a function hands out in its last argument.
template <class H = OfxPropertySetHandle, class F, class... A> H preso(F f, A... altri)
{
    H h = nullptr;
    f(altri..., &h);
    return h;
}

// What an action was given, and what can be had from it.
struct Dato {
    OfxImageEffectHandle effetto;
    OfxPropertySetHandle in;

    OfxPropertySetHandle props() const { return preso(gEff->getPropertySet, effetto); }
    OfxParamSetHandle set() const { return preso<OfxParamSetHandle>(gEff->getParamSet, effetto); }
    OfxPropertySetHandle props(const char* p) const
    {
        gP = nullptr;
        return preso(gParm->paramGetHandle, set(), p, &gP);
    }
    OfxParamHandle param(const char* p) const { return props(p), gP; }
    OfxPropertySetHandle immagine(double tempo, const OfxRectD* regione = nullptr) const
    {
        gEff->clipGetHandle(effetto, "Source", &gC, nullptr);
        return preso(gEff->clipGetImage, gC, tempo, regione);
    }
    OfxPropertySetHandle definito(const char* tipo, const char* p) const
    {
        return preso(gParm->paramDefine, set(), tipo, p);
    }
    OfxPropertySetHandle clip(const char* c) const { return preso(gEff->clipDefine, effetto, c); }
};

// A rule, and the call that breaks it.
struct Caso {
    const char* quando;  // the action
    const char* detto;   // what the host says
    void (*rompi)(const Dato&) = [](const Dato&) {};
    const char* senza = "";  // what the description leaves out
    int stato = 14;          // what the action answers
};
const Caso BUONO = {"", ""};
const Caso* gCaso = &BUONO;
Testi gAzioni;

void descrivi(const Dato& d)
{
    const auto testo = [](OfxPropertySetHandle h, const std::string& nome, const char* valore) {
        if (nome != gCaso->senza)
            gProp->propSetString(h, nome.c_str(), 0, valore);
    };
    testo(d.props(), "OfxImageEffectPropSupportedContexts", FILTRO);
    testo(d.props(), "OfxImageEffectPropSupportedPixelDepths", "OfxBitDepthFloat");
}

void descrivi_contesto(const Dato& d)
{
    for (const char* nome : {"Source", "Output"})
        if (std::string(nome) != gCaso->senza)
            gProp->propSetString(gClip = d.clip(nome), "OfxImageEffectPropSupportedComponents", 0,
                                 "OfxImageComponentRGBA");
    const OfxPropertySetHandle numero = d.definito("OfxParamTypeDouble", "d");
    gProp->propSetDouble(numero, "OfxParamPropMin", 0, 0.0);
    gProp->propSetDouble(numero, "OfxParamPropMax", 0, 1.0);
    d.definito("OfxParamTypeBoolean", "b");
    for (int n = 0; n < 2; ++n)
        gProp->propSetString(n == 0 ? gH = d.definito("OfxParamTypeChoice", "c") : gH,
                             "OfxParamPropChoiceOption", n, "option");
}

int entrata(const char* azione, const void* handle, OfxPropertySetHandle in, OfxPropertySetHandle)
{
    gAzioni.push_back(azione);
    const std::string nome = azione;
    const Dato d = {static_cast<OfxImageEffectHandle>(const_cast<void*>(handle)), in};
    if (nome == "OfxActionLoad") {
        const auto suite = [](const char* quale) {
            return gHost->fetchSuite(gHost->host, quale, 1);
        };
        gProp = static_cast<const OfxPropertySuiteV1*>(suite("OfxPropertySuite"));
        gParm = static_cast<const OfxParameterSuiteV1*>(suite("OfxParameterSuite"));
        gEff = static_cast<const OfxImageEffectSuiteV1*>(suite("OfxImageEffectSuite"));
    } else if (nome == DESCRIBE) {
        descrivi(d);
    } else if (nome == CONTESTO) {
        descrivi_contesto(d);
    }
    if (nome != gCaso->quando)
        return 14;
    gCaso->rompi(d);
    return gCaso->stato;
}

OfxPlugin gCattivo = {"OfxImageEffectPluginAPI",     1,      "cattivo", 1, 0,
                      [](OfxHost* h) { gHost = h; }, entrata};

template <class Maniglia> Maniglia altra(const Dato& d)
{
    return reinterpret_cast<Maniglia>(d.effetto);  // good for another kind of thing
}

// From load to unload, with a change and a frame; what the host said against it.
Testi sessione(const Caso& caso)
{
    gCaso = &caso;
    gAzioni.clear();
    const ModuloPtr m = apri(&gCattivo);
    dai_host(*m);
    azione(*m, "OfxActionLoad");
    azione(*m, DESCRIBE);
    descrivi_in_contesto(*m, FILTRO);
    const IstanzaPtr i = crea_istanza(*m);
    cambia(*i, "d", 0.5);
    const Rettangolo f{0, 0, 3, 2};
    Tela t = tela(f);
    rendi(*i, 0.0, f, figura(t), figura(t));
    Testi violazioni = violazioni_senza_azione();
    for (const Registro* r : {&registro(*m), &registro(*i)})
        violazioni.insert(violazioni.end(), r->violazioni.begin(), r->violazioni.end());
    return violazioni;
}

// clang-format off
const Caso CASI[] = {
    // handles
    {RENDER, "clipReleaseImage ? -> 9: stale or foreign image", [](const Dato& d) { gH = d.immagine(0); gEff->clipReleaseImage(gH); gEff->clipReleaseImage(gH); }},
    {RENDER, "clipReleaseImage ? -> 9: null image", [](const Dato&) { gEff->clipReleaseImage(nullptr); }},
    {RENDER, "image of Source not released", [](const Dato& d) { d.immagine(0); }},
    {RENDER, "stale or foreign clip", [](const Dato& d) { gEff->clipGetImage(altra<OfxImageClipHandle>(d), 0, nullptr, &gH); }},
    {CREATE, "stale or foreign property set", [](const Dato& d) { gProp->propGetInt(altra<OfxPropertySetHandle>(d), "OfxPropType", 0, gN); }},
    {CREATE, "null property set", [](const Dato&) { gProp->propSetInt(nullptr, "OfxParamPropSecret", 0, 1); }},
    {CREATE, "stale or foreign parameter", [](const Dato& d) { gParm->paramGetValue(altra<OfxParamHandle>(d), gN); }},
    {CREATE, "null parameter", [](const Dato&) { gParm->paramSetValue(nullptr, 1); }},
    {CREATE, "stale or foreign parameter set", [](const Dato& d) { gParm->paramGetHandle(altra<OfxParamSetHandle>(d), "d", &gP, nullptr); }},
    {CREATE, "stale or foreign parameter set", [](const Dato& d) { gParm->paramDefine(d.set(), "OfxParamTypeDouble", "e", &gH); }},
    {CONTESTO, "null effect", [](const Dato&) { gEff->getPropertySet(nullptr, &gH); }},
    {CONTESTO, "null effect", [](const Dato&) { preso<OfxParamSetHandle>(gEff->getParamSet, OfxImageEffectHandle()); }},
    {CREATE, "effect descriptor", [](const Dato& d) { d.clip("Mask"); }},
    {CONTESTO, "effect instance", [](const Dato& d) { gEff->clipGetHandle(d.effetto, "Source", &gC, nullptr); }},
    {CREATE, "not the host's own", [](const Dato& d) { gHost->fetchSuite(altra<OfxPropertySetHandle>(d), "OfxPropertySuite", 1); }},
    {CREATE, "no action is under way", [](const Dato& d) { std::thread([&] { gProp->propGetInt(d.in, "x", 0, gN); }).join(); }},
    // arguments
    {CREATE, "null text", [](const Dato& d) { gProp->propSetString(d.props(), "OfxPropLabel", 0, nullptr); }},
    {CREATE, "no name", [](const Dato& d) { gProp->propSetInt(d.props(), nullptr, 0, 1); }},
    {CREATE, "null argument", [](const Dato& d) { gProp->propGetInt(d.props(), "OfxPropType", 0, nullptr); }},
    {CREATE, "null argument", [](const Dato& d) { gProp->propGetInt(d.props(), nullptr, 0, gN); }},
    {RENDER, "bad count", [](const Dato& d) { gProp->propGetIntN(d.in, "OfxImageEffectPropRenderWindow", 0, gN); }},
    {CREATE, "null argument", [](const Dato& d) { gEff->getPropertySet(d.effetto, nullptr); }},
    {CREATE, "null argument", [](const Dato& d) { gEff->getParamSet(d.effetto, nullptr); }},
    {CONTESTO, "null argument", [](const Dato& d) { gEff->clipDefine(d.effetto, "Mask", nullptr); }},
    {CREATE, "null argument", [](const Dato& d) { gEff->clipGetHandle(d.effetto, "Source", nullptr, nullptr); }},
    {RENDER, "null argument", [](const Dato& d) { gEff->clipGetHandle(d.effetto, "Source", &gC, nullptr); gEff->clipGetImage(gC, 0, nullptr, nullptr); }},
    {CREATE, "no place for the handle", [](const Dato& d) { gParm->paramGetHandle(d.set(), "d", nullptr, &gH); }},
    {CREATE, "no place for the value", [](const Dato& d) { gParm->paramGetValue(d.param("d"), nullptr); }},
    {CREATE, "no name", [](const Dato& d) { d.param(nullptr); }},
    {CREATE, "no such parameter", [](const Dato& d) { d.param("e"); }},
    {CREATE, "no such clip", [](const Dato& d) { gEff->clipGetHandle(d.effetto, "Mask", &gC, nullptr); }},
    // what is written and read
    {DESCRIBE, "no such property", [](const Dato& d) { gProp->propSetInt(d.props(), "OfxPropLabe", 0, 1); }},
    {DESCRIBE, "wrong type", [](const Dato& d) { gProp->propSetInt(d.props(), "OfxPropLabel", 0, 1); }},
    {DESCRIBE, "read-only", [](const Dato& d) { gProp->propSetString(d.props(), "OfxPropType", 0, "mine"); }},
    {DESCRIBE, "bad index", [](const Dato& d) { gProp->propSetString(d.props(), "OfxPropLabel", 1, "second"); }},
    {DESCRIBE, "bad index", [](const Dato& d) { gProp->propSetString(d.props(), "OfxPropLabel", -1, "before"); }},
    {CONTESTO, "bad index", [](const Dato& d) { gProp->propSetString(d.props("c"), "OfxParamPropChoiceOption", 3, "gap"); }},
    {DESCRIBE, "not a word", [](const Dato& d) { gProp->propSetString(d.props(), "OfxImageEffectPropSupportedContexts", 1, "Filter"); }},
    {DESCRIBE, "not a word", [](const Dato& d) { gProp->propSetString(d.props(), "OfxImageEffectPropSupportedPixelDepths", 1, "Float"); }},
    {DESCRIBE, "not a word", [](const Dato& d) { gProp->propSetString(d.props(), "OfxImageEffectPluginRenderThreadSafety", 0, "Safe"); }},
    {CONTESTO, "not a word", [](const Dato&) { gProp->propSetString(gClip, "OfxImageEffectPropSupportedComponents", 1, "RGBA"); }},
    {CONTESTO, "not a word", [](const Dato& d) { gProp->propSetString(d.props("d"), "OfxParamPropDoubleType", 0, "Plain"); }},
    {DESCRIBE, "0 or 1", [](const Dato& d) { gProp->propSetInt(d.props(), "OfxImageEffectPropSupportsTiles", 0, 2); }},
    {CREATE, "0 or 1", [](const Dato& d) { gProp->propSetInt(d.props("d"), "OfxParamPropSecret", 0, -1); }},
    {CREATE, "read-only", [](const Dato& d) { gProp->propSetDouble(d.props("d"), "OfxParamPropDefault", 0, 1); }},
    {CREATE, "no such property", [](const Dato& d) { gProp->propGetInt(d.props(), "OfxParamPropSecret", 0, gN); }},
    {CREATE, "wrong type", [](const Dato& d) { gProp->propGetDouble(d.props("d"), "OfxParamPropSecret", 0, &gD); }},
    {CREATE, "bad index", [](const Dato& d) { gProp->propGetInt(d.props("d"), "OfxParamPropSecret", 1, gN); }},
    {RENDER, "a render sets no property", [](const Dato& d) { gProp->propSetInt(d.props("d"), "OfxParamPropSecret", 0, 1); }},
    // what is described
    {CONTESTO, "no name or type", [](const Dato& d) { d.definito("OfxParamTypeDouble", ""); }},
    {CONTESTO, "no name or type", [](const Dato& d) { d.definito(nullptr, "e"); }},
    {CONTESTO, "type that this host does not know", [](const Dato& d) { d.definito("OfxParamTypeFloat", "e"); }},
    {CONTESTO, "defined twice", [](const Dato& d) { d.definito("OfxParamTypeDouble", "d"); }},
    {CONTESTO, "defined twice", [](const Dato& d) { d.clip("Source"); }},
    {DESCRIBE, "no parameters before", [](const Dato& d) { d.set(); }},
    {DESCRIBE, "clips are defined in", [](const Dato& d) { d.clip("Source"); }},
    {"", "SupportedContexts is empty", [](const Dato&) {}, "OfxImageEffectPropSupportedContexts"},
    {"", "SupportedPixelDepths is empty", [](const Dato&) {}, "OfxImageEffectPropSupportedPixelDepths"},
    {"", "no clip Source", [](const Dato&) {}, "Source"},
    {"", "no clip Output", [](const Dato&) {}, "Output"},
    {CONTESTO, "no components on Mask", [](const Dato& d) { d.clip("Mask"); }},
    {CONTESTO, "default of c is no option", [](const Dato& d) { gProp->propSetInt(d.props("c"), "OfxParamPropDefault", 0, 2); }},
    {CONTESTO, "default of c is no option", [](const Dato& d) { gProp->propSetInt(d.props("c"), "OfxParamPropDefault", 0, -1); }},
    {CONTESTO, "default of d is out of range", [](const Dato& d) { gProp->propSetDouble(d.props("d"), "OfxParamPropDefault", 0, 1.5); }},
    {CONTESTO, "default of d is out of range", [](const Dato& d) { gProp->propSetDouble(d.props("d"), "OfxParamPropDefault", 0, NAN); }},
    // values and images
    {CHANGED, "value out of range", [](const Dato& d) { gParm->paramSetValue(d.param("d"), 1.0000001); }},
    {CHANGED, "value out of range", [](const Dato& d) { gParm->paramSetValue(d.param("d"), -0.1); }},
    {CHANGED, "value out of range", [](const Dato& d) { gParm->paramSetValue(d.param("c"), 2); }},
    {CHANGED, "value out of range", [](const Dato& d) { gParm->paramSetValue(d.param("c"), -1); }},
    {CHANGED, "value out of range", [](const Dato& d) { gParm->paramSetValue(d.param("b"), 2); }},
    {CHANGED, "changes without end", [](const Dato& d) { gParm->paramSetValue(d.param("d"), 0.25); }},
    {RENDER, "values are not set in this action", [](const Dato& d) { gParm->paramSetValue(d.param("d"), 0.25); }},
    {RENDER, "a render reads values at its time", [](const Dato& d) { gParm->paramGetValue(d.param("d"), &gD); }},
    {RENDER, "another time", [](const Dato& d) { d.immagine(-0.0); }},
    {RENDER, "no region", [](const Dato& d) { const OfxRectD r = {0, 0, 1, 1}; d.immagine(0, &r); }},
    {CHANGED, "images are for renders", [](const Dato& d) { d.immagine(0); }},
    // no rule broken: a lent text is gone with the next call, limits and labels set others
    {CHANGED, "", [](const Dato& d) { gProp->propGetString(d.in, "OfxPropName", 0, &gT); CHECK(*gT == 'd'); d.props(); CHECK(*gT == '#'); }},
    {CONTESTO, "", [](const Dato& d) { gProp->propGetDouble(d.props("d"), "OfxParamPropDisplayMin", 0, &gD); CHECK(gD == 0.0); }},
    {CONTESTO, "", [](const Dato& d) { gProp->propGetDouble(d.props("d"), "OfxParamPropDisplayMax", 0, &gD); CHECK(gD == 1.0); }},
    {DESCRIBE, "", [](const Dato& d) { gProp->propSetString(d.props(), "OfxPropLabel", 0, "L"); gProp->propGetString(d.props(), "OfxPropShortLabel", 0, &gT); CHECK(*gT == 'L'); }},
    // members that nobody calls
    {CREATE, "unexpected call", [](const Dato& d) { gProp->propReset(d.props(), "OfxPropLabel"); }},
    {CREATE, "unexpected call", [](const Dato& d) { gParm->paramGetDerivative(d.param("d"), 0.0, &gD); }},
    {RENDER, "unexpected call", [](const Dato& d) { gEff->abort(d.effetto); }},
    // what actions answer
    {"OfxImageEffectActionGetRegionOfDefinition", "status 0 is not known", [](const Dato&) {}, "", 0},
    {"OfxImageEffectActionGetRegionsOfInterest", "status 0 is not known", [](const Dato&) {}, "", 0},
    {"OfxImageEffectActionIsIdentity", "status 0 is not known", [](const Dato&) {}, "", 0},
    {"OfxImageEffectActionBeginSequenceRender", "status 1 is not known", [](const Dato&) {}, "", 1},
    {"OfxImageEffectActionEndSequenceRender", "status 1 is not known", [](const Dato&) {}, "", 1},
};
// clang-format on

}  // namespace

TEST_CASE("the bench host says of each broken rule what it is, once")
{
    for (const Caso& caso : CASI) {
        CAPTURE(&caso - CASI);
        const Testi violazioni = sessione(caso);
        CAPTURE(unite(violazioni));
        REQUIRE(violazioni.size() == (caso.detto[0] != '\0'));
        CHECK(unite(violazioni).find(caso.detto) != std::string::npos);
    }
}

TEST_CASE("the bench host makes every call of a session, those that end one too")
{
    CHECK(unite(sessione(BUONO)) == "");
    CHECK(unite(gAzioni) ==
          "OfxActionLoad\nOfxActionDescribe\nOfxImageEffectActionDescribeInContext\n"
          "OfxActionCreateInstance\nOfxImageEffectActionGetClipPreferences\n"
          "OfxActionBeginInstanceChanged\nOfxActionInstanceChanged\nOfxActionEndInstanceChanged\n"
          "OfxImageEffectActionGetRegionOfDefinition\nOfxImageEffectActionGetRegionsOfInterest\n"
          "OfxImageEffectActionIsIdentity\nOfxImageEffectActionBeginSequenceRender\n"
          "OfxImageEffectActionRender\nOfxImageEffectActionEndSequenceRender\n"
          "OfxActionDestroyInstance\nOfxActionUnload\n");
    // What could not be made is not ended.
    const Caso senza_istanza = {CREATE, "", [](const Dato&) {}, "", 1};
    CHECK_THROWS_AS(sessione(senza_istanza), std::runtime_error);
    CHECK(unite(gAzioni).find("Destroy") == std::string::npos);
}

TEST_CASE("a canvas knows of every byte outside its pixels whether it was written")
{
    for (const bool capovolta : {false, true}) {
        Tela t = tela({-1, 2, 2, 4}, 8, capovolta);
        std::size_t dentro = 0;
        for (unsigned char& b : t.memoria) {
            b ^= 1;
            dentro += intatta(t);
            b ^= 1;
        }
        CHECK((intatta(t) && dentro == 3 * 2 * 16));
        for (int y = 2; y < 4; ++y)
            std::fill_n(pixel(t, -1, y), 12, 1.0f);
        CHECK(intatta(t));
    }
}
