// What an instance does when parameters change.
#include "host.h"
#include "ofx/ofx.h"

using namespace prova;

namespace {

constexpr const char* TENDINE[] = {"cs_sony3", "cs_sony2", "cs_canon", "cs_apple"};
constexpr const char* CAMBIO = "OfxActionInstanceChanged";

/// One letter a chooser: V shown, - hidden.
std::string in_vista(const Istanza& i)
{
    std::string t;
    for (const char* nome : TENDINE)
        t += nascosto(i, nome) ? '-' : 'V';
    return t;
}

std::string attesa_in_vista(int formato)
{
    const std::map<int, const char*> alcuni = {
        {0, "V---"}, {1, "-V--"}, {4, "--V-"}, {12, "--V-"}, {11, "---V"}};
    return alcuni.count(formato) > 0 ? alcuni.at(formato) : "----";
}

std::string aggiornamento(int formato)
{
    Testi t = {"getParamSet", "paramGetHandle formato",
               "paramGetValue formato = " + std::to_string(formato)};
    for (std::size_t n = 0; n < 4; ++n) {
        t.push_back(std::string("paramGetHandle ") + TENDINE[n] + " = props");
        t.push_back(std::string("propSetInt ") + TENDINE[n] +
                    ".OfxParamPropSecret[0] = " + (attesa_in_vista(formato)[n] == 'V' ? "0" : "1"));
    }
    return unite(t);
}

constexpr const char* EFFETTI[] = {"halation", "bloom",   "enhance", "vignetta", "promist",
                                   "mistw",    "glimmer", "pelle",   "streak",   "ca"};

// What selecting a look suggests, in the order of EFFETTI.
// clang-format off
constexpr float CONSIGLI[12][10] = {
    {0.28f, 0.16f, 0, 0.1f,  0,      0,      0.125f, 0,     0,     0},      // Nordic
    {0.38f, 0.2f,  0, 0.16f, 0.25f,  0,      0,      0,     0,     0},      // Cinema Print
    {0.42f, 0.26f, 0, 0.22f, 0.5f,   0,      0,      0,     0.18f, 0},      // Midnight
    {0.24f, 0.18f, 0, 0.12f, 0,      0.125f, 0,      0,     0,     0},      // Daylight
    {0,     0.08f, 0, 0.06f, 0,      0,      0,      0,     0,     0},      // Linen
    {0.45f, 0.2f,  0, 0.14f, 0,      0.125f, 0,      0,     0,     0},      // Amber
    {0.3f,  0.15f, 0, 0.18f, 0.125f, 0,      0,      0,     0,     0},      // Ember
    {0.12f, 0.22f, 0, 0.1f,  0,      0,      0.125f, 0,     0,     0},      // Amalfi
    {0.38f, 0.28f, 0, 0.26f, 0.25f,  0,      0,      0,     0.15f, 0},      // Velvet
    {0.42f, 0.3f,  0, 0.2f,  0.125f, 0,      0,      0,     0.1f,  0},      // Brass
    {0.22f, 0.34f, 0, 0.08f, 0,      0.25f,  0,      0.25f, 0,     0},      // Silk
    {0.16f, 0.14f, 0, 0.16f, 0,      0,      0,      0,     0,     0.05f},  // Olive
};
// clang-format on

}  // namespace

TEST_CASE("creating and changing the format show the one colour space that belongs to it")
{
    for (int f = 0; f < 18; ++f) {
        CAPTURE(f);
        const IstanzaPtr nuova = crea_istanza(modulo(), {{"formato", f}});
        CHECK(in_vista(*nuova) == attesa_in_vista(f));
        CHECK(detto(registro(*nuova)) == aggiornamento(f));  // and nothing about the clips
        senza_violazioni(registro(*nuova));
        const IstanzaPtr i = crea_istanza(modulo(), {{"formato", 17 - f}, {"cs_canon", 2}});
        registro(*i).chiamate.clear();
        CHECK(cambia(*i, "formato", f) == kOfxStatOK);
        CHECK(in_vista(*i) == attesa_in_vista(f));
        CHECK(valore(*i, "cs_canon") == 2);
        CHECK(detto(registro(*i)) ==
              "propGetString inArgs.OfxPropName[0] = formato\n" + aggiornamento(f));
        senza_violazioni(registro(*i));
    }
    for (const int f : {-1, 18, INT_MAX, INT_MIN})
        CHECK(in_vista(*crea_istanza(modulo(), {{"formato", f}})) == "----");
    CHECK(in_vista(*crea_istanza(modulo())) == "----");
    // The current value counts, not that of a time.
    const IstanzaPtr animata = crea_istanza(modulo());
    imposta_chiavi(*animata, "formato", {{0, 1}, {10, 4}});
    CHECK(avvisa(*animata, "formato", "OfxChangeTime") == kOfxStatOK);
    CHECK(in_vista(*animata) == "----");
}

TEST_CASE("a chooser that cannot be had leaves the others alone")
{
    struct Caso {
        Guasto guasto;
        const char* vista;  // after a change to format 12, from all shown
    };
    // clang-format off
    const Caso casi[] = {
        {{"paramGetHandle", "formato"},                                         "VVVV"},
        {{"paramGetValue", "formato"},                                          "V---"},  // reads 0
        {{"paramGetHandle", "cs_sony3"},                                        "V-V-"},
        {{"paramGetHandle", "cs_sony2"},                                        "-VV-"},
        {{"paramGetHandle", "cs_apple", "", 9, 0, -1, Resto::nullo},            "--VV"},
        {{"paramGetHandle", "cs_apple", "", 0},                                 "--VV"},  // no set
        {{"propSetInt", "cs_sony3.OfxParamPropSecret"},                         "V-V-"},
        {{"getParamSet", ""},                                                   "VVVV"},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        INFO(caso.guasto.funzione, " ", caso.guasto.nome);
        const IstanzaPtr i = nuova_istanza(modulo());
        imposta(*i, "formato", 12);
        registro(*i).guasti = {caso.guasto};
        CHECK(azione(*i, "OfxActionCreateInstance") == kOfxStatOK);
        CHECK(in_vista(*i) == caso.vista);
        CHECK(detto(registro(*i)).find("propSetInt ?") == std::string::npos);
        senza_violazioni(registro(*i));
    }
}

