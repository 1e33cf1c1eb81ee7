// The table: its points, and when it is built anew.
#include "prova.h"
#include "render/lut3d.h"
#include "semplici.h"

using namespace varno;

TEST_CASE("table: every grid point holds the bits of the plain grade")
{
    struct Caso {
        float forza, ev;
        RGB guadagno;
        int profilo;
    };
    // Row 30 clamps nothing, the log rows most of their top half.
    // clang-format off
    const Caso casi[] = {
        {1.0f,  0.0f,   {1.0f, 1.0f, 1.0f},       0},
        {0.0f,  0.5f,   {1.1f, 0.9f, 0.8f},       0},
        {-0.0f, 0.0f,   {1.0f, 1.0f, 1.0f},       1},
        {0.5f, -1.3f,   {0.8f, 1.2f, 1.1f},      17},
        {1.0f,  3.0f,   {1.0f, 1.0f, 1.0f},       7},
        {NAN,   0.0f,   {1.0f, 1.0f, 1.0f},       2},
        {INFINITY, 0.0f,   {1.0f, 1.0f, 1.0f},      31},
        {1.0f,  NAN,    {1.0f, 1.0f, 1.0f},       0},
        {1.0f,  1e30f,  {1.0f, 1.0f, 1.0f},       9},
        {0.004f,-1e30f, {1.0f, 1.0f, 1.0f},      30},
        {0.4f, -28.0f,  {1.0f, 1.0f, 1.0f},      30},  // light around the curve's floor
        {0.3f,  0.0f,   {1e38f, -1e38f, 1.0f},    0},
        {1.0f,  0.0f,   {INFINITY, NAN,   -INFINITY},  24},
    };
    // Points an axis: 81 is what renders use, 100 make a row longer than a batch.
    constexpr int LATI[] = {81, 100, 17, 2, 9, 16, 13, 17, 9, 3};
    // clang-format on
    int giro = 0;
    for (const LookDef& look : looks())
        for (const Caso& caso : casi) {
            const int n = giro < 4 ? LATI[giro] : LATI[2 + giro % 8];
            const auto finti = thread_finti(1 + giro++ % 3);
            INFO(look.nome, ", row ", &caso - casi, ", ", n, " points");
            const Contesto ctx =
                contesto_di(look, caso.forza, caso.ev, caso.profilo, caso.guadagno);
            Lut3D lut;
            lut.costruisci(ctx, n);
            REQUIRE(lut.N == n);
            REQUIRE(lut.dati.size() == static_cast<std::size_t>(n * n * n * 3));
            const float passo = 1.0f / static_cast<float>(n - 1);
            int diversi = 0;
            for (int i = 0; i < n * n * n; ++i) {
                if (n > 20 && i / n % 37 != 0)  // of long tables some rows
                    continue;
                const RGB c = semplici::applica_colore({static_cast<float>(i % n) * passo,
                                                        static_cast<float>(i / n % n) * passo,
                                                        static_cast<float>(i / n / n) * passo},
                                                       ctx);
                diversi +=
                    std::memcmp(&lut.dati[3 * static_cast<std::size_t>(i)], &c, sizeof c) != 0;
            }
            CHECK(diversi == 0);
        }
}

TEST_CASE("table: shared while all settings are equal, rebuilt when one differs")
{
    gLut.chiave = {};                                    // as at load
    const Contesto ctx = contesto_di(looks()[0], 0.0f);  // made quickly
    const Chiave inizio = {0, 0, 1.0, 0.0, 0.0, 0.0};
    std::shared_ptr<const Lut3D> tavola = aggiorna_tabella(ctx, inizio);
    CHECK(tavola->N == 81);
    CHECK(aggiorna_tabella(ctx, inizio) == tavola);

    constexpr double MENO = 0.9999999999999999;  // the last bit of a double counts
    // clang-format off
    const Chiave altre[] = {
        {1, 0, 1.0,  0.0, 0.0, 0.0}, {1, 2, 1.0,  0.0, 0.0, 0.0}, {1, 2, MENO, 0.0, 0.0, 0.0},
        {1, 2, MENO, 0.1, 0.0, 0.0}, {1, 2, MENO, 0.1, 0.2, 0.0}, {1, 2, MENO, 0.1, 0.2, 0.3},
    };
    // clang-format on
    for (const Chiave& k : altre) {
        const std::shared_ptr<const Lut3D> prima = tavola;
        tavola = aggiorna_tabella(ctx, k);
        CHECK(tavola != prima);
        CHECK(aggiorna_tabella(ctx, k) == tavola);
    }
    const Chiave mai = {0, 0, NAN, 0.0, 0.0, 0.0};
    tavola = aggiorna_tabella(ctx, mai);
    CHECK(aggiorna_tabella(ctx, mai) != tavola);
}

TEST_CASE("parallel_for splits into contiguous chunks, each index in one")
{
    struct Caso {
        std::uint64_t count;
        unsigned hc;
        std::size_t pezzi;     // chunks, 0 for no call at all
        std::uint64_t ultimo;  // first index of the last chunk
    };
    // clang-format off
    constexpr Caso casi[] = {
        {  0, 64,  0,  0},
        {  1, 64,  1,  0},
        { 15, 64,  1,  0},
        { 16, 64, 16, 15},
        { 16,  1,  1,  0},
        { 16,  0,  1,  0},
        { 17, 16,  9, 16},  // chunk 2: nine threads, the last with one item
        {100,  8,  8, 91},  // chunk 13
        {100,  2,  2, 50},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(&caso - casi);
        const auto finti = thread_finti(caso.hc);
        std::vector<std::uint64_t> pezzo(caso.count);  // that each index was in, by its end
        std::atomic<std::size_t> pezzi{0};
        std::atomic<std::size_t> altrove{0};
        parallel_for_blocchi(caso.count, [&, chi = std::this_thread::get_id()](std::uint64_t inizio,
                                                                               std::uint64_t fine) {
            for (std::uint64_t i = inizio; i < fine; ++i)
                pezzo[i] += fine;
            ++pezzi;
            altrove += std::this_thread::get_id() != chi;
        });
        CHECK(pezzi == caso.pezzi);
        CHECK(altrove == (caso.pezzi > 1 ? caso.pezzi : 0));  // one is the caller's
        CHECK(std::is_sorted(pezzo.begin(), pezzo.end()));
        CHECK(std::count(pezzo.begin(), pezzo.end(), caso.count) ==
              static_cast<long>(caso.count - caso.ultimo));
    }
}
