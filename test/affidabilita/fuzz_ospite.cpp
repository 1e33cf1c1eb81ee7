// libFuzzer: an input is a host's session with the plug-in, which is linked in. The host keeps the
// window inside both images, as hosts do; everything else may be anything. Besides what the
// sanitizers find, a frame must write its window alone, keep alpha, release its images, and come
// out the same on other threads and vector levels, and as plain loops make it.
#include "ospite.h"

#include "colore/colore.h"
#include "fx/nuclei.h"
#include "render/impostazioni.h"
#include "render/lut3d.h"
#include "render/parallel_for.h"
#include "test/semplici.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <memory>
#include <vector>

extern "C" OfxPlugin* OfxGetPlugin(int);

namespace {

using namespace varno;
using ospite::Istanza;

// A rebuild of the table costs a thousand small frames: the settings that it hangs on stay those of
// the frame before, but for one frame in so many. The first one of a run always has its own.
constexpr int RARO = 2000;
int gDaTabella = RARO;

unsigned gThread = 1;

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

void parametri(Lettore& l, Istanza& i)
{
    ospite::predefiniti(i);
    for (unsigned n = l.fino_a(l.fino_a(3) == 0 ? 40 : 9); n > 0; --n) {
        const int quale = static_cast<int>(l.fino_a(34));
        if (ospite::e_numero(quale) && quale > 0 && !ospite::e_numero(quale - 1))
            i.parametri[quale - 1].i = 1;  // an amount stands behind its switch
        double minimo = 0.0;
        double massimo = 0.0;
        ospite::intervallo(quale, minimo, massimo);
        OfxParamStruct& p = i.parametri[quale];
        if (p.numero)
            p.v = numero(l, minimo, massimo);
        else if (l.fino_a(7) == 0)
            p.i = l.fino_a(1) != 0 ? limite<int>(l.byte()) : l.grezzo<int>();
        else
            p.i = static_cast<int>(l.fino_a(static_cast<unsigned>(massimo)));
    }
}

// --- The table's settings -----------------------------------------------------------------------

constexpr const char* CHIAVE[] = {"look",    "forza",    "ev",       "temp",     "tinta",
                                  "formato", "cs_sony3", "cs_sony2", "cs_canon", "cs_apple"};
OfxParamStruct gChiave[std::size(CHIAVE)];

void risparmia_tabella(Istanza& i)
{
    bool diversa = false;
    bool vale = true;  // not-a-number rebuilds on every frame
    for (std::size_t n = 0; n < std::size(CHIAVE); ++n) {
        const OfxParamStruct& p = i.parametri[ospite::parametro(CHIAVE[n])];
        diversa = diversa || !(p.v == gChiave[n].v && p.i == gChiave[n].i);
        vale = vale && !std::isnan(p.v);
    }
    if (!diversa || gDaTabella++ < RARO) {
        for (std::size_t n = 0; n < std::size(CHIAVE); ++n)
            i.parametri[ospite::parametro(CHIAVE[n])] = gChiave[n];
        return;
    }
    gDaTabella = 0;
    if (vale)
        for (std::size_t n = 0; n < std::size(CHIAVE); ++n)
            gChiave[n] = i.parametri[ospite::parametro(CHIAVE[n])];
}

// What a rebuild would do with these settings, at a few points.
void prova_colore(Lettore& l, Istanza& i, double tempo)
{
    const Impostazioni imp = leggi_impostazioni(reinterpret_cast<OfxParamSetHandle>(&i), tempo);
    Lut3D lut;
    lut.costruisci(imp.contesto, static_cast<int>(2 + l.fino_a(3)));
    applica_colore({l.grezzo<float>(), l.grezzo<float>(), l.grezzo<float>()}, imp.contesto);
}

// --- Images -------------------------------------------------------------------------------------

struct Geometria {
    int x, y;                // first pixel of the window
    int larghezza, altezza;  // of the window
};

// Memory of exactly its size, so that a byte beside it is a finding.
struct Tela {
    std::vector<unsigned char> memoria;
    ospite::Immagine immagine;
    std::size_t passo = 0;
    std::size_t finestra = 0;  // byte of the window's first pixel
    int larghezza = 0, altezza = 0;
    bool capovolta = false;

