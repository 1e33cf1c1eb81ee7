// What the plug-in declares: names, texts, ranges, defaults, and the calls that tell them.
#include "host.h"
#include "ofx/ofx.h"

#include <climits>

using namespace prova;

namespace {

constexpr const char* GRADO = "Filter grade: 0.125 = 1/8, 0.25 = 1/4, 0.5 = 1/2, 1 = full strength";
constexpr const char* SONY3 =
    "Mirrorless (FX3/a7S III...) default to S-Gamut3.Cine; S-Gamut3 is the full gamut; Venice "
    "cameras have their own primaries";

const Testi SONY3_OPZIONI = {
    "S-Gamut3.Cine",       "S-Gamut3", "S-Gamut", "BT.2020", "709", "Venice S-Gamut3",
    "Venice S-Gamut3.Cine"};
const Testi FORMATI = {"Sony S-Log3",      "Sony S-Log2",       "ARRI LogC3",     "ARRI LogC4",
                       "Canon Log 3",      "Panasonic V-Log",   "Fujifilm F-Log", "Fujifilm F-Log2",
                       "RED Log3G10",      "Nikon N-Log",       "DJI D-Log",      "Apple Log",
                       "Canon Log 2",      "Fujifilm F-Log2 C", "Leica L-Log",    "Apple Log 2",
                       "Rec.709 (No Log)", "sRGB (No Log)"};
const Testi LOOKS = {"Nordic", "Cinema Print", "Midnight", "Daylight", "Linen", "Amber",
                     "Ember",  "Amalfi",       "Velvet",   "Brass",    "Silk",  "Olive"};

struct Atteso {
    const char* nome;
    char tipo;  // c choice, b boolean, d double
    const char* etichetta;
    const char* predefinito;
    const char* minimo = "";
    const char* massimo = "";
    Testi opzioni = {};
    const char* hint = nullptr;
};

// The order, the names and the blanks behind labels are what projects and hosts remember.
// clang-format off
const std::vector<Atteso> PARAMETRI = {
    {"formato",     'c', "Log Format",           "16",   "", "", FORMATI},
    {"cs_sony3",    'c', "Color Space",          "0",    "", "", SONY3_OPZIONI, SONY3},
    {"cs_sony2",    'c', "Color Space ",         "0",    "", "", {"S-Gamut", "BT.2020", "709"}},
    {"cs_canon",    'c', "Color Space  ",        "0",    "", "", {"Cinema Gamut", "BT.2020", "BT.709"}},
    {"cs_apple",    'c', "Color Space   ",       "0",    "", "", {"Rec.2020", "P3-D65", "Rec.709"}},
    {"look",        'c', "Look",                 "0",    "", "", LOOKS},
    {"forza",       'd', "Look Strength",        "1",    "0", "1"},
    {"ev",          'd', "Exposure (EV)",        "0",    "-2", "2"},
    {"temp",        'd', "Temperature",          "0",    "-1", "1"},
    {"tinta",       'd', "Tint",                 "0",    "-1", "1"},
    {"halation_on", 'b', "Halation",             "1"},
    {"halation",    'd', "Halation Amount",      "0.28", "0", "0.6"},
    {"bloom_on",    'b', "Bloom",                "1"},
    {"bloom",       'd', "Bloom Amount",         "0.16", "0", "0.6"},
    {"enhance_on",  'b', "Enhance",              "1"},
    {"enhance",     'd', "Enhance Amount",       "0.06", "0", "0.6"},
    {"vignetta_on", 'b', "Vignette",             "1"},
    {"vignetta",    'd', "Vignette Amount",      "0.1",  "0", "0.6"},
    {"promist_on",  'b', "Black Pro-Mist",       "0"},
    {"promist",     'd', "Black Mist Grade",     "0.25", "0", "1", {}, GRADO},
    {"mistw_on",    'b', "White Pro-Mist",       "0"},
    {"mistw",       'd', "White Mist Grade",     "0.25", "0", "1", {}, GRADO},
    {"glimmer_on",  'b', "Glimmerglass",         "0"},
    {"glimmer",     'd', "Glimmer Grade",        "0.25", "0", "1", {}, GRADO},
    {"pelle_on",    'b', "Skin Diffusion",       "0"},
    {"pelle",       'd', "Skin Diffusion Grade", "0.25", "0", "1", {}, GRADO},
    {"streak_on",   'b', "Anamorphic Streak",    "0"},
    {"streak",      'd', "Streak Amount",        "0.15", "0", "0.6"},
    {"ca_on",       'b', "Chromatic Aberration", "0"},
    {"ca",          'd', "Aberration Amount",    "0.1",  "0", "0.6"},
    {"grana_on",    'b', "Film Grain",           "0"},
    {"grana",       'd', "Grain Amount",         "0.12", "0", "0.6"},
    {"stella_on",   'b', "Star Filter",          "0"},
    {"stella",      'd', "Star Amount",          "0.3",  "0", "1"},
    {"punte",       'c', "Star Points",          "0",    "", "", {"4", "6", "8"}},
};
// clang-format on

/// The calls of DescribeInContext, every one.
std::string descrizione_attesa()
{
    std::string t;
    for (const std::string c : {"Source", "Output"})
        t += "clipDefine " + c + "\npropSetString clip " + c +
             ".OfxImageEffectPropSupportedComponents[0] = OfxImageComponentRGBA\n";
    t += "getParamSet\n";
    for (const Atteso& p : PARAMETRI) {
        const std::string nome = p.nome;
        const bool numero = p.tipo == 'd';
        const auto riga = [&](const char* funzione, const std::string& proprieta,
                              const std::string& valore, std::size_t indice = 0) {
            t += funzione + (" " + nome) + "." + proprieta + "[" + std::to_string(indice) +
                 "] = " + valore + "\n";
        };
        t += "paramDefine " + nome + " = OfxParamType" +
             (numero          ? "Double\n"
              : p.tipo == 'c' ? "Choice\n"
                              : "Boolean\n");
        riga("propSetString", "OfxPropLabel", p.etichetta);
        for (std::size_t i = 0; i < p.opzioni.size(); ++i)
            riga("propSetString", "OfxParamPropChoiceOption", p.opzioni[i], i);
        riga(numero ? "propSetDouble" : "propSetInt", "OfxParamPropDefault", p.predefinito);
        if (numero) {
            for (const std::string quale : {"", "Display"}) {
                riga("propSetDouble", "OfxParamProp" + quale + "Min", p.minimo);
                riga("propSetDouble", "OfxParamProp" + quale + "Max", p.massimo);
            }
            riga("propSetString", "OfxParamPropDoubleType", "OfxParamDoubleTypePlain");
        }
        if (p.hint != nullptr) {
            if (numero)
                t += "paramGetHandle " + nome + " = props\n";
            riga("propSetString", "OfxParamPropHint", p.hint);
        }
    }
    return t;
}

/// The binary under another name: the system then gives it data of its own.
struct Copia {
    std::filesystem::path file = temporaneo("varno-prova-") += ".ofx";
    Copia() { std::filesystem::copy_file(binario(modulo()), file); }
    ~Copia() { std::filesystem::remove(file); }
    Copia(const Copia&) = delete;
    Copia& operator=(const Copia&) = delete;
};

}  // namespace

