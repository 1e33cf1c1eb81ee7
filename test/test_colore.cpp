// From a code value to light and on to the look. Rows of figures were worked out in double from
// the published encodings, matrices and looks, not by this code.
#include "colore/colore.h"
#include "colore/curve_regole.h"
#include "colore/lotto.h"
#include "colore/profili.h"
#include "looks/catalogo.h"
#include "render/formato.h"
#include "semplici_colore.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <cmath>
#include <cstring>
#include <limits>
#include <random>
#include <string>

using namespace varno;
using doctest::Approx;

namespace {

constexpr float NAN_F = std::numeric_limits<float>::quiet_NaN();
constexpr float INF_F = std::numeric_limits<float>::infinity();

const Curva NEUTRA = normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);

Contesto contesto_di(const LookDef& look, float forza, float ev = 0.0f, int profilo = 0)
{
    return {&look,
            normalizza_curva(look.spalla, look.bianco, look.contrasto, look.gamma),
            forza,
            ev,
            {1.0f, 1.0f, 1.0f},
            NEUTRA,
            profilo};
}

bool stessi_bit(RGB a, RGB b)
{
    return std::memcmp(&a, &b, sizeof a) == 0;
}

bool entro_un_passo(float a, float b)
{
    return a == b || std::nextafter(a, b) == b;
}

RGB luce(RGB codice, int profilo)
{
    const Matrice& m = matrice_di(profilo);
    const float r = decodifica_canale(codice.r, profilo);
    const float g = decodifica_canale(codice.g, profilo);
    const float b = decodifica_canale(codice.b, profilo);
    return {m[0] * r + m[1] * g + m[2] * b, m[3] * r + m[4] * g + m[5] * b,
            m[6] * r + m[7] * g + m[8] * b};
}

// What the published encodings give; samples within one float step.
struct Riferimento {
    const char* nome;
    const float* curva;
    float campioni[5];  // 0, 1, 2047, 4094, 4095
};

// clang-format off
constexpr Riferimento RIFERIMENTI[] = {
    {"CURVA_SLOG3",      CURVA_SLOG3,      {-0.014023696f, -0.0139868185f, 0.41479594f, 38.33649f, 38.420933f}},
    {"CURVA_LOGC3",      CURVA_LOGC3,      {-0.017290419f, -0.017244924f, 0.51278913f, 54.954407f, 55.07958f}},
    {"CURVA_LOGC4",      CURVA_LOGC4,      {-0.018056996f, -0.018029219f, 2.2020476f, 468.57425f, 469.8f}},
    {"CURVA_CANON_LOG3", CURVA_CANON_LOG3, {-0.07381334f, -0.073608525f, 0.58028704f, 14.645769f, 14.668302f}},
    {"CURVA_VLOG",       CURVA_VLOG,       {-0.02232143f, -0.02227782f, 0.38289276f, 45.978336f, 46.08553f}},
    {"CURVA_FLOG",       CURVA_FLOG,       {-0.010630486f, -0.010602531f, 0.24132267f, 7.2694283f, 7.281325f}},
    {"CURVA_FLOG2",      CURVA_FLOG2,      {-0.010553374f, -0.0105256215f, 0.52094567f, 58.117462f, 58.250874f}},
    {"CURVA_LOG3G10",    CURVA_LOG3G10,    {-0.01f, -0.0099839065f, 1.069354f, 183.86078f, 184.32234f}},
    {"CURVA_NLOG",       CURVA_NLOG,       {-0.0075f, -0.0075f, 0.48797095f, 14.756268f, 14.780864f}},
    {"CURVA_DLOG",       CURVA_DLOG,       {-0.015419087f, -0.015378556f, 0.4620157f, 41.90746f, 41.999393f}},
    {"CURVA_APPLE_LOG",  CURVA_APPLE_LOG,  {-0.05641088f, -0.054138392f, 0.19870757f, 11.976251f, 12.000002f}},
    {"CURVA_SLOG2",      CURVA_SLOG2,      {-0.026210634f, -0.026138106f, 0.5692203f, 13.737338f, 13.758274f}},
    {"CURVA_CANON_LOG2", CURVA_CANON_LOG2, {-0.014726903f, -0.01466859f, 0.4914973f, 59.09664f, 59.2345f}},
    {"CURVA_LLOG",       CURVA_LLOG,       {-0.01125f, -0.011219475f, 0.31867102f, 23.252438f, 23.300932f}},
    {"CURVA_BT709",      CURVA_BT709,      {0.0f, 5.4266722e-05f, 0.25947183f, 0.9995063f, 1.0f}},
    {"CURVA_SRGB",       CURVA_SRGB,       {0.0f, 1.8900948e-05f, 0.21392815f, 0.99944454f, 1.0f}},
};
// clang-format on

}  // namespace

