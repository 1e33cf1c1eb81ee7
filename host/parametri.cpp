// Statuses of the host's calls are not looked at, except where a hint needs its parameter's handle.
#include "host/parametri.h"

#include "looks/catalogo.h"
#include "ofx/suite.h"

#include <cstddef>
#include <iterator>

namespace varno {
namespace {

constexpr const char* fmt[] = {
    "Sony S-Log3",     "Sony S-Log2",      "ARRI LogC3",      "ARRI LogC4",        "Canon Log 3",
    "Panasonic V-Log", "Fujifilm F-Log",   "Fujifilm F-Log2", "RED Log3G10",       "Nikon N-Log",
    "DJI D-Log",       "Apple Log",        "Canon Log 2",     "Fujifilm F-Log2 C", "Leica L-Log",
    "Apple Log 2",     "Rec.709 (No Log)", "sRGB (No Log)",
};

constexpr const char* CS_SONY3[] = {
    "S-Gamut3.Cine",       "S-Gamut3", "S-Gamut", "BT.2020", "709", "Venice S-Gamut3",
    "Venice S-Gamut3.Cine"};
constexpr const char* CS_SONY2[] = {"S-Gamut", "BT.2020", "709"};
constexpr const char* CS_CANON[] = {"Cinema Gamut", "BT.2020", "BT.709"};
constexpr const char* CS_APPLE[] = {"Rec.2020", "P3-D65", "Rec.709"};
constexpr const char* PUNTE[] = {"4", "6", "8"};

constexpr const char* HINT_SONY3 =
    "Mirrorless (FX3/a7S III...) default to S-Gamut3.Cine; S-Gamut3 is the full gamut; Venice "
    "cameras have their own primaries";
constexpr const char* HINT_GRADO =
    "Filter grade: 0.125 = 1/8, 0.25 = 1/4, 0.5 = 1/2, 1 = full strength";

enum class Tipo { scelta, look, numero, interruttore };

struct Parametro {
    Tipo tipo;
    const char* nome;
    const char* etichetta;
    double predefinito;
    double minimo = 0.0;
    double massimo = 0.0;
    const char* hint = nullptr;
    const char* const* opzioni = nullptr;
    std::size_t quante = 0;
};

// The blanks behind the four "Color Space" labels are meant: they keep the labels distinct.
// clang-format off
constexpr Parametro PARAMETRI[] = {
    {Tipo::scelta,       "formato",     "Log Format",           16,   0, 0, nullptr,    fmt,      std::size(fmt)},
    {Tipo::scelta,       "cs_sony3",    "Color Space",          0,    0, 0, HINT_SONY3, CS_SONY3, std::size(CS_SONY3)},
    {Tipo::scelta,       "cs_sony2",    "Color Space ",         0,    0, 0, nullptr,    CS_SONY2, std::size(CS_SONY2)},
    {Tipo::scelta,       "cs_canon",    "Color Space  ",        0,    0, 0, nullptr,    CS_CANON, std::size(CS_CANON)},
    {Tipo::scelta,       "cs_apple",    "Color Space   ",       0,    0, 0, nullptr,    CS_APPLE, std::size(CS_APPLE)},
    {Tipo::look,         "look",        "Look",                 0},
    {Tipo::numero,       "forza",       "Look Strength",        1,     0, 1},
    {Tipo::numero,       "ev",          "Exposure (EV)",        0,    -2, 2},
    {Tipo::numero,       "temp",        "Temperature",          0,    -1, 1},
    {Tipo::numero,       "tinta",       "Tint",                 0,    -1, 1},
    {Tipo::interruttore, "halation_on", "Halation",             1},
    {Tipo::numero,       "halation",    "Halation Amount",      0.28,  0, 0.6},
    {Tipo::interruttore, "bloom_on",    "Bloom",                1},
    {Tipo::numero,       "bloom",       "Bloom Amount",         0.16,  0, 0.6},
    {Tipo::interruttore, "enhance_on",  "Enhance",              1},
    {Tipo::numero,       "enhance",     "Enhance Amount",       0.06,  0, 0.6},
    {Tipo::interruttore, "vignetta_on", "Vignette",             1},
    {Tipo::numero,       "vignetta",    "Vignette Amount",      0.1,   0, 0.6},
    {Tipo::interruttore, "promist_on",  "Black Pro-Mist",       0},
    {Tipo::numero,       "promist",     "Black Mist Grade",     0.25,  0, 1, HINT_GRADO},
    {Tipo::interruttore, "mistw_on",    "White Pro-Mist",       0},
    {Tipo::numero,       "mistw",       "White Mist Grade",     0.25,  0, 1, HINT_GRADO},
    {Tipo::interruttore, "glimmer_on",  "Glimmerglass",         0},
    {Tipo::numero,       "glimmer",     "Glimmer Grade",        0.25,  0, 1, HINT_GRADO},
    {Tipo::interruttore, "pelle_on",    "Skin Diffusion",       0},
    {Tipo::numero,       "pelle",       "Skin Diffusion Grade", 0.25,  0, 1, HINT_GRADO},
    {Tipo::interruttore, "streak_on",   "Anamorphic Streak",    0},
    {Tipo::numero,       "streak",      "Streak Amount",        0.15,  0, 0.6},
    {Tipo::interruttore, "ca_on",       "Chromatic Aberration", 0},
    {Tipo::numero,       "ca",          "Aberration Amount",    0.1,   0, 0.6},
    {Tipo::interruttore, "grana_on",    "Film Grain",           0},
    {Tipo::numero,       "grana",       "Grain Amount",         0.12,  0, 0.6},
    {Tipo::interruttore, "stella_on",   "Star Filter",          0},
    {Tipo::numero,       "stella",      "Star Amount",          0.3,   0, 1},
    {Tipo::scelta,       "punte",       "Star Points",          0,    0, 0, nullptr,    PUNTE,    std::size(PUNTE)},
};
// clang-format on
static_assert(std::size(PARAMETRI) == 35 && std::size(fmt) == 18);

/// Label, options in order, default and last the hint, where there is one.
template <class Opzione>
void defChoice(OfxParamSetHandle set, const Parametro& p, std::size_t quante, Opzione opzione)
{
    OfxPropertySetHandle props = nullptr;
    gParm->paramDefine(set, "OfxParamTypeChoice", p.nome, &props);
    gProp->propSetString(props, "OfxPropLabel", 0, p.etichetta);
    for (std::size_t i = 0; i < quante; ++i)
        gProp->propSetString(props, "OfxParamPropChoiceOption", static_cast<int>(i), opzione(i));
    gProp->propSetInt(props, "OfxParamPropDefault", 0, static_cast<int>(p.predefinito));
    if (p.hint != nullptr)
        gProp->propSetString(props, "OfxParamPropHint", 0, p.hint);
}

}  // namespace

void defDouble(OfxParamSetHandle set, const char* name, const char* label, double def, double min,
               double max)
{
    OfxPropertySetHandle props = nullptr;
    gParm->paramDefine(set, "OfxParamTypeDouble", name, &props);
    gProp->propSetString(props, "OfxPropLabel", 0, label);
    gProp->propSetDouble(props, "OfxParamPropDefault", 0, def);
    gProp->propSetDouble(props, "OfxParamPropMin", 0, min);
    gProp->propSetDouble(props, "OfxParamPropMax", 0, max);
    gProp->propSetDouble(props, "OfxParamPropDisplayMin", 0, min);
    gProp->propSetDouble(props, "OfxParamPropDisplayMax", 0, max);
    gProp->propSetString(props, "OfxParamPropDoubleType", 0, "OfxParamDoubleTypePlain");
}

void defBool(OfxParamSetHandle set, const char* name, const char* label, int def)
{
    OfxPropertySetHandle props = nullptr;
    gParm->paramDefine(set, "OfxParamTypeBoolean", name, &props);
    gProp->propSetString(props, "OfxPropLabel", 0, label);
    gProp->propSetInt(props, "OfxParamPropDefault", 0, def);
}

void definisci_parametri(OfxParamSetHandle set)
{
    for (const Parametro& p : PARAMETRI) {
        switch (p.tipo) {
        case Tipo::scelta:
            defChoice(set, p, p.quante, [&](std::size_t i) { return p.opzioni[i]; });
            break;
        case Tipo::look: {
            const std::vector<LookDef> looks = catalogo();
            defChoice(set, p, looks.size(), [&](std::size_t i) { return looks[i].nome.c_str(); });
            break;
        }
        case Tipo::interruttore:
            defBool(set, p.nome, p.etichetta, static_cast<int>(p.predefinito));
            break;
        case Tipo::numero: {
            defDouble(set, p.nome, p.etichetta, p.predefinito, p.minimo, p.massimo);
            if (p.hint == nullptr)
                break;
            // A host may write the parameter's handle unasked: it gets a place for it.
            OfxParamHandle handle = nullptr;
            OfxPropertySetHandle props = nullptr;
            if (gParm->paramGetHandle(set, p.nome, &handle, &props) == kOfxStatOK)
                gProp->propSetString(props, "OfxParamPropHint", 0, p.hint);
            break;
        }
        }
    }
}

}  // namespace varno
