// From a code value to light and on to the look. Rows of figures were worked out in double from
// the published encodings, matrices and looks, not by this code.
#include "prova.h"

#include "colore/profili.h"
#include "render/formato.h"
#include "semplici.h"

using namespace varno;
using doctest::Approx;

namespace {

bool entro_un_passo(float a, float b)
{
    return a == b || std::nextafter(a, b) == b;
}

// What the published encodings give; samples within one float step.
struct Riferimento {
    const CampioniCurva& curva;
    float campioni[5];  // 0, 1, 2047, 4094, 4095
};

// clang-format off
constexpr Riferimento RIFERIMENTI[] = {
    {CURVA_SLOG3,      {-0.014023696f, -0.0139868185f, 0.41479594f, 38.33649f, 38.420933f}},
    {CURVA_LOGC3,      {-0.017290419f, -0.017244924f, 0.51278913f, 54.954407f, 55.07958f}},
    {CURVA_LOGC4,      {-0.018056996f, -0.018029219f, 2.2020476f, 468.57425f, 469.8f}},
    {CURVA_CANON_LOG3, {-0.07381334f, -0.073608525f, 0.58028704f, 14.645769f, 14.668302f}},
    {CURVA_VLOG,       {-0.02232143f, -0.02227782f, 0.38289276f, 45.978336f, 46.08553f}},
    {CURVA_FLOG,       {-0.010630486f, -0.010602531f, 0.24132267f, 7.2694283f, 7.281325f}},
    {CURVA_FLOG2,      {-0.010553374f, -0.0105256215f, 0.52094567f, 58.117462f, 58.250874f}},
    {CURVA_LOG3G10,    {-0.01f, -0.0099839065f, 1.069354f, 183.86078f, 184.32234f}},
    {CURVA_NLOG,       {-0.0075f, -0.0075f, 0.48797095f, 14.756268f, 14.780864f}},
    {CURVA_DLOG,       {-0.015419087f, -0.015378556f, 0.4620157f, 41.90746f, 41.999393f}},
    {CURVA_APPLE_LOG,  {-0.05641088f, -0.054138392f, 0.19870757f, 11.976251f, 12.000002f}},
    {CURVA_SLOG2,      {-0.026210634f, -0.026138106f, 0.5692203f, 13.737338f, 13.758274f}},
    {CURVA_CANON_LOG2, {-0.014726903f, -0.01466859f, 0.4914973f, 59.09664f, 59.2345f}},
    {CURVA_LLOG,       {-0.01125f, -0.011219475f, 0.31867102f, 23.252438f, 23.300932f}},
    {CURVA_BT709,      {0.0f, 5.4266722e-05f, 0.25947183f, 0.9995063f, 1.0f}},
    {CURVA_SRGB,       {0.0f, 1.8900948e-05f, 0.21392815f, 0.99944454f, 1.0f}},
};
// clang-format on

}  // namespace

TEST_CASE("curves: reference samples, the same bits from every compiler")
{
    constexpr std::size_t INDICI[] = {0, 1, 2047, 4094, 4095};
    std::uint64_t somma = 14695981039346656037u;
    for (const Riferimento& rif : RIFERIMENTI) {
        CAPTURE(&rif - RIFERIMENTI);
        for (int k = 0; k < 5; ++k)
            CHECK(entro_un_passo(rif.curva[INDICI[k]], rif.campioni[k]));
        for (const float v : rif.curva)
            somma = (somma ^ std::bit_cast<std::uint32_t>(v)) * 1099511628211u;
    }
    CHECK(somma == 10108786830191059310u);  // of these 65,536, in the order of the rows
}

