#include "colore/colore.h"
#include "fx/fx.h"
#include "host.h"
#include "looks/catalogo.h"
#include "render/lut3d.h"
#include "render/passata.h"

using namespace prova;

namespace {

using Valori = std::map<std::string, double>;

/// One row for each value of the chooser that the format has, one alone where it has none.
struct Righe {
    const char* tendina;
    std::vector<int> righe;
};

const std::vector<Righe> FORMATI = {{"cs_sony3", {0, 11, 15, 16, 17, 13, 14}},
                                    {"cs_sony2", {12, 18, 19}},
                                    {nullptr, {1}},
                                    {nullptr, {2}},
                                    {"cs_canon", {3, 22, 23}},
                                    {nullptr, {4}},
                                    {nullptr, {5}},
                                    {nullptr, {6}},
                                    {nullptr, {7}},
                                    {nullptr, {8}},
                                    {nullptr, {9}},
                                    {"cs_apple", {10, 20, 21}},
                                    {"cs_canon", {24, 25, 26}},
                                    {nullptr, {27}},
                                    {nullptr, {28}},
                                    {nullptr, {29}},
                                    {nullptr, {30}},
                                    {nullptr, {31}}};

const std::vector<varno::LookDef>& looks()
{
    static const std::vector<varno::LookDef> l = varno::catalogo();
    return l;
}

varno::Contesto contesto(int look, int profilo, double forza, double ev, double temp, double tinta)
{
    const varno::LookDef& l = looks()[static_cast<std::size_t>(look)];
    const float t = static_cast<float>(temp) * 0.25f;
    const float x = static_cast<float>(tinta);
    const float u = 0.1f * x;
    varno::Contesto c;
    c.look = &l;
    c.curva_look = varno::normalizza_curva(l.spalla, l.bianco, l.contrasto, l.gamma);
    c.curva_neutra = varno::normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);
    c.forza = static_cast<float>(forza);
    c.ev = static_cast<float>(ev);
    c.guadagno = {(1.0f + t) - u, x * 0.2f + 1.0f, (1.0f - t) - u};
    c.profilo = profilo;
    return c;
}

// Positions on the table's axes with nothing to mix.
constexpr float NODI[] = {0.0f, 0.25f, 0.5f, 0.75f, 1.0f};

/// The table's own samples as the plug-in shows them: no effects, 125 pixels on its nodes.
void uguale_ai_nodi(const Valori& valori, const varno::Contesto& ctx)
{
    Valori tutti = tutti_gli_effetti(0);
    for (const auto& [nome, v] : valori)
        tutti[nome] = v;
    const IstanzaPtr i = crea_istanza(modulo(), tutti);
    const Rettangolo f{0, 0, 25, 5};
    Tela s = tela(f);
    Tela u = tela(f);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 25; ++x) {
            pixel(s, x, y)[0] = NODI[x % 5];
            pixel(s, x, y)[1] = NODI[x / 5];
            pixel(s, x, y)[2] = NODI[y];
        }
    REQUIRE(rendi(*i, 0.0, f, figura(s), figura(u)) == 0);
    int diversi = 0;
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 25; ++x) {
            const float* p = pixel(u, x, y);
            const varno::RGB c = varno::applica_colore({NODI[x % 5], NODI[x / 5], NODI[y]}, ctx);
            diversi += !(p[0] == c.r && p[1] == c.g && p[2] == c.b);
        }
    CHECK(diversi == 0);
}

}  // namespace

TEST_CASE("every format and colour space grades through its own profile")
{
    for (int formato = 0; formato < 18; ++formato) {
        const Righe& r = FORMATI[static_cast<std::size_t>(formato)];
        for (int scelta = 0; scelta < static_cast<int>(r.righe.size()); ++scelta) {
            CAPTURE(formato);
            CAPTURE(scelta);
            Valori v = {{"formato", formato}};
            if (r.tendina != nullptr)
                v[r.tendina] = scelta;
            uguale_ai_nodi(v, contesto(0, r.righe[static_cast<std::size_t>(scelta)], 1, 0, 0, 0));
        }
    }
}

