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

/// The plug-in with one more thing done at the end of an action: a rule broken.
struct Reo {
    OfxHost* host = nullptr;
    const OfxImageEffectSuiteV1* eff = nullptr;
    const OfxPropertySuiteV1* prop = nullptr;
    const OfxParameterSuiteV1* parm = nullptr;
    OfxImageEffectHandle effetto = nullptr;
    OfxParamSetHandle set = nullptr;
    OfxPropertySetHandle in = nullptr;
    OfxPropertySetHandle vecchio = nullptr;  // of a render that is over
    OfxPropertySetHandle props = nullptr;    // of the effect, or of d
    OfxPropertySetHandle img = nullptr;      // of Source, in a render
    OfxImageClipHandle clip = nullptr;
    OfxParamHandle d = nullptr;
    OfxParamHandle altrui = nullptr;  // d of the instance that was created first
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

int entrata(const char* azione, const void* effetto, OfxPropertySetHandle in,
            OfxPropertySetHandle fuori)
{
    const int stato = plugin(modulo())->mainEntry(azione, effetto, in, fuori);
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
    } else if (a == CONTEXT || a == CHANGED || a == RENDER || a == "OfxActionCreateInstance") {
        r.eff->getParamSet(r.effetto, &r.set);
        r.parm->paramGetHandle(r.set, "bloom", &r.d, &r.props);
        r.altrui = r.altrui == nullptr && a != CONTEXT ? r.d : r.altrui;
    }
    if (gReato != nullptr && a == gReato->azione) {
        if (a == RENDER) {
            r.eff->clipGetHandle(r.effetto, "Source", &r.clip, nullptr);
            r.eff->clipGetImage(r.clip, 1.0, nullptr, &r.img);
        }
        gReato->fatto(r);
        if (a == RENDER && r.img != nullptr)
            r.eff->clipReleaseImage(r.img);
    }
    if (a == RENDER)
        r.vecchio = in;
    return stato;
}

/// All that a host does with the plug-in that commits this, and what was noticed.
std::string notato(const Reato* reato)
{
    static OfxPlugin reo = *plugin(modulo());
    reo.mainEntry = entrata;
    reo.setHost = [](OfxHost* h) { plugin(modulo())->setHost(gReo.host = h); };
    gReo = {};
    gReato = reato;
    const ModuloPtr m = carica(apri(&reo));
    const IstanzaPtr prima = crea_istanza(*m);
    const IstanzaPtr i = crea_istanza(*m);
    cambia(*i, "bloom", 0.25);
    const Rettangolo f{0, 0, 1, 1};
    Tela t = tela(f);
    for (int n = 0; n < 2; ++n)
        rendi(*i, 1.0, f, figura(t), figura(t));
    dai_host(modulo());
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
        {CONTEXT,  [](Reo& r) { r.prop->propSetDouble(r.props, "OfxParamPropDefault", 0, 2.0); },                "default of bloom is out of range"},
        {CONTEXT,  [](Reo& r) { r.parm->paramDefine(r.set, "OfxParamTypeDouble", "bloom", &r.props); },              "paramDefine bloom = OfxParamTypeDouble -> 6: defined twice"},
        {CONTEXT,  [](Reo& r) { r.parm->paramGetHandle(r.set, "punte", &r.d, &r.props); r.prop->propSetString(r.props, "OfxParamPropChoiceOption", 4, "x"); }, "propSetString punte.OfxParamPropChoiceOption[4] = x -> 10: bad index"},
        {CONTEXT,  [](Reo& r) { r.parm->paramGetValue(r.d, &r.i); }, "paramGetValue ? -> 9: stale or foreign parameter handle"},
        {CHANGED,  [](Reo& r) { r.parm->paramSetValue(r.d, 1.5); },                                              "paramSetValue bloom = 1.5 -> 11: value out of range"},
        {CHANGED,  [](Reo& r) { r.parm->paramSetValue(r.d, 0.5); },                                              "changes without end"},
        {CHANGED,  [](Reo& r) { char* t = nullptr; r.prop->propGetString(r.in, "OfxPropName", 0, &t); r.eff->getPropertySet(r.effetto, &r.props); r.parm->paramGetHandle(r.set, t, &r.d, nullptr); }, "paramGetHandle ##### -> 3: no such parameter"},
        {RENDER,   [](Reo& r) { r.eff->clipGetImage(r.clip, 9.0, nullptr, &r.props); },                          "another time than the render's"},
        {RENDER,   [](Reo& r) { r.eff->clipGetImage(r.clip, 1.0, &REGIONE, &r.props); },                         "no region in a render"},
        {RENDER,   [](Reo& r) { r.parm->paramGetHandle(r.set, "bloom", nullptr, nullptr); },                         "no place for the handle"},
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

    for (const char* senza : {"Vuoto.ofx.bundle", "Zeta.ofx.bundle", "niente.ofx"})
        CHECK_THROWS_AS(carica(a / senza), std::runtime_error);
    fs::remove_all(radice);

    // A bundle, with or without a slash behind, is the same as its binary.
    const fs::path bundle = binario(modulo()).parent_path().parent_path().parent_path();
    CHECK(binario_di(bundle) == binario(modulo()));
    CHECK(binario_di(bundle / "") == binario(modulo()));
    CHECK(parametri(*carica(bundle)).size() == 35);
}