TEST_CASE("the binary holds one plug-in, and its record")
{
    Modulo& m = modulo();
    CHECK(numero_plugin(m) == 1);
    for (const int n : {1, -1, 2, INT_MAX, INT_MIN})
        CHECK(plugin_numero(m, n) == nullptr);
    const OfxPlugin* p = plugin_numero(m, 0);
    REQUIRE(p != nullptr);
    CHECK(p == plugin(m));
    CHECK(std::string(p->pluginApi) == "OfxImageEffectPluginAPI");
    CHECK(p->apiVersion == 1);
    CHECK(std::string(p->pluginIdentifier) == "com.varnotone.varnocolor");
    CHECK(p->pluginVersionMajor == 1);
    CHECK(p->pluginVersionMinor == 0);
}

TEST_CASE("load asks for three suites, whatever is missing, and says so")
{
    const Copia copia;
    const std::string tutte = "fetchSuite OfxImageEffectSuite[1]\nfetchSuite OfxPropertySuite[1]\n"
                              "fetchSuite OfxParameterSuite[1]\n";
    {
        const ModuloPtr m = apri(copia.file);
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);  // no host yet
        dai_host(*m, true);
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);
        CHECK(registro(*m).chiamate.empty());

        dai_host(*m);
        suite_mancanti(*m, {"OfxParameterSuite"});
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);
        CHECK(detto(registro(*m)) == tutte);
        CHECK(azione(*m, "OfxActionDescribe") == kOfxStatOK);  // the other two are there
        CHECK(descrizione(*m).etichetta == "Varno Color");
    }
    const ModuloPtr m = carica(copia.file);
    for (const char* manca : {"OfxImageEffectSuite", "OfxPropertySuite", "OfxParameterSuite"}) {
        CAPTURE(manca);
        registro(*m).chiamate.clear();
        suite_mancanti(*m, {manca});
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);
        CHECK(detto(registro(*m)) == tutte);
    }
    suite_mancanti(*m, {});
    CHECK(azione(*m, "OfxActionLoad") == kOfxStatOK);
    // Without a host load fails and the suites stay as they were.
    dai_host(*m, true);
    CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);
    CHECK(azione(*m, "OfxActionDescribe") == kOfxStatOK);
    dai_host(*m);
    // A host that scans unloads and starts again.
    CHECK(azione(*m, "OfxActionUnload") == kOfxStatReplyDefault);
    CHECK(numero_plugin(*m) == 1);
    CHECK(azione(*m, "OfxActionLoad") == kOfxStatOK);
    CHECK(fotogramma(*crea_istanza(*m), 3, 2).size() == 24);
    senza_violazioni(registro(*m));
}

