#include "render/passata.h"

#include "quadri.h"
#include "thread_finti.h"

#include "render/lut3d.h"
#include "render/sviluppa.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstring>
#include <limits>
#include <vector>

using namespace varno;

namespace {

// A regular table, which the kernels take, or one that they must not.
Lut3D tavola(int n, std::uint32_t seme, bool regolare)
{
    Lut3D lut;
    lut.N = n;
    lut.dati = piano_di(riempi(regolare ? Contenuto::CASO : Contenuto::OLTRE, n * n, n, 3, seme));
    lut.regolare = bordi_regolari(lut);
    CHECK(lut.regolare == regolare);
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
    for (const int n : {2, 3, -3, 17, PUNTI_TABELLA, -PUNTI_TABELLA}) {
        const Lut3D lut = tavola(std::abs(n), 11, n > 0);
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
                const Campioni pixel = riempi(seme % 3 == 0 ? Contenuto::GUASTI : Contenuto::OLTRE,
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
                // Rows of one alpha throughout, which are kept in another way, or almost.
                for (int y = 0; y < m.altezza; ++y)
                    for (int x = 1; x < m.larghezza - y % 3; ++x)
                        std::memcpy(&sorgente.pixel(x, y)[3], &sorgente.pixel(0, y)[3], 4);
                Immagine immagine(quanti * 3);
                Alfa alfa = alfa_di(m.larghezza, m.altezza, nullptr);
                for (std::uint64_t y = 0; y < static_cast<std::uint64_t>(m.altezza); ++y)
                    passata_colore(lut, sorgente.finestra, m.larghezza, y,
                                   &immagine[y * static_cast<std::size_t>(m.larghezza) * 3], alfa);
                Campioni atteso(quanti * 3);
                for (int y = 0; y < m.altezza; ++y)
                    for (int x = 0; x < m.larghezza; ++x) {
                        const auto i = static_cast<std::size_t>(y * m.larghezza + x);
                        semplici::campiona(dati, lut.N, sorgente.pixel(x, y), &atteso[3 * i]);
                    }
                CHECK(differenza(atteso, immagine, m.larghezza, 3) == "");

                // Back out into a window with padding: each bit of it, and nothing beside it.
                Memoria uscita(m.larghezza, m.altezza, 8, !capovolta, -77.0f);
                for (int y = 0; y < m.altezza; ++y)
                    passata_scrittura(&immagine[static_cast<std::size_t>(y * m.larghezza * 3)],
                                      alfa, uscita.finestra, m.larghezza,
                                      static_cast<std::uint64_t>(y));
                int diversi = 0;
                int toccati = 0;
                for (int y = 0; y < m.altezza; ++y) {
                    for (int x = 0; x < m.larghezza; ++x) {
                        const auto i = static_cast<std::size_t>(y * m.larghezza + x);
                        diversi +=
                            std::memcmp(uscita.pixel(x, y), &immagine[3 * i], 12) != 0 ||
                            std::memcmp(&uscita.pixel(x, y)[3], &sorgente.pixel(x, y)[3], 4) != 0;
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
    const Lut3D lut = tavola(PUNTI_TABELLA, 5, true);
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
        Alfa alfa = alfa_di(1, 1, nullptr);
        passata_colore(lut, sorgente.finestra, 1, 0, immagine.data(), alfa);
        const auto i = static_cast<std::size_t>(
            ((caso.punto[2] * PUNTI_TABELLA + caso.punto[1]) * PUNTI_TABELLA + caso.punto[0]) * 3);
        for (std::size_t c = 0; c < 3; ++c)
            CHECK(immagine[c] == lut.dati[i + c]);
    }
}

TEST_CASE("a frame is its passes one after the other, whichever way the rows go")
{
    struct Misura {
        int larghezza, altezza;
    };
    const float inf = std::numeric_limits<float>::infinity();
    // The effects that need the whole picture, each as the last of them, before those that do not.
    float FxRicetta::*const ultimi[] = {nullptr,           &FxRicetta::enhance, &FxRicetta::bloom,
                                        &FxRicetta::mistw, &FxRicetta::stella,  &FxRicetta::ca};
    constexpr float FUORI = -77.0f;  // what lies beside the windows, and in the output before
    const Lut3D tavole[] = {tavola(9, 4, true), tavola(9, 4, false)};
    Giro giro;
    // Nine cases for each effect, so that all counts of threads meet all of them. Of 33 rows the
    // last thread of sixteen has one.
    for (const Misura m : {Misura{37, 21}, {64, 40}, {5, 1}, {1, 17}, {131, 33}})
        for (float FxRicetta::*const ultimo : ultimi)
            for (const float vignetta : {0.0f, 0.4f, inf})
                for (const float grana : {0.0f, 0.3f, inf}) {
                    if (!giro.avanti())
                        continue;
                    const Lut3D& lut = tavole[giro.passo % 5 == 0];
                    const Campioni tavola(lut.dati.begin(), lut.dati.end());
                    FxRicetta ricetta;
                    ricetta.vignetta = vignetta;
                    ricetta.grana = grana;
                    ricetta.fotogramma = 77;
                    if (ultimo != nullptr) {
                        ricetta.halation = 0.3f;
                        ricetta.*ultimo = 0.5f;
                    }
                    const ThreadFinti thread(giro.thread());
                    const LivelloFinto livello(giro.livello());
                    CAPTURE(m.larghezza);
                    CAPTURE(giro.passo);
                    const Campioni pixel =
                        riempi(giro.passo % 3 == 0 ? Contenuto::GUASTI : Contenuto::OLTRE,
                               m.larghezza, m.altezza, 4, static_cast<std::uint32_t>(giro.passo));
                    const Memoria sorgente(m.larghezza, m.altezza, 4, true, FUORI);
                    Campioni rgb(static_cast<std::size_t>(m.larghezza * m.altezza) * 3);
                    const auto per_pixel = [&](const auto& f) {
                        for (int y = 0; y < m.altezza; ++y)
                            for (int x = 0; x < m.larghezza; ++x)
                                f(x, y, static_cast<std::size_t>(y * m.larghezza + x));
                    };
                    per_pixel([&](int x, int y, std::size_t i) {
                        float* p = sorgente.pixel(x, y);
                        std::memcpy(p, &pixel[4 * i], 16);
                        if (y % 3 == 0)
                            p[3] = 0.5f;
                        semplici::campiona(tavola, lut.N, p, &rgb[3 * i]);
                    });
                    semplici::applica_fx(rgb, m.larghezza, m.altezza, ricetta);

                    const auto esatta = [&](const Memoria& uscita, int imbottitura,
                                            const Memoria& alfa) {
                        Piano avuto(rgb.size());
                        int diversi = 0;
                        per_pixel([&](int x, int y, std::size_t i) {
                            std::memcpy(&avuto[3 * i], uscita.pixel(x, y), 12);
                            diversi +=
                                std::memcmp(&uscita.pixel(x, y)[3], &alfa.pixel(x, y)[3], 4) != 0;
                        });
                        for (int y = 0; y < m.altezza; ++y)
                            for (int k = 0; k < imbottitura; ++k)
                                diversi += uscita.pixel(m.larghezza, y)[k] != FUORI;
                        CHECK(differenza(rgb, avuto, m.larghezza, 3) == "");
                        CHECK(diversi == 0);
                    };
                    const Memoria uscita(m.larghezza, m.altezza, 8, false, FUORI);
                    sviluppa(lut, sorgente.finestra, uscita.finestra, m.larghezza, m.altezza,
                             ricetta);
                    esatta(uscita, 8, sorgente);
                    sviluppa(lut, sorgente.finestra, sorgente.finestra, m.larghezza, m.altezza,
                             ricetta);
                    esatta(sorgente, 4, uscita);
                }
}

TEST_CASE("separate windows share no byte")
{
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