TEST_CASE("rows: the curve and every digit of the matrix, residues of a product in double too")
{
    // clang-format off
    constexpr Matrice matrici[] = {
        {1.6175245f, -0.5372862f, -0.08023815f, -0.070572704f, 1.3346128f, -0.2640402f, -0.021102047f, -0.22695361f, 1.2480559f},
        {1.8931234f, -0.7808815f, -0.11224194f, -0.20570035f, 1.3402575f, -0.13455713f, -0.012705743f, -0.15218487f, 1.1648906f},
        {1.9238613f, -0.79876065f, -0.12510063f, -0.20431085f, 1.4958985f, -0.29158765f, -0.023685021f, -0.420127f, 1.443812f},
        {1.8065736f, -0.69569814f, -0.110878564f, -0.17008904f, 1.3059548f, -0.13586482f, -0.025205692f, -0.15446776f, 1.1796737f},
        {1.660491f, -0.5876411f, -0.07284986f, -0.12455048f, 1.1328999f, -0.008349422f, -0.018150764f, -0.1005789f, 1.1187297f},
        {1.9819754f, -0.90043306f, -0.0815455f, -0.17814313f, 1.5004685f, -0.32232445f, -0.10179611f, -0.53526324f, 1.6370596f},
        {1.6748419f, -0.57996744f, -0.09492718f, -0.09812538f, 1.3340461f, -0.23587725f, -0.04100864f, -0.24302186f, 1.283755f},
        {1.8779151f, -0.7941688f, -0.083746366f, -0.17680699f, 1.3509996f, -0.17419264f, -0.026201127f, -0.14842226f, 1.1746234f},
        {1.9902711f, -0.95448315f, -0.035787858f, -0.19542275f, 1.3888952f, -0.19347237f, -0.036936667f, -0.13918681f, 1.1761235f},
        {1.7257292f, -0.69432944f, -0.031399798f, -0.194897f, 1.455904f, -0.261007f, -0.05386676f, -0.18785037f, 1.2417171f},
        {1.0f, -5.188935e-16f, -1.1528166e-16f, 1.2997489e-16f, 1.0f, 3.3527093e-17f, -3.829536e-18f, -1.608237e-17f, 1.0f},
        {1.2249402f, -0.22494018f, -6.4628376e-17f, -0.042056955f, 1.0420569f, 2.3343009e-17f, -0.019637555f, -0.07863604f, 1.0982736f},
        {2.1198516f, -1.075705f, -0.044146415f, -0.23033586f, 1.3724421f, -0.1421063f, -0.014227433f, -0.15022498f, 1.1644524f},
        {1.7072804f, -0.5190199f, -0.18826045f, -0.12501074f, 1.3146623f, -0.18965162f, -0.043624334f, -0.19121437f, 1.2348387f},
        {1.6266885f, -0.54005265f, -0.08679532f, -0.17851967f, 1.4179736f, -0.23943081f, -0.04444674f, -0.19596688f, 1.2406536f},
    };
    constexpr int quale[NUMERO_PROFILI] = {14, 0, 1, 2, 3, 4, 4, 5, 4, 6, 4, 7, 7, 8, 9, 7, 4, 10, 4, 10, 11, 10, 4, 10, 2, 4, 10, 12, 4, 13, 10, 10};
    constexpr int curve[NUMERO_PROFILI] = {0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 0, 11, 0, 0, 0, 0, 0, 11, 11, 10, 10, 3, 3, 12, 12, 12, 6, 13, 10, 14, 15};
    // clang-format on
    for (int p = 0; p < NUMERO_PROFILI; ++p) {
        CAPTURE(std::string(PROFILI[p].nome));
        CHECK(matrice_di(p) == matrici[quale[p]]);
        CHECK(&PROFILI[p].curva == &RIFERIMENTI[curve[p]].curva);
    }
}

