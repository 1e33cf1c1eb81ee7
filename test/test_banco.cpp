#include "host.h"
#include "ofx/ofx.h"

#include <fstream>
#include <stdexcept>
#include <thread>

using namespace prova;
namespace fs = std::filesystem;

namespace {

void imposta_ambiente(const char* nome, const std::string& valore)
{
#if defined(_WIN32)
    _putenv_s(nome, valore.c_str());
#else
    setenv(nome, valore.c_str(), 1);
#endif
}

// --- A plug-in in this program that breaks one rule at a time
// -------------------------------------

/// What it has at hand in the action under way.
struct Reo {
    OfxHost* host = nullptr;
    const OfxImageEffectSuiteV1* eff = nullptr;
    const OfxPropertySuiteV1* prop = nullptr;
    const OfxParameterSuiteV1* parm = nullptr;
    OfxImageEffectHandle effetto = nullptr;
    OfxPropertySetHandle in = nullptr;
    OfxPropertySetHandle props = nullptr;    // of the effect, of d in a context
    OfxPropertySetHandle scelta = nullptr;   // of c in a context
    OfxPropertySetHandle vecchio = nullptr;  // of a render that is over
    OfxPropertySetHandle img = nullptr;      // of Source, in a render
    OfxImageClipHandle clip = nullptr;
    OfxParamSetHandle set = nullptr;
    OfxParamHandle d = nullptr;
    OfxParamHandle altrui = nullptr;  // of the instance that was created first
    char* nome = nullptr;             // of what has changed
    int i = 0;
    double v = 0.0;
};
Reo gReo;

struct Reato {
    const char* azione;
    void (*fatto)(Reo&);
    const char* notato;
};
const Reato* gReato = nullptr;

constexpr const char* DESCRIBE = "OfxActionDescribe";
constexpr const char* CONTEXT = "OfxImageEffectActionDescribeInContext";
constexpr const char* CHANGED = "OfxActionInstanceChanged";
constexpr const char* RENDER = "OfxImageEffectActionRender";

int entrata(const char* azione, const void* effetto, OfxPropertySetHandle in, OfxPropertySetHandle)
{
    Reo& r = gReo;
    const std::string a = azione;
    r.effetto = static_cast<OfxImageEffectHandle>(const_cast<void*>(effetto));
    r.in = in;
    const auto suite = [&](const char* nome) { return r.host->fetchSuite(r.host->host, nome, 1); };
    if (a == "OfxActionLoad") {
        r.eff = static_cast<const OfxImageEffectSuiteV1*>(suite("OfxImageEffectSuite"));
        r.prop = static_cast<const OfxPropertySuiteV1*>(suite("OfxPropertySuite"));
        r.parm = static_cast<const OfxParameterSuiteV1*>(suite("OfxParameterSuite"));
    } else if (a == DESCRIBE) {
        r.eff->getPropertySet(r.effetto, &r.props);
        r.prop->propSetString(r.props, "OfxImageEffectPropSupportedContexts", 0, FILTRO);
        r.prop->propSetString(r.props, "OfxImageEffectPropSupportedPixelDepths", 0,
                              "OfxBitDepthFloat");
    } else if (a == CONTEXT) {
        for (const char* clip : {"Source", "Output"}) {
            r.eff->clipDefine(r.effetto, clip, &r.props);
            r.prop->propSetString(r.props, "OfxImageEffectPropSupportedComponents", 0,
                                  "OfxImageComponentRGBA");
        }
        r.eff->getParamSet(r.effetto, &r.set);
        r.parm->paramDefine(r.set, "OfxParamTypeChoice", "c", &r.scelta);
        r.prop->propSetString(r.scelta, "OfxParamPropChoiceOption", 0, "one");
        r.parm->paramDefine(r.set, "OfxParamTypeDouble", "d", &r.props);
        r.prop->propSetDouble(r.props, "OfxParamPropMin", 0, 0.0);
        r.prop->propSetDouble(r.props, "OfxParamPropMax", 0, 1.0);
    } else if (a == CHANGED || a == RENDER || a == "OfxActionCreateInstance") {
        r.eff->getParamSet(r.effetto, &r.set);
        r.parm->paramGetHandle(r.set, "d", &r.d, nullptr);
        if (r.altrui == nullptr)
            r.altrui = r.d;
        if (a == CHANGED)
            r.prop->propGetString(in, "OfxPropName", 0, &r.nome);
        if (a == RENDER) {
            r.eff->clipGetHandle(r.effetto, "Source", &r.clip, nullptr);
            r.eff->clipGetImage(r.clip, 1.0, nullptr, &r.img);
        }
    } else {
        return kOfxStatReplyDefault;
    }
    if (gReato != nullptr && a == gReato->azione)
        gReato->fatto(r);
    if (a == RENDER && r.img != nullptr)
        r.eff->clipReleaseImage(r.img);
    if (a == RENDER)
        r.vecchio = in;
    return kOfxStatOK;
}

/// All that a host does with the plug-in that commits this, and what was noticed.
std::string notato(const Reato* reato)
{
    static OfxPlugin plugin = {"OfxImageEffectPluginAPI",         1,      "reo", 1, 0,
                               [](OfxHost* h) { gReo.host = h; }, entrata};
    gReo = {};
    gReato = reato;
    const ModuloPtr m = carica(apri(&plugin));
    const IstanzaPtr prima = crea_istanza(*m);
    const IstanzaPtr i = crea_istanza(*m);
    cambia(*i, "d", 0.25);
    const Rettangolo f{0, 0, 1, 1};
    Tela t = tela(f);
    for (int n = 0; n < 2; ++n)
        rendi(*i, 1.0, f, figura(t), figura(t));
    Testi tutte = registro(*m).violazioni;
    for (const Testi& altre :
         {registro(*prima).violazioni, registro(*i).violazioni, violazioni_senza_azione()})
        tutte.insert(tutte.end(), altre.begin(), altre.end());
    return unite(tutte);
}

}  // namespace

