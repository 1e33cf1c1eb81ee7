#include "colore/colore.h"
#include "looks/catalogo.h"

#include <doctest/doctest.h>

#include <cmath>
#include <string>

using namespace varno;

namespace {

Contesto contesto_di(const LookDef& look, float forza)
{
    Contesto c;
    c.look = &look;
    c.curva_look = normalizza_curva(look.spalla, look.bianco, look.contrasto, look.gamma);
    c.forza = forza;
    c.guadagno = {1.0f, 1.0f, 1.0f};
    c.curva_neutra = normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);
    return c;
}

// Half of the fourth decimal, and the float's own rounding.
void controlla(RGB c, const double (&atteso)[3])
{
    CHECK(std::abs(c.r - atteso[0]) < 0.5001e-4);
    CHECK(std::abs(c.g - atteso[1]) < 0.5001e-4);
    CHECK(std::abs(c.b - atteso[2]) < 0.5001e-4);
}

}  // namespace

TEST_CASE("looks: what each makes of two S-Log3 code values, to four decimals")
{
    struct Caso {
        const char* nome;
        double grigio[3];  // of 0.41, 0.41, 0.41: about 0.179 on all channels
        double pelle[3];   // of 0.6, 0.45, 0.38
    };
    // clang-format off
    constexpr Caso casi[] = {
        {"Nordic",       {0.4083, 0.4077, 0.4071}, {0.9016, 0.4872, 0.4074}},
        {"Cinema Print", {0.4123, 0.4111, 0.4093}, {0.9170, 0.5127, 0.4483}},
        {"Midnight",     {0.4099, 0.4095, 0.4109}, {0.9237, 0.5170, 0.4391}},
        {"Daylight",     {0.4086, 0.4077, 0.4068}, {0.9022, 0.4972, 0.4225}},
        {"Linen",        {0.4101, 0.4101, 0.4101}, {0.9723, 0.3971, 0.2638}},
        {"Amber",        {0.4339, 0.4320, 0.4291}, {0.9130, 0.4542, 0.3705}},
        {"Ember",        {0.4155, 0.4135, 0.4116}, {0.9763, 0.4011, 0.2474}},
        {"Amalfi",       {0.4105, 0.4129, 0.4120}, {0.9801, 0.3733, 0.1610}},
        {"Velvet",       {0.3867, 0.3928, 0.4005}, {0.9735, 0.4371, 0.3160}},
        {"Brass",        {0.4085, 0.4103, 0.4185}, {0.9477, 0.4013, 0.2554}},
        {"Silk",         {0.4369, 0.4343, 0.4355}, {0.8824, 0.4372, 0.3576}},
        {"Olive",        {0.4093, 0.4216, 0.4110}, {0.9606, 0.4016, 0.2282}},
    };
    // clang-format on
    const std::vector<LookDef> looks = catalogo();
    REQUIRE(looks.size() == sizeof casi / sizeof casi[0]);
    for (std::size_t i = 0; i < looks.size(); ++i) {
        CAPTURE(looks[i].nome);
        CHECK(looks[i].nome == casi[i].nome);
        const Contesto intero = contesto_di(looks[i], 1.0f);
        controlla(applica_colore({0.41f, 0.41f, 0.41f}, intero), casi[i].grigio);
        controlla(applica_colore({0.6f, 0.45f, 0.38f}, intero), casi[i].pelle);
        // At strength 0 no look shows.
        const Contesto neutro = contesto_di(looks[i], 0.0f);
        controlla(applica_colore({0.41f, 0.41f, 0.41f}, neutro), {0.4077, 0.4077, 0.4078});
        controlla(applica_colore({0.6f, 0.45f, 0.38f}, neutro), {1.0, 0.4130, 0.2971});
    }
}

TEST_CASE("looks: the suggested effects add up to the catalogue's columns")
{
    FxRicetta somma;
    for (const LookDef& look : catalogo()) {
        const FxRicetta& r = look.ricetta;
        CAPTURE(look.nome);
        CHECK((r.enhance == 0.0f && r.grana == 0.0f && r.stella == 0.0f));
        CHECK((r.fotogramma == 0 && r.punte == 4));
        somma.halation += r.halation;
        somma.bloom += r.bloom;
        somma.vignetta += r.vignetta;
        somma.promist += r.promist;
        somma.streak += r.streak;
        somma.ca += r.ca;
        somma.mistw += r.mistw;
        somma.glimmer += r.glimmer;
        somma.pelle += r.pelle;
    }
    // Twelve rows added by hand
    CHECK(somma.halation == doctest::Approx(3.37));
    CHECK(somma.bloom == doctest::Approx(2.51));
    CHECK(somma.vignetta == doctest::Approx(1.78));
    CHECK(somma.promist == doctest::Approx(1.25));
    CHECK(somma.streak == doctest::Approx(0.43));
    CHECK(somma.ca == doctest::Approx(0.05));
    CHECK(somma.mistw == doctest::Approx(0.5));
    CHECK(somma.glimmer == doctest::Approx(0.25));
    CHECK(somma.pelle == doctest::Approx(0.25));
}
