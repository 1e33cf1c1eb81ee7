#include "host.h"
#include "ofx/ofx.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <limits>
#include <thread>

using namespace prova;

namespace {

constexpr const char* RENDER = "OfxImageEffectActionRender";
constexpr double INF = std::numeric_limits<double>::infinity();

const std::map<std::string, double>& spento()
{
    static const auto v = tutti_gli_effetti(0);
    return v;
}

/// All effects on and every value off its default.
std::map<std::string, double> acceso()
{
    auto v = tutti_gli_effetti(1);
    for (const auto& [nome, x] : std::map<std::string, double>{{"formato", 4},
                                                               {"cs_canon", 1},
                                                               {"look", 8},
                                                               {"forza", 0.8},
                                                               {"ev", 0.5},
                                                               {"temp", 0.3},
                                                               {"tinta", -0.4},
                                                               {"grana", 0.3},
                                                               {"enhance", 0.4},
                                                               {"punte", 1}})
        v[nome] = x;
    return v;
}

std::map<std::string, double> con(std::map<std::string, double> v, const std::string& nome,
                                  double x)
{
    v[nome] = x;
    return v;
}

/// What a frame asks the host for, in order: images, properties, then every setting.
Testi chiamate_attese(const Istanza& i, const std::string& tempo, bool effetti, const char* tendina)
{
    Testi t = {"propGetDouble inArgs.OfxPropTime[0] = " + tempo,
               "propGetIntN inArgs.OfxImageEffectPropRenderWindow = 0 0 5 3",
               "clipGetHandle Source",
               "clipGetHandle Output",
               "clipGetImage Source @" + tempo,
               "clipGetImage Output @" + tempo,
               "propGetPointer image Source.OfxImagePropData[0] = pointer",
               "propGetPointer image Output.OfxImagePropData[0] = pointer",
               "propGetInt image Source.OfxImagePropRowBytes[0] = 80",
               "propGetInt image Output.OfxImagePropRowBytes[0] = 80",
               "propGetIntN image Source.OfxImagePropBounds = 0 0 5 3",
               "propGetIntN image Output.OfxImagePropBounds = 0 0 5 3",
               "getParamSet"};
    const auto letto = [&](const std::string& nome) {
        t.push_back("paramGetHandle " + nome);
        char v[40];
        std::snprintf(v, sizeof v, "%g", valore(i, nome));
        t.push_back("paramGetValueAtTime " + nome + " @" + tempo + " = " + v);
    };
    for (const char* nome : {"look", "forza", "ev", "temp", "tinta"})
        letto(nome);
    for (const std::string nome : INTERRUTTORI) {
        letto(nome);
        if (effetti)
            letto(nome.substr(0, nome.size() - 3));
    }
    letto("punte");
    letto("formato");
    if (tendina != nullptr)
        letto(tendina);
    t.emplace_back("clipReleaseImage Source");
    t.emplace_back("clipReleaseImage Output");
    return t;
}

/// Renders a 5 x 3 frame with these faults; the output is checked to be as it was.
int fallito(Istanza& i, const std::vector<Guasto>& guasti,
            const Rettangolo& finestra = {0, 0, 5, 3}, bool sorgente_nulla = false,
            bool uscita_nulla = false)
{
    Tela sorgente = tela({0, 0, 5, 3});
    Tela uscita = tela({0, 0, 5, 3});
    dipingi(uscita);
    const std::vector<unsigned char> prima = uscita.memoria;
    Figura s = figura(sorgente);
    Figura u = figura(uscita);
    if (sorgente_nulla)
        s.dati = nullptr;
    if (uscita_nulla)
        u.dati = nullptr;
    registro(i).chiamate.clear();
    registro(i).guasti = guasti;
    const int stato = rendi(i, 0.0, finestra, s, u);
    registro(i).guasti.clear();
    CHECK(uscita.memoria == prima);
    senza_violazioni(registro(i));
    return stato;
}

std::string ultime(const Registro& r, std::size_t quante)
{
    const Testi t = righe(r, RENDER);
    return unite(Testi(t.end() - static_cast<std::ptrdiff_t>(std::min(quante, t.size())), t.end()));
}

}  // namespace

