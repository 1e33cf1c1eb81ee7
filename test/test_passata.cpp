#include "render/passata.h"

#include "quadri.h"
#include "thread_finti.h"

#include "render/lut3d.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using namespace varno;

namespace {

Lut3D tavola(int n, std::uint32_t seme)
{
    Lut3D lut;
    lut.N = n;
    lut.dati = piano_di(riempi(Contenuto::OLTRE, n * n, n, 3, seme));
    return lut;
}

/// An RGBA picture with padding behind each row, bottom row first or last.
struct Memoria {
    std::vector<float> dati;
    Finestra finestra;

    Memoria(int larghezza, int altezza, int imbottitura, bool capovolta, float pieno)
    {
        const int passo = larghezza * 4 + imbottitura;
        dati.assign(static_cast<std::size_t>(passo) * static_cast<std::size_t>(altezza), pieno);
        auto* inizio = reinterpret_cast<unsigned char*>(dati.data());
        const auto byte = static_cast<std::ptrdiff_t>(passo) * 4;
        finestra =
            capovolta ? Finestra{inizio + byte * (altezza - 1), -byte} : Finestra{inizio, byte};
    }
    float* pixel(int x, int y) const
    {
        return reinterpret_cast<float*>(finestra.inizio + y * finestra.passo) + 4 * x;
    }
};

}  // namespace

TEST_CASE("grading samples the table as the plain form does and keeps alpha bit for bit")
{
    const float nan = std::numeric_limits<float>::signaling_NaN();  // arithmetic changes its bits
    const float inf = std::numeric_limits<float>::infinity();
    struct Misura {
        int larghezza, altezza;
    };
    Giro giro;
    for (const int n : {2, 3, 17, PUNTI_TABELLA}) {
        const Lut3D lut = tavola(n, 11);
        const Campioni dati(lut.dati.begin(), lut.dati.end());
        for (const Misura m :
             {Misura{1, 1}, {7, 15}, {8, 16}, {129, 17}, {1, 33}, {13, 5}, {31, 16}, {640, 40}}) {
            for (const bool capovolta : {false, true}) {
                ++giro.passo;
                const ThreadFinti thread(giro.thread());
                const LivelloFinto livello(giro.livello());
                CAPTURE(n);
                CAPTURE(m.larghezza);
                Memoria sorgente(m.larghezza, m.altezza, capovolta ? 12 : 0, capovolta, 0.0f);
                const auto seme = static_cast<std::uint32_t>(giro.passo);
                const Campioni pixel = riempi(seme % 2 == 0 ? Contenuto::OLTRE : Contenuto::GUASTI,
                                              m.larghezza, m.altezza, 4, seme);
                // Grid points, their neighbours, both ends, and what no picture should hold.
                const float scelti[] = {0.5f,    std::nextafter(1.0f, 0.0f),
                                        1.0f,    0.0f,
                                        -0.0f,   1e-42f,
                                        0.0125f, nan,
                                        inf,     -inf,
                                        0.25f,   1.5f};
                for (int y = 0; y < m.altezza; ++y)
                    for (int x = 0; x < m.larghezza; ++x)
                        for (int c = 0; c < 4; ++c) {
                            const auto i = static_cast<std::size_t>((y * m.larghezza + x) * 4 + c);
                            sorgente.pixel(x, y)[c] =
                                i % 3 == 0 ? scelti[(i / 3 + i / 36) % std::size(scelti)]
                                           : pixel[i];
                        }
                const auto quanti = static_cast<std::size_t>(m.larghezza * m.altezza);
                Immagine immagine(quanti * 3);
                Piano alfa(quanti);
                passata_colore(lut, sorgente.finestra, immagine, alfa, m.larghezza, m.altezza);
                Campioni atteso(quanti * 3);
                bool alfa_uguale = true;
                for (int y = 0; y < m.altezza; ++y)
                    for (int x = 0; x < m.larghezza; ++x) {
                        const auto i = static_cast<std::size_t>(y * m.larghezza + x);
                        const float* rgba = sorgente.pixel(x, y);
                        semplici::campiona(dati, n, rgba, &atteso[3 * i]);
                        alfa_uguale = alfa_uguale && std::memcmp(&alfa[i], &rgba[3], 4) == 0;
                    }
                CHECK(differenza(atteso, immagine, m.larghezza, 3) == "");
                CHECK(alfa_uguale);

                // Back out into a window with padding: each bit of it, and nothing beside it.
                Memoria uscita(m.larghezza, m.altezza, 8, !capovolta, -77.0f);
                passata_scrittura(immagine, alfa, uscita.finestra, m.larghezza, m.altezza);
                int diversi = 0;
                int toccati = 0;
                for (int y = 0; y < m.altezza; ++y) {
                    for (int x = 0; x < m.larghezza; ++x) {
                        const auto i = static_cast<std::size_t>(y * m.larghezza + x);
                        diversi += std::memcmp(uscita.pixel(x, y), &immagine[3 * i], 12) != 0 ||
                                   std::memcmp(&uscita.pixel(x, y)[3], &alfa[i], 4) != 0;
                    }
                    for (int k = 0; k < 8; ++k)
                        toccati += uscita.pixel(m.larghezza, y)[k] != -77.0f;
                }
                CHECK(diversi == 0);
                CHECK(toccati == 0);
            }
        }
    }
}

