// The chain against the plain loops: every output bit, whatever the size, the picture, the recipe,
// the number of threads and the instruction set.
#include "fx/fx.h"

#include "fx/media.h"
#include "fx/nuclei_piani.h"
#include "fx/passo.h"
#include "fx/vignetta.h"
#include "quadri.h"

using namespace varno;

namespace {

// clang-format off
constexpr Misura PICCOLE[] = {
    {1, 1}, {1, 2}, {2, 1}, {1, 40}, {40, 1}, {2, 3}, {3, 3}, {5, 4}, {16, 15}, {15, 16}, {17, 17},
    {33, 18}, {8, 5}, {63, 9}, {64, 20}, {65, 7}, {129, 33}, {100, 60},
};
// Around each step of the reduction, on either axis, and sides below the reduction.
constexpr Misura LUNGHE[] = {
    {1919, 5}, {1920, 1}, {1920, 7}, {1921, 18}, {2879, 4}, {2880, 2}, {2881, 17}, {3839, 6},
    {3840, 3}, {3840, 9}, {3843, 16}, {1, 3840}, {3, 2881}, {2, 1920}, {9, 1919}, {21, 3841},
    {33001, 2},
};
// clang-format on

constexpr int CONTENUTI = static_cast<int>(Contenuto::MASSIMO_);

Campioni quadro(int contenuto, Misura m, std::uint32_t seme)
{
    return riempi(static_cast<Contenuto>(contenuto), m.larghezza, m.altezza, 3, seme);
}

// img: larghezza * altezza * 3 floats, changed in place; riduzione 0: the frame's own. The picture
// lies in rows that are so many floats farther apart than they need, upside down if that is
// negative. Memory is handed out used: what is read before it is written is not-a-number.
void applica_fx(Piano& img, int larghezza, int altezza, const FxRicetta& ricetta, int riduzione = 0,
                std::ptrdiff_t distanza = 0)
{
    const Programma p = programma_di(ricetta, larghezza, altezza, true,
                                     riduzione > 0 ? riduzione : riduzione_di(larghezza, altezza));
    const std::ptrdiff_t riga = 3 * std::ptrdiff_t{larghezza};
    const std::ptrdiff_t passo = (p.piano_in_quadro ? riga + larghezza : riga) + std::abs(distanza);
    Piano memoria(p.memoria, NAN);
    Piano quadro(static_cast<std::size_t>(passo * altezza), NAN);
    const Immagine campo =
        distanza < 0 ? Immagine{quadro.end() - passo, -passo} : Immagine{quadro.data(), passo};
    applica_fx(p, campo, memoria.data(),
               {.entra =
                    [&](float* rgb, std::ptrdiff_t y) {
                        std::copy_n(&img[static_cast<std::size_t>(y * riga)], riga, rgb);
                    },
                .esce =
                    [&](const float* rgb, std::ptrdiff_t y) {
                        std::copy_n(rgb, riga, &img[static_cast<std::size_t>(y * riga)]);
                    }});
}

// A frame of this content by the chain and by the plain loops, with the next count of threads, set
// of instructions and seed; riduzione 0: the frame's own.
void prova(Giro& giro, int contenuto, Misura m, const FxRicetta& ricetta, int riduzione = 0)
{
    if (!giro.avanti())
        return;
    const auto thread = thread_finti(giro.thread());
    const Finto livello(gNuclei, giro.livello());
    INFO("step ", giro.passo, ", ", giro.thread(), " threads, ", gNuclei->nome, ", ", m.larghezza,
         " x ", m.altezza, ", content ", contenuto);
    Campioni atteso = quadro(contenuto, m, static_cast<std::uint32_t>(giro.passo));
    Piano avuto = piano_di(atteso);
    constexpr std::ptrdiff_t DISTANZE[] = {0, 3, -1, 64};
    applica_fx(avuto, m.larghezza, m.altezza, ricetta, riduzione, DISTANZE[giro.passo % 4]);
    semplici::applica_fx(atteso, m.larghezza, m.altezza, ricetta, riduzione);
    CHECK(differenza(atteso, avuto, m.larghezza, 3) == "");
}

FxRicetta uno(const Voce& e, float quantita, int punte = 4)
{
    FxRicetta r;
    r.*e.campo = quantita;
    r.punte = punte;
    return r;
}

}  // namespace