TEST_CASE("the bench host notices each rule that a plug-in breaks, and nothing else")
{
    static const OfxRectD REGIONE = {0, 0, 1, 1};
    // clang-format off
    static const Reato reati[] = {
        {DESCRIBE, [](Reo& r) { r.prop->propSetString(r.props, "OfxPropType", 0, "mine"); },                     "propSetString effect.OfxPropType[0] = mine -> 11: read-only"},
        {DESCRIBE, [](Reo& r) { r.prop->propSetInt(r.props, "OfxImageEffectPropSupportsTiles", 0, 2); },         "a flag is 0 or 1"},
        {DESCRIBE, [](Reo& r) { r.prop->propSetString(r.props, "OfxImageEffectPluginRenderThreadSafety", 0, "quite"); }, "quite -> 11: not a word of the standard"},
        {DESCRIBE, [](Reo& r) { r.prop->propSetString(r.props, "OfxPropLabel", 0, nullptr); },                   "null text"},
        {DESCRIBE, [](Reo& r) { r.host->fetchSuite(nullptr, "OfxPropertySuite", 1); },                           "fetchSuite OfxPropertySuite[1] -> 9: not the host's own property set"},
        {CONTEXT,  [](Reo& r) { r.eff->clipDefine(r.effetto, "Extra", &r.props); },                              "no components on Extra"},
        {CONTEXT,  [](Reo& r) { r.prop->propSetDouble(r.props, "OfxParamPropDefault", 0, 2.0); },                "default of d is out of range"},
        {CONTEXT,  [](Reo& r) { r.parm->paramDefine(r.set, "OfxParamTypeDouble", "d", &r.props); },              "paramDefine d = OfxParamTypeDouble -> 6: defined twice"},
        {CONTEXT,  [](Reo& r) { r.prop->propSetString(r.scelta, "OfxParamPropChoiceOption", 2, "x"); },          "propSetString c.OfxParamPropChoiceOption[2] = x -> 10: bad index"},
        {CONTEXT,  [](Reo& r) { r.parm->paramGetHandle(r.set, "c", &r.d, nullptr); r.parm->paramGetValue(r.d, &r.i); }, "paramGetValue ? -> 9: stale or foreign parameter handle"},
        {CHANGED,  [](Reo& r) { r.parm->paramSetValue(r.d, 1.5); },                                              "paramSetValue d = 1.5 -> 11: value out of range"},
        {CHANGED,  [](Reo& r) { r.parm->paramSetValue(r.d, 0.5); },                                              "changes without end"},
        {CHANGED,  [](Reo& r) { r.eff->getPropertySet(r.effetto, &r.props); r.parm->paramGetHandle(r.set, r.nome, &r.d, nullptr); }, "paramGetHandle # -> 3: no such parameter"},
        {RENDER,   [](Reo& r) { r.eff->clipGetImage(r.clip, 9.0, nullptr, &r.props); },                          "another time than the render's"},
        {RENDER,   [](Reo& r) { r.eff->clipGetImage(r.clip, 1.0, &REGIONE, &r.props); },                         "no region in a render"},
        {RENDER,   [](Reo& r) { r.parm->paramGetHandle(r.set, "d", nullptr, nullptr); },                         "no place for the handle"},
        {RENDER,   [](Reo& r) { r.parm->paramSetValue(r.d, 0.5); },                                              "values are not set in this action"},
        {RENDER,   [](Reo& r) { r.parm->paramGetValue(r.d, &r.v); },                                             "a render reads values at its time"},
        {RENDER,   [](Reo& r) { r.prop->propGetInt(r.in, "OfxPropTime", 0, &r.i); },                             "propGetInt inArgs.OfxPropTime[0] -> 3: wrong type"},
        {RENDER,   [](Reo& r) { r.prop->propGetInt(r.in, "OfxPropTimes", 0, &r.i); },                            "propGetInt inArgs.OfxPropTimes[0] -> 3: no such property"},
        {RENDER,   [](Reo& r) { r.prop->propGetDouble(r.in, "OfxPropTime", 1, &r.v); },                          "propGetDouble inArgs.OfxPropTime[1] -> 10: bad index"},
        {RENDER,   [](Reo& r) { r.prop->propGetDouble(r.vecchio, "OfxPropTime", 0, &r.v); },                     "propGetDouble ?.OfxPropTime[0] -> 9: stale or foreign property set handle"},
        {RENDER,   [](Reo& r) { r.parm->paramGetValueAtTime(r.altrui, 1.0, &r.v); },                             "paramGetValueAtTime ? @1 -> 9: stale or foreign parameter handle"},
        {RENDER,   [](Reo& r) { r.prop->propSetDouble(r.in, "OfxPropTime", 0, 1.0); },                           "a render sets no property"},
        {RENDER,   [](Reo& r) { std::thread([&] { r.prop->propGetDouble(r.in, "OfxPropTime", 0, &r.v); }).join(); }, "no action is under way on this thread"},
        {RENDER,   [](Reo& r) { r.prop->propReset(r.in, "OfxPropTime"); },                                       "unexpected call"},
        {RENDER,   [](Reo& r) { r.img = nullptr; },                                                              "image of Source not released"},
        {RENDER,   [](Reo& r) { r.eff->clipReleaseImage(r.img); },                                               "clipReleaseImage ? -> 9: stale or foreign image handle"},
        {RENDER,   [](Reo& r) { r.eff->clipReleaseImage(r.img); r.prop->propGetInt(r.img, "OfxImagePropRowBytes", 0, &r.i); }, "propGetInt ?.OfxImagePropRowBytes[0] -> 9: stale or foreign property set handle"},
    };
    // clang-format on
    CHECK(notato(nullptr) == "");
    for (const Reato& reato : reati) {
        const std::string n = notato(&reato);
        CAPTURE(n);
        CAPTURE(reato.notato);
        CHECK(n.find(reato.notato) != n.npos);
    }
}

