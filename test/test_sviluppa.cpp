// Frames from window to window: table, alpha, strides, overlap, memory.
#include "render/sviluppa.h"

#include "banco/tela.h"
#include "quadri.h"

#include "render/lut3d.h"

#include <sys/mman.h>

using namespace varno;

namespace {

Lut3D tavola(int n, std::uint32_t seme, Contenuto contenuto)
{
    Lut3D lut;
    lut.N = n;
    lut.dati = piano_di(riempi(contenuto, n * n, n, 3, seme));
    return lut;
}

Finestra finestra_di(banco::Tela& t)
{
    return {reinterpret_cast<unsigned char*>(pixel(t, 0, 0)), t.byte_riga};
}

// How the output lies beside a source whose rows follow each other.
struct Disposizione {
    std::ptrdiff_t imbottitura;  // bytes behind each row
    bool capovolta, sorgente_dopo;
};
constexpr Disposizione DISPOSIZIONI[] = {{0, false, true},   {0, true, false}, {4, false, false},
                                         {20, true, true},   {3, false, true}, {1, true, false},
                                         {-16, false, true}, {0, false, false}};

// Bytes that end where a page begins that may not be touched.
struct Recinto {
    explicit Recinto(std::size_t byte) : tutti((byte + 8191) / 4096 * 4096)
    {
        void* p = mmap(nullptr, tutti, PROT_READ | PROT_WRITE, MAP_PRIVATE | MAP_ANONYMOUS, -1, 0);
        REQUIRE(p != MAP_FAILED);
        fine = static_cast<unsigned char*>(p) + tutti - 4096;
        REQUIRE(mprotect(fine, 4096, PROT_NONE) == 0);
        inizio = fine - byte;
        std::fill(inizio, fine, SEGNO);
    }
    ~Recinto() { munmap(fine + 4096 - tutti, tutti); }
    Recinto(const Recinto&) = delete;
    Recinto& operator=(const Recinto&) = delete;

