#include "colore/colore.h"
#include "host.h"
#include "looks/catalogo.h"
#include "ofx/ofx.h"
#include "render/lut3d.h"
#include "render/sviluppa.h"

#include <algorithm>
#include <atomic>
#include <cmath>
#include <cstring>
#include <functional>
#include <limits>
#include <thread>
#include <tuple>

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

varno::Contesto contesto(int look, int profilo, double forza, double ev, double temp, double tinta)
{
    static const std::vector<varno::LookDef> looks = varno::catalogo();
    const varno::LookDef& l = looks[static_cast<std::size_t>(look)];
    const float t = static_cast<float>(temp) * 0.25f;
    const float x = static_cast<float>(tinta);
    const float u = 0.1f * x;
    varno::Contesto c;
    c.look = &l;
    c.curva_look = varno::normalizza_curva(l.spalla, l.bianco, l.contrasto, l.gamma);
    c.curva_neutra = varno::normalizza_curva(0.9f, 18.0f, 1.0f, 1.0f);
    c.forza = static_cast<float>(forza);
    c.ev = static_cast<float>(ev);
    c.guadagno = {(1.0f + t) - u, x * 0.2f + 1.0f, (1.0f - t) - u};
    c.profilo = profilo;
    return c;
}

constexpr Resto RESTI[] = {Resto::intatto, Resto::nullo, Resto::spazzatura};

/// Of these the plug-in takes what it finds, since no status is looked at: a host that says no and
/// hands out garbage all the same gives it the address to write to, or another time.
bool fidata(const Chiamata& c)
{
    for (const char* nome :
         {"OfxImagePropData", "OfxImagePropRowBytes", "OfxImagePropBounds", "OfxPropTime"})
        if (c.nome.find(nome) != std::string::npos)
            return true;
    return false;
}