TEST_CASE("curves: reference samples, committed and made anew, and every sample rises")
{
    static_assert(std::size(RIFERIMENTI) == NUMERO_CURVE);
    constexpr int INDICI[] = {0, 1, 2047, 4094, 4095};
    std::uint64_t somma = 14695981039346656037u;  // the bits are the same on every system
    for (int c = 0; c < NUMERO_CURVE; ++c) {
        const Riferimento& rif = RIFERIMENTI[c];
        CAPTURE(std::string(rif.nome));
        CHECK(std::string(REGOLE_CURVE[c].nome) == rif.nome);
        for (int k = 0; k < 5; ++k)
            CHECK(entro_un_passo(rif.curva[INDICI[k]], rif.campioni[k]));
        for (int i = 0; i < CAMPIONI_CURVA; ++i) {
            const float v = rif.curva[i];
            std::uint32_t bit = 0;
            std::memcpy(&bit, &v, sizeof bit);
            somma = (somma ^ bit) * 1099511628211u;
            const bool piana = rif.curva == CURVA_NLOG && i == 1;
            const bool cala = rif.curva == CURVA_BT709 && i == 333;
            const float prima = i > 0 ? rif.curva[i - 1] : -1.0f;
            if (!entro_un_passo(v, static_cast<float>(REGOLE_CURVE[c].campione(i))) ||
                !(piana ? v == prima : (v > prima) != cala))
                FAIL_CHECK("sample " << i);
        }
    }
    CHECK(somma == 10108786830191059310u);
    CHECK(CURVA_NLOG[2] == -0.0074999994f);
    CHECK(CURVA_BT709[332] == 0.01801655f);
    CHECK(CURVA_BT709[333] == 0.018015701f);
}