TEST_CASE("names that mean nothing here cost one read")
{
    const IstanzaPtr i = crea_istanza(modulo(), {{"look", 2}, {"formato", 0}});
    Registro& r = registro(*i);
    for (const char* nome : {"cs_sony3", "halation", "halation_on", "grana", "Source", "Look",
                             "look ", "forma", "", "no such parameter"}) {
        CAPTURE(nome);
        r.chiamate.clear();
        CHECK(avvisa(*i, nome) == kOfxStatOK);
        CHECK(r.chiamate.size() == 1);
    }
    r.chiamate.clear();
    CHECK(avvisa(*i, nullptr) == kOfxStatOK);
    CHECK(detto(r) == "propGetString inArgs.OfxPropName[0] -> 3\n");
    r.guasti = {{"propGetString", "", "", 0, 0, -1, Resto::nullo}};
    CHECK(avvisa(*i, "look") == kOfxStatOK);
    CHECK(r.chiamate.size() == 2);
    CHECK(valore(*i, "halation") == 0.28);
    senza_violazioni(r);
}

TEST_CASE("selecting a look writes its ten effects in order and leaves the rest to the user")
{
    const Valori suoi = {{"grana_on", 1},  {"grana", 0.5},  {"stella_on", 1}, {"stella", 0.9},
                         {"punte", 2},     {"forza", 0.25}, {"ev", -1.5},     {"temp", 0.5},
                         {"tinta", -0.75}, {"formato", 4},  {"cs_canon", 2},  {"enhance", 0.5}};
    for (int look = 0; look < 12; ++look) {
        CAPTURE(look);
        const IstanzaPtr i = crea_istanza(modulo(), suoi);
        registro(*i).chiamate.clear();
        CHECK(cambia(*i, "look", look, "OfxChangeTime") == kOfxStatOK);  // the reason is not read

        Testi attese = {"propGetString inArgs.OfxPropName[0] = look", "getParamSet",
                        "paramGetHandle look", "paramGetValue look = " + std::to_string(look)};
        Testi annidate;
        for (int e = 0; e < 10; ++e) {
            const float v = CONSIGLI[look][e];
            const std::string nome = EFFETTI[e];
            CHECK(valore(*i, nome) == static_cast<double>(v));
            CHECK(valore(*i, nome + "_on") == (v > 0.0f ? 1 : 0));
            attese.insert(attese.end(),
                          {"paramGetHandle " + nome,
                           "paramSetValue " + nome + " = " + testo_di(static_cast<double>(v)),
                           "paramGetHandle " + nome + "_on",
                           "paramSetValue " + nome + "_on = " + (v > 0.0f ? "1" : "0")});
            for (const char* fine : {"", "_on"})
                annidate.push_back("propGetString inArgs.OfxPropName[0] = " + nome + fine);
        }
        CHECK(detto(registro(*i), CAMBIO, 0) == unite(attese));
        CHECK(detto(registro(*i), CAMBIO, 1) == unite(annidate));
        for (const auto& [nome, v] : suoi)
            if (nome != "enhance")
                CHECK(valore(*i, nome) == v);
        senza_violazioni(registro(*i));
    }
    const IstanzaPtr nuova = crea_istanza(modulo(), {{"look", 2}});
    CHECK(valore(*nuova, "halation") == 0.28);  // creating applies nothing
    for (const int fuori : {-1, 12, 100, INT_MAX, INT_MIN}) {
        registro(*nuova).chiamate.clear();
        CHECK(cambia(*nuova, "look", fuori) == kOfxStatOK);
        CHECK(registro(*nuova).chiamate.size() == 4);  // down to the value, no write
        CHECK(valore(*nuova, "halation") == 0.28);
    }
}

TEST_CASE("a write whose handle or value fails is the only one that is missing")
{
    for (const std::string effetto : EFFETTI)
        for (const std::string& nome : {effetto, effetto + "_on"})
            for (const std::string funzione : {"paramGetHandle", "paramSetValue"}) {
                CAPTURE(nome);
                const IstanzaPtr i = crea_istanza(modulo(), {{nome, 0.5}});
                Registro& r = registro(*i);
                r.guasti = {{funzione, nome}};
                CHECK(cambia(*i, "look", 2) == kOfxStatOK);
                CHECK(valore(*i, nome) == 0.5);
                int scritture = 0;
                for (const Chiamata& c : r.chiamate)
                    scritture += c.funzione == "paramSetValue";
                CHECK(scritture == (funzione == "paramSetValue" ? 20 : 19));
                senza_violazioni(r);
            }
    // Without the choice's own handle or value, the value stays at 0: the first look.
    for (const char* funzione : {"paramGetHandle", "paramGetValue"}) {
        const IstanzaPtr i = crea_istanza(modulo());
        registro(*i).guasti = {{funzione, "look"}};
        CHECK(cambia(*i, "look", 2) == kOfxStatOK);
        CHECK(valore(*i, "halation") == static_cast<double>(0.28f));
        CHECK(valore(*i, "glimmer_on") == 1);
        senza_violazioni(registro(*i));
    }
}
