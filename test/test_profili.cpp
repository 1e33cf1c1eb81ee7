#include "colore/curve_regole.h"
#include "colore/lotto.h"
#include "colore/profili.h"
#include "render/formato.h"

#include <doctest/doctest.h>

#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>
#include <string>

using namespace varno;
using doctest::Approx;

namespace {

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

bool entro_un_passo(float a, float b)
{
    return a == b || std::nextafter(a, b) == b;
}

RGB decodifica(RGB codice, int profilo)
{
    Lotto l;
    l.n = 1;
    l.r[0] = decodifica_canale(codice.r, profilo);
    l.g[0] = decodifica_canale(codice.g, profilo);
    l.b[0] = decodifica_canale(codice.b, profilo);
    applica_matrice(l, profilo);
    return {l.r[0], l.g[0], l.b[0]};
}

}  // namespace

TEST_CASE("curves: reference samples, committed and made anew, and every sample rises")
{
    static_assert(sizeof RIFERIMENTI / sizeof RIFERIMENTI[0] == NUMERO_CURVE);
    constexpr int INDICI[] = {0, 1, 2047, 4094, 4095};
    for (int c = 0; c < NUMERO_CURVE; ++c) {
        const Riferimento& rif = RIFERIMENTI[c];
        const RegolaCurva& regola = REGOLE_CURVE[c];
        CAPTURE(std::string(rif.nome));
        CHECK(std::string(regola.nome) == rif.nome);
        for (int k = 0; k < 5; ++k)
            CHECK(entro_un_passo(rif.curva[INDICI[k]], rif.campioni[k]));
        int lontani = 0;
        for (int i = 0; i < CAMPIONI_CURVA; ++i)
            lontani += !entro_un_passo(rif.curva[i], static_cast<float>(regola.campione(i)));
        CHECK(lontani == 0);
        for (int i = 1; i < CAMPIONI_CURVA; ++i) {
            CAPTURE(i);
            if (rif.curva == CURVA_NLOG && i == 1)
                CHECK(rif.curva[i] == rif.curva[i - 1]);
            else if (rif.curva == CURVA_BT709 && i == 333)
                CHECK(rif.curva[i] < rif.curva[i - 1]);
            else if (!(rif.curva[i] > rif.curva[i - 1]))
                FAIL_CHECK("does not rise");
        }
    }
    CHECK(CURVA_NLOG[2] == -0.0074999994f);
    CHECK(CURVA_BT709[332] == 0.01801655f);
    CHECK(CURVA_BT709[333] == 0.018015701f);
}

TEST_CASE("curves: the committed samples are the same bits on every system")
{
    std::uint64_t somma = 14695981039346656037u;  // FNV-1a over the samples' bits
    for (const Riferimento& rif : RIFERIMENTI)
        for (int i = 0; i < CAMPIONI_CURVA; ++i) {
            std::uint32_t bit = 0;
            std::memcpy(&bit, &rif.curva[i], sizeof bit);
            somma = (somma ^ bit) * 1099511628211u;
        }
    CHECK(somma == 10108786830191059310u);
}

