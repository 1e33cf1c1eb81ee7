#include "fx/blur.h"

#include "quadri.h"
#include "thread_finti.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace varno;

namespace {

struct Misura {
    int larghezza, altezza;
};

// clang-format off
constexpr Misura MISURE[] = {
    {1, 1}, {1, 2}, {2, 1}, {1, 7}, {7, 1}, {1, 40}, {40, 1}, {2, 3}, {3, 3}, {5, 4}, {4, 8},
    {16, 15}, {15, 16}, {17, 17}, {33, 18}, {63, 8}, {64, 31}, {65, 33}, {101, 60},
    {129, 21}, {257, 35}, {320, 19}, {19, 320},
};
constexpr int RAGGI[] = {0, 1, 2, 3, 4, 5, 8, 13, 31, 96};
// clang-format on

}  // namespace

TEST_CASE("the three blurs give the bits of the plain loops")
{
    Giro giro;
    for (const Misura m : MISURE) {
        for (const int raggio : RAGGI) {
            for (int k = 0; k < static_cast<int>(Contenuto::MASSIMO_); ++k) {
                if (!giro.avanti())
                    continue;
                const Contenuto contenuto = static_cast<Contenuto>(k);
                const Campioni prima = riempi(contenuto, m.larghezza, m.altezza, 1,
                                              static_cast<std::uint32_t>(giro.passo));
                const ThreadFinti thread(giro.thread());
                const LivelloFinto livello(giro.livello());
                CAPTURE(m.larghezza);
                CAPTURE(m.altezza);
                CAPTURE(raggio);
                CAPTURE(k);
                CAPTURE(giro.thread());
                CAPTURE(std::string(gNuclei->nome));

                for (const int passate : {1, 2, 3}) {
                    if (passate < 3 && k > 1)
                        continue;
                    CAPTURE(passate);
                    Campioni atteso = prima;
                    Piano avuto = piano_di(prima);
                    semplici::box_blur(atteso, m.larghezza, m.altezza, raggio, passate);
                    box_blur(avuto, m.larghezza, m.altezza, raggio, passate);
                    CHECK(differenza(atteso, avuto, m.larghezza, 1) == "");
                }
                for (int riduzione = 1; riduzione <= 4; ++riduzione) {
                    CAPTURE(riduzione);
                    Campioni atteso = prima;
                    Piano avuto = piano_di(prima);
                    semplici::blur_su_ridotta(atteso, m.larghezza, m.altezza, raggio, riduzione);
                    blur_su_ridotta(avuto, m.larghezza, m.altezza, raggio, riduzione);
                    CHECK(differenza(atteso, avuto, m.larghezza, 1) == "");

                    atteso = prima;
                    avuto = piano_di(prima);
                    semplici::blur_orizz_su_ridotta(atteso, m.larghezza, m.altezza, raggio,
                                                    riduzione);
                    blur_orizz_su_ridotta(avuto, m.larghezza, m.altezza, raggio, riduzione);
                    CHECK(differenza(atteso, avuto, m.larghezza, 1) == "");
                }
            }
        }
    }
}

TEST_CASE("box_blur replicates the edges, in a window that is wider than the line")
{
    // Radius 5 about x = 0 of (3, 6, 12): 6 times 3, once 6, 4 times 12, over 11.
    Piano riga(3);
    riga[0] = 3.0f;
    riga[1] = 6.0f;
    riga[2] = 12.0f;
    box_blur(riga, 3, 1, 5, 1);
    CHECK(riga[0] == doctest::Approx(72.0 / 11.0).epsilon(1e-6));
    CHECK(riga[1] == doctest::Approx(81.0 / 11.0).epsilon(1e-6));  // 5 times 3, once 6, 5 times 12
    CHECK(riga[2] == doctest::Approx(90.0 / 11.0).epsilon(1e-6));
}

TEST_CASE("box_blur leaves the plane with a radius below 1")
{
    Piano p(9, -0.0f);
    p[4] = 1.0f;
    for (const int raggio : {0, -1})
        box_blur(p, 3, 3, raggio, 3);
    Campioni atteso(9, -0.0f);
    atteso[4] = 1.0f;
    CHECK(differenza(atteso, p, 3, 1) == "");
}

TEST_CASE("a light on a reduced copy stands up and left of where it was")
{
    // The block of 4 x 4 at (16, 16) becomes sample (4, 4), which lies at (16, 16) of the plane,
    // not at the middle of the block: with radius 1 the peak is there, and all is even about it.
    constexpr int LATO = 37;
    constexpr int CIMA = 16;
    Piano p(LATO * LATO);
    const auto in = [&](int x, int y) -> float& {
        return p[static_cast<std::size_t>(y * LATO + x)];
    };
    for (int y = CIMA; y < CIMA + 4; ++y)
        for (int x = CIMA; x < CIMA + 4; ++x)
            in(x, y) = 1.0f;
    blur_su_ridotta(p, LATO, LATO, 3, 4);
    CHECK(std::max_element(p.begin(), p.end()) - p.begin() == CIMA * LATO + CIMA);
    // Three passes of window 3 leave 7/27 of a unit sample along each axis.
    CHECK(in(CIMA, CIMA) == doctest::Approx(49.0 / 729.0).epsilon(1e-5));
    for (int d = 1; d <= CIMA; ++d) {
        CHECK(in(CIMA - d, CIMA) == doctest::Approx(in(CIMA + d, CIMA)).epsilon(1e-5));
        CHECK(in(CIMA, CIMA - d) == doctest::Approx(in(CIMA, CIMA + d)).epsilon(1e-5));
    }
}

TEST_CASE("trailing columns and rows that fill no block are never read")
{
    for (const int lato : {9, 10, 11}) {
        Campioni chiaro(static_cast<std::size_t>(lato * lato), 0.25f);
        for (int y = 0; y < lato; ++y)
            for (int x = 0; x < lato; ++x)
                if (x >= 8 || y >= 8)
                    chiaro[static_cast<std::size_t>(y * lato + x)] = 1000.0f;
        Piano piano = piano_di(chiaro);
        blur_su_ridotta(piano, lato, lato, 4, 4);
        CHECK(std::all_of(piano.begin(), piano.end(), [](float v) { return v == 0.25f; }));
    }
    // A plane smaller than a block is its mean: (0 + 1 + ... + 8) / 9.
    Piano nove(9);
    for (int i = 0; i < 9; ++i)
        nove[static_cast<std::size_t>(i)] = static_cast<float>(i);
    blur_su_ridotta(nove, 3, 3, 7, 4);
    CHECK(std::all_of(nove.begin(), nove.end(), [](float v) { return v == 4.0f; }));
}

TEST_CASE("the streak's blur spreads a light along its row alone")
{
    Piano p(41 * 5);
    p[2 * 41 + 20] = 1.0f;
    blur_orizz_su_ridotta(p, 41, 5, 4, 1);
    double somma = 0.0;
    for (int y = 0; y < 5; ++y) {
        for (int x = 0; x < 41; ++x) {
            const float v = p[static_cast<std::size_t>(y * 41 + x)];
            somma += static_cast<double>(v);
            // Three windows of 9 reach 12 samples to each side; drift is all that lies beyond.
            if (y != 2)
                CHECK(v == 0.0f);
            else
                CHECK((v > 1e-4f) == (x >= 8 && x <= 32));
        }
    }
    CHECK(somma == doctest::Approx(1.0).epsilon(1e-5));
}