TEST_CASE("each effect by itself gives the bits of the plain loops, on copies of any reduction")
{
    // The reduction is a large frame's, which small ones reach too.
    Giro giro;
    for (const Voce& e : EFFETTI)
        for (const Misura m : PICCOLE)
            for (int k = 0; k < CONTENUTI; ++k)
                // Of 5 rows the aberration shifts the first by one at 25, here by rounding alone.
                for (const float quantita :
                     {1e-6f, e.massimo * 0.25f, e.massimo, 24.999998f, INFINITY}) {
                    INFO(e.nome, " ", quantita);
                    prova(giro, k, m, uno(e, quantita), 1 + static_cast<int>(giro.passo / 3 % 4));
                }
}

TEST_CASE("frames of all steps of the reduction and recipes of several effects likewise")
{
    Giro giro;
    for (const Misura m : LUNGHE)
        for (const Voce& e : EFFETTI)
            prova(giro, static_cast<int>(giro.passo % CONTENUTI), m, uno(e, e.massimo, 8));
    const auto tutti = [](float parte) {
        FxRicetta r = {.fotogramma = -7};
        for (const Voce& e : EFFETTI)
            r.*e.campo = e.massimo * parte;
        return r;
    };
    int contenuto = 0;
    for (const Misura m : {Misura{641, 163}, {163, 641}, {1919, 23}, {1919, 19}})
        prova(giro, contenuto++, m, tutti(0.5f));

    // Every effect behind every other: luma as the first leaves it, stale behind bloom.
    std::vector<FxRicetta> ricette;
    for (const float parte : {0.2f, 1.0f, 4.0f, 0.0f, -0.0f, -1.0f, NAN})
        ricette.push_back(tutti(parte));
    for (const Voce* primo = std::begin(EFFETTI); primo != std::end(EFFETTI); ++primo)
        for (const Voce* poi = primo + 1; poi != std::end(EFFETTI); ++poi) {
            ricette.push_back(uno(*primo, primo->massimo));
            ricette.back().*poi->campo = poi->massimo;
        }
    ricette.push_back({.bloom = 0.6f, .promist = 0.5f, .streak = 0.5f});
    std::mt19937 caso(3);
    for (int n = 0; n < 40; ++n)
        ricette.push_back(ricetta_a_caso(caso));
    for (const auto& [punte, fotogramma] :
         {std::pair{-4, 1}, {0, -1}, {3, INT_MIN}, {7, INT_MAX}, {100, 0}})
        ricette.push_back(
            {.grana = 0.6f, .fotogramma = fotogramma, .stella = 0.6f, .punte = punte});
    for (const FxRicetta& r : ricette)
        for (const Misura m : {Misura{1, 1}, {17, 9}, {47, 33}})
            for (int k = static_cast<int>(giro.passo % 3); k < CONTENUTI; k += 3)
                prova(giro, k, m, r);
}

TEST_CASE("the mean luminance is one sum in index order, to the last bit")
{
    constexpr int W = 701;
    constexpr int H = 97;
    for (int k = 0; k < CONTENUTI; ++k)
        for (const std::size_t scura : {std::size_t{0}, std::size_t{1}, std::size_t{7}}) {
            CAPTURE(k);
            CAPTURE(scura);
            Campioni img = quadro(k, {W, H}, 5);
            // Bright, but for every seventh row, whose digits are finer; once as they are.
            for (std::size_t i = 0; scura != 1 && i < img.size(); ++i)
                img[i] = scura == 0 || i / (3 * W) % scura != 0 ? std::abs(img[i]) * 0.5f + 0.3f
                                                                : img[i] * 1e-3f;
            Campioni luma;
            for (std::size_t i = 0; i < img.size(); i += 3)
                luma.push_back(img[i] * 0.2126f + img[i + 1] * 0.7152f + img[i + 2] * 0.0722f);
            const double attesa = std::accumulate(luma.begin(), luma.end(), 0.0);
            for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l) {
                const Finto livello(gNuclei, *l);
                const Quadro quadro = {.larghezza = W, .altezza = H};
                std::vector<double> somme;
                for (std::size_t y = 0; y < H; ++y)
                    somme.push_back(somma_di_riga(&luma[y * W], quadro));
                Campioni riga(W);
                const float media =
                    media_di({img.data(), 3 * W}, quadro, somme.data(), riga.data());
                CHECK((media == static_cast<float>(attesa / (W * H)) ||
                       (std::isnan(attesa) && std::isnan(media))));
            }
        }
    // Which sums of rows are taken: of a picture of not-a-numbers no row may be looked at again,
    // but where 2^53 units are passed, or finer digits than theirs meet another exponent.
    struct Caso {
        double prima, poi;
        bool letta;
    };
    for (const Caso& c : {Caso{0x1p+22, 0x1p+21, false},
                          {0x1p+22, 0x1p+22, true},
                          {0.5 + 0x1p-40, 0.25, false},
                          {0.5 + 0x1p-40, 0.5, true}}) {
        float rgb[] = {NAN, NAN, NAN};
        const double somme[] = {c.prima, c.poi};
        CHECK(std::isnan(media_di({rgb, 0}, {.larghezza = 1, .altezza = 2}, somme, rgb)) ==
              c.letta);
    }
    // Above 2^23 pixels the unit is four times as large.
    for (const int oltre : {0, 1}) {
        const float unita = 0x1p-30f;
        CHECK((somma_di_riga(&unita, {.larghezza = 1, .altezza = (1 << 23) + oltre}) < 0) == oltre);
    }
    // A sum of its own in the widest rows; what does not add up without rounding is refused: above
    // 1, negative, finer than the unit.
    const Campioni molti(400000, 0x1.fffffep-1f);
    for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l) {
        const auto somma = [&](const Campioni& v) {
            return (*l)->piani.somma_intera(v.data(), std::ssize(v), 0x1p+30f);
        };
        CHECK(somma(molti) == 400000 * 0x1.fffffep-1);
        for (std::size_t dove = 0; dove < 19; ++dove) {
            Campioni v(19, 0.25f);
            for (const float strano : {1.0000001f, -0.25f, 0x1.000002p-9f, NAN}) {
                v[dove] = strano;
                CHECK(somma(v) == -1.0);
            }
            v[dove] = 0x1.000002p-7f;
            CHECK(somma(v) == 18 * 0.25 + 0x1.000002p-7);
        }
    }
}

