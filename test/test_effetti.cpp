// What can be worked out by hand about each effect, and what must hold between runs.
#include "fx/vignetta.h"

#include "catena.h"
#include "fx/passo.h"
#include "quadri.h"

using namespace varno;
using doctest::Approx;

namespace {

struct Tavolozza {
    Piano img;
    int larghezza, altezza;

    Tavolozza(int w, int h, float grigio = 0.0f)
        : img(static_cast<std::size_t>(w * h * 3), grigio), larghezza(w), altezza(h)
    {
    }
    float* rgb(int x, int y) { return &img[static_cast<std::size_t>((y * larghezza + x) * 3)]; }
    void applica(float FxRicetta::*campo, float quantita, int punte = 4, int fotogramma = 0)
    {
        FxRicetta r;
        r.*campo = quantita;
        r.punte = punte;
        r.fotogramma = fotogramma;
        applica_fx(img, larghezza, altezza, r);
    }
};

std::shared_ptr<const Maschera> maschera_di(int larghezza, int altezza)
{
    const auto* e = *std::find_if(gNuclei->catena, gNuclei->catena + 12,
                                  [](const Effetto* v) { return v->prepara == &VIGNETTA_MASK; });
    return std::static_pointer_cast<const Maschera>(
        VIGNETTA_MASK.tieni(*e, {.larghezza = larghezza, .altezza = altezza}));
}

bool come_semplice(const Maschera& m, int larghezza, int altezza)
{
    const Campioni attesa = semplici::vignetta_mask(larghezza, altezza);
    return std::memcmp(attesa.data(), m.pesi, attesa.size() * sizeof(float)) == 0;
}

}  // namespace

TEST_CASE("the middle of a flat frame, worked out by hand")
{
    using R = FxRicetta;
    struct Caso {
        float R::*campo;
        float quantita, grigio;
        double r, g, b;
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
        {&R::vignetta, 0.6f, 1.2f, 1.0, 1.0, 1.0},  // vignette holds to 1
        {&R::grana,    0.6f, 0.0f, 0.0, 0.0, 0.0},  // grain spares black
        {&R::grana,    0.6f, 1.0f, 1.0, 1.0, 1.0},  // grain spares white
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(&caso - casi);
        Tavolozza t(40, 40, caso.grigio);
        t.applica(caso.campo, caso.quantita);
        const float* rgb = t.rgb(20, 20);
        // Behind running sums, which drift; the hand's six decimals.
        CHECK(rgb[0] == Approx(caso.r).epsilon(1e-5));
        CHECK(rgb[1] == Approx(caso.g).epsilon(1e-5));
        CHECK(rgb[2] == Approx(caso.b).epsilon(1e-5));
    }
}

TEST_CASE("a star's rays lie where its points ask, and fade as they go")
{
    struct Caso {
        int punte, dx, dy;
        double h;  // of 91 taps, in the middle of a frame 1000 wide
    };
    // clang-format off
    constexpr Caso casi[] = {
        {4,  0,  0, 4.8 / 91},                    {4,  7,  7, 2.4 / 91 * (1 - 10.0 / 91)},
        {4, -7,  7, 2.4 / 91 * (1 - 10.0 / 91)},  {4, -7, -7, 2.4 / 91 * (1 - 10.0 / 91)},
        {4,  9,  0, 0},                           {4,  0,  9, 0},
        {6,  0,  0, 7.2 / 91},                    {6, 90,  0, 2.4 / 91 * (1 - 90.0 / 91)},
        {6, 91,  0, 0},                           {6,  0,  9, 0},
        {6,  5,  9, 2.4 / 91 * (1 - 10.0 / 91)},  {6, -5,  9, 2.4 / 91 * (1 - 10.0 / 91)},
        {8,  0,  0, 9.6 / 91},                    {8,  0, -9, 2.4 / 91 * (1 - 9.0 / 91)},
        {8, -9,  0, 2.4 / 91 * (1 - 9.0 / 91)},   {8,  7, -7, 2.4 / 91 * (1 - 10.0 / 91)},
        {5,  9,  0, 2.4 / 91 * (1 - 9.0 / 91)},   {5,  7,  7, 0},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(&caso - casi);
        Tavolozza t(1000, 40);
        t.rgb(500, 20)[1] = 1.3982103f;  // luminance 1; red and blue show the rays alone
        t.applica(&FxRicetta::stella, 1.0f, caso.punte);
        const float* rgb = t.rgb(500 + caso.dx, 20 + caso.dy);
        CHECK((rgb[0] == Approx(caso.h).epsilon(1e-4) && rgb[0] == rgb[2]));
    }
}