    static constexpr unsigned char SEGNO = 0xA5;
    std::size_t tutti;
    unsigned char* inizio;
    unsigned char* fine;
};

// Whether a frame comes out as that one did, and all bytes around it, the source's too, stay.
bool come_altrove(const Lut3D& lut, Misura m, const FxRicetta& ricetta, const Disposizione& d,
                  const banco::Tela& sorgente, const banco::Tela& attesa)
{
    const std::ptrdiff_t riga = 16 * m.larghezza;
    const std::ptrdiff_t passo = riga + d.imbottitura;
    const std::ptrdiff_t finestra = passo * (m.altezza - 1) + riga;
    const Recinto r(static_cast<std::size_t>(finestra + riga * m.altezza));
    unsigned char* const da = r.inizio + (d.sorgente_dopo ? finestra : 0);
    unsigned char* const a = r.inizio + (d.sorgente_dopo ? 0 : riga * m.altezza) +
                             (d.capovolta ? passo * (m.altezza - 1) : 0);
    const Finestra uscita = {a, d.capovolta ? -passo : passo};
    for (int y = 0; y < m.altezza; ++y)
        std::memcpy(da + y * riga, banco::pixel(sorgente, 0, y), static_cast<std::size_t>(riga));
    std::vector<unsigned char> giusto(r.inizio, r.fine);
    for (int y = 0; y < m.altezza; ++y)
        std::memcpy(giusto.data() + (a - r.inizio) + y * uscita.passo, banco::pixel(attesa, 0, y),
                    static_cast<std::size_t>(riga));
    sviluppa(lut, {da, riga}, uscita, m.larghezza, m.altezza, ricetta);
    return std::equal(giusto.begin(), giusto.end(), r.inizio);
}

// A frame through the next of the tables with the next count of threads and set of instructions,
// against the plain loops: between windows apart, in overlapping ones and in place.
void prova(const Giro& giro, Misura m, const FxRicetta& ricetta)
{
    // Grid points, their neighbours, both ends, and what no picture should hold.
    constexpr float nan = std::numeric_limits<float>::signaling_NaN();  // arithmetic changes it
    constexpr float scelti[] = {0.5f, 0.99999994f, 1.0f,      0.0f,  -0.0f, 1e-42f, 0.0125f,
                                nan,  INFINITY,    -INFINITY, 0.25f, 1.5f,  -0.2f};
    static const Lut3D tavole[] = {tavola(9, 4, Contenuto::CASO), tavola(2, 4, Contenuto::OLTRE),
                                   tavola(PUNTI_TABELLA, 4, Contenuto::CASO),
                                   tavola(1, 4, Contenuto::OLTRE), tavola(9, 4, Contenuto::OLTRE)};
    const Lut3D& lut = tavole[giro.passo % std::size(tavole)];
    const Campioni tavola(lut.dati.begin(), lut.dati.end());
    const auto thread = thread_finti(giro.thread());
    const Finto livello(gNuclei, giro.livello());
    INFO("step ", giro.passo, ", ", m.larghezza, " x ", m.altezza);
    const Campioni pixel =
        riempi(giro.passo % 3 == 0 ? Contenuto::GUASTI : Contenuto::OLTRE, m.larghezza, m.altezza,
               4, static_cast<std::uint32_t>(giro.passo));
    banco::Tela sorgente = banco::tela({0, 0, m.larghezza, m.altezza}, 16, true);
    Campioni rgb(pixel.size() / 4 * 3);
    const auto per_pixel = [&](const auto& f) {
        for (int i = 0; i < m.larghezza * m.altezza; ++i)
            f(i % m.larghezza, i / m.larghezza, static_cast<std::size_t>(i));
    };
    per_pixel([&](int x, int y, std::size_t i) {
        float* p = banco::pixel(sorgente, x, y);
        std::memcpy(p, &pixel[4 * i], 16);
        if (i % 4 == 0)
            p[i % 3] = scelti[i / 4 % std::size(scelti)];
        // Rows of one alpha throughout, which are kept in another way, or almost.
        const int altro = y % 2 == 0 ? m.larghezza - 1 : m.larghezza / 3;
        if (y % 3 != 1)
            p[3] = y % 3 == 0 || x != altro ? 0.0f : -0.0f;
        if (y % 5 == 0)
            std::memcpy(&p[3], &nan, sizeof nan);
        semplici::campiona(tavola, lut.N, p, &rgb[3 * i]);
    });
    semplici::applica_fx(rgb, m.larghezza, m.altezza, ricetta);

    // The rows from prima on, with the alpha of the other; nothing beside them.
    const auto esatta = [&](const banco::Tela& uscita, int prima, const banco::Tela& alfa) {
        Piano avuto(rgb.size());
        int diversi = 0;
        per_pixel([&](int x, int y, std::size_t i) {
            const float* p = banco::pixel(uscita, x, y + prima);
            std::memcpy(&avuto[3 * i], p, 12);
            diversi += std::memcmp(p + 3, banco::pixel(alfa, x, y) + 3, 4) != 0;
        });
        CHECK(differenza(rgb, avuto, m.larghezza, 3) == "");
        CHECK(diversi == 0);
        CHECK(banco::intatta(uscita));
    };
    const auto rendi = [&](const Finestra& da, const Finestra& a) {
        sviluppa(lut, da, a, m.larghezza, m.altezza, ricetta);
    };
    const Finestra da = finestra_di(sorgente);
    banco::Tela uscita = banco::tela({0, 0, m.larghezza, m.altezza}, 32);
    rendi(da, finestra_di(uscita));
    esatta(uscita, 0, sorgente);
    // Side by side, whichever way the output's rows lie: nothing else is written, in the end.
    const Disposizione& d = DISPOSIZIONI[giro.passo % std::size(DISPOSIZIONI)];
    if (d.imbottitura >= 0 || giro.thread() == 1)  // rows over each other: the last one stays
        CHECK(come_altrove(lut, m, ricetta, d, sorgente, uscita));
    // In place, and shifted by some rows: no row may go out before all have come in.
    const int righe = static_cast<int>(97 * giro.passo) % m.altezza + 1;
    banco::Tela sopra = banco::tela({0, 0, m.larghezza, m.altezza + righe}, 0, giro.passo % 2 == 0);
    per_pixel([&](int x, int y, std::size_t) {
        std::memcpy(banco::pixel(sopra, x, y), banco::pixel(sorgente, x, y), 16);
    });
    const Finestra sotto = finestra_di(sopra);
    rendi(sotto, {sotto.inizio + righe * sotto.passo, sotto.passo});
    esatta(sopra, righe, sorgente);
    rendi(da, da);
    esatta(sorgente, 0, uscita);
}

}  // namespace