TEST_CASE("a frame takes as few sweeps, and as little memory, as its recipe allows")
{
    struct Caso {
        FxRicetta ricetta;
        int passate, tutte_prima;  // of separate windows, of overlapping ones
        double megabyte;           // of own memory, with two threads
    };
    const Caso casi[] = {
        {{}, 1, 2, 0.1},
        {{.bloom = -1.0f, .grana = NAN}, 1, 2, 0.1},
        {{.vignetta = 0.1f, .grana = 0.1f}, 1, 2, 0.2},
        {{.enhance = 0.1f, .halation = 0.1f, .bloom = 0.1f, .vignetta = 0.1f}, 4, 4, 5.0},
        {{.bloom = 0.1f, .ca = 0.1f, .mistw = 0.1f}, 4, 4, 11.2},
    };
    for (const Caso& c : casi) {
        const auto piano = [&](bool tutte_prima) {
            return programma_di(c.ricetta, 3840, 2160, tutte_prima, 4);
        };
        const auto thread = thread_finti(2);
        const Programma p = piano(false);
        CHECK(static_cast<double>(p.memoria) * sizeof(float) <= c.megabyte * 1e6);
        CHECK(p.numero_spazzate == c.passate);
        CHECK(solo_passaggio(p) == (c.megabyte == 0.1));
        CHECK(tiene_immagine(p) == (c.passate > 1));
        CHECK(piano(true).numero_spazzate == c.tutte_prima);
    }
    // Fifteen rows are not shared out, the columns of their planes are.
    const auto thread = thread_finti(16);
    CHECK(programma_di({.vignetta = 0.1f}, 4096, 15, false, 4).thread == 1);
    CHECK(programma_di({.halation = 0.1f}, 4096, 15, false, 4).thread == 16);
    // Sixty-four times four samples of each of 2^56 pixels would be 2^64: none.
    const auto molti = thread_finti(64);
    CHECK_THROWS_AS(programma_di({.ca = 200.0f}, 1 << 28, 1 << 28, false, 4), std::bad_alloc);
}

TEST_CASE("the widest level that the machine runs is chosen, the baseline comes first")
{
    const Nuclei* const* livelli = livelli_disponibili();
    REQUIRE(livelli[0] != nullptr);
    CHECK(std::string(livelli[0]->nome) == "base");
    int ultimo = 0;
    while (livelli[ultimo + 1] != nullptr)
        ++ultimo;
    CHECK(gNuclei == livelli[ultimo]);
#if defined(__x86_64__) && defined(__GNUC__) && !defined(__APPLE__)
    CHECK(ultimo == (__builtin_cpu_supports("avx2") ? 1 : 0));
#endif
}

