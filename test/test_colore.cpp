#include "colore/colore.h"
#include "colore/lotto.h"
#include "colore/profili.h"
#include "looks/catalogo.h"
#include "semplici_colore.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <random>

using namespace varno;
using doctest::Approx;

namespace {

constexpr float NAN_F = std::numeric_limits<float>::quiet_NaN();
constexpr float INF_F = std::numeric_limits<float>::infinity();

const Curva NEUTRA = normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);

Contesto contesto_di(const LookDef& look, float forza, float ev = 0.0f, int profilo = 0)
{
    Contesto c;
    c.look = &look;
    c.curva_look = normalizza_curva(look.spalla, look.bianco, look.contrasto, look.gamma);
    c.forza = forza;
    c.ev = ev;
    c.guadagno = {1.0f, 1.0f, 1.0f};
    c.curva_neutra = NEUTRA;
    c.profilo = profilo;
    return c;
}

bool stessi_bit(RGB a, RGB b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

}  // namespace

TEST_CASE("tone curve: grey and white stand where they are set")
{
    CHECK(NEUTRA.scala == Approx(0.56205).epsilon(1e-5));
    CHECK(NEUTRA.norma == Approx(1.0068).epsilon(1e-5));
    CHECK(NEUTRA.grigio == Approx(0.116987).epsilon(5e-6));
    for (const LookDef& look : catalogo()) {
        CAPTURE(look.nome);
        const Curva k = normalizza_curva(look.spalla, look.bianco, look.contrasto, 1.0f);
        CHECK(k.grigio == Approx(std::pow(0.409, 2.4)).epsilon(1e-5));
        const RGB grigio = tonemap_ratio({0.18f, 0.18f, 0.18f}, k, 0.0f);
        CHECK(grigio.g == Approx(k.grigio).epsilon(1e-5));
        // White comes out at grigio to the power 1 - contrasto, cut at 1: only a contrast below 1
        // keeps it from full white.
        const RGB bianco = tonemap_ratio({look.bianco, look.bianco, look.bianco}, k, 0.0f);
        CHECK(bianco.g ==
              Approx(std::min(1.0, std::pow(0.11698655, 1.0 - look.contrasto))).epsilon(1e-5));
        CHECK((bianco.g < 0.99f) == (look.nome == "Silk"));
    }
}

TEST_CASE("tone curve: through luminance the ratios stay, by channel bright colours turn white")
{
    const RGB rosso = tonemap_ratio({0.05f, 0.0f, 0.0f}, NEUTRA, 0.0f);
    const float t = tonemap_ratio({0.01063f, 0.01063f, 0.01063f}, NEUTRA, 0.0f).g;
    CHECK(rosso.r == Approx(t / 0.2126).epsilon(1e-5));  // luminance 0.05 * 0.2126
    CHECK((rosso.g == 0.0f && rosso.b == 0.0f));
    CHECK(tonemap_ratio({50.0f, 0.0f, 0.0f}, NEUTRA, 0.0f).r == 1.0f);

    const RGB caldo = tonemap_ratio({40.0f, 20.0f, 10.0f}, NEUTRA, 1.0f);
    CHECK((caldo.r == 1.0f && caldo.g == 1.0f));
    CHECK(caldo.b > 0.95f);
    const RGB nero = tonemap_ratio({0.0f, 0.0f, 0.0f}, NEUTRA, 0.0f);
    CHECK((nero.r == 0.0f && nero.g == 0.0f && nero.b == 0.0f));
    const RGB nero_canale = tonemap_ratio({-1.0f, NAN_F, 0.0f}, NEUTRA, 1.0f);
    CHECK((nero_canale.r > 0.0f && nero_canale.r <= 1.0001e-9f));
    CHECK((nero_canale.g == nero_canale.r && nero_canale.b == nero_canale.r));
}