TEST_CASE("bundles are found where hosts look")
{
    const fs::path radice = temporaneo("varno-banco-");
    const fs::path a = radice / "a";
    const fs::path b = radice / "b";
    const fs::path architettura = binario(modulo()).parent_path().filename();
    const auto crea = [&](const fs::path& cartella, const std::string& nome, bool con_binario) {
        const fs::path dove = cartella / (nome + ".ofx.bundle") / "Contents" / architettura;
        fs::create_directories(dove);
        if (con_binario)
            std::ofstream(dove / (nome + ".ofx")) << "nothing that loads";
    };
    crea(a, "Zeta", true);
    crea(a / "altri" / "dentro", "Alfa", true);
    crea(a, "Vuoto", false);
    crea(a / "@saltata", "Mai", true);
    crea(a, "@Mai", true);
    crea(b, "Beta", true);
#if !defined(_WIN32)
    fs::create_directory_symlink(a, a / "altri" / "cerchio");
#endif

    const char* prima = std::getenv("OFX_PLUGIN_PATH");
    const std::string salvata = prima != nullptr ? prima : "";
#if defined(_WIN32)
    const std::string separatore = ";";
#else
    const std::string separatore = ":";
#endif
    imposta_ambiente("OFX_PLUGIN_PATH", b.string() + separatore + separatore +
                                            (radice / "manca").string() + separatore + a.string());
    const std::vector<fs::path> cartelle = cartelle_di_ricerca();
    imposta_ambiente("OFX_PLUGIN_PATH", salvata);
    REQUIRE(cartelle.size() == 4);  // and the system's, last
    CHECK(cartelle[0] == b);
    CHECK(cartelle[2] == a);
#if !defined(_WIN32) && !defined(__APPLE__)
    CHECK(cartelle[3] == "/usr/OFX/Plugins");
#endif

    std::string nomi;
    for (const Trovato& t : cerca({cartelle[0], cartelle[1], cartelle[2]}))
        nomi += t.bundle.stem().stem().string() + (t.binario.empty() ? "- " : " ");
    CHECK(nomi == "Beta Vuoto- Zeta Alfa ");

    const auto errore = [](const fs::path& p) {
        try {
            carica(p);
        } catch (const std::runtime_error& e) {
            return std::string(e.what());
        }
        return std::string("loaded");
    };
    CHECK(errore(a / "Vuoto.ofx.bundle").find("holds no binary for this system") !=
          std::string::npos);
    CHECK(errore(a / "Zeta.ofx.bundle").find("cannot be loaded") != std::string::npos);
    CHECK(errore(radice / "niente.ofx").find("no such file") != std::string::npos);
    fs::remove_all(radice);

    // A bundle, with or without a slash behind, is the same as its binary.
    const fs::path bundle = binario(modulo()).parent_path().parent_path().parent_path();
    CHECK(binario_di(bundle) == binario(modulo()));
    CHECK(binario_di(bundle / "") == binario(modulo()));
    CHECK(parametri(*carica(bundle)).size() == 35);
}

TEST_CASE("a canvas notices a byte out of place")
{
    for (const bool capovolta : {false, true}) {
        Tela t = tela({-2, 1, 3, 4}, 8, capovolta);
        CHECK(intatta(t));
        const float ordine = pixel(t, -2, 2) - pixel(t, -2, 1) > 0 ? 1.0f : -1.0f;
        CHECK(ordine == (capovolta ? -1.0f : 1.0f));
        CHECK(figura(t).dati == pixel(t, -2, 1));
        pixel(t, 2, 3)[3] = 1.0f;
        CHECK(intatta(t));
        for (const std::ptrdiff_t scarto : {4, -17}) {  // behind the last pixel, before the first
            Tela rotta = t;
            float* p = scarto > 0 ? pixel(rotta, 2, 2) : pixel(rotta, -2, capovolta ? 3 : 1);
            p[scarto] = 0.0f;
            CHECK_FALSE(intatta(rotta));
        }
    }
}