TEST_CASE("decode: the ends of a curve, and row 0 past both of them")
{
    for (int p = 1; p < NUMERO_PROFILI; ++p) {
        CAPTURE(std::string(PROFILI[p].nome));
        const CampioniCurva& curva = PROFILI[p].curva;
        for (const float x : {1.0f, 2.0f, INFINITY})
            CHECK(decodifica_canale(x, p) == curva[4095]);
        for (const float x : {0.0f, -0.0f, -1.0f, NAN})
            CHECK(decodifica_canale(x, p) == curva[0]);
        // Half way between the last two.
        CHECK(decodifica_canale(4094.5f / 4095.0f, p) ==
              Approx(0.5 * curva[4094] + 0.5 * curva[4095]).epsilon(1e-6));
    }
    // sRGB's linear segment, between two samples: code / 12.92
    CHECK(decodifica_canale(0.0301f, 31) == Approx(0.0301 / 12.92).epsilon(1e-6));
    CHECK(decodifica_canale(-0.1f, 0) == Approx(-197.3 * 0.01125 / 76.2103).epsilon(1e-6));
    CHECK(decodifica_canale(2.0f, 0) == Approx(std::pow(10.0, 1626 / 261.5) * 0.19).epsilon(1e-5));
    CHECK(std::isnan(decodifica_canale(NAN, 0)));
    // 18 % grey is code value 420; the cut, 171.2102947 / 1023, is where both pieces give 0.01125.
    CHECK(decodifica_canale(420.0f / 1023.0f, 0) == Approx(0.18).epsilon(1e-6));
    CHECK(decodifica_canale(0.16736099f, 0) == Approx(0.01125).epsilon(1e-5));
    CHECK(decodifica_canale(0.16736f, 0) == Approx(0.01125).epsilon(1e-4));
}

TEST_CASE("formats: every choice leads to its row, others to the nearest")
{
    // clang-format off
    const std::pair<const char*, std::vector<int>> casi[] = {
        {"cs_sony3", {0, 11, 15, 16, 17, 13, 14}}, {"cs_sony2", {12, 18, 19}},
        {"", {1}}, {"", {2}}, {"cs_canon", {3, 22, 23}}, {"", {4}}, {"", {5}}, {"", {6}}, {"", {7}},
        {"", {8}}, {"", {9}}, {"cs_apple", {10, 20, 21}}, {"cs_canon", {24, 25, 26}}, {"", {27}},
        {"", {28}}, {"", {29}}, {"", {30}}, {"", {31}}};
    // clang-format on
    for (int f = 0; f < static_cast<int>(std::size(casi)); ++f) {
        CAPTURE(f);
        const auto& [attesa, righe] = casi[f];
        const char* tendina = tendina_colorspace(f);
        CHECK(std::string(tendina != nullptr ? tendina : "") == attesa);
        for (const int scelta : {INT_MIN, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, INT_MAX}) {
            const int vicina = std::clamp(scelta, 0, static_cast<int>(righe.size()) - 1);
            CHECK(riga_profilo(f, scelta) == righe[static_cast<std::size_t>(vicina)]);
        }
    }
}

TEST_CASE("tone curve: scale, norm and grey stand where they are set")
{
    const Curva neutra = normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);
    CHECK(neutra.scala == Approx(0.56205).epsilon(1e-5));
    CHECK(neutra.norma == Approx(1.0068).epsilon(1e-5));
    for (const LookDef& look : looks())
        CHECK(std::abs(contesto_di(look).curva_look.grigio - std::pow(0.409, 2.4)) < 5e-8);
}