TEST_CASE("a frame asks the host in one order, amounts only where the switch is on")
{
    struct Caso {
        std::map<std::string, double> valori;
        double tempo;
        const char* scritto;
        bool effetti;
        const char* tendina;
    };
    const Caso casi[] = {
        {spento(), 0.0, "0", false, nullptr},
        {acceso(), 12.9, "12.9", true, "cs_canon"},
        {con(acceso(), "formato", 0), -0.5, "-0.5", true, "cs_sony3"},
        {con(spento(), "formato", 1), 7.0, "7", false, "cs_sony2"},
        {con(spento(), "formato", 11), 7.0, "7", false, "cs_apple"},
        {con(spento(), "formato", 12), 7.0, "7", false, "cs_canon"},
        {con(spento(), "formato", 18), 7.0, "7", false, nullptr},
    };
    for (const Caso& caso : casi) {
        CAPTURE(caso.scritto);
        const IstanzaPtr i = crea_istanza(modulo(), caso.valori);
        registro(*i).chiamate.clear();
        fotogramma(*i, 5, 3, caso.tempo);
        CHECK(detto(registro(*i)) ==
              unite(chiamate_attese(*i, caso.scritto, caso.effetti, caso.tendina)));
    }
}

TEST_CASE("a frame that cannot be made releases what it holds, source first, and writes nothing")
{
    const std::string due = "clipReleaseImage Source\nclipReleaseImage Output\n";
    const IstanzaPtr i = crea_istanza(modulo(), spento());
    Registro& r = registro(*i);
    struct Caso {
        Guasto guasto;
        std::string fine;  // the last calls
    };
    // clang-format off
    const Caso casi[] = {
        {{"clipGetHandle", "Source"}, "propGetIntN inArgs.OfxImageEffectPropRenderWindow = 0 0 5 3\nclipGetHandle Source -> 1\n"},
        {{"clipGetHandle", "Output"}, "clipGetHandle Source\nclipGetHandle Output -> 1\n"},
        {{"clipGetImage", "Source"},  "clipGetHandle Output\nclipGetImage Source @0 -> 1\n"},
        {{"clipGetImage", "Source", "", 8, 0, -1, Resto::spazzatura}, "clipGetImage Source @0 -> 8\n"},
        {{"clipGetImage", "Output"},  "clipGetImage Source @0\nclipGetImage Output @0 -> 1\nclipReleaseImage Source\n"},
        {{"propGetPointer", "image Source.OfxImagePropData"}, due},
        {{"propGetPointer", "image Output.OfxImagePropData"}, due},
        {{"propGetIntN", "inArgs.OfxImageEffectPropRenderWindow"}, due},
    };
    // clang-format on
    for (const Caso& caso : casi) {
        CAPTURE(caso.guasto.funzione);
        CAPTURE(caso.guasto.nome);
        CHECK(fallito(*i, {caso.guasto}) == kOfxStatFailed);
        const auto quante =
            static_cast<std::size_t>(std::count(caso.fine.begin(), caso.fine.end(), '\n'));
        CHECK(ultime(r, quante) == caso.fine);
    }
    // Without pixels the settings are still read, and the table brought up to date.
    constexpr int MAX = std::numeric_limits<int>::max();
    constexpr int MIN = std::numeric_limits<int>::min();
    for (const Rettangolo f :
         {Rettangolo{2, 0, 2, 3}, Rettangolo{0, 1, 5, 1}, Rettangolo{4, 0, 1, 3},
          Rettangolo{0, 3, 5, 0}, Rettangolo{MIN, 0, MAX, 3}, Rettangolo{MAX, 0, MAX, 3}}) {
        CHECK(fallito(*i, {}, f) == kOfxStatFailed);
        CHECK(ultime(r, 3) == "paramGetValueAtTime formato @0 = 16\n" + due);
    }
    CHECK(fallito(*i, {}, {0, 0, 5, 3}, true) == kOfxStatFailed);
    CHECK(ultime(r, 2) == due);
    CHECK(fallito(*i, {}, {0, 0, 5, 3}, false, true) == kOfxStatFailed);
    CHECK(ultime(r, 2) == due);
    // Releases that fail are nobody's concern.
    r.guasti = {{"clipReleaseImage"}};
    fotogramma(*i, 5, 3);
}