TEST_CASE("aberration leaves green, spreads blue and draws red in")
{
    // In a ramp along x a channel's value is the column that it was taken from.
    constexpr int LATO = 100;
    Tavolozza t(LATO, LATO);
    for (int i = 0; i < LATO * LATO; ++i)
        std::fill_n(t.rgb(i % LATO, i / LATO), 3, static_cast<float>(i % LATO));
    t.applica(&FxRicetta::ca, 0.6f);
    for (int i = 0; i < LATO * LATO; ++i)
        CHECK(t.rgb(i % LATO, i / LATO)[1] == static_cast<float>(i % LATO));
    // 40 of 50 from the centre: 0.64 * 0.6 * 0.008 = 0.003072 of 40 columns.
    CHECK(t.rgb(90, 50)[0] == Approx(89.87712f).epsilon(1e-6));
    CHECK(t.rgb(90, 50)[2] == Approx(90.12288f).epsilon(1e-6));
    CHECK((t.rgb(50, 50)[0] == 50.0f && t.rgb(50, 50)[2] == 50.0f));
    CHECK(t.rgb(0, 50)[2] == 0.0f);                            // held at the first column
    CHECK(t.rgb(99, 50)[2] == Approx(98.999f).epsilon(1e-6));  // and just before the last
}

TEST_CASE("the vignette is 1 in the first corner and the plain loops' elsewhere")
{
    for (const auto& [w, h] :
         {std::pair{192, 108}, {108, 192}, {1, 1}, {1, 33}, {48, 1}, {17, 16}, {641, 3}})
        CHECK(come_semplice(*maschera_di(w, h), w, h));
    const auto larga = maschera_di(192, 108);
    CHECK((larga->pesi[0] == 1.0f && larga->pesi[96] == 0.0f));
    CHECK(larga->pesi[54 * 192] == 0.0f);
    // The centre is half the size, not the middle pixel: the last corner is half a pixel nearer.
    CHECK((larga->pesi[192 * 108 - 1] < 0.95f && larga->pesi[192 * 108 - 1] > 0.8f));
    Tavolozza t(192, 108, 0.5f);
    t.applica(&FxRicetta::vignetta, 0.6f);
    CHECK(t.rgb(0, 0)[0] == Approx(0.2f).epsilon(1e-6));
}

TEST_CASE("one mask serves a size; those who hold another never see it change")
{
    const auto prima = maschera_di(64, 48);
    CHECK(maschera_di(64, 48).get() == prima.get());
    maschera_di(48, 64);
    CHECK(come_semplice(*prima, 64, 48));
}

TEST_CASE("grain has its check values, is the frame number's alone and stays small")
{
    // Cell (0, 0) of frame 0 has 0.16050887; at grey 0.5 the weight is 1.
    const auto granulosa = [](int w, int h, int fotogramma) {
        Tavolozza t(w, h, 0.5f);
        t.applica(&FxRicetta::grana, 0.6f, 4, fotogramma);
        return t;
    };
    Tavolozza a = granulosa(64, 48, 0);
    CHECK(a.rgb(0, 0)[0] == Approx(0.5f + 0.16050887f * 0.6f * 0.14f).epsilon(1e-6));
    CHECK(granulosa(202, 102, 1000).rgb(200, 100)[0] ==
          Approx(0.5f + 0.6878556f * 0.6f * 0.14f).epsilon(1e-6));
    CHECK(std::all_of(a.img.begin(), a.img.end(),
                      [](float v) { return std::abs(v - 0.5f) <= 0.0841f; }));
    // A cell is the same in a frame of any size; an odd pixel is the mean of its neighbours.
    Tavolozza b = granulosa(35, 21, 0);
    int diverse = 0;
    for (int y = 0; y < 20; ++y)
        for (int x = 0; x < 34; ++x)
            diverse += a.rgb(x, y)[1] != b.rgb(x, y)[1];
    CHECK(diverse == 0);
    CHECK(a.rgb(1, 0)[0] == Approx((a.rgb(0, 0)[0] + a.rgb(2, 0)[0]) / 2).epsilon(1e-5));
    CHECK(a.rgb(63, 0)[0] == a.rgb(62, 0)[0]);  // behind the last cell its value is held
    Tavolozza c = granulosa(64, 48, 1);
    CHECK(differenza(Campioni(a.img.begin(), a.img.end()), c.img, 64, 3) != "");
}