TEST_CASE("actions that are not known are left to the host, untouched")
{
    const auto entrata = plugin(modulo())->mainEntry;
    for (const char* nome :
         {"", "OfxActionUnload", "OfxImageEffectActionGetClipPreferences",
          "OfxImageEffectActionGetRegionOfDefinition", "OfxImageEffectActionIsIdentity",
          "OfxImageEffectActionBeginSequenceRender", "OfxActionBeginInstanceChanged",
          "OfxActionSyncPrivateData", "OfxActionLoa", "OfxActionLoad ", "ofxactionload",
          "OfxActionDestroyInstanceX", "kOfxActionLoad"}) {
        CAPTURE(nome);
        CHECK(entrata(nome, nullptr, nullptr, nullptr) == kOfxStatReplyDefault);
    }
    CHECK(entrata("OfxActionDestroyInstance", nullptr, nullptr, nullptr) == kOfxStatOK);
    senza_violazioni(registro(modulo()));  // above all: no call came from any of these
}

TEST_CASE("describe says eight things in their order")
{
    const ModuloPtr m = carica(percorso());
    CHECK(detto(registro(*m), "OfxActionDescribe") ==
          "getPropertySet\n"
          "propSetString effect.OfxPropLabel[0] = Varno Color\n"
          "propSetString effect.OfxImageEffectPluginPropGrouping[0] = Varno\n"
          "propSetString effect.OfxImageEffectPropSupportedContexts[0] = "
          "OfxImageEffectContextFilter\n"
          "propSetString effect.OfxImageEffectPropSupportedContexts[1] = "
          "OfxImageEffectContextGeneral\n"
          "propSetString effect.OfxImageEffectPropSupportedPixelDepths[0] = OfxBitDepthFloat\n"
          "propSetInt effect.OfxImageEffectPropSupportsMultiResolution[0] = 0\n"
          "propSetInt effect.OfxImageEffectPropSupportsTiles[0] = 0\n"
          "propSetString effect.OfxImageEffectPluginRenderThreadSafety[0] = "
          "OfxImageEffectRenderInstanceSafe\n");
    senza_violazioni(registro(*m));
}

TEST_CASE("both contexts get two clips and the same 35 parameters, each call in its place")
{
    const std::string attesa = descrizione_attesa();
    const ModuloPtr m = carica(percorso());
    for (const char* contesto : {FILTRO, GENERALE}) {
        CAPTURE(contesto);
        registro(*m).chiamate.clear();
        CHECK(descrivi_in_contesto(*m, contesto) == kOfxStatOK);
        CHECK(detto(registro(*m)) == attesa);
        CHECK(unite(clip(*m, contesto)) == "Source\nOutput\n");
        CHECK(parametri(*m, contesto).size() == 35);
    }
    senza_violazioni(registro(*m));
    // A hint is written only where its parameter's handle could be had.
    registro(*m).guasti = {{"paramGetHandle"}};
    registro(*m).chiamate.clear();
    CHECK(descrivi_in_contesto(*m, FILTRO) == kOfxStatOK);
    CHECK(detto(registro(*m)).find("Filter grade") == std::string::npos);
}