TEST_CASE("where pixels lie in memory changes nothing in the picture, nor around it")
{
    const IstanzaPtr i = crea_istanza(modulo(), acceso());
    const Rettangolo f{-3, 5, 26, 24};  // 29 x 19: past the serial rows
    Tela sorgente = tela(f);
    Tela uscita = tela(f);
    dipingi(sorgente);
    REQUIRE(rendi(*i, 3.0, f, figura(sorgente), figura(uscita)) == kOfxStatOK);
    const Bit attesa = bit_di(uscita, f);
    struct Caso {
        Rettangolo limiti_s, limiti_u;
        int imbottitura_s, imbottitura_u;
        bool capovolta_s, capovolta_u;
    };
    const Rettangolo largo{-10, -4, 40, 31};
    const Rettangolo altro{-3, 0, 27, 24};
    // clang-format off
    const Caso casi[] = {
        {f,     f,     0,   0,  true,  true },
        {f,     f,     0,   0,  true,  false},
        {f,     f,     64,  4,  false, true },
        {largo, f,     0,   0,  false, false},
        {f,     largo, 0,   0,  false, false},
        {altro, largo, 12,  40, true,  false},
        {largo, altro, 400, 12, false, true },
    };
    // clang-format on
    for (const Caso& caso : casi) {
        Tela s = tela(caso.limiti_s, caso.imbottitura_s, caso.capovolta_s);
        Tela u = tela(caso.limiti_u, caso.imbottitura_u, caso.capovolta_u);
        dipingi(s);
        dipingi(u);
        const Tela prima = u;
        const std::vector<unsigned char> sorgente_prima = s.memoria;
        REQUIRE(rendi(*i, 3.0, f, figura(s), figura(u)) == kOfxStatOK);
        CHECK(bit_di(u, f) == attesa);
        CHECK(intatta(u));
        CHECK(s.memoria == sorgente_prima);
        // Beside the window the output is as the host gave it.
        for (int y = f.y1; y < f.y2; ++y)
            std::copy_n(pixel(prima, f.x1, y), 4 * (f.x2 - f.x1), pixel(u, f.x1, y));
        CHECK(u.memoria == prima.memoria);
    }
    senza_violazioni(registro(*i));
}

TEST_CASE("source and output may share memory, also shifted by a row")
{
    const IstanzaPtr i = crea_istanza(modulo(), acceso());
    const Rettangolo f{0, 0, 21, 18};
    const Bit attesa = fotogramma(*i, 21, 18);
    for (const int scarto : {0, 1, -1}) {
        CAPTURE(scarto);
        Tela t = tela({0, -1, 21, 19});
        dipingi(t);
        Figura s = figura(t);
        s.dati = pixel(t, 0, 0);
        s.limiti = f;
        Figura u = s;
        u.dati = pixel(t, 0, scarto);
        REQUIRE(rendi(*i, 0.0, f, s, u) == kOfxStatOK);
        CHECK(bit_di(t, {0, scarto, 21, 18 + scarto}) == attesa);
        CHECK(intatta(t));
    }
}