TEST_CASE("rows: each has the curve and the matrix of its name")
{
    struct Riga {
        const char* nome;
        double luce[3];  // of samples 2457, 2252 and 2662: about 0.6, 0.55, 0.65
    };
    // clang-format off
    constexpr Riga righe[] = {
        {"Sony S-Log3 / S-Gamut3.Cine",     {1.1900597, 0.35524224, 1.8514967}},
        {"ARRI LogC3 / Wide Gamut 3",       {1.5200738, 0.44937605, 2.4138258}},
        {"ARRI LogC4 / Wide Gamut 4",       {8.0718944, 2.2431678, 12.264318}},
        {"Canon Log 3 / Cinema Gamut",      {1.3423066, 0.52717241, 1.9138562}},
        {"Panasonic V-Log / V-Gamut",       {1.2081193, 0.41978066, 1.8021946}},
        {"Fujifilm F-Log / F-Gamut",        {0.5569403, 0.32320599, 0.72577937}},
        {"Fujifilm F-Log2 / F-Gamut",       {1.5925037, 0.76570034, 2.3180962}},
        {"RED Log3G10 / WideGamutRGB",      {3.9504349, 0.53121157, 7.0094946}},
        {"Nikon N-Log / N-Gamut",           {1.1014684, 0.64613355, 1.4337702}},
        {"DJI D-Log / D-Gamut",             {1.3313436, 0.43456937, 2.0970921}},
        {"Apple Log / Rec.2020",            {0.53432739, 0.28023576, 0.73790416}},
        {"Sony S-Log3 / S-Gamut3",          {1.2885969, 0.41957702, 1.7937991}},
        {"Sony S-Log2 / S-Gamut",           {1.3106617, 0.61343937, 1.6400725}},
        {"Sony Venice S-Log3 / SGamut3",    {1.3781147, 0.39367896, 1.7911848}},
        {"Sony Venice S-Log3 / SG3.Cine",   {1.2818845, 0.32793715, 1.8487983}},
        {"Sony S-Log3 / S-Gamut",           {1.2885969, 0.41957702, 1.7937991}},
        {"Sony S-Log3 / BT.2020",           {1.2166245, 0.60136336, 1.7422827}},
        {"Sony S-Log3 / 709",               {1.0367973, 0.65683972, 1.6332503}},
        {"Sony S-Log2 / BT.2020",           {1.2517599, 0.75003778, 1.601922}},
        {"Sony S-Log2 / 709",               {1.1017179, 0.7943848, 1.5212052}},
        {"Apple Log / P3-D65",              {0.49467637, 0.29641173, 0.72966716}},
        {"Apple Log / 709",                 {0.45947685, 0.30299298, 0.69428631}},
        {"Canon Log 3 / BT.2020",           {1.2971947, 0.76974357, 1.6668189}},
        {"Canon Log 3 / BT.709",            {1.1395235, 0.81638186, 1.5818056}},
        {"Canon Log 2 / Cinema Gamut",      {1.5896904, 0.32027835, 2.6548824}},
        {"Canon Log 2 / BT.2020",           {1.5268493, 0.72621625, 2.2370534}},
        {"Canon Log 2 / BT.709",            {1.2939755, 0.79870444, 2.0924383}},
        {"Fujifilm F-Log2 C / F-Gamut C",   {1.8654833, 0.53384521, 2.3808719}},
        {"Leica L-Log / Rec.2020",          {0.88761751, 0.45414218, 1.2455509}},
        {"Apple Log 2 / Apple Wide Gamut",  {0.49648978, 0.20922138, 0.77935062}},
        {"Rec.709 (No Log)",                {0.3658371, 0.31014817, 0.42662213}},
        {"sRGB (No Log)",                   {0.31854678, 0.26320965, 0.38013533}},
    };
    // clang-format on
    static_assert(std::size(righe) == NUMERO_PROFILI);
    for (int p = 0; p < NUMERO_PROFILI; ++p) {
        CAPTURE(std::string(righe[p].nome));
        CHECK(std::string(PROFILI[p].nome) == righe[p].nome);
        const RGB c = luce({2457.0f / 4095.0f, 2252.0f / 4095.0f, 2662.0f / 4095.0f}, p);
        CHECK(c.r == Approx(righe[p].luce[0]).epsilon(2e-6));
        CHECK(c.g == Approx(righe[p].luce[1]).epsilon(2e-6));
        CHECK(c.b == Approx(righe[p].luce[2]).epsilon(2e-6));
    }
}

TEST_CASE("decode: the ends of a curve, and row 0 past both of them")
{
    for (int p = 1; p < NUMERO_PROFILI; ++p) {
        CAPTURE(std::string(PROFILI[p].nome));
        const float* curva = PROFILI[p].curva;
        for (const float x : {1.0f, 2.0f, INF_F})
            CHECK(decodifica_canale(x, p) == curva[4095]);
        for (const float x : {0.0f, -0.0f, -1.0f, NAN_F})
            CHECK(decodifica_canale(x, p) == curva[0]);
        const float ultimo = decodifica_canale(std::nextafter(1.0f, 0.0f), p);
        CHECK((ultimo >= curva[4094] && ultimo <= curva[4095]));
    }
    // sRGB's linear segment, between two samples: code / 12.92
    CHECK(decodifica_canale(0.0301f, 31) == Approx(0.0301 / 12.92).epsilon(1e-6));
    CHECK(decodifica_canale(-0.1f, 0) == Approx(-197.3 * 0.01125 / 76.2103).epsilon(1e-6));
    CHECK(decodifica_canale(2.0f, 0) == Approx(std::pow(10.0, 1626 / 261.5) * 0.19).epsilon(1e-5));
    CHECK(std::isnan(decodifica_canale(NAN_F, 0)));
    // 18 % grey is code value 420; the cut, 171.2102947 / 1023, is where both pieces give 0.01125.
    CHECK(decodifica_canale(420.0f / 1023.0f, 0) == Approx(0.18).epsilon(1e-6));
    CHECK(decodifica_canale(0.16736099f, 0) == Approx(0.01125).epsilon(1e-5));
    CHECK(decodifica_canale(0.16736f, 0) == Approx(0.01125).epsilon(1e-4));
}