TEST_CASE("a frame is its passes one after the other, whichever way the rows go")
{
    // The effects that need the whole picture, each as the last of them, before those that do not.
    float FxRicetta::*const ultimi[] = {nullptr,           &FxRicetta::enhance, &FxRicetta::bloom,
                                        &FxRicetta::mistw, &FxRicetta::stella,  &FxRicetta::ca};
    Giro giro;
    // Nine cases for each effect, so that all counts of threads meet all of them. Of 33 rows the
    // last thread of sixteen has one.
    for (const Misura m : {Misura{37, 21}, {64, 40}, {5, 1}, {1, 17}, {131, 33}})
        for (float FxRicetta::*const ultimo : ultimi)
            for (const float vignetta : {0.0f, 0.4f, INFINITY})
                for (const float grana : {0.0f, 0.3f, INFINITY}) {
                    ++giro.passo;  // sanitizers see all of them: here threads share a window
                    FxRicetta ricetta = {.vignetta = vignetta, .grana = grana, .fotogramma = 77};
                    if (ultimo != nullptr) {
                        ricetta.halation = 0.3f;
                        ricetta.*ultimo = 0.5f;
                    }
                    prova(giro, m, ricetta);
                }
}

TEST_CASE("several effects on frames that are large enough for reduced planes")
{
    // Strips of large frames. Of the first three a ray is a sample shorter where it is taken from
    // the reduced width; upright ones have their long side on the other axis.
    std::mt19937 caso(11);
    std::vector<Misura> strisce = {{1923, 9}, {2885, 21}, {4067, 40}};
    while (strisce.size() < 100) {
        strisce.push_back(
            {static_cast<int>(1920 + caso() % 2181), static_cast<int>(9 + caso() % 32)});
        if (caso() % 2 == 0)
            std::swap(strisce.back().larghezza, strisce.back().altezza);
    }
    Giro giro;
    for (const Misura m : strisce) {
        if (!giro.avanti())
            continue;
        FxRicetta ricetta = ricetta_a_caso(caso);
        if (giro.passo <= 3)
            ricetta.stella = 0.7f;
        if (giro.passo % 5 == 0)  // one sweep, where a row may go out before the next comes in
            ricetta = {.vignetta = ricetta.vignetta, .grana = ricetta.grana};
        prova(giro, m, ricetta);
    }
}

TEST_CASE("separate windows share no byte")
{
    // Four rows of four pixels, and as many that begin so many bytes on: both downwards, or one up.
    unsigned char m[512] = {};
    for (const int dopo : {0, 64, 255, 256})
        for (const Finestra& altra : {Finestra{m + dopo, 64}, {m + dopo + 192, -64}}) {
            CHECK(separate({m, 64}, altra, 4, 4) == (dopo == 256));
            CHECK(separate(altra, {m, 64}, 4, 4) == (dopo == 256));
        }
}

TEST_CASE("a plane starts as zeros, moves with its memory, is filled; without memory it throws")
{
    Piano p(1000);
    CHECK(std::count(p.begin(), p.end(), 0.0f) == 1000);
    const float* dove = p.data();
    Piano r(7, 0.5f);
    CHECK(r[6] == 0.5f);
    r = std::move(p);
    CHECK((r.data() == dove && r.size() == 1000));
    r.azzera(5);
    CHECK((r.size() == 5 && r[4] == 0.0f));

    for (const std::size_t n : {SIZE_MAX, SIZE_MAX / 4, SIZE_MAX / 4 - 4, SIZE_MAX / 8 + 1}) {
        CAPTURE(n);
        CHECK_THROWS_AS(Piano{n}, std::bad_alloc);
        CHECK_THROWS_AS(piano_di_lavoro(n, true), std::bad_alloc);
    }
    // A size that only the system refuses; address sanitizers would stop at malloc with it.
    CHECK_THROWS_AS(piano_di_lavoro(SIZE_MAX / 8, true), std::bad_alloc);
}