TEST_CASE("alpha passes bit for bit, code values outside 0..1 sit on the table's edge")
{
    const std::uint32_t alfa[] = {0x7FC00000, 0x7F800001, 0xFFC12345, 0xFF8ABCDE, 0x7F800000,
                                  0xFF800000, 0x80000000, 0x00000001, 0x807FFFFF, 0x40490FDB,
                                  0x3F800000, 0x00000000, 0xBF800000};
    constexpr int N = static_cast<int>(std::size(alfa));
    for (const auto& valori : {con(spento(), "forza", 0), acceso()}) {
        const IstanzaPtr i = crea_istanza(modulo(), valori);
        const Rettangolo f{0, 0, N, 1};
        Tela s = tela(f);
        for (int x = 0; x < N; ++x)
            pixel(s, x, 0)[3] = da_bit(alfa[x]);
        Tela u = tela(f);
        REQUIRE(rendi(*i, 0.0, f, figura(s), figura(u)) == kOfxStatOK);
        for (int x = 0; x < N; ++x)
            CHECK(bit(pixel(u, x, 0)[3]) == alfa[x]);
    }
    constexpr float inf = std::numeric_limits<float>::infinity();
    const float nan = da_bit(0x7FC00001);
    const float coppie[][2] = {{1.5f, 1.0f}, {inf, 1.0f},  {1.0000001f, 1.0f}, {-0.2f, 0.0f},
                               {nan, 0.0f},  {-inf, 0.0f}, {-0.0f, 0.0f},      {da_bit(1), 0.0f}};
    for (const char* formato : {"0", "4", "16"}) {
        const IstanzaPtr i =
            crea_istanza(modulo(), con(spento(), "formato", std::strtod(formato, nullptr)));
        const Rettangolo f{0, 0, 2, 3 * static_cast<int>(std::size(coppie))};
        Tela s = tela(f);
        for (int y = 0; y < f.y2; ++y)
            for (int x = 0; x < 2; ++x) {
                float* p = pixel(s, x, y);
                p[0] = 0.4f, p[1] = 0.7f, p[2] = 0.2f;
                p[y % 3] = coppie[y / 3][x];
            }
        Tela u = tela(f);
        REQUIRE(rendi(*i, 0.0, f, figura(s), figura(u)) == kOfxStatOK);
        for (int y = 0; y < f.y2; ++y) {
            CAPTURE(coppie[y / 3][0]);
            for (int c = 0; c < 3; ++c) {
                const float resto = pixel(u, 1, y)[c];
                // The smallest positive number may move the picture by its own size, not more.
                CHECK(std::abs(pixel(u, 0, y)[c] - resto) <= (y / 3 == 7 ? 1e-30f : 0.0f));
            }
        }
    }
}

TEST_CASE("without effects a row knows nothing of its neighbours: 15 rows are the first of 16")
{
    const IstanzaPtr i = crea_istanza(modulo(), con(con(spento(), "formato", 12), "look", 9));
    const Bit quindici = fotogramma(*i, 9, 15);
    Bit sedici = fotogramma(*i, 9, 16);
    sedici.resize(quindici.size());
    CHECK(quindici == sedici);
}

TEST_CASE("a setting that cannot be read counts as 0, whatever was read before it")
{
    // Everything above 0, so that a value left over from the read before would show.
    auto valori = acceso();
    valori["cs_canon"] = 2;
    valori["formato"] = 12;
    valori["tinta"] = 0.5;
    valori["punte"] = 2;
    Testi nomi = {"look", "forza", "ev", "temp", "tinta", "punte", "formato", "cs_canon"};
    for (const std::string interruttore : INTERRUTTORI) {
        nomi.push_back(interruttore);
        nomi.push_back(interruttore.substr(0, interruttore.size() - 3));
    }
    const Bit intero = fotogramma(*crea_istanza(modulo(), valori), 24, 17, 5.0);
    for (const std::string& nome : nomi) {
        CAPTURE(nome);
        const Bit attesa = fotogramma(*crea_istanza(modulo(), con(valori, nome, 0)), 24, 17, 5.0);
        CHECK(attesa != intero);
        const IstanzaPtr i = crea_istanza(modulo(), valori);
        for (const char* funzione : {"paramGetHandle", "paramGetValueAtTime"}) {
            registro(*i).guasti = {{funzione, nome}};
            CHECK(fotogramma(*i, 24, 17, 5.0) == attesa);
        }
        // Garbage where a handle should be reads nothing either.
        registro(*i).guasti = {{"paramGetHandle", nome, "", 9, 0, -1, Resto::spazzatura}};
        CHECK(fotogramma(*i, 24, 17, 5.0) == attesa);
    }
    // Neither parameters nor a time: every value 0, format 0, the first look.
    std::map<std::string, double> zero;
    for (const Parametro& p : parametri(modulo()))
        zero[p.nome] = 0.0;
    const Bit attesa = fotogramma(*crea_istanza(modulo(), zero), 24, 17, 0.0);
    const IstanzaPtr i = crea_istanza(modulo(), valori);
    registro(*i).guasti = {{"getParamSet"}};
    CHECK(fotogramma(*i, 24, 17, 5.0) == attesa);
}