TEST_CASE("formats: every choice leads to its row, others to the nearest")
{
    struct Caso {
        const char* tendina;
        std::vector<int> righe;
    };
    // clang-format off
    const Caso casi[] = {
        {"cs_sony3", {0, 11, 15, 16, 17, 13, 14}}, {"cs_sony2", {12, 18, 19}},
        {"", {1}}, {"", {2}}, {"cs_canon", {3, 22, 23}}, {"", {4}}, {"", {5}}, {"", {6}}, {"", {7}},
        {"", {8}}, {"", {9}}, {"cs_apple", {10, 20, 21}}, {"cs_canon", {24, 25, 26}}, {"", {27}},
        {"", {28}}, {"", {29}}, {"", {30}}, {"", {31}}};
    // clang-format on
    constexpr int MINIMO = std::numeric_limits<std::int32_t>::min();
    constexpr int MASSIMO = std::numeric_limits<std::int32_t>::max();
    for (int f = 0; f < static_cast<int>(std::size(casi)); ++f) {
        CAPTURE(f);
        const Caso& caso = casi[f];
        const char* tendina = tendina_colorspace(f);
        CHECK(std::string(tendina != nullptr ? tendina : "") == caso.tendina);
        const int quante = static_cast<int>(caso.righe.size());
        for (const int scelta : {MINIMO, -1, 0, 1, 2, 3, 4, 5, 6, 7, 9, MASSIMO}) {
            const int vicina = std::clamp(scelta, 0, quante - 1);
            CHECK(riga_profilo(f, scelta) == caso.righe[static_cast<std::size_t>(vicina)]);
        }
    }
    for (const int fuori : {-1, 18, 40, MASSIMO}) {
        CHECK(tendina_colorspace(fuori) == nullptr);
        CHECK(riga_profilo(fuori, 0) == fuori - 1);
    }
    CHECK(riga_profilo(MINIMO, 0) == MASSIMO);  // wraps, and is limited later
}

