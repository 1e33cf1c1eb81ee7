// What the plug-in declares: names, texts, ranges, defaults, and the calls that tell them.
#include "host.h"
#include "ofx/ofx.h"

using namespace prova;

// The standard's numbers: plug-in and bench host have theirs from one header.
static_assert(kOfxStatOK == 0 && kOfxStatFailed == 1 && kOfxStatErrUnknown == 3 &&
              kOfxStatErrExists == 6 && kOfxStatErrMemory == 8 && kOfxStatErrBadHandle == 9 &&
              kOfxStatErrBadIndex == 10 && kOfxStatErrValue == 11 && kOfxStatReplyDefault == 14);

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
    std::string nome, etichetta;
    Testi opzioni;            // of a choice
    std::string predefinito;  // of the switch, where there is one in front of it
    std::string minimo = "", massimo = "", numero = "";
    std::string interruttore = "";  // label of the switch
    const char* hint = nullptr;
};

// The order, the names and the blanks behind labels are what projects and hosts remember.
// clang-format off
const std::vector<Atteso> PARAMETRI = {
    {"formato",  "Log Format",           FORMATI,       "16"},
    {"cs_sony3", "Color Space",          SONY3_OPZIONI, "0", "", "", "", "", SONY3},
    {"cs_sony2", "Color Space ",         {"S-Gamut", "BT.2020", "709"},          "0"},
    {"cs_canon", "Color Space  ",        {"Cinema Gamut", "BT.2020", "BT.709"},  "0"},
    {"cs_apple", "Color Space   ",       {"Rec.2020", "P3-D65", "Rec.709"},      "0"},
    {"look",     "Look",                 LOOKS,         "0"},
    {"forza",    "Look Strength",        {}, "",  "0",  "1",   "1"},
    {"ev",       "Exposure (EV)",        {}, "",  "-2", "2",   "0"},
    {"temp",     "Temperature",          {}, "",  "-1", "1",   "0"},
    {"tinta",    "Tint",                 {}, "",  "-1", "1",   "0"},
    {"halation", "Halation Amount",      {}, "1", "0",  "0.6", "0.28", "Halation"},
    {"bloom",    "Bloom Amount",         {}, "1", "0",  "0.6", "0.16", "Bloom"},
    {"enhance",  "Enhance Amount",       {}, "1", "0",  "0.6", "0.06", "Enhance"},
    {"vignetta", "Vignette Amount",      {}, "1", "0",  "0.6", "0.1",  "Vignette"},
    {"promist",  "Black Mist Grade",     {}, "0", "0",  "1",   "0.25", "Black Pro-Mist", GRADO},
    {"mistw",    "White Mist Grade",     {}, "0", "0",  "1",   "0.25", "White Pro-Mist", GRADO},
    {"glimmer",  "Glimmer Grade",        {}, "0", "0",  "1",   "0.25", "Glimmerglass",   GRADO},
    {"pelle",    "Skin Diffusion Grade", {}, "0", "0",  "1",   "0.25", "Skin Diffusion", GRADO},
    {"streak",   "Streak Amount",        {}, "0", "0",  "0.6", "0.15", "Anamorphic Streak"},
    {"ca",       "Aberration Amount",    {}, "0", "0",  "0.6", "0.1",  "Chromatic Aberration"},
    {"grana",    "Grain Amount",         {}, "0", "0",  "0.6", "0.12", "Film Grain"},
    {"stella",   "Star Amount",          {}, "0", "0",  "1",   "0.3",  "Star Filter"},
    {"punte",    "Star Points",          {"4", "6", "8"}, "0"},
};
// clang-format on

