#include "comune/nuclei.h"

#include "fx/effetto.h"
#include "fx/fx.h"
#include "fx/nuclei_piani.h"
#include "quadri.h"
#include "render/lut3d.h"
#include "render/nuclei_tabella.h"
#include "render/sviluppa.h"
#include "thread_finti.h"

#include <doctest/doctest.h>

#include <cstring>
#include <string>

#if defined(__x86_64__)
#include <cpuid.h>
#endif

using namespace varno;

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

#if defined(__x86_64__)
namespace {

// What the processor holds in the upper halves of its vector registers: while there is anything,
// code without AVX runs slow in that thread, and it is the host's thread.
bool sa_dire_se_sporco()
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __builtin_cpu_supports("avx") && __get_cpuid_count(0xD, 1, &a, &b, &c, &d) != 0 &&
           (a & 4) != 0;
}

bool sporco()
{
    unsigned basso = 0;
    unsigned alto = 0;
    __asm__ volatile("xgetbv" : "=a"(basso), "=d"(alto) : "c"(1));
    return (basso & 4) != 0;
}

// Stands in a record in front of the true kernel. K tells apart records of one type.
template <auto M, int K = 0> struct Spia;
template <class T, class R, class... A, R (*T::*M)(A...), int K> struct Spia<M, K> {
    static inline R (*vera)(A...) = nullptr;
    static inline int chiamate = 0;
    static inline int lasciati_sporchi = 0;

    static R f(A... a)
    {
        struct Dopo {
            ~Dopo()
            {
                lasciati_sporchi += sporco();
                ++chiamate;
            }
        } dopo;
        return vera(a...);
    }
    static void monta(T& record)
    {
        vera = record.*M;
        chiamate = 0;
        lasciati_sporchi = 0;
        if (vera != nullptr)
            record.*M = f;
    }
    static void verifica()
    {
        INFO(__PRETTY_FUNCTION__);  // names the kernel
        CHECK((vera == nullptr || chiamate > 0));
        CHECK(lasciati_sporchi == 0);
    }
};

template <auto... M> struct Gruppo {
    template <class T> static void monta(T& t) { (Spia<M>::monta(t), ...); }
    static void verifica() { (Spia<M>::verifica(), ...); }
};
using Piani =
    Gruppo<&NucleiPiani::luminanza, &NucleiPiani::riduci, &NucleiPiani::ingrandisci,
           &NucleiPiani::orizzontale, &NucleiPiani::verticale, &NucleiPiani::somma_pesata>;
using Tabella = Gruppo<&NucleiTabella::campiona, &NucleiTabella::campiona_rgba,
                       &NucleiTabella::unisci, &NucleiTabella::unisci_uno>;

// Every effect of the chain, by its place.
template <int... K> struct Catena {
    static void monta(Effetto (&e)[sizeof...(K)])
    {
        (Spia<&Effetto::maschera, K>::monta(e[K]), ...);
        (Spia<&Effetto::componi, K>::monta(e[K]), ...);
        (Spia<&Effetto::cambia, K>::monta(e[K]), ...);
    }
    static void verifica()
    {
        (Spia<&Effetto::maschera, K>::verifica(), ...);
        (Spia<&Effetto::componi, K>::verifica(), ...);
        (Spia<&Effetto::cambia, K>::verifica(), ...);
    }
};
constexpr int EFFETTI = 12;
using TuttaLaCatena = Catena<0, 1, 2, 3, 4, 5, 6, 7, 8, 9, 10, 11>;

}  // namespace

TEST_CASE("no kernel leaves the upper halves of the vector registers in use")
{
    if (!sa_dire_se_sporco())
        return;
    constexpr int LARGHEZZA = 97;
    constexpr int ALTEZZA = 33;
    const ThreadFinti serie(1);
    FxRicetta ricetta;
    ricetta.enhance = ricetta.halation = ricetta.bloom = ricetta.vignetta = ricetta.streak = 0.3f;
    ricetta.promist = ricetta.mistw = ricetta.glimmer = ricetta.pelle = ricetta.stella = 0.3f;
    ricetta.ca = ricetta.grana = 0.3f;
    Lut3D lut;
    lut.N = 5;
    lut.dati = Piano(5 * 5 * 5 * 3, 0.95f);  // above every threshold
    lut.regolare = bordi_regolari(lut);
    Piano rgba = piano_di(riempi(Contenuto::LUCI, LARGHEZZA, ALTEZZA, 4, 2));
    const Finestra da = {reinterpret_cast<unsigned char*>(rgba.data()), LARGHEZZA * 16};

    for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l) {
        CAPTURE(std::string((*l)->nome));
        NucleiPiani piani = (*l)->piani;
        NucleiTabella tabella = (*l)->tabella;
        Effetto effetti[EFFETTI];
        const Effetto* catena[EFFETTI + 1] = {};
        for (int i = 0; i < EFFETTI; ++i) {
            REQUIRE((*l)->catena[i] != nullptr);
            effetti[i] = *(*l)->catena[i];
            catena[i] = &effetti[i];
        }
        CHECK((*l)->catena[EFFETTI] == nullptr);
        Piani::monta(piani);
        Tabella::monta(tabella);
        TuttaLaCatena::monta(effetti);
        const Nuclei spiati = {"spied on", catena, (*l)->colore, piani, tabella};
        {
            const LivelloFinto finto(&spiati);
            // In place with alphas of two kinds, then from window to window with one alone.
            for (std::size_t i = 3; i < rgba.size(); i += 8)
                rgba[i] = 0.5f;
            sviluppa(lut, da, da, LARGHEZZA, ALTEZZA, ricetta);
            for (std::size_t i = 3; i < rgba.size(); i += 4)
                rgba[i] = 1.0f;
            Piano altra(LARGHEZZA * ALTEZZA * 4);
            const Finestra a = {reinterpret_cast<unsigned char*>(altra.data()), LARGHEZZA * 16};
            sviluppa(lut, da, a, LARGHEZZA, ALTEZZA, ricetta);
            sviluppa(lut, da, a, LARGHEZZA, ALTEZZA, {});
        }
        Piani::verifica();
        Tabella::verifica();
        TuttaLaCatena::verifica();
    }
}
#endif
