// libFuzzer: an input is a host's session with the plug-in, which is linked in. The host keeps the
// window inside both images, as hosts do; everything else may be anything. Besides what the
// sanitizers find, a frame must write its window alone, keep alpha, release its images, and come
// out the same on other threads and vector levels, and as plain loops make it.
#include "banco/banco.h"

#include "comune/nuclei.h"
#include "ofx/ofx.h"
#include "ofx/suite.h"
#include "render/impostazioni.h"
#include "render/lut3d.h"
#include "render/parallel_for.h"
#include "test/colore.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <vector>

extern "C" OfxPlugin* OfxGetPlugin(int);

namespace {

using namespace varno;

// A rebuild of the table costs a thousand small frames: the settings that it hangs on stay those of
// the frame before, but for one frame in so many. The first one of a run always has its own.
constexpr int RARO = 2000;
int gDaTabella = RARO;

// A strip of a large frame costs some hundred small ones, likewise.
constexpr int RARA = 100;
int gDaStriscia = RARA;

unsigned gThread = 1;

void pretendi(bool vero, const char* testo)
{
    if (!vero) {
        std::fprintf(stderr, "fuzz_ospite: %s\n", testo);
        std::abort();
    }
}

// Bytes in order, or from the end on for what must not push the rest aside; zeroes when they are
// used up, so that every input is a session.
struct Lettore {
    const std::uint8_t* p;
    const std::uint8_t* fine;
    bool da_fondo = false;