/// The calls of DescribeInContext, every one.
std::string descrizione_attesa()
{
    std::string t = R"(clipDefine Source
propSetString clip Source.OfxImageEffectPropSupportedComponents[0] = OfxImageComponentRGBA
clipDefine Output
propSetString clip Output.OfxImageEffectPropSupportedComponents[0] = OfxImageComponentRGBA
getParamSet
)";
    std::string nome;
    const auto definito = [&](const std::string& quale, const char* tipo) {
        nome = quale;
        t += "paramDefine " + nome + " = OfxParamType" + tipo + "\n";
    };
    const auto riga = [&](const char* funzione, const std::string& proprieta,
                          const std::string& valore, std::size_t indice = 0) {
        t += funzione + (" " + nome) + ".Ofx" + proprieta + "[" + std::to_string(indice) +
             "] = " + valore + "\n";
    };
    for (const Atteso& p : PARAMETRI) {
        if (!p.interruttore.empty()) {
            definito(p.nome + "_on", "Boolean");
            riga("propSetString", "PropLabel", p.interruttore);
            riga("propSetInt", "ParamPropDefault", p.predefinito);
        }
        definito(p.nome, p.numero.empty() ? "Choice" : "Double");
        riga("propSetString", "PropLabel", p.etichetta);
        for (std::size_t i = 0; i < p.opzioni.size(); ++i)
            riga("propSetString", "ParamPropChoiceOption", p.opzioni[i], i);
        if (p.numero.empty()) {
            riga("propSetInt", "ParamPropDefault", p.predefinito);
        } else {
            riga("propSetDouble", "ParamPropDefault", p.numero);
            for (const std::string quale : {"", "Display"}) {
                riga("propSetDouble", "ParamProp" + quale + "Min", p.minimo);
                riga("propSetDouble", "ParamProp" + quale + "Max", p.massimo);
            }
            riga("propSetString", "ParamPropDoubleType", "OfxParamDoubleTypePlain");
            if (p.hint != nullptr)
                t += "paramGetHandle " + nome + " = props\n";
        }
        if (p.hint != nullptr)
            riga("propSetString", "ParamPropHint", p.hint);
    }
    return t;
}

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
    // The binary under another name: the system then gives it data of its own.
    const std::filesystem::path copia =
        std::filesystem::temp_directory_path() /
        ("varno-prova-" + std::to_string(std::random_device()()) + ".ofx");
    std::filesystem::copy_file(binario(modulo()), copia);
    const std::string tutte = "fetchSuite OfxImageEffectSuite[1]\nfetchSuite OfxPropertySuite[1]\n"
                              "fetchSuite OfxParameterSuite[1]\n";
    {
        const ModuloPtr m = apri(copia);
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);  // no host yet
        dai_host(*m, true);
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);
        CHECK(registro(*m).chiamate.empty());

        dai_host(*m);
        suite_mancanti(*m, {"OfxParameterSuite"});
        CHECK(azione(*m, "OfxActionLoad") == kOfxStatFailed);
        CHECK(detto(registro(*m)) == tutte);
        CHECK(azione(*m, "OfxActionDescribe") == kOfxStatOK);  // the other two are there
        CHECK(detto(registro(*m), "OfxActionDescribe").find("OfxPropLabel[0] = Varno Color\n") !=
              std::string::npos);
    }
    const ModuloPtr m = carica(copia);
    std::filesystem::remove(copia);
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

TEST_CASE("describe says eight things; both contexts get two clips and the same 35 parameters")
{
    const ModuloPtr m = carica(VARNO_MODULO);
    CHECK(detto(registro(*m), "OfxActionDescribe") == R"(getPropertySet
propSetString effect.OfxPropLabel[0] = Varno Color
propSetString effect.OfxImageEffectPluginPropGrouping[0] = Varno
propSetString effect.OfxImageEffectPropSupportedContexts[0] = OfxImageEffectContextFilter
propSetString effect.OfxImageEffectPropSupportedContexts[1] = OfxImageEffectContextGeneral
propSetString effect.OfxImageEffectPropSupportedPixelDepths[0] = OfxBitDepthFloat
propSetInt effect.OfxImageEffectPropSupportsMultiResolution[0] = 0
propSetInt effect.OfxImageEffectPropSupportsTiles[0] = 0
propSetString effect.OfxImageEffectPluginRenderThreadSafety[0] = OfxImageEffectRenderInstanceSafe
)");
    for (const char* contesto : {FILTRO, GENERALE}) {
        CAPTURE(contesto);
        registro(*m).chiamate.clear();
        CHECK(descrivi_in_contesto(*m, contesto) == kOfxStatOK);
        CHECK(detto(registro(*m)) == descrizione_attesa());
        CHECK(parametri(*m, contesto).size() == 35);
    }
    senza_violazioni(registro(*m));
    // A hint is written only where its parameter's handle could be had.
    registro(*m).guasti = {{"paramGetHandle"}};
    registro(*m).chiamate.clear();
    CHECK(descrivi_in_contesto(*m, FILTRO) == kOfxStatOK);
    CHECK(detto(registro(*m)).find("Filter grade") == std::string::npos);
}