TEST_CASE("looks: what each makes of seven S-Log3 code values")
{
    // Chosen so that nearly every constant of a look, 5 % off, moves one of them by more than the
    // limit: grey, skin in two lights, deep shadow, highlight, green and a warm white.
    constexpr RGB codici[] = {{0.41f, 0.41f, 0.41f}, {0.6f, 0.45f, 0.38f}, {0.15f, 0.13f, 0.2f},
                              {0.72f, 0.74f, 0.7f},  {0.25f, 0.4f, 0.35f}, {0.6f, 0.58f, 0.54f},
                              {0.3f, 0.28f, 0.26f}};
    struct Caso {
        const char* nome;
        int v[7][3];  // hundred-thousandths
    };
    // clang-format off
    constexpr Caso casi[] = {
        {"Nordic",       {{40830, 40768, 40706}, {90157, 48723, 40740}, {5818, 3671, 8200}, {86374, 86374, 86374}, {15991, 38748, 29013}, {86959, 83988, 73460}, {19845, 17134, 15165}}},
        {"Cinema Print", {{41230, 41111, 40926}, {91705, 51269, 44829}, {5069, 4007, 9012}, {90313, 89864, 89048}, {18712, 38322, 29372}, {90212, 87513, 77896}, {19080, 16954, 15635}}},
        {"Midnight",     {{40985, 40955, 41091}, {92374, 51704, 43908}, {4058, 3381, 8300}, {91983, 91763, 91367}, {18000, 37771, 29357}, {91765, 90121, 81631}, {17885, 16040, 15026}}},
        {"Daylight",     {{40858, 40770, 40682}, {90218, 49717, 42245}, {5781, 3765, 7981}, {86969, 86537, 85826}, {18128, 37957, 29498}, {87439, 84118, 73466}, {19687, 17169, 15329}}},
        {"Linen",        {{41007, 41011, 41015}, {97231, 39710, 26376}, {6925, 3632, 9897}, {87023, 97245, 81786}, {400, 42208, 29150}, {88235, 79664, 64385}, {21523, 18411, 16000}}},
        {"Amber",        {{43390, 43197, 42906}, {91298, 45419, 37053}, {10315, 7990, 13203}, {94206, 97137, 88685}, {21729, 43970, 33048}, {86767, 80780, 70165}, {24356, 21829, 20019}}},
        {"Ember",        {{41550, 41353, 41155}, {97626, 40109, 24736}, {6236, 3507, 9381}, {95997, 97497, 88860}, {1000, 42805, 28149}, {94441, 85673, 70491}, {20537, 17413, 15276}}},
        {"Amalfi",       {{41046, 41293, 41202}, {98012, 37333, 16105}, {6483, 3147, 9876}, {91043, 97821, 85500}, {600, 43022, 27783}, {92216, 83217, 65100}, {20974, 17894, 15266}}},
        {"Velvet",       {{38666, 39279, 40055}, {97355, 43711, 31599}, {4908, 3871, 6739}, {94959, 97217, 90958}, {14977, 39413, 28525}, {97194, 93973, 81483}, {16300, 14695, 13669}}},
        {"Brass",        {{40850, 41031, 41845}, {94765, 40135, 25539}, {6268, 3152, 10135}, {93824, 94840, 90454}, {800, 42382, 29024}, {90990, 83844, 71018}, {20465, 17398, 15724}}},
        {"Silk",         {{43688, 43431, 43554}, {88241, 43722, 35764}, {12910, 9651, 16286}, {82815, 87573, 78881}, {21157, 44478, 34245}, {78531, 73206, 64108}, {27224, 24306, 22438}}},
        {"Olive",        {{40929, 42158, 41098}, {96064, 40161, 22815}, {6509, 3192, 9800}, {94328, 96241, 87975}, {1200, 43927, 27565}, {93222, 86653, 70370}, {20602, 18110, 14349}}},
        {"",             {{40770, 40773, 40777}, {100000, 41299, 29707}, {6362, 3324, 8978}, {85459, 99924, 79216}, {0, 41377, 29733}, {88974, 79704, 63950}, {20774, 18072, 15935}}},
    };
    // clang-format on
    REQUIRE(looks().size() + 1 == std::size(casi));
    const auto controlla = [&](const Contesto& ctx, const Caso& caso) {
        for (int k = 0; k < 7; ++k) {
            CAPTURE(k);
            const RGB c = semplici::applica_colore(codici[k], ctx);
            const auto vicino = [](float v, int atteso) {
                return std::abs(v - atteso * 1e-5) < 1.5e-5;
            };
            CHECK((vicino(c.r, caso.v[k][0]) && vicino(c.g, caso.v[k][1]) &&
                   vicino(c.b, caso.v[k][2])));
        }
    };
    for (std::size_t i = 0; i < looks().size(); ++i) {
        CAPTURE(looks()[i].nome);
        CHECK(looks()[i].nome == casi[i].nome);
        controlla(contesto_di(looks()[i], 1.0f), casi[i]);
        controlla(contesto_di(looks()[i], 0.0f), casi[12]);  // at strength 0 no look shows
    }
}