TEST_CASE("tone curve: grey and white stand where they are set, ratios stay, bright light whitens")
{
    CHECK(NEUTRA.scala == Approx(0.56205).epsilon(1e-5));
    CHECK(NEUTRA.norma == Approx(1.0068).epsilon(1e-5));
    for (const LookDef& look : catalogo()) {
        CAPTURE(look.nome);
        const Curva k = normalizza_curva(look.spalla, look.bianco, look.contrasto, 1.0f);
        CHECK(std::abs(k.grigio - std::pow(0.409, 2.4)) < 5e-8);
        CHECK(tonemap_ratio({0.18f, 0.18f, 0.18f}, k, 0.0f).g == Approx(k.grigio).epsilon(1e-5));
        // White comes out at grigio to the power 1 - contrasto, cut at 1: only a contrast below 1
        // keeps it from full white.
        const RGB bianco = tonemap_ratio({look.bianco, look.bianco, look.bianco}, k, 0.0f);
        CHECK(bianco.g ==
              Approx(std::min(1.0, std::pow(0.11698655, 1.0 - look.contrasto))).epsilon(1e-5));
    }
    const RGB rosso = tonemap_ratio({0.05f, 0.0f, 0.0f}, NEUTRA, 0.0f);
    const float t = tonemap_ratio({0.01063f, 0.01063f, 0.01063f}, NEUTRA, 0.0f).g;
    CHECK(rosso.r == Approx(t / 0.2126).epsilon(1e-5));  // luminance 0.05 * 0.2126
    CHECK((rosso.g == 0.0f && rosso.b == 0.0f));
    const RGB caldo = tonemap_ratio({40.0f, 20.0f, 10.0f}, NEUTRA, 1.0f);
    CHECK((caldo.r == 1.0f && caldo.g == 1.0f && caldo.b > 0.95f));
    const RGB nero = tonemap_ratio({-1.0f, NAN_F, 0.0f}, NEUTRA, 1.0f);
    CHECK((nero.r > 0.0f && nero.r <= 1.0001e-9f && nero.g == nero.r && nero.b == nero.r));
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
        double v[7][3];
    };
    // clang-format off
    constexpr Caso casi[] = {
        {"Nordic",
         {{0.40830, 0.40768, 0.40706}, {0.90157, 0.48723, 0.40740}, {0.05818, 0.03671, 0.08200}, {0.86374, 0.86374, 0.86374},
          {0.15991, 0.38748, 0.29013}, {0.86959, 0.83988, 0.73460}, {0.19845, 0.17134, 0.15165}}},
        {"Cinema Print",
         {{0.41230, 0.41111, 0.40926}, {0.91705, 0.51269, 0.44829}, {0.05069, 0.04007, 0.09012}, {0.90313, 0.89864, 0.89048},
          {0.18712, 0.38322, 0.29372}, {0.90212, 0.87513, 0.77896}, {0.19080, 0.16954, 0.15635}}},
        {"Midnight",
         {{0.40985, 0.40955, 0.41091}, {0.92374, 0.51704, 0.43908}, {0.04058, 0.03381, 0.08300}, {0.91983, 0.91763, 0.91367},
          {0.18000, 0.37771, 0.29357}, {0.91765, 0.90121, 0.81631}, {0.17885, 0.16040, 0.15026}}},
        {"Daylight",
         {{0.40858, 0.40770, 0.40682}, {0.90218, 0.49717, 0.42245}, {0.05781, 0.03765, 0.07981}, {0.86969, 0.86537, 0.85826},
          {0.18128, 0.37957, 0.29498}, {0.87439, 0.84118, 0.73466}, {0.19687, 0.17169, 0.15329}}},
        {"Linen",
         {{0.41007, 0.41011, 0.41015}, {0.97231, 0.39710, 0.26376}, {0.06925, 0.03632, 0.09897}, {0.87023, 0.97245, 0.81786},
          {0.00400, 0.42208, 0.29150}, {0.88235, 0.79664, 0.64385}, {0.21523, 0.18411, 0.16000}}},
        {"Amber",
         {{0.43390, 0.43197, 0.42906}, {0.91298, 0.45419, 0.37053}, {0.10315, 0.07990, 0.13203}, {0.94206, 0.97137, 0.88685},
          {0.21729, 0.43970, 0.33048}, {0.86767, 0.80780, 0.70165}, {0.24356, 0.21829, 0.20019}}},
        {"Ember",
         {{0.41550, 0.41353, 0.41155}, {0.97626, 0.40109, 0.24736}, {0.06236, 0.03507, 0.09381}, {0.95997, 0.97497, 0.88860},
          {0.01000, 0.42805, 0.28149}, {0.94441, 0.85673, 0.70491}, {0.20537, 0.17413, 0.15276}}},
        {"Amalfi",
         {{0.41046, 0.41293, 0.41202}, {0.98012, 0.37333, 0.16105}, {0.06483, 0.03147, 0.09876}, {0.91043, 0.97821, 0.85500},
          {0.00600, 0.43022, 0.27783}, {0.92216, 0.83217, 0.65100}, {0.20974, 0.17894, 0.15266}}},
        {"Velvet",
         {{0.38666, 0.39279, 0.40055}, {0.97355, 0.43711, 0.31599}, {0.04908, 0.03871, 0.06739}, {0.94959, 0.97217, 0.90958},
          {0.14977, 0.39413, 0.28525}, {0.97194, 0.93973, 0.81483}, {0.16300, 0.14695, 0.13669}}},
        {"Brass",
         {{0.40850, 0.41031, 0.41845}, {0.94765, 0.40135, 0.25539}, {0.06268, 0.03152, 0.10135}, {0.93824, 0.94840, 0.90454},
          {0.00800, 0.42382, 0.29024}, {0.90990, 0.83844, 0.71018}, {0.20465, 0.17398, 0.15724}}},
        {"Silk",
         {{0.43688, 0.43431, 0.43554}, {0.88241, 0.43722, 0.35764}, {0.12910, 0.09651, 0.16286}, {0.82815, 0.87573, 0.78881},
          {0.21157, 0.44478, 0.34245}, {0.78531, 0.73206, 0.64108}, {0.27224, 0.24306, 0.22438}}},
        {"Olive",
         {{0.40929, 0.42158, 0.41098}, {0.96064, 0.40161, 0.22815}, {0.06509, 0.03192, 0.09800}, {0.94328, 0.96241, 0.87975},
          {0.01200, 0.43927, 0.27565}, {0.93222, 0.86653, 0.70370}, {0.20602, 0.18110, 0.14349}}},
        {"",
         {{0.40770, 0.40773, 0.40777}, {1.00000, 0.41299, 0.29707}, {0.06362, 0.03324, 0.08978}, {0.85459, 0.99924, 0.79216},
          {0.00000, 0.41377, 0.29733}, {0.88974, 0.79704, 0.63950}, {0.20774, 0.18072, 0.15935}}},
    };
    // clang-format on
    const std::vector<LookDef> looks = catalogo();
    REQUIRE(looks.size() + 1 == std::size(casi));
    const auto controlla = [&](const Contesto& ctx, const Caso& caso) {
        for (int k = 0; k < 7; ++k) {
            CAPTURE(k);
            const auto [r, g, b] = applica_colore(codici[k], ctx);
            const auto& [vr, vg, vb] = caso.v[k];
            CHECK((std::abs(r - vr) < 1.5e-5 && std::abs(g - vg) < 1.5e-5 &&
                   std::abs(b - vb) < 1.5e-5));
        }
    };
    for (std::size_t i = 0; i < looks.size(); ++i) {
        CAPTURE(looks[i].nome);
        CHECK(looks[i].nome == casi[i].nome);
        controlla(contesto_di(looks[i], 1.0f), casi[i]);
        controlla(contesto_di(looks[i], 0.0f), casi[12]);  // at strength 0 no look shows
    }
}