    std::uint8_t byte()
    {
        if (p >= fine)
            return 0;
        return da_fondo ? *--fine : *p++;
    }
    unsigned fino_a(unsigned massimo) { return byte() % (massimo + 1); }
    template <class T> T grezzo()
    {
        unsigned char b[sizeof(T)];
        for (unsigned char& c : b)
            c = byte();
        T t;
        std::memcpy(&t, b, sizeof t);
        return t;
    }
};

template <class T> T limite(unsigned n)
{
    using L = std::numeric_limits<T>;
    if constexpr (L::is_integer) {
        constexpr T valori[] = {L::min(), L::max(), -1, 0, 1, 32, 1000, -2147483647};
        return valori[n % std::size(valori)];
    } else {
        const T valori[] = {
            L::quiet_NaN(),   L::infinity(), -L::infinity(), L::max(), L::lowest(), L::min(),
            L::denorm_min(),  T(-0.0),       T(-1),          T(1e-20), T(1e20),     T(2147483648.0),
            T(-2147483649.0), T(1),          T(0.5),         T(-0.5)};
        return valori[n % std::size(valori)];
    }
}

double numero(Lettore& l, double minimo, double massimo)
{
    switch (l.fino_a(3)) {
    case 0:
        return limite<double>(l.byte());
    case 1:
        return l.grezzo<double>();
    default:
        return minimo + (massimo - minimo) * l.byte() / 255.0;
    }
}

// The one module and the one instance of all sessions; an instance keeps nothing but parameters.
banco::Modulo* gModulo;
banco::Istanza* gIstanza;
std::vector<banco::Parametro> gParametri;
std::vector<double> gValori;  // of gParametri

void parametri(Lettore& l)
{
    for (std::size_t n = 0; n < gParametri.size(); ++n)
        gValori[n] = gParametri[n].predefinito;
    const auto e_numero = [](const banco::Parametro& p) { return p.tipo == "OfxParamTypeDouble"; };
    for (unsigned n = l.fino_a(l.fino_a(3) == 0 ? 40 : 9); n > 0; --n) {
        const unsigned quale = l.fino_a(34);
        const banco::Parametro& p = gParametri[quale];
        if (e_numero(p) && quale > 0 && !e_numero(gParametri[quale - 1]))
            gValori[quale - 1] = 1;  // an amount stands behind its switch
        if (e_numero(p))
            gValori[quale] = numero(l, p.minimo, p.massimo);
        else if (l.fino_a(7) == 0)
            gValori[quale] = l.fino_a(1) != 0 ? limite<int>(l.byte()) : l.grezzo<int>();
        else
            gValori[quale] =
                l.fino_a(p.opzioni.empty() ? 1 : static_cast<unsigned>(p.opzioni.size() - 1));
    }
}

void consegna_parametri()
{
    for (std::size_t n = 0; n < gParametri.size(); ++n)
        banco::imposta(*gIstanza, gParametri[n].nome, gValori[n]);
}

// --- The table's settings -----------------------------------------------------------------------

constexpr std::size_t CHIAVE = 10;  // the first parameters: formats, look and grade
double gChiave[CHIAVE];

// A key with not-a-number rebuilds on every frame.
bool chiave_da_numeri()
{
    return std::none_of(gValori.begin(), gValori.begin() + CHIAVE,
                        [](double x) { return std::isnan(x); });
}

void risparmia_tabella()
{
    double* v = gValori.data();
    if (std::equal(v, v + CHIAVE, gChiave) || gDaTabella++ < RARO) {
        std::copy_n(gChiave, CHIAVE, v);
        return;
    }
    gDaTabella = 0;
    if (chiave_da_numeri())
        std::copy_n(v, CHIAVE, gChiave);
}

// The plug-in with one more action, which reads the settings as a render would.
ImpostazioniQuadro gLette;
double gTempo = 0.0;

int entrata(const char* azione, const void* effetto, OfxPropertySetHandle in,
            OfxPropertySetHandle fuori)
{
    if (std::strcmp(azione, "leggi") != 0)
        return OfxGetPlugin(0)->mainEntry(azione, effetto, in, fuori);
    OfxParamSetHandle set = nullptr;
    gEff->getParamSet(static_cast<OfxImageEffectHandle>(const_cast<void*>(effetto)), &set);
    gLette = impostazioni_di(leggi_parametri(set, gTempo));
    return kOfxStatOK;
}

// What a rebuild would do with these settings, at a few points.
void prova_colore(Lettore& l, double tempo)
{
    consegna_parametri();
    gTempo = tempo;
    banco::azione(*gIstanza, "leggi");
    Lut3D lut;
    lut.costruisci(gLette.contesto, static_cast<int>(2 + l.fino_a(3)));
    applica_colore({l.grezzo<float>(), l.grezzo<float>(), l.grezzo<float>()}, gLette.contesto);
}

// --- Images -------------------------------------------------------------------------------------

struct Geometria {
    int x, y;                // first pixel of the window
    int larghezza, altezza;  // of the window
};

// Memory of exactly its size, so that a byte beside it is a finding.
struct Tela {
    std::vector<unsigned char> memoria;
    banco::Figura figura;
    unsigned char* finestra = nullptr;  // the window's first pixel
    unsigned char* riga(int y) const { return finestra + long{y} * figura.byte_riga; }
};

float campione(Lettore& l, unsigned modo, std::uint32_t& caso)
{
    caso = caso * 1664525u + 1013904223u;
    if (modo == 0)
        return static_cast<float>(caso >> 8) * 0x1p-24f * 1.25f - 0.1f;
    if (modo == 1)
        return limite<float>(caso >> 24);
    if (modo == 2) {
        float f;
        std::memcpy(&f, &caso, sizeof f);
        return f;
    }
    return l.p < l.fine ? static_cast<float>(l.byte()) / 200.0f : 0.9f;
}

Tela tela(Lettore& l, const Geometria& g, int righe_in_piu)
{
    Tela t;
    const int sinistra = static_cast<int>(l.fino_a(3));
    const int sotto = static_cast<int>(l.fino_a(3));
    const int larghezza = sinistra + g.larghezza + static_cast<int>(l.fino_a(3));
    const int altezza = sotto + g.altezza + static_cast<int>(l.fino_a(3));
    const int passo = larghezza * 16 + 4 * static_cast<int>(l.fino_a(9));
    const bool capovolta = l.fino_a(1) != 0;
    const long ultima = long{altezza + righe_in_piu - 1} * passo;
    t.memoria.resize(static_cast<std::size_t>(ultima + larghezza * 16));
    const unsigned modo = l.fino_a(3);
    std::uint32_t caso = l.byte();
    for (std::size_t b = 0; b + 4 <= t.memoria.size(); b += 4) {
        const float f = campione(l, modo, caso);
        std::memcpy(&t.memoria[b], &f, sizeof f);
    }
    const int x = g.x - sinistra;
    const int y = g.y - sotto;
    t.figura = {t.memoria.data() + (capovolta ? ultima : 0),
                capovolta ? -passo : passo,
                {x, y, x + larghezza, y + altezza}};
    t.finestra = static_cast<unsigned char*>(t.figura.dati) + sinistra * 16;
    t.finestra = t.riga(sotto);
    return t;
}

Geometria geometria(Lettore& l)
{
    // Just around the steps of the reduction, and anywhere a 32-bit coordinate can be.
    constexpr int lunghi[] = {1919, 1920, 1921, 2880, 3840, 3843};
    constexpr int origini[] = {0, 0, -7, 1000, 2147483600 - 4000, -2147483600};
    const unsigned forma = l.byte();
    const unsigned massimo = forma % 4 == 0 ? 23 : 11;
    Geometria g{origini[l.fino_a(5)], origini[l.fino_a(5)], static_cast<int>(1 + l.fino_a(massimo)),
                static_cast<int>(1 + l.fino_a(massimo))};
    if (forma >= 253 && gDaStriscia++ >= RARA) {
        gDaStriscia = 0;
        g.larghezza = lunghi[l.fino_a(5)];
        g.altezza = std::min(g.altezza, 3);
        if (forma == 255)
            std::swap(g.larghezza, g.altezza);
    }
    return g;
}

bool stessi_bit_o_nan(const std::vector<unsigned char>& a, const std::vector<unsigned char>& b)
{
    for (std::size_t i = 0; i + 4 <= a.size(); i += 4) {
        float x;
        float y;
        std::memcpy(&x, &a[i], 4);
        std::memcpy(&y, &b[i], 4);
        if (std::memcmp(&x, &y, 4) != 0 && !(std::isnan(x) && std::isnan(y)))
            return false;
    }
    return true;
}

// --- One render ---------------------------------------------------------------------------------

void scegli_macchina(Lettore& l)
{
    constexpr unsigned thread[] = {1, 1, 1, 1, 1, 2, 3, 7};
    gThread = thread[l.fino_a(7)];
    unsigned quanti = 0;
    while (livelli_disponibili()[quanti] != nullptr)
        ++quanti;
    gNuclei = livelli_disponibili()[l.fino_a(quanti - 1)];
}

int rendi(double tempo, const banco::Rettangolo& finestra, const banco::Figura& da,
          const banco::Figura& a)
{
    const int stato = banco::rendi_solo(*gIstanza, tempo, finestra, da, a);
    pretendi(banco::registro(*gIstanza).violazioni.empty(), "a rule of the host was broken");
    return stato;
}

void prova_quadro(Lettore& l)
{
    const Geometria g = geometria(l);
    const unsigned sovrapposta = l.fino_a(7);  // 1 in place, 2 a row further on
    const bool separata = sovrapposta != 1 && sovrapposta != 2;
    Tela da = tela(l, g, sovrapposta == 2 ? 1 : 0);
    Tela a = separata ? tela(l, g, 0) : Tela{};
    banco::Figura sorgente = da.figura;
    banco::Figura uscita = separata ? a.figura : da.figura;
    if (sovrapposta == 2)
        uscita.dati = static_cast<unsigned char*>(uscita.dati) + uscita.byte_riga;
    int finestra[4] = {g.x, g.y, g.x + g.larghezza, g.y + g.altezza};
    std::vector<banco::Guasto>& guasti = banco::registro(*gIstanza).guasti;
    guasti.clear();
    const unsigned disturbo = l.fino_a(31);
    if (disturbo == 1 || disturbo == 2) {
        guasti = {{"clipGetImage", disturbo == 1 ? "Source" : "Output"}};
    } else if (disturbo == 3) {
        (l.fino_a(1) != 0 ? sorgente : uscita).dati = nullptr;
    } else if (disturbo == 4) {
        const unsigned asse = l.fino_a(1);
        finestra[asse] = limite<int>(l.byte());
        finestra[asse + 2] = limite<int>(l.byte());
        const auto lato = static_cast<std::int32_t>(static_cast<std::uint32_t>(finestra[asse + 2]) -
                                                    static_cast<std::uint32_t>(finestra[asse]));
        if (lato > 0)
            finestra[asse + 2] = finestra[asse];
    }
    const bool riesce = disturbo < 1 || disturbo > 4;
    const banco::Rettangolo f{finestra[0], finestra[1], finestra[2], finestra[3]};
    const double tempo = l.fino_a(1) != 0 ? numero(l, -1000.0, 100000.0) : l.byte();
    prova_colore(l, tempo);
    risparmia_tabella();
    consegna_parametri();
    scegli_macchina(l);

    const std::vector<unsigned char> prima_da = da.memoria;
    std::vector<unsigned char> attesa = a.memoria;  // but for the window, which is taken over
    pretendi(rendi(tempo, f, sorgente, uscita) == (riesce ? 0 : 1), "status");
    guasti.clear();
    if (!separata)
        return;

    pretendi(da.memoria == prima_da, "the source was written");
    if (riesce) {
        const auto byte = static_cast<std::size_t>(g.larghezza) * 16;
        for (int y = 0; y < g.altezza; ++y) {
            unsigned char* riga = a.riga(y);
            std::memcpy(attesa.data() + (riga - a.memoria.data()), riga, byte);
            for (std::size_t x = 12; x < byte; x += 16)
                pretendi(std::memcmp(riga + x, da.riga(y) + x, 4) == 0, "alpha changed");
        }
    }
    pretendi(a.memoria == attesa, "written beside the window");

    if (riesce && l.fino_a(2) == 0) {
        scegli_macchina(l);
        if (!chiave_da_numeri())
            return;
        pretendi(rendi(tempo, f, sorgente, uscita) == 0, "status of the second time");
        pretendi(stessi_bit_o_nan(a.memoria, attesa), "another machine made another picture");
    }
}

void una_azione(Lettore& l)
{
    constexpr const char* nomi[] = {"formato", "look",     "halation", "Source",
                                    "",        "formatoo", nullptr};
    constexpr const char* ignote[] = {"",
                                      "OfxActionUnload",
                                      "OfxActionPurgeCaches",
                                      "OfxImageEffectActionIsIdentity",
                                      "OfxActionLoad ",
                                      "OfxImageEffectActionGetClipPreferences"};
    consegna_parametri();
    switch (l.fino_a(15)) {
    case 8:
        pretendi(banco::azione(*gIstanza, "OfxActionCreateInstance") == 0, "create");
        break;
    case 1:
        pretendi(banco::azione(*gIstanza, "OfxActionDestroyInstance") == 0, "destroy");
        break;
    case 2:
        pretendi(banco::avvisa(*gIstanza, nomi[l.fino_a(6)]) == 0, "changed");
        break;
    case 3:
        pretendi(banco::azione(*gIstanza, ignote[l.fino_a(5)]) == 14, "unknown action");
        break;
    case 5:  // a suite short, or no host at all; then a whole one, since only Load looks
        if (l.fino_a(1) != 0)
            banco::suite_mancanti(*gModulo, {"OfxPropertySuite"});
        banco::dai_host(*gModulo, l.fino_a(1) != 0);
        banco::azione(*gModulo, "OfxActionLoad");
        banco::suite_mancanti(*gModulo, {});
        banco::dai_host(*gModulo);
        pretendi(banco::azione(*gModulo, "OfxActionLoad") == 0 &&
                     banco::azione(*gModulo, "OfxActionDescribe") == 0 &&
                     banco::descrivi_in_contesto(*gModulo, banco::FILTRO) == 0,
                 "load again");
        break;
    case 6:  // no handle at all, which every call that comes of it tells
        banco::azione(*gModulo, "OfxActionCreateInstance");
        banco::registro(*gModulo).violazioni.clear();
        break;
    default:
        prova_quadro(l);
        break;
    }
    for (const banco::Registro* r : {&banco::registro(*gModulo), &banco::registro(*gIstanza)})
        pretendi(r->violazioni.empty(), "a rule of the host was broken");
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dati, std::size_t quanti)
{
    [[maybe_unused]] static const bool pronto = [] {
        varno::gThreadHardware = [] { return gThread; };
        static OfxPlugin plugin = *OfxGetPlugin(0);
        plugin.mainEntry = entrata;
        static const banco::ModuloPtr modulo = banco::carica(banco::apri(&plugin));
        gModulo = modulo.get();
        banco::registro(*gModulo).scrivi = false;
        static const banco::IstanzaPtr istanza = banco::nuova_istanza(*gModulo);
        gIstanza = istanza.get();
        banco::registro(*gIstanza).scrivi = false;
        gParametri = banco::parametri(*gModulo);
        pretendi(gParametri.size() == 35, "describe");
        for (const banco::Parametro& p : gParametri)
            gValori.push_back(p.predefinito);
        std::copy_n(gValori.data(), CHIAVE, gChiave);
        return true;
    }();
    Lettore l{dati, dati + quanti};
    Lettore valori{dati, dati + quanti, true};
    for (unsigned n = 1 + (l.fino_a(7) == 0 ? l.fino_a(3) : l.fino_a(1)); n > 0; --n) {
        parametri(valori);
        una_azione(l);
    }
    return 0;
}