TEST_CASE("values are those of the frame's time")
{
    const IstanzaPtr i = crea_istanza(modulo(), spento());
    imposta(*i, "halation_on", 1);
    imposta_chiavi(*i, "halation", {{20, 0.6}, {10, 0.2}});
    imposta_chiavi(*i, "formato", {{0, 16}, {15, 4}});
    const auto fermo = [](double halation, int formato) {
        return fotogramma(
            *crea_istanza(modulo(), con(con(con(spento(), "halation_on", 1), "halation", halation),
                                        "formato", formato)),
            18, 16);
    };
    CHECK(fotogramma(*i, 18, 16, 5.0) == fermo(0.2, 16));
    CHECK(fotogramma(*i, 18, 16, 15.0) == fermo(0.2 + 0.5 * (0.6 - 0.2), 4));
    CHECK(fotogramma(*i, 18, 16, 99.0) == fermo(0.6, 4));
}

TEST_CASE("a grade setting that is moved and moved back gives the first picture again")
{
    const IstanzaPtr i = crea_istanza(modulo(), spento());
    const Bit prima = fotogramma(*i, 7, 3);
    const std::pair<const char*, double> mosse[] = {{"look", 4},   {"forza", 0.5}, {"ev", 0.25},
                                                    {"temp", 0.5}, {"tinta", 0.5}, {"formato", 3}};
    for (const auto& [nome, v] : mosse) {
        const std::string mossa = nome;
        CAPTURE(mossa);
        const double ferma = valore(*i, mossa);
        cambia(*i, mossa, v);
        CHECK(fotogramma(*i, 7, 3) != prima);
        cambia(*i, mossa, ferma);
        for (const auto& [interruttore, spenta] : spento())  // a look has switched some on
            imposta(*i, interruttore, spenta);
        CHECK(fotogramma(*i, 7, 3) == prima);
    }
}

TEST_CASE("the grain's frame number is the time cut towards 0, the lowest where none fits")
{
    const auto grana = [](double tempo) {
        return fotogramma(*crea_istanza(modulo(), con(spento(), "grana_on", 1)), 8, 4, tempo);
    };
    constexpr double minimo = -2147483648.0;
    const double coppie[][2] = {{12.9, 12.0},
                                {-0.5, 0.0},
                                {-12.9, -12.0},
                                {0.999999, 0.0},
                                {-0.0, 0.0},
                                {2147483647.9, 2147483647.0},
                                {2147483648.0, minimo},
                                {-2147483648.9, minimo},
                                {-2147483649.0, minimo},
                                {std::nan(""), minimo},
                                {INF, minimo},
                                {-INF, minimo},
                                {1e300, minimo},
                                {-1e300, minimo}};
    for (const auto& coppia : coppie) {
        CAPTURE(coppia[0]);
        CHECK(grana(coppia[0]) == grana(coppia[1]));
    }
    CHECK(grana(12.0) != grana(13.0));
    CHECK(grana(0.0) != grana(-1.0));
    CHECK(grana(0.0) != grana(minimo));
    CHECK(grana(2147483647.0) != grana(minimo));
}

