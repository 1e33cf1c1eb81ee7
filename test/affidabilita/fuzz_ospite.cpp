// libFuzzer: an input is a host's session with the plug-in, which is linked in. The host keeps the
// window inside both images, as hosts do; everything else may be anything. Besides what the
// sanitizers find, a frame must write its window alone, keep alpha, release its images, and come
// out the same on other threads and vector levels.
#include "scena.h"

#include "comune/nuclei.h"
#include "ofx/ofx.h"
#include "ofx/suite.h"
#include "render/impostazioni.h"
#include "render/lut3d.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <array>
#include <bit>
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
        std::array<std::uint8_t, sizeof(T)> b;
        for (std::uint8_t& c : b)
            c = byte();
        return std::bit_cast<T>(b);
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

// The plug-in with one more action: what a rebuild would do with these settings, on a small table.
int gPunti = 2;
double gTempo = 0.0;

int entrata(const char* azione, const void* effetto, OfxPropertySetHandle in,
            OfxPropertySetHandle fuori)
{
    if (std::strcmp(azione, "tabella") != 0)
        return OfxGetPlugin(0)->mainEntry(azione, effetto, in, fuori);
    OfxParamSetHandle set = nullptr;
    gEff->getParamSet(static_cast<OfxImageEffectHandle>(const_cast<void*>(effetto)), &set);
    Lut3D().costruisci(impostazioni_di(leggi_parametri(set, gTempo)).contesto, gPunti);
    return kOfxStatOK;
}

// --- Images -------------------------------------------------------------------------------------

float campione(Lettore& l, unsigned modo, std::uint32_t& caso)
{
    caso = caso * 1664525u + 1013904223u;
    if (modo == 0)
        return static_cast<float>(caso >> 8) * 0x1p-24f * 1.25f - 0.1f;
    if (modo == 1)
        return limite<float>(caso >> 24);
    if (modo == 2)
        return std::bit_cast<float>(caso);
    return l.p < l.fine ? static_cast<float>(l.byte()) / 200.0f : 0.9f;
}

// Bounds up to three pixels around the window, with padding and rows of either direction.
banco::Tela tela(Lettore& l, const banco::Rettangolo& f, int righe_in_piu)
{
    const auto margine = [&] { return static_cast<int>(l.fino_a(3)); };
    const banco::Rettangolo limiti{f.x1 - margine(), f.y1 - margine(), f.x2 + margine(),
                                   f.y2 + margine() + righe_in_piu};
    const int imbottitura = 4 * static_cast<int>(l.fino_a(9));
    banco::Tela t = banco::tela(limiti, imbottitura, l.fino_a(1) != 0);
    const unsigned modo = l.fino_a(3);
    std::uint32_t caso = l.byte();
    for (int y = limiti.y1; y < limiti.y2; ++y)
        for (int x = limiti.x1; x < limiti.x2; ++x)
            for (int c = 0; c < 4; ++c)
                banco::pixel(t, x, y)[c] = campione(l, modo, caso);
    return t;
}

banco::Rettangolo finestra(Lettore& l)
{
    // Just around the steps of the reduction, and anywhere a 32-bit coordinate can be.
    constexpr int lunghi[] = {1919, 1920, 1921, 2880, 3840, 3843};
    constexpr int origini[] = {0, 0, -7, 1000, 2147483600 - 4000, -2147483600};
    const unsigned forma = l.byte();
    const unsigned massimo = forma % 4 == 0 ? 23 : 11;
    const int x = origini[l.fino_a(5)];
    const int y = origini[l.fino_a(5)];
    int larghezza = static_cast<int>(1 + l.fino_a(massimo));
    int altezza = static_cast<int>(1 + l.fino_a(massimo));
    if (forma >= 253 && gDaStriscia++ >= RARA) {
        gDaStriscia = 0;
        larghezza = lunghi[l.fino_a(5)];
        altezza = std::min(altezza, 3);
        if (forma == 255)
            std::swap(larghezza, altezza);
    }
    return {x, y, x + larghezza, y + altezza};
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

void prova_quadro(Lettore& l)
{
    banco::Rettangolo f = finestra(l);
    const unsigned sovrapposta = l.fino_a(7);  // 1 in place, 2 a row further on
    const bool separata = sovrapposta != 1 && sovrapposta != 2;
    banco::Tela da = tela(l, f, sovrapposta == 2 ? 1 : 0);
    banco::Tela a = separata ? tela(l, f, 0) : da;
    banco::Figura sorgente = banco::figura(da);
    sorgente.limiti.y2 -= sovrapposta == 2 ? 1 : 0;
    banco::Figura uscita = separata ? banco::figura(a) : sorgente;
    if (sovrapposta == 2)
        uscita.dati = static_cast<unsigned char*>(uscita.dati) + uscita.byte_riga;
    std::vector<banco::Guasto>& guasti = banco::registro(*gIstanza).guasti;
    guasti.clear();
    const unsigned disturbo = l.fino_a(31);
    if (disturbo == 1 || disturbo == 2) {
        guasti = {{"clipGetImage", disturbo == 1 ? "Source" : "Output"}};
    } else if (disturbo == 3) {
        (l.fino_a(1) != 0 ? sorgente : uscita).dati = nullptr;
    } else if (disturbo == 4) {
        const bool alto = l.fino_a(1) != 0;
        int& inizio = alto ? f.y1 : f.x1;
        int& fine = alto ? f.y2 : f.x2;
        inizio = limite<int>(l.byte());
        fine = limite<int>(l.byte());
        if (static_cast<std::int32_t>(std::uint32_t(fine) - std::uint32_t(inizio)) > 0)
            fine = inizio;
    }
    const bool riesce = disturbo < 1 || disturbo > 4;
    const double tempo = l.fino_a(1) != 0 ? numero(l, -1000.0, 100000.0) : l.byte();
    consegna_parametri();
    gTempo = tempo;
    gPunti = static_cast<int>(2 + l.fino_a(3));
    banco::azione(*gIstanza, "tabella");
    risparmia_tabella();
    consegna_parametri();
    scegli_macchina(l);

    const banco::Tela prima = da;
    banco::Tela attesa = a;  // but for the window, which is taken over
    const auto rendi = [&] { return banco::rendi_solo(*gIstanza, tempo, f, sorgente, uscita); };
    pretendi(rendi() == (riesce ? 0 : 1), "status");
    guasti.clear();
    if (!separata)
        return;

    pretendi(da.memoria == prima.memoria, "the source was written");
    for (int y = f.y1; riesce && y < f.y2; ++y)
        for (int x = f.x1; x < f.x2; ++x) {
            const float* p = banco::pixel(a, x, y);
            pretendi(std::memcmp(p + 3, banco::pixel(da, x, y) + 3, 4) == 0, "alpha changed");
            std::memcpy(banco::pixel(attesa, x, y), p, 16);
        }
    pretendi(a.memoria == attesa.memoria, "written beside the window");

    if (riesce && l.fino_a(2) == 0) {
        scegli_macchina(l);
        if (!chiave_da_numeri())
            return;
        pretendi(rendi() == 0, "status of the second time");
        pretendi(scena::somma(a) == scena::somma(attesa), "another machine made another picture");
    }
}

void una_azione(Lettore& l)
{
    constexpr const char* nomi[] = {"formato", "look",     "halation", "Source",
                                    "",        "formatoo", nullptr};
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