TEST_CASE("matrices: what the gamuts' chromaticities give in double")
{
    // x and y of red, green, blue. Six decimals of a maker's own figures stand behind five of them,
    // and D-Gamut's is taken as its maker gives it: further off.
    struct Caso {
        int riga;
        double xy[6];
        double tolleranza;
    };
    // clang-format off
    constexpr Caso casi[] = {
        { 0, {0.766,    0.275,    0.225,    0.800,    0.089,    -0.087},    2e-7},
        { 1, {0.6840,   0.3130,   0.2210,   0.8480,   0.0861,   -0.1020},   3e-6},
        { 2, {0.7347,   0.2653,   0.1424,   0.8576,   0.0991,   -0.0308},   2e-7},
        { 3, {0.74,     0.27,     0.17,     1.14,     0.08,     -0.10},     2e-7},
        { 4, {0.730,    0.280,    0.165,    0.840,    0.100,    -0.030},    3e-6},
        { 5, {0.708,    0.292,    0.170,    0.797,    0.131,     0.046},    2e-7},
        { 7, {0.780308, 0.304253, 0.121595, 1.493994, 0.095612, -0.084589}, 3e-6},
        { 9, {0.71,     0.31,     0.21,     0.88,     0.09,     -0.08},     3e-4},
        {11, {0.730,    0.280,    0.140,    0.855,    0.100,    -0.050},    2e-7},
        {13, {0.740464, 0.279364, 0.089241, 0.893810, 0.110488, -0.052579}, 3e-6},
        {14, {0.775902, 0.274502, 0.188683, 0.828685, 0.101337, -0.089188}, 3e-6},
        {17, {0.640,    0.330,    0.300,    0.600,    0.150,     0.060},    2e-7},
        {20, {0.680,    0.320,    0.265,    0.690,    0.150,     0.060},    2e-7},
        {27, {0.7347,   0.2653,   0.0263,   0.9737,   0.1173,   -0.0224},   2e-7},
        {29, {0.725,    0.301,    0.221,    0.814,    0.068,    -0.076},    2e-7},
    };
    // clang-format on
    using Matrice = std::array<double, 9>;
    const auto inversa = [](const Matrice& m) {
        const auto minore = [&](int a, int b, int c, int d) { return m[a] * m[d] - m[b] * m[c]; };
        Matrice i = {minore(4, 5, 7, 8), minore(2, 1, 8, 7), minore(1, 2, 4, 5),
                     minore(5, 3, 8, 6), minore(0, 2, 6, 8), minore(2, 0, 5, 3),
                     minore(3, 4, 6, 7), minore(1, 0, 7, 6), minore(0, 1, 3, 4)};
        const double det = m[0] * i[0] + m[1] * i[3] + m[2] * i[6];
        for (double& v : i)
            v /= det;
        return i;
    };
    const auto verso_xyz = [&](const double(&p)[6]) {
        Matrice m;
        for (int k = 0; k < 3; ++k) {
            m[k] = p[2 * k] / p[2 * k + 1];
            m[3 + k] = 1.0;
            m[6 + k] = (1.0 - p[2 * k] - p[2 * k + 1]) / p[2 * k + 1];
        }
        const double bianco[] = {0.3127 / 0.3290, 1.0, (1.0 - 0.3127 - 0.3290) / 0.3290};
        const Matrice i = inversa(m);
        for (int k = 0; k < 3; ++k) {
            const double s =
                i[3 * k] * bianco[0] + i[3 * k + 1] * bianco[1] + i[3 * k + 2] * bianco[2];
            for (int riga = 0; riga < 3; ++riga)
                m[3 * riga + k] *= s;
        }
        return m;
    };
    const Matrice da_xyz = inversa(verso_xyz({0.640, 0.330, 0.300, 0.600, 0.150, 0.060}));
    for (const Caso& caso : casi) {
        CAPTURE(std::string(PROFILI[caso.riga].nome));
        const Matrice gamut = verso_xyz(caso.xy);
        for (int k = 0; k < 9; ++k) {
            CAPTURE(k);
            const int r = k / 3 * 3;
            const int c = k % 3;
            const double atteso =
                da_xyz[r] * gamut[c] + da_xyz[r + 1] * gamut[3 + c] + da_xyz[r + 2] * gamut[6 + c];
            const double errore = PROFILI[caso.riga].matrice[k] - atteso;
            CHECK(std::abs(errore) < caso.tolleranza);
        }
    }
}

TEST_CASE("decode: the ends of a curve and between its samples")
{
    constexpr float NAN_F = std::numeric_limits<float>::quiet_NaN();
    for (int p = 1; p < NUMERO_PROFILI; ++p) {
        CAPTURE(std::string(PROFILI[p].nome));
        const float* curva = PROFILI[p].curva;
        CHECK(decodifica_canale(1.0f, p) == curva[4095]);
        CHECK(decodifica_canale(2.0f, p) == curva[4095]);
        for (const float x : {0.0f, -0.0f, -1.0f, NAN_F})
            CHECK(decodifica_canale(x, p) == curva[0]);
        const float ultimo = decodifica_canale(std::nextafter(1.0f, 0.0f), p);
        CHECK(ultimo >= curva[4094]);
        CHECK(ultimo <= curva[4095]);
    }
    CHECK(decodifica_canale(1.0f, 10) == 12.000002f);
    CHECK(decodifica_canale(0.0f, 30) == 0.0f);
    // sRGB's linear segment: code / 12.92
    CHECK(decodifica_canale(0.0301f, 31) == Approx(0.0301 / 12.92).epsilon(1e-6));
}