    unsigned char* riga(int y)
    {
        return memoria.data() + finestra + (capovolta ? -1 : 1) * y * static_cast<long>(passo);
    }
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
    t.larghezza = g.larghezza;
    t.altezza = g.altezza;
    const int sinistra = static_cast<int>(l.fino_a(3));
    const int sotto = static_cast<int>(l.fino_a(3));
    const int larghezza = sinistra + g.larghezza + static_cast<int>(l.fino_a(3));
    const int altezza = sotto + g.altezza + static_cast<int>(l.fino_a(3));
    t.passo = static_cast<std::size_t>(larghezza) * 16 + 4 * l.fino_a(9);
    t.capovolta = l.fino_a(1) != 0;
    const std::size_t ultima = static_cast<std::size_t>(altezza + righe_in_piu - 1) * t.passo;
    t.memoria.resize(ultima + static_cast<std::size_t>(larghezza) * 16);
    const unsigned modo = l.fino_a(3);
    std::uint32_t caso = l.byte();
    for (std::size_t b = 0; b + 4 <= t.memoria.size(); b += 4) {
        const float f = campione(l, modo, caso);
        std::memcpy(&t.memoria[b], &f, sizeof f);
    }
    const std::size_t prima = t.capovolta ? ultima : 0;
    t.immagine.dati = t.memoria.data() + prima;
    t.immagine.byte_riga = (t.capovolta ? -1 : 1) * static_cast<int>(t.passo);
    t.immagine.limiti[0] = g.x - sinistra;
    t.immagine.limiti[1] = g.y - sotto;
    t.immagine.limiti[2] = t.immagine.limiti[0] + larghezza;
    t.immagine.limiti[3] = t.immagine.limiti[1] + altezza;
    t.finestra = prima + static_cast<std::size_t>(sinistra) * 16;
    t.finestra = t.capovolta ? t.finestra - static_cast<std::size_t>(sotto) * t.passo
                             : t.finestra + static_cast<std::size_t>(sotto) * t.passo;
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
    if (forma >= 253) {
        g.larghezza = lunghi[l.fino_a(5)];
        g.altezza = std::min(g.altezza, 3);
        if (forma == 255)
            std::swap(g.larghezza, g.altezza);
    }
    return g;
}

[[noreturn]] void difetto(const char* testo)
{
    std::fprintf(stderr, "fuzz_ospite: %s\n", testo);
    std::abort();
}

void pretendi(bool vero, const char* testo)
{
    if (!vero)
        difetto(testo);
}

bool stessi_bit_o_nan(const unsigned char* a, const unsigned char* b, std::size_t byte)
{
    for (std::size_t i = 0; i < byte; i += 4) {
        float x;
        float y;
        std::memcpy(&x, a + i, 4);
        std::memcpy(&y, b + i, 4);
        if (std::memcmp(a + i, b + i, 4) != 0 && !(std::isnan(x) && std::isnan(y)))
            return false;
    }
    return true;
}

// The picture by plain loops, through the table that the frame just used.
void confronta_semplice(const Geometria& g, Tela& da, Tela& a, Istanza& i, double tempo)
{
    const Impostazioni imp = leggi_impostazioni(reinterpret_cast<OfxParamSetHandle>(&i), tempo);
    static std::shared_ptr<const Lut3D> copiata;
    static semplici::Campioni tavola;
    if (copiata != gLut.lut) {
        copiata = gLut.lut;
        tavola.assign(copiata->dati.begin(), copiata->dati.end());
    }
    const std::size_t riga = static_cast<std::size_t>(g.larghezza);
    semplici::Campioni img(riga * static_cast<std::size_t>(g.altezza) * 3);
    for (int y = 0; y < g.altezza; ++y)
        for (std::size_t x = 0; x < riga; ++x) {
            float rgba[4];
            std::memcpy(rgba, da.riga(y) + 16 * x, sizeof rgba);
            semplici::campiona(tavola, copiata->N, rgba, &img[(y * riga + x) * 3]);
        }
    semplici::applica_fx(img, g.larghezza, g.altezza, imp.ricetta);
    for (int y = 0; y < g.altezza; ++y)
        for (std::size_t x = 0; x < riga; ++x)
            for (std::size_t c = 0; c < 3; ++c) {
                float reso;
                std::memcpy(&reso, a.riga(y) + 16 * x + 4 * c, sizeof reso);
                const float atteso = img[(y * riga + x) * 3 + c];
                pretendi(std::memcmp(&reso, &atteso, sizeof reso) == 0 ||
                             (std::isnan(reso) && std::isnan(atteso)),
                         "not the picture of the plain loops");
            }
}

// --- One render ---------------------------------------------------------------------------------

void scegli_macchina(Lettore& l)
{
    constexpr unsigned thread[] = {1, 1, 1, 1, 1, 2, 3, 7};
    gThread = thread[l.fino_a(7)];
    const Nuclei* const* livelli = livelli_disponibili();
    unsigned quanti = 0;
    while (livelli[quanti] != nullptr)
        ++quanti;
    gNuclei = livelli[l.fino_a(quanti - 1)];
}

void prova_quadro(Lettore& l, OfxPlugin* p, Istanza& i)
{
    const Geometria g = geometria(l);
    const unsigned sovrapposta = l.fino_a(7);  // 1 in place, 2 a row further on
    Tela da = tela(l, g, sovrapposta == 2 ? 1 : 0);
    Tela a = sovrapposta == 1 || sovrapposta == 2 ? Tela{} : tela(l, g, 0);
    i.sorgente = da.immagine;
    i.uscita = a.immagine;
    if (sovrapposta == 1 || sovrapposta == 2) {
        i.uscita = da.immagine;
        if (sovrapposta == 2)
            i.uscita.dati = static_cast<unsigned char*>(i.uscita.dati) + i.uscita.byte_riga;
    }
    int finestra[4] = {g.x, g.y, g.x + g.larghezza, g.y + g.altezza};
    bool riesce = true;
    switch (l.fino_a(31)) {
    case 1:
        i.sorgente.manca = true;
        riesce = false;
        break;
    case 2:
        i.uscita.manca = true;
        riesce = false;
        break;
    case 3:
        (l.fino_a(1) != 0 ? i.sorgente : i.uscita).dati = nullptr;
        riesce = false;
        break;
    case 4: {
        const unsigned asse = l.fino_a(1);
        finestra[asse] = limite<int>(l.byte());
        finestra[asse + 2] = limite<int>(l.byte());
        const auto lato = static_cast<std::int32_t>(static_cast<std::uint32_t>(finestra[asse + 2]) -
                                                    static_cast<std::uint32_t>(finestra[asse]));
        if (lato > 0)
            finestra[asse + 2] = finestra[asse];
        riesce = false;
        break;
    }
    default:
        break;
    }
    const double tempo = l.fino_a(1) != 0 ? numero(l, -1000.0, 100000.0) : l.byte();
    prova_colore(l, i, tempo);
    risparmia_tabella(i);
    scegli_macchina(l);

    const std::vector<unsigned char> prima_da = da.memoria;
    const std::vector<unsigned char> prima_a = a.memoria;
    i.prese = i.rilasciate = 0;
    const int stato = ospite::rendi(p, i, tempo, finestra);
    pretendi(stato == (riesce ? 0 : 1), "status");
    pretendi(i.prese == i.rilasciate, "an image was not released, or twice");
    if (a.memoria.empty())
        return;

    pretendi(da.memoria == prima_da, "the source was written");
    std::vector<unsigned char> attesa = prima_a;  // but for the window, which is taken over
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

    const unsigned ancora = l.fino_a(3);
    if (riesce && ancora == 1 && g.larghezza * g.altezza < 4000)
        confronta_semplice(g, da, a, i, tempo);
    if (riesce && ancora == 0) {
        scegli_macchina(l);
        bool stabile = true;  // a key with not-a-number would rebuild once more
        for (const char* nome : CHIAVE)
            stabile = stabile && !std::isnan(i.parametri[ospite::parametro(nome)].v);
        if (stabile) {
            pretendi(ospite::rendi(p, i, tempo, finestra) == 0, "status of the second time");
            pretendi(stessi_bit_o_nan(a.memoria.data(), attesa.data(), attesa.size() & ~3u),
                     "another machine made another picture");
        }
    }
}

void una_azione(Lettore& l, OfxPlugin* p, Istanza& i)
{
    constexpr const char* nomi[] = {"formato", "look",     "halation", "Source",
                                    "",        "formatoo", nullptr};
    constexpr const char* ignote[] = {"", "OfxActionUnload", "OfxActionPurgeCaches",
                                      "OfxImageEffectActionIsIdentity", "OfxActionLoad "};
    switch (l.fino_a(15)) {
    case 8:
        pretendi(ospite::azione(p, "OfxActionCreateInstance", &i) == 0, "create");
        break;
    case 1:
        pretendi(ospite::azione(p, "OfxActionDestroyInstance", &i) == 0, "destroy");
        break;
    case 2:
        pretendi(ospite::cambiato(p, i, nomi[l.fino_a(6)]) == 0, "changed");
        break;
    case 3:
        pretendi(ospite::azione(p, ignote[l.fino_a(4)], &i) == 14, "unknown action");
        break;
    case 4:
        pretendi(ospite::azione(p, "OfxImageEffectActionGetClipPreferences", &i) == 14, "clip");
        break;
    case 5:  // a suite short, or no host at all; then a whole one, since only Load looks
        ospite::suite_mancante(l.fino_a(1) != 0 ? "OfxPropertySuite" : nullptr);
        ospite::dai_host(p, l.fino_a(1) != 0);
        ospite::azione(p, "OfxActionLoad");
        ospite::suite_mancante(nullptr);
        pretendi(ospite::presenta(p), "load again");
        break;
    case 6:  // no handle at all
        ospite::azione(p, "OfxActionCreateInstance");
        ospite::azione(p, "OfxImageEffectActionRender");
        break;
    default:
        prova_quadro(l, p, i);
        break;
    }
}

}  // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* dati, std::size_t quanti)
{
    static OfxPlugin* const p = [] {
        varno::gThreadHardware = [] { return gThread; };
        OfxPlugin* plugin = OfxGetPlugin(0);
        pretendi(ospite::presenta(plugin) && ospite::quanti_parametri() == 35, "describe");
        Istanza i;
        ospite::predefiniti(i);
        for (std::size_t n = 0; n < std::size(CHIAVE); ++n)
            gChiave[n] = i.parametri[ospite::parametro(CHIAVE[n])];
        return plugin;
    }();
    Lettore l{dati, dati + quanti};
    Lettore valori{dati, dati + quanti, true};
    Istanza i;
    for (unsigned n = 1 + (l.fino_a(7) == 0 ? l.fino_a(3) : l.fino_a(1)); n > 0; --n) {
        parametri(valori, i);
        una_azione(l, p, i);
    }
    return 0;
}
