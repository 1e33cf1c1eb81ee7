// The table: its points, and when it is built anew.
#include "prova.h"
#include "render/lut3d.h"

using namespace varno;

namespace {

// Samples that differ from applica_colore at their grid point, in any bit; of large tables, those
// of one row in 37.
int diversi(const Lut3D& lut, const Contesto& ctx)
{
    const float passo = 1.0f / static_cast<float>(lut.N - 1);
    int n = 0;
    for (int riga = 0; riga<lut.N * lut.N; riga += lut.N> 20 ? 37 : 1)
        for (int R = 0; R < lut.N; ++R) {
            const RGB c = applica_colore({static_cast<float>(R) * passo,
                                          static_cast<float>(riga % lut.N) * passo,
                                          static_cast<float>(riga / lut.N) * passo},
                                         ctx);
            n += std::memcmp(&lut.dati[static_cast<std::size_t>((riga * lut.N + R) * 3)], &c,
                             sizeof c) != 0;
        }
    return n;
}

}  // namespace

TEST_CASE("table: every grid point holds applica_colore's bits")
{
    constexpr float NAN_F = std::numeric_limits<float>::quiet_NaN();
    struct Caso {
        std::size_t look;
        int n;
        float forza, ev;
        int profilo;
    };
    // 100 points make a row longer than a batch, 81 is what renders use; row 30 clamps nothing,
    // the log rows most of their top half.
    // clang-format off
    constexpr Caso casi[] = {
        { 1, 81, 1.0f,   0.0f,  0},
        { 9, 81, 0.5f,   0.3f, 11},
        { 0, 17, 1.0f,   2.0f,  0},  { 2, 17, 0.5f, -1.0f,  2},  { 3, 17, 0.0f,  0.0f, 30},
        { 4, 17, 1.0f,   0.0f, 30},  { 5, 17, 1.0f,  0.0f,  0},  { 8, 17, 0.7f,  1.0f,  7},
        {10, 17, NAN_F,  0.0f,  0},  {11, 17, 1.0f,  NAN_F, 5},  { 6, 17, 1.0f,  1e30f, 0},
        { 7,  2, 1.0f,   0.0f,  1},  { 1, 16, 1.0f, -1e30f, 0},  { 2, 100, 0.5f, 0.0f,  0},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(&caso - casi);
        const Contesto ctx = contesto_di(looks()[caso.look], caso.forza, caso.ev, caso.profilo,
                                         {1.05f, 0.98f, 0.95f});
        for (const unsigned thread : {1u, 3u}) {
            const ThreadFinti finti(thread);
            Lut3D lut;
            lut.costruisci(ctx, caso.n);
            REQUIRE(lut.N == caso.n);
            REQUIRE(lut.dati.size() == static_cast<std::size_t>(caso.n * caso.n * caso.n * 3));
            CHECK(diversi(lut, ctx) == 0);
        }
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
    const Chiave mai = {0, 0, std::numeric_limits<double>::quiet_NaN(), 0.0, 0.0, 0.0};
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
        bool sul_chiamante;
    };
    // clang-format off
    constexpr Caso casi[] = {
        {  0, 64,  0,  0, true },
        {  1, 64,  1,  0, true },
        { 15, 64,  1,  0, true },
        { 16, 64, 16, 15, false},
        { 16,  1,  1,  0, true },
        { 16,  0,  1,  0, true },
        { 17, 16,  9, 16, false},  // chunk 2: nine threads, the last with one item
        {100,  8,  8, 91, false},  // chunk 13
        {100,  2,  2, 50, false},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(&caso - casi);
        const ThreadFinti finti(caso.hc);
        std::mutex m;
        std::map<std::uint64_t, std::uint64_t> pezzi;  // by their beginnings
        int altrove = 0;
        parallel_for_blocchi(caso.count, [&, chi = std::this_thread::get_id()](std::uint64_t inizio,
                                                                               std::uint64_t fine) {
            const std::lock_guard<std::mutex> guardia(m);
            pezzi.emplace(inizio, fine);
            altrove += std::this_thread::get_id() != chi;
        });
        REQUIRE(pezzi.size() == caso.pezzi);
        CHECK(altrove == (caso.sul_chiamante ? 0 : static_cast<int>(caso.pezzi)));
        CHECK((pezzi.empty() || pezzi.rbegin()->first == caso.ultimo));
        std::uint64_t atteso = 0;
        for (const auto& [inizio, fine] : pezzi) {
            CHECK((inizio == atteso && fine > inizio));
            atteso = fine;
        }
        CHECK(atteso == caso.count);
    }
}