TEST_CASE("decode: row 0 follows the formula past both ends, with a matrix of its own")
{
    CHECK(decodifica_canale(-0.1f, 0) == Approx(-197.3 * 0.01125 / 76.2103).epsilon(1e-6));
    CHECK(decodifica_canale(2.0f, 0) == Approx(std::pow(10.0, 1626 / 261.5) * 0.19).epsilon(1e-5));
    CHECK(std::isnan(decodifica_canale(std::numeric_limits<float>::quiet_NaN(), 0)));
    // 18 % grey is code value 420.
    CHECK(decodifica_canale(420.0f / 1023.0f, 0) == Approx(0.18).epsilon(1e-6));
    // The cut, 171.2102947 / 1023, is where both pieces give 0.01125.
    CHECK(decodifica_canale(0.16736099f, 0) == Approx(0.01125).epsilon(1e-5));
    CHECK(decodifica_canale(0.16736f, 0) == Approx(0.01125).epsilon(1e-4));

    const float grigio = decodifica_canale(0.5f, 0);
    const RGB a = decodifica({0.5f, 0.5f, 0.5f}, 0);
    CHECK(a.r / grigio == Approx(0.99984).epsilon(1e-5));
    CHECK(a.g / grigio == Approx(1.00002).epsilon(1e-5));
    CHECK(a.b / grigio == Approx(1.00024).epsilon(1e-5));
    const RGB b = decodifica({0.5f, 0.5f, 0.5f}, 11);
    CHECK(b.r == Approx(b.g).epsilon(1e-6));
    CHECK(b.b == Approx(b.g).epsilon(1e-6));
}

TEST_CASE("formats: every choice leads to the camera row of its name")
{
    struct Caso {
        const char* tendina;
        int righe;
        const char* nomi[7];
    };
    // clang-format off
    constexpr Caso casi[] = {
        {"cs_sony3", 7, {"Sony S-Log3 / S-Gamut3.Cine", "Sony S-Log3 / S-Gamut3", "Sony S-Log3 / S-Gamut",
                         "Sony S-Log3 / BT.2020", "Sony S-Log3 / 709", "Sony Venice S-Log3 / SGamut3",
                         "Sony Venice S-Log3 / SG3.Cine"}},
        {"cs_sony2", 3, {"Sony S-Log2 / S-Gamut", "Sony S-Log2 / BT.2020", "Sony S-Log2 / 709"}},
        {nullptr,    1, {"ARRI LogC3 / Wide Gamut 3"}},
        {nullptr,    1, {"ARRI LogC4 / Wide Gamut 4"}},
        {"cs_canon", 3, {"Canon Log 3 / Cinema Gamut", "Canon Log 3 / BT.2020", "Canon Log 3 / BT.709"}},
        {nullptr,    1, {"Panasonic V-Log / V-Gamut"}},
        {nullptr,    1, {"Fujifilm F-Log / F-Gamut"}},
        {nullptr,    1, {"Fujifilm F-Log2 / F-Gamut"}},
        {nullptr,    1, {"RED Log3G10 / WideGamutRGB"}},
        {nullptr,    1, {"Nikon N-Log / N-Gamut"}},
        {nullptr,    1, {"DJI D-Log / D-Gamut"}},
        {"cs_apple", 3, {"Apple Log / Rec.2020", "Apple Log / P3-D65", "Apple Log / 709"}},
        {"cs_canon", 3, {"Canon Log 2 / Cinema Gamut", "Canon Log 2 / BT.2020", "Canon Log 2 / BT.709"}},
        {nullptr,    1, {"Fujifilm F-Log2 C / F-Gamut C"}},
        {nullptr,    1, {"Leica L-Log / Rec.2020"}},
        {nullptr,    1, {"Apple Log 2 / Apple Wide Gamut"}},
        {nullptr,    1, {"Rec.709 (No Log)"}},
        {nullptr,    1, {"sRGB (No Log)"}},
    };
    // clang-format on
    constexpr int MINIMO = std::numeric_limits<std::int32_t>::min();
    constexpr int MASSIMO = std::numeric_limits<std::int32_t>::max();
    int righe = 0;
    for (int f = 0; f < 18; ++f) {
        const Caso& caso = casi[f];
        CAPTURE(f);
        const char* tendina = tendina_colorspace(f);
        REQUIRE((tendina == nullptr) == (caso.tendina == nullptr));
        if (tendina != nullptr)
            CHECK(std::string(tendina) == caso.tendina);
        const auto nome = [&](int scelta) {
            const int riga = riga_profilo(f, scelta);
            REQUIRE(riga >= 0);
            REQUIRE(riga < NUMERO_PROFILI);
            return std::string(PROFILI[riga].nome);
        };
        for (int scelta = 0; scelta < caso.righe; ++scelta, ++righe)
            CHECK(nome(scelta) == caso.nomi[scelta]);
        for (const int sotto : {-1, MINIMO})
            CHECK(nome(sotto) == caso.nomi[0]);
        for (const int sopra : {caso.righe, 9, MASSIMO})
            CHECK(nome(sopra) == caso.nomi[caso.righe - 1]);
    }
    CHECK(righe == NUMERO_PROFILI);
    for (const int f : {-1, 18, 40, MASSIMO}) {
        CHECK(tendina_colorspace(f) == nullptr);
        CHECK(riga_profilo(f, 0) == f - 1);
    }
    CHECK(riga_profilo(MINIMO, 0) == MASSIMO);  // wraps, and is limited later
}