TEST_CASE("the grade in batches has the bits of the plain one, whatever comes in")
{
    struct Caso {
        float forza, ev;
        RGB guadagno;
        int profilo;
    };
    // clang-format off
    const Caso casi[] = {
        {1.0f,  0.0f,   {1.0f, 1.0f, 1.0f},       0},
        {0.0f,  0.5f,   {1.1f, 0.9f, 0.8f},       0},
        {-0.0f, 0.0f,   {1.0f, 1.0f, 1.0f},       1},
        {0.5f, -1.3f,   {0.8f, 1.2f, 1.1f},      17},
        {1.0f,  3.0f,   {1.0f, 1.0f, 1.0f},       7},
        {NAN_F, 0.0f,   {1.0f, 1.0f, 1.0f},       2},
        {INF_F, 0.0f,   {1.0f, 1.0f, 1.0f},      31},
        {1.0f,  NAN_F,  {1.0f, 1.0f, 1.0f},       0},
        {1.0f,  1e30f,  {1.0f, 1.0f, 1.0f},       9},
        {0.0f, -1e30f,  {1.0f, 1.0f, 1.0f},      30},
        {0.4f, -28.0f,  {1.0f, 1.0f, 1.0f},      30},  // light around the curve's floor
        {0.3f,  0.0f,   {1e38f, -1e38f, 1.0f},    0},
        {1.0f,  0.0f,   {INF_F, NAN_F, -INF_F},  24},
    };
    // clang-format on
    constexpr float STRANI[] = {0.0f, -0.0f, 1.0f, -0.3f, 1.5f, 1e30f, NAN_F, INF_F, -INF_F};
    std::mt19937 caso_di(7);
    std::uniform_real_distribution<float> codice(-0.2f, 1.2f);
    for (const LookDef& look : catalogo()) {
        CAPTURE(look.nome);
        for (const Caso& caso : casi) {
            CAPTURE(caso.forza);
            CAPTURE(caso.ev);
            Contesto ctx = contesto_di(look, caso.forza, caso.ev, caso.profilo);
            ctx.guadagno = caso.guadagno;
            int diversi = 0;
            const auto prova = [&](RGB c) {
                diversi += !stessi_bit(applica_colore(c, ctx), semplici::applica_colore(c, ctx));
            };
            for (const float a : STRANI)
                for (const float b : STRANI)
                    prova({a, b, 0.4f});
            for (int i = 0; i < 300; ++i)
                prova({codice(caso_di), codice(caso_di), codice(caso_di)});
            CHECK(diversi == 0);
        }
    }
}
