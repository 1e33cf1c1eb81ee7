#include "host.h"
#include "ofx/ofx.h"

#include <fstream>
#include <stdexcept>

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

/// All that a host does with the plug-in that breaks this rule, and what was noticed.
std::string notato(unsigned reato)
{
    const ModuloPtr m = apri(VARNO_CATTIVO);
    plugin(*m)->pluginVersionMinor = reato;
    dai_host(*m);
    azione(*m, "OfxActionLoad");
    azione(*m, "OfxActionDescribe");
    descrivi_in_contesto(*m, FILTRO);
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
    struct Caso {
        unsigned reato;
        const char* atteso;
    };
    // clang-format off
    constexpr Caso casi[] = {
        {1,  "OfxImageEffectPropSupportedPixelDepths is empty"},
        {2,  "propSetString effect.OfxPropType[0] = mine -> 11: read-only"},
        {3,  "a flag is 0 or 1"},
        {4,  "quite -> 11: not a word of the standard"},
        {5,  "null text"},
        {6,  "fetchSuite OfxPropertySuite[1] -> 9: not the host's own property set"},
        {7,  "no components on Output"},
        {8,  "default of d is out of range"},
        {9,  "paramDefine d = OfxParamTypeDouble -> 6: defined twice"},
        {10, "propSetString c.OfxParamPropChoiceOption[1] = one -> 10: bad index"},
        {11, "paramGetValue ? -> 9: stale or foreign parameter handle"},
        {20, "paramSetValue d = 1.5 -> 11: value out of range"},
        {21, "changes without end"},
        {22, "paramGetHandle # -> 3: no such parameter"},
        {30, "another time than the render's"},
        {31, "no region in a render"},
        {32, "no place for the handle"},
        {33, "values are not set in this action"},
        {34, "a render reads values at its time"},
        {35, "propGetInt inArgs.OfxPropTime[0] -> 3: wrong type"},
        {36, "propGetInt inArgs.OfxPropTimes[0] -> 3: no such property"},
        {37, "propGetDouble inArgs.OfxPropTime[1] -> 10: bad index"},
        {38, "propGetDouble ?.OfxPropTime[0] -> 9: stale or foreign property set handle"},
        {39, "paramGetValueAtTime ? @1 -> 9: stale or foreign parameter handle"},
        {40, "a render sets no property"},
        {41, "no action is under way on this thread"},
        {42, "unexpected call"},
        {43, "image of Source not released"},
        {44, "clipReleaseImage ? -> 9: stale or foreign image handle"},
        {45, "propGetInt ?.OfxImagePropRowBytes[0] -> 9: stale or foreign property set handle"},
    };
    // clang-format on
    CHECK(notato(0) == "");
    for (const Caso& caso : casi) {
        CAPTURE(caso.reato);
        const std::string n = notato(caso.reato);
        CAPTURE(n);
        CHECK(n.find(caso.atteso) != n.npos);
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