TEST_CASE("grade: fixed points of the two pipelines")
{
    const std::vector<LookDef> looks = catalogo();
    for (const LookDef& look : looks) {
        CAPTURE(look.nome);
        const RGB bianco = applica_colore({1.0f, 1.0f, 1.0f}, contesto_di(look, 1.0f));
        const RGB nero = applica_colore({0.0f, 0.0f, 0.0f}, contesto_di(look, 1.0f));
        // Black is the lift, and up to 4e-4 from the curve's floor; print tints leave green alone.
        CHECK(std::abs(nero.g - look.sollevamento) < 4e-4f);
        // The print pipeline is tipo 1 alone, and has a knee of its own.
        LookDef altro = look;
        altro.tipo = look.tipo == 1 ? 1 : 7;
        altro.ginocchio = look.tipo == 1 ? 0.5f : look.ginocchio;
        CHECK(stessi_bit(bianco, applica_colore({1.0f, 1.0f, 1.0f}, contesto_di(altro, 1.0f))));
        if (look.tipo != 1)
            continue;
        CHECK(bianco.r <= 0.94f);
        CHECK(bianco.b <= 0.94f);
        // Scene light above 1 is held there before the curve: a stop more shows nowhere.
        CHECK(
            stessi_bit(bianco, applica_colore({1.0f, 1.0f, 1.0f}, contesto_di(look, 1.0f, 1.0f))));
    }
    // Exposure is a gain on linear light: a stop up and half the light meet.
    const float luce = decodifica_canale(0.5f, 17);
    Lotto due;
    due.n = 2;
    for (float* c : {due.r, due.g, due.b}) {
        c[0] = luce;
        c[1] = luce * 0.5f;
    }
    Lotto chiaro = due;
    esponi(due, fattore_esposizione(0.0f), {1.0f, 1.0f, 1.0f});
    esponi(chiaro, fattore_esposizione(1.0f), {1.0f, 1.0f, 1.0f});
    CHECK(chiaro.g[1] == due.g[0]);
    esponi(chiaro, -1.0f, {1.0f, 1.0f, 1.0f});
    CHECK(chiaro.g[0] == 0.0f);
}

TEST_CASE("a run of powers has the bits of each by itself, and a power of 1 those of the value")
{
    std::mt19937 caso(1);
    std::uniform_int_distribution<std::uint32_t> bit(0u, 0x7f800000u);
    int diversi = 0;
    for (const float esponente : {1.0f, 0.41666666f, 1.8f}) {
        const volatile float nascosto = esponente;
        for (int giro = 0; giro < 20000; ++giro) {
            float v[4];
            const std::uint32_t b = bit(caso);
            std::memcpy(&v[0], &b, sizeof b);
            v[1] = v[0];
            v[2] = NAN_F;
            v[3] = v[0];
            const float solo = std::pow(v[0], nascosto);
            eleva(v, 4, esponente);
            diversi += v[0] != solo || v[1] != solo || v[2] == v[2] || v[3] != solo;
        }
    }
    CHECK(diversi == 0);
}

TEST_CASE("the grade in batches has the bits of the plain one, whatever comes in")
{
    struct Caso {
        float forza, ev;
        RGB guadagno;
        int profilo;
    };
    // clang-format off
    const Caso casi[] = {
        {1.0f,  0.0f,   {1.0f, 1.0f, 1.0f},       0},
        {0.0f,  0.5f,   {1.1f, 0.9f, 0.8f},       0},
        {-0.0f, 0.0f,   {1.0f, 1.0f, 1.0f},       1},
        {0.5f, -1.3f,   {0.8f, 1.2f, 1.1f},      17},
        {1.0f,  3.0f,   {1.0f, 1.0f, 1.0f},       7},
        {NAN_F, 0.0f,   {1.0f, 1.0f, 1.0f},       2},
        {INF_F, 0.0f,   {1.0f, 1.0f, 1.0f},      31},
        {1.0f,  NAN_F,  {1.0f, 1.0f, 1.0f},       0},
        {1.0f,  1e30f,  {1.0f, 1.0f, 1.0f},       9},
        {0.0f, -1e30f,  {1.0f, 1.0f, 1.0f},      30},
        {0.4f, -28.0f,  {1.0f, 1.0f, 1.0f},      30},  // light around the curve's floor
        {0.3f,  0.0f,   {1e38f, -1e38f, 1.0f},    0},
        {1.0f,  0.0f,   {INF_F, NAN_F, -INF_F},  24},
    };
    // clang-format on
    constexpr float STRANI[] = {0.0f, -0.0f, 1.0f, -0.3f, 1.5f, 1e30f, NAN_F, INF_F, -INF_F};
    std::mt19937 caso_di(7);
    std::uniform_real_distribution<float> codice(-0.2f, 1.2f);
    for (const LookDef& look : catalogo()) {
        CAPTURE(look.nome);
        for (const Caso& caso : casi) {
            CAPTURE(caso.forza);
            CAPTURE(caso.ev);
            Contesto ctx = contesto_di(look, caso.forza, caso.ev, caso.profilo);
            ctx.guadagno = caso.guadagno;
            int diversi = 0;
            const auto prova = [&](RGB c) {
                diversi += !stessi_bit(applica_colore(c, ctx), semplici::applica_colore(c, ctx));
            };
            for (const float a : STRANI)
                for (const float b : STRANI)
                    prova({a, b, 0.4f});
            for (int i = 0; i < 300; ++i)
                prova({codice(caso_di), codice(caso_di), codice(caso_di)});
            CHECK(diversi == 0);
        }
    }
}