TEST_CASE("choices outside their range fall where they should")
{
    using Valori = std::map<std::string, double>;
    constexpr double MAX = 2147483647.0;
    constexpr double MIN = -2147483648.0;
    // clang-format off
    const std::pair<Valori, Valori> uguali[] = {
        {{{"look", -1}},                     {{"look", 0}}},
        {{{"look", 12}},                     {{"look", 0}}},
        {{{"look", MAX}},                    {{"look", 0}}},
        {{{"look", MIN}},                    {{"look", 0}}},
        // A format that is not listed is the profile before it; what is no profile, the nearest.
        {{{"formato", -1}},                  {{"formato", 0}, {"cs_sony3", 0}}},
        {{{"formato", 18}},                  {{"formato", 0}, {"cs_sony3", 4}}},  // S-Log3 / 709
        {{{"formato", 23}, {"cs_canon", 1}}, {{"formato", 4}, {"cs_canon", 1}}},  // row 22
        {{{"formato", 31}},                  {{"formato", 16}}},
        {{{"formato", 100}},                 {{"formato", 17}}},
        {{{"formato", MAX}},                 {{"formato", 17}}},
        {{{"formato", MIN}},                 {{"formato", 17}}},  // minus 1 wraps
        {{{"formato", 0}, {"cs_sony3", 9}},  {{"formato", 0}, {"cs_sony3", 6}}},
        {{{"formato", 0}, {"cs_sony3", -3}}, {{"formato", 0}, {"cs_sony3", 0}}},
        {{{"formato", 1}, {"cs_sony2", MAX}}, {{"formato", 1}, {"cs_sony2", 2}}},
        {{{"formato", 11}, {"cs_apple", 3}}, {{"formato", 11}, {"cs_apple", 2}}},
        {{{"formato", 12}, {"cs_canon", MIN}}, {{"formato", 12}, {"cs_canon", 0}}},
        // The choosers of other formats change nothing.
        {{{"formato", 2}, {"cs_sony3", 5}, {"cs_canon", 2}}, {{"formato", 2}}},
    };
    // clang-format on
    const auto quadro = [](const Valori& v) {
        Valori tutti = spento();
        for (const auto& [nome, x] : v)
            tutti[nome] = x;
        return fotogramma(*crea_istanza(modulo(), tutti), 6, 3);
    };
    for (const auto& coppia : uguali) {
        const auto& [a, b] = coppia;
        const auto& primo = *a.begin();  // Clang captures no structured binding
        CAPTURE(primo.first);
        CAPTURE(primo.second);
        CHECK(quadro(a) == quadro(b));
    }
    // Each Canon curve has rows of its own behind the one chooser.
    std::vector<Bit> diverse;
    for (const int formato : {4, 12})
        for (const int scelta : {0, 1, 2})
            diverse.push_back(quadro({{"formato", formato}, {"cs_canon", scelta}}));
    std::sort(diverse.begin(), diverse.end());
    CHECK(std::unique(diverse.begin(), diverse.end()) == diverse.end());
}

TEST_CASE("instances at once give each frame as if it were alone, while others come and go")
{
    constexpr int TEMPI = 3;
    struct Posto {
        IstanzaPtr istanza;
        int lato;
        std::vector<Bit> attese;
    };
    const auto quadro = [](const Posto& p, int tempo) {
        const Rettangolo f{0, 0, p.lato, 60 - p.lato};
        Tela s = tela(f);
        Tela u = tela(f);
        dipingi(s);
        return rendi(*p.istanza, tempo, f, figura(s), figura(u)) == 0 ? bit_di(u, f) : Bit();
    };
    std::vector<Posto> posti;
    for (int n = 0; n < 8; ++n) {
        auto valori = acceso();
        valori["look"] = n / 2;  // two of them share a table
        valori["pelle_on"] = n % 3;
        posti.push_back({crea_istanza(modulo(), valori), 25 + n, {}});
        for (int t = 0; t < TEMPI; ++t)
            posti.back().attese.push_back(quadro(posti.back(), t));
        registro(*posti.back().istanza).scrivi = false;
    }
    const char* molti = std::getenv("VARNO_QUADRI");
    const int quanti = molti != nullptr ? std::atoi(molti) : 48;
    std::atomic<int> prossimo{0};
    std::atomic<int> diversi{0};
    std::atomic<std::size_t> finiti{0};
    std::vector<std::thread> fili;
    for (Posto& p : posti)
        fili.emplace_back([&] {
            for (int n = prossimo++; n < quanti; n = prossimo++)
                diversi += quadro(p, n % TEMPI) != p.attese[static_cast<std::size_t>(n % TEMPI)];
            ++finiti;
        });
    do {
        const IstanzaPtr altra = crea_istanza(modulo());
        CHECK(cambia(*altra, "look", 3) == kOfxStatOK);
        CHECK(azione(modulo(), "OfxActionDescribe") == kOfxStatOK);
        CHECK(descrivi_in_contesto(modulo(), GENERALE) == kOfxStatOK);
    } while (finiti < posti.size());
    for (std::thread& t : fili)
        t.join();
    CHECK(diversi == 0);
    for (const Posto& p : posti)
        senza_violazioni(registro(*p.istanza));
}