TEST_CASE("grading sits on the table's points and edges")
{
    const Lut3D lut = tavola(PUNTI_TABELLA, 5);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    struct Caso {
        float rgb[3];
        int punto[3];
    };
    // clang-format off
    const Caso casi[] = {
        {{0.0f, 0.0f, 0.0f}, {0, 0, 0}},    {{1.0f, 1.0f, 1.0f},  {80, 80, 80}},
        {{0.5f, 0.0f, 1.0f}, {40, 0, 80}},  {{1.5f, -0.2f, nan},  {80, 0, 0}},
        {{nan, 0.5f, 9.0f},  {0, 40, 80}},  {{0.0f, 0.0f, 0.5f},  {0, 0, 40}},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        Memoria sorgente(1, 1, 0, false, 0.0f);
        std::memcpy(sorgente.pixel(0, 0), caso.rgb, sizeof caso.rgb);
        Immagine immagine(3);
        Piano alfa(1);
        passata_colore(lut, sorgente.finestra, immagine, alfa, 1, 1);
        const auto i = static_cast<std::size_t>(
            ((caso.punto[2] * PUNTI_TABELLA + caso.punto[1]) * PUNTI_TABELLA + caso.punto[0]) * 3);
        for (std::size_t c = 0; c < 3; ++c)
            CHECK(immagine[c] == lut.dati[i + c]);
    }
}

TEST_CASE(
    "a frame without effects goes the direct way, with the same bits, where memory is separate")
{
    constexpr int LARGHEZZA = 37;
    constexpr int ALTEZZA = 21;
    // A regular table, which the kernels take, and one with an infinity, which they must not.
    for (const bool regolare : {true, false}) {
        Lut3D lut;
        lut.N = 9;
        lut.dati = piano_di(riempi(Contenuto::CASO, 81, 9, 3, 4));
        if (!regolare)
            lut.dati[lut.dati.size() - 1] = std::numeric_limits<float>::infinity();
        const Memoria sorgente(LARGHEZZA, ALTEZZA, 4, true, 0.0f);
        const Campioni pixel = riempi(Contenuto::GUASTI, LARGHEZZA, ALTEZZA, 4, 9);
        for (int y = 0; y < ALTEZZA; ++y)
            std::memcpy(sorgente.pixel(0, y), &pixel[static_cast<std::size_t>(y * LARGHEZZA * 4)],
                        LARGHEZZA * 16);
        Immagine immagine(LARGHEZZA * ALTEZZA * 3);
        Piano alfa(LARGHEZZA * ALTEZZA);
        for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l) {
            const LivelloFinto livello(*l);
            const Memoria uscita(LARGHEZZA, ALTEZZA, 8, false, -77.0f);
            const Memoria attesa(LARGHEZZA, ALTEZZA, 8, false, -77.0f);
            passata_colore(lut, sorgente.finestra, immagine, alfa, LARGHEZZA, ALTEZZA);
            passata_scrittura(immagine, alfa, attesa.finestra, LARGHEZZA, ALTEZZA);
            passata_colore_diretta(lut, sorgente.finestra, uscita.finestra, LARGHEZZA, ALTEZZA);
            CHECK(std::memcmp(uscita.dati.data(), attesa.dati.data(), attesa.dati.size() * 4) == 0);
        }
    }

    unsigned char memoria[4 * 64 * 2] = {};
    const Finestra giu = {memoria, 64};            // 4 rows of 4 pixels
    const Finestra su = {memoria + 3 * 64, -64};   // the same bytes
    const Finestra dopo = {memoria + 4 * 64, 64};  // the bytes that follow
    const Finestra dopo_su = {memoria + 7 * 64, -64};
    const Finestra sfalsata = {memoria + 3 * 64, 64};
    CHECK(!separate(giu, su, 4, 4));
    CHECK(separate(giu, dopo, 4, 4));
    CHECK(separate(dopo_su, su, 4, 4));
    CHECK(!separate(sfalsata, giu, 4, 4));
    CHECK(!separate(su, sfalsata, 4, 4));
}