TEST_CASE("a flat frame, worked out by hand: the middle, or a corner")
{
    using R = FxRicetta;
    struct Caso {
        float R::*campo;
        float quantita, grigio;
        double r, g, b;
        int x = 20, y = 20;
    };
    // clang-format off
    constexpr Caso casi[] = {
        {&R::halation, 0.6f, 0.81f, 0.847606, 0.823538, 0.814513},  // halation: 0.5^1.6 * 0.6 = 0.19793, in red, 0.36 of it, 0.12 of it
        {&R::halation, 0.6f, 0.62f, 0.62, 0.62, 0.62},  // halation begins above its threshold
        {&R::bloom,    0.6f, 0.86f, 0.87806, 0.87806, 0.87806},  // bloom: 1 - 0.14 * (1 - 0.6 * 0.86 * 0.25)
        {&R::bloom,    0.6f, 1.5f, 1.05, 1.05, 1.05},  // bloom pulls what is above white, 0.9 of the way
        {&R::streak,   0.15f, 0.9f, 0.902228, 0.904084, 0.907425},  // streak: 0.225 * 0.15 * 2.2 = 0.07425
        {&R::streak,   0.6f, 2.0f, 1.7, 1.45, 1.0},  // streak's layer is held to 1 before its colour
        {&R::promist,  0.55f, 0.725f, 0.766121, 0.766121, 0.766121},  // black mist: 0.25 * 0.725 * 0.55 * 1.5 = 0.14953
        {&R::stella,   0.3f, 0.925f, 0.949975, 0.949975, 0.949975},  // star: two lines of 0.23125, * 0.3 * 2.4 = 0.333
        {&R::mistw,    0.55f, 0.5f, 0.539193, 0.539193, 0.539193},  // white mist: halo 0.01904, then a veil of 0.0605
        {&R::mistw,    0.55f, 0.0f, 0.0, 0.0, 0.0},  // white mist leaves black black
        {&R::mistw,    0.55f, 1.8f, 1.0, 1.0, 1.0},  // white mist holds to 1
        {&R::glimmer,  0.55f, 0.775f, 0.842134, 0.842134, 0.842134},  // glimmer: 0.775 * 0.5 * 0.55 * 1.4 = 0.29838
        {&R::enhance,  0.6f, 0.4f, 0.4, 0.4, 0.4},  // enhance finds no detail
        {&R::enhance,  0.6f, 1.4f, 1.0, 1.0, 1.0},  // enhance holds to 1
        {&R::pelle,    0.55f, 0.4f, 0.4, 0.4, 0.4},  // skin diffusion finds no detail
        {&R::ca,       0.6f, 0.7f, 0.7, 0.7, 0.7},  // aberration has nothing to shift
        {&R::vignetta, 0.6f, 0.7f, 0.7, 0.7, 0.7},  // vignette spares the middle
        {&R::vignetta, 0.6f, 0.5f, 0.2, 0.2, 0.2, 0, 0},  // vignette in the first corner: 0.5 * (1 - 0.6)
        {&R::vignetta, 0.6f, 1.2f, 1.0, 1.0, 1.0},  // vignette holds to 1
        {&R::grana,    0.6f, 0.5f, 0.513483, 0.513483, 0.513483, 0, 0},  // grain: cell (0, 0) of frame 0 has 0.16050887, * 0.6 * 0.14
        {&R::grana,    0.6f, 0.0f, 0.0, 0.0, 0.0},  // grain spares black
        {&R::grana,    0.6f, 1.0f, 1.0, 1.0, 1.0},  // grain spares white
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(&caso - casi);
        Piano img(40 * 40 * 3, caso.grigio);
        FxRicetta ricetta;
        ricetta.*caso.campo = caso.quantita;
        applica_fx(img, 40, 40, ricetta);
        // Behind running sums, which drift; the hand's six decimals.
        const float* rgb = &img[static_cast<std::size_t>((caso.y * 40 + caso.x) * 3)];
        CHECK(rgb[0] == doctest::Approx(caso.r).epsilon(1e-5));
        CHECK(rgb[1] == doctest::Approx(caso.g).epsilon(1e-5));
        CHECK(rgb[2] == doctest::Approx(caso.b).epsilon(1e-5));
    }
}

TEST_CASE("one mask serves a size; those who hold another never see it change")
{
    const auto maschera_di = [](int larghezza, int altezza) {
        const auto* e = *std::find_if(gNuclei->catena, gNuclei->catena + 12, [](const Effetto* v) {
            return v->prepara == &VIGNETTA_MASK;
        });
        return std::static_pointer_cast<const Maschera>(
            VIGNETTA_MASK.tieni(*e, {.larghezza = larghezza, .altezza = altezza}));
    };
    const auto prima = maschera_di(64, 48);
    const Campioni pesi(prima->pesi, prima->pesi + 64 * 48);
    CHECK(maschera_di(64, 48).get() == prima.get());
    const auto bassa = maschera_di(64, 40);
    CHECK(bassa.get() != prima.get());
    CHECK(maschera_di(48, 40).get() != bassa.get());
    CHECK(std::memcmp(pesi.data(), prima->pesi, pesi.size() * sizeof(float)) == 0);
}