/// Fails every call of an action in turn, each in all three ways.
void a_turno(Registro& r, const std::function<void()>& azione)
{
    r.guasti.clear();
    r.chiamate.clear();
    azione();
    const std::vector<Chiamata> chiamate = r.chiamate;
    REQUIRE(!chiamate.empty());
    for (std::size_t n = 0; n < chiamate.size(); ++n)
        for (const Resto resto : RESTI) {
            if (resto == Resto::spazzatura && fidata(chiamate[n]))
                continue;
            CAPTURE(testo(chiamate[n]));
            CAPTURE(static_cast<int>(resto));
            Guasto g;
            g.dopo = static_cast<long>(n);
            g.quante = 1;
            g.resto = resto;
            r.guasti = {g};
            r.violazioni.clear();
            azione();
            senza_violazioni(r);
        }
    r.guasti.clear();
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

TEST_CASE("a frame is graded by its settings, each of which counts, and by those alone")
{
    struct Caso {
        std::map<std::string, double> mossa;  // against the row before, so that a table which
        int look, profilo;                    // should have been rebuilt shows
        double forza, ev, temp, tinta;
    };
    // clang-format off
    const Caso casi[] = {
        {{{"formato", 16}},                  0,  30, 1,     0,    0,    0},
        {{{"look", 5}},                      5,  30, 1,     0,    0,    0},
        {{{"forza", 0}},                     5,  30, 0,     0,    0,    0},
        {{{"forza", 0.999}},                 5,  30, 0.999, 0,    0,    0},
        {{{"ev", 1.3}},                      5,  30, 0.999, 1.3,  0,    0},
        {{{"ev", -2}},                       5,  30, 0.999, -2,   0,    0},
        {{{"temp", 1}},                      5,  30, 0.999, -2,   1,    0},
        {{{"tinta", 1}},                     5,  30, 0.999, -2,   1,    1},
        {{{"tinta", -1}},                    5,  30, 0.999, -2,   1,   -1},
        // grouped otherwise, these round to other gains
        {{{"temp", 0.05}, {"tinta", 0.48}},  5,  30, 0.999, -2,   0.05, 0.48},
        {{{"temp", 0.36}, {"tinta", 0.86}},  5,  30, 0.999, -2,   0.36, 0.86},
        {{{"temp", 0.4}, {"tinta", -0.8}},   5,  30, 0.999, -2,   0.4, -0.8},
        {{{"ev", 0.1}},                      5,  30, 0.999, 0.1,  0.4, -0.8},
        {{{"look", 3}, {"formato", 0}},      3,  0,  0.999, 0.1,  0.4, -0.8},
        {{{"look", 11}, {"cs_sony3", 5}},    11, 13, 0.999, 0.1,  0.4, -0.8},
        {{{"formato", 1}, {"cs_sony2", 1}},  11, 18, 0.999, 0.1,  0.4, -0.8},
        {{{"formato", 4}, {"cs_canon", 2}},  11, 23, 0.999, 0.1,  0.4, -0.8},
        {{{"formato", 12}},                  11, 26, 0.999, 0.1,  0.4, -0.8},
        {{{"formato", 11}, {"cs_apple", 1}}, 11, 20, 0.999, 0.1,  0.4, -0.8},
        {{{"formato", 17}},                  11, 31, 0.999, 0.1,  0.4, -0.8},
    };
    // clang-format on
    // 125 pixels on nodes of the table, where there is nothing to mix.
    const Rettangolo f{0, 0, 25, 5};
    Tela s = tela(f);
    Tela u = tela(f);
    for (int y = 0; y < 5; ++y)
        for (int x = 0; x < 25; ++x) {
            float* p = pixel(s, x, y);
            p[0] = 0.25f * static_cast<float>(x % 5);
            p[1] = 0.25f * static_cast<float>(x / 5);
            p[2] = 0.25f * static_cast<float>(y);
        }
    const IstanzaPtr i = crea_istanza(modulo(), spento());
    for (const Caso& caso : casi) {
        CAPTURE(caso.mossa.begin()->first);
        CAPTURE(caso.mossa.begin()->second);
        for (const auto& [nome, v] : caso.mossa)
            imposta(*i, nome, v);
        const varno::Contesto c =
            contesto(caso.look, caso.profilo, caso.forza, caso.ev, caso.temp, caso.tinta);
        REQUIRE(rendi(*i, 0.0, f, figura(s), figura(u)) == kOfxStatOK);
        int diversi = 0;
        for (int y = 0; y < 5; ++y)
            for (int x = 0; x < 25; ++x) {
                const float* p = pixel(s, x, y);
                const varno::RGB atteso = varno::applica_colore({p[0], p[1], p[2]}, c);
                diversi += std::memcmp(pixel(u, x, y), &atteso, sizeof atteso) != 0;
            }
        CHECK(diversi == 0);
    }
}

TEST_CASE("amounts reach the effects as floats, four grades scaled by 0.55")
{
    const Rettangolo f{0, 0, 31, 22};
    Tela s = tela(f);
    Tela u = tela(f);
    dipingi(s);
    varno::Lut3D lut;
    lut.costruisci(contesto(0, 30, 1, 0, 0, 0), varno::PUNTI_TABELLA);
    const auto finestra = [](Tela& t) {
        return varno::Finestra{reinterpret_cast<unsigned char*>(pixel(t, 0, 0)), t.byte_riga};
    };
    auto valori = con(tutti_gli_effetti(1), "formato", 16);
    const auto prova = [&](const varno::FxRicetta& r) {
        varno::sviluppa(lut, finestra(s), finestra(u), 31, 22, r);
        CHECK(fotogramma(*crea_istanza(modulo(), valori), 31, 22, -7.5) == bit_di(u, f));
        return bit_di(u, f);
    };
    // Each has an amount that no other one has, and shows in the picture.
    const std::tuple<const char*, double, float varno::FxRicetta::*, float> quantita[] = {
        {"enhance", 0.31, &varno::FxRicetta::enhance, 0.31f},
        {"halation", 0.28, &varno::FxRicetta::halation, 0.28f},
        {"bloom", 0.16, &varno::FxRicetta::bloom, 0.16f},
        {"vignetta", 0.1, &varno::FxRicetta::vignetta, 0.1f},
        {"promist", 0.3, &varno::FxRicetta::promist, 0.3f * 0.55f},
        {"streak", 0.15, &varno::FxRicetta::streak, 0.15f},
        {"ca", 0.6, &varno::FxRicetta::ca, 0.6f},
        {"grana", 0.12, &varno::FxRicetta::grana, 0.12f},
        {"mistw", 0.7, &varno::FxRicetta::mistw, 0.7f * 0.55f},
        {"glimmer", 0.9, &varno::FxRicetta::glimmer, 0.9f * 0.55f},
        {"pelle", 0.25, &varno::FxRicetta::pelle, 0.25f * 0.55f},
        {"stella", 1.0, &varno::FxRicetta::stella, 1.0f}};
    varno::FxRicetta ricetta;
    ricetta.fotogramma = -7;
    for (const auto& [nome, valore, campo, atteso] : quantita) {
        valori[nome] = valore;
        ricetta.*campo = atteso;
    }
    for (const int punte : {0, 1, 2}) {
        valori["punte"] = punte;
        ricetta.punte = 4 + 2 * punte;
        prova(ricetta);
    }
    const Bit intera = prova(ricetta);
    for (const auto& [nome, valore, campo, atteso] : quantita) {
        const auto quale = nome;  // Clang 14 lends no binding to a lambda
        CAPTURE(quale);
        valori[nome] = valore * 0.5;
        ricetta.*campo =
            static_cast<float>(valore * 0.5) * (atteso < static_cast<float>(valore) ? 0.55f : 1.0f);
        CHECK(prova(ricetta) != intera);
        valori[nome] = valore;
        ricetta.*campo = atteso;
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

TEST_CASE("bounds and row bytes that cannot be read count as 0")
{
    const IstanzaPtr i = crea_istanza(modulo(), spento());
    const auto quadro = [&](Rettangolo limiti, int byte_riga, const char* guasto) {
        Tela s = tela({0, 0, 24, 24});
        Tela u = tela({0, 0, 24, 24});
        dipingi(s);
        registro(*i).guasti.clear();
        if (guasto != nullptr)
            registro(*i).guasti = {{"", guasto}};
        CHECK(rendi_solo(*i, 0.0, {3, 2, 7, 9}, {pixel(s, 8, 8), byte_riga, limiti},
                         {pixel(u, 8, 8), 24 * 16, {1, 1, 20, 20}}) == kOfxStatOK);
        CHECK(intatta(u));
        return bit_di(u, u.limiti);
    };
    constexpr int RIGA = 24 * 16;
    const Rettangolo limiti{-1, 1, 20, 20};
    const Bit senza_limiti = quadro({0, 0, 21, 19}, RIGA, nullptr);
    const Bit senza_righe = quadro(limiti, 0, nullptr);
    CHECK(quadro(limiti, RIGA, nullptr) != senza_limiti);
    CHECK(quadro(limiti, RIGA, nullptr) != senza_righe);
    CHECK(quadro(limiti, RIGA, "image Source.OfxImagePropBounds") == senza_limiti);
    CHECK(quadro(limiti, RIGA, "image Source.OfxImagePropRowBytes") == senza_righe);
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
        {{{"look", 12}},                     {{"look", 0}}},
        {{{"look", MIN}},                    {{"look", 0}}},
        // A format that is not listed is the profile before it; what is no profile, the nearest.
        {{{"formato", -1}},                  {{"formato", 0}, {"cs_sony3", 0}}},
        {{{"formato", 23}, {"cs_canon", 1}}, {{"formato", 4}, {"cs_canon", 1}}},  // row 22
        {{{"formato", 32}},                  {{"formato", 17}}},
        {{{"formato", MAX}},                 {{"formato", 17}}},
        {{{"formato", MIN}},                 {{"formato", 17}}},  // minus 1 wraps
        {{{"formato", 0}, {"cs_sony3", 9}},  {{"formato", 0}, {"cs_sony3", 6}}},
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
        const auto& primo = *coppia.first.begin();
        CAPTURE(primo.first);
        CAPTURE(primo.second);
        CHECK(quadro(coppia.first) == quadro(coppia.second));
    }
}

TEST_CASE("whatever call of a frame a host fails, it gets its images back and nothing beside them")
{
    // Values that read as 0 where the read fails, so that the table stays.
    auto valori = tutti_gli_effetti(1);
    for (const char* nome : {"look", "forza", "formato"})
        valori[nome] = 0;
    const IstanzaPtr i = crea_istanza(modulo(), valori);
    // Too few rows for threads, which would share one address where row bytes stay 0.
    const Rettangolo finestra{3, 2, 15, 17};
    const Rettangolo limiti{2, 1, 16, 19};
    // Room enough for the window also where bounds or row bytes stay 0.
    Tela sorgente = tela({0, 0, 48, 48});
    Tela uscita = tela({0, 0, 48, 48});
    dipingi(sorgente);
    const std::vector<unsigned char> sorgente_prima = sorgente.memoria;
    const Figura s{pixel(sorgente, 8, 8), sorgente.byte_riga, limiti};
    const Figura u{pixel(uscita, 8, 8), uscita.byte_riga, limiti};
    const auto rendi_e_guarda = [&] {
        const int stato = rendi_solo(*i, 0.0, finestra, s, u);
        CHECK((stato == kOfxStatOK || stato == kOfxStatFailed));
        CHECK(intatta(uscita));
    };
    rendi_e_guarda();
    const Bit attesa = bit_di(uscita, {9, 9, 21, 24});
    a_turno(registro(*i), rendi_e_guarda);
    CHECK(sorgente.memoria == sorgente_prima);
    rendi_e_guarda();
    CHECK(bit_di(uscita, {9, 9, 21, 24}) == attesa);
}

TEST_CASE("whatever call a host fails, creating, changing and describing end as ever")
{
    const IstanzaPtr i = crea_istanza(modulo(), {{"formato", 4}, {"look", 3}});
    a_turno(registro(*i), [&] { CHECK(azione(*i, "OfxActionCreateInstance") == kOfxStatOK); });
    for (const char* nome : {"formato", "look", "halation", "Source", "nobody", ""})
        a_turno(registro(*i), [&] { CHECK(avvisa(*i, nome) == kOfxStatOK); });
    // Undisturbed again, everything that was left out is made up for.
    CHECK(avvisa(*i, "look") == kOfxStatOK);
    CHECK(valore(*i, "halation") == static_cast<double>(0.24f));
    CHECK(avvisa(*i, "formato") == kOfxStatOK);
    CHECK(!nascosto(*i, "cs_canon"));

    const ModuloPtr altro = apri(percorso());
    dai_host(*altro);
    REQUIRE(azione(*altro, "OfxActionLoad") == kOfxStatOK);
    a_turno(registro(*altro), [&] { CHECK(azione(*altro, "OfxActionDescribe") == kOfxStatOK); });
    a_turno(registro(*altro), [&] { CHECK(descrivi_in_contesto(*altro, FILTRO) == kOfxStatOK); });
    CHECK(descrivi_in_contesto(*altro, FILTRO) == kOfxStatOK);
    CHECK(parametri(*altro).size() == 35);
    dai_host(modulo());  // the other host's record goes away
}

TEST_CASE("instances at once give each frame as if it were alone, while others come and go")
{
    constexpr int TEMPI = 2;
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
    const int quanti = molti != nullptr ? std::atoi(molti) : 24;
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