TEST_CASE("every look, and the grade's settings as the table sees them")
{
    for (int look = 0; look < 12; ++look) {
        CAPTURE(look);
        uguale_ai_nodi({{"look", look}, {"formato", 0}}, contesto(look, 0, 1, 0, 0, 0));
    }
    const double casi[][4] = {// forza, ev, temp, tinta
                              {0, 0, 0, 0},
                              {0.37, 1.3, 0, 0},
                              {1, -2, 1, 0},
                              {1, 0, 0, 1},
                              {0.5, 2, -1, -1},
                              {0.999, -0.1, 0.3, 0.7},
                              {0.1, 0.1, 0.1, 0.1},
                              // grouped otherwise, these round to other gains
                              {1, 0, 0.05, 0.48},
                              {1, 0, 0.36, 0.86},
                              {1, 0, 0.4, -0.8}};
    for (const auto& c : casi) {
        CAPTURE(c[0]);
        CAPTURE(c[2]);
        uguale_ai_nodi(
            {{"look", 5}, {"forza", c[0]}, {"ev", c[1]}, {"temp", c[2]}, {"tinta", c[3]}},
            contesto(5, 30, c[0], c[1], c[2], c[3]));
    }
}

TEST_CASE("amounts reach the effects as floats, four grades scaled by 0.55")
{
    struct Caso {
        const char* nome;
        double valore;
        float varno::FxRicetta::*campo;
        float atteso;
    };
    // clang-format off
    const Caso casi[] = {
        {"enhance",  0.31, &varno::FxRicetta::enhance,  0.31f},
        {"halation", 0.28, &varno::FxRicetta::halation, 0.28f},
        {"bloom",    0.16, &varno::FxRicetta::bloom,    0.16f},
        {"vignetta", 0.1,  &varno::FxRicetta::vignetta, 0.1f},
        {"promist",  1.0,  &varno::FxRicetta::promist,  0.55f},
        {"promist",  0.3,  &varno::FxRicetta::promist,  0.3f * 0.55f},
        {"streak",   0.15, &varno::FxRicetta::streak,   0.15f},
        {"ca",       0.6,  &varno::FxRicetta::ca,       0.6f},
        {"grana",    0.12, &varno::FxRicetta::grana,    0.12f},
        {"mistw",    0.7,  &varno::FxRicetta::mistw,    0.7f * 0.55f},
        {"glimmer",  0.9,  &varno::FxRicetta::glimmer,  0.9f * 0.55f},
        {"pelle",    0.25, &varno::FxRicetta::pelle,    0.25f * 0.55f},
        {"stella",   1.0,  &varno::FxRicetta::stella,   1.0f},
    };
    // clang-format on
    const Rettangolo f{0, 0, 31, 22};
    Tela s = tela(f);
    dipingi(s);
    const varno::Finestra sorgente{reinterpret_cast<unsigned char*>(pixel(s, 0, 0)), 31 * 16};
    varno::Lut3D lut;
    lut.costruisci(contesto(0, 30, 1, 0, 0, 0), 81);
    for (const Caso& caso : casi)
        for (const int punte : {0, 1, 2}) {
            if (punte > 0 && caso.campo != &varno::FxRicetta::stella)
                continue;
            CAPTURE(caso.nome);
            CAPTURE(punte);
            varno::FxRicetta ricetta;
            ricetta.*caso.campo = caso.atteso;
            ricetta.fotogramma = -7;
            ricetta.punte = 4 + 2 * punte;
            varno::Immagine img(31 * 22 * 3);
            varno::Alfa alfa = varno::alfa_di(31, 22, nullptr);
            for (std::uint64_t y = 0; y < 22; ++y)
                varno::passata_colore(lut, sorgente, 31, y, &img[y * 31 * 3], alfa);
            const std::vector<float> neutra(img.begin(), img.end());
            varno::applica_fx(img, 31, 22, ricetta);
            Tela attesa = tela(f);
            for (std::uint64_t y = 0; y < 22; ++y)
                varno::passata_scrittura(
                    &img[y * 31 * 3], alfa,
                    {reinterpret_cast<unsigned char*>(pixel(attesa, 0, 0)), 31 * 16}, 31, y);
            CHECK_FALSE(std::equal(img.begin(), img.end(), neutra.begin()));

            Valori v = tutti_gli_effetti(0);
            v[std::string(caso.nome) + "_on"] = 1;
            v[caso.nome] = caso.valore;
            v["punte"] = punte;
            CHECK(fotogramma(*crea_istanza(modulo(), v), 31, 22, -7.5) == bit_di(attesa, f));
        }
}
