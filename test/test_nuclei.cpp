#include "fx/nuclei.h"

#include "fx/fx.h"
#include "fx/nuclei_aloni.h"
#include "fx/nuclei_blur.h"
#include "fx/nuclei_effetti.h"
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

// Stands in a table in front of the true kernel. K tells apart tables of one type.
template <auto M, int K> struct Spia;
template <class T, class R, class... A, R (*T::*M)(A...), int K> struct Spia<M, K> {
    static inline const T* vera = nullptr;
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
        return (vera->*M)(a...);
    }
    static void monta(T& tabella, const T& originale)
    {
        vera = &originale;
        chiamate = 0;
        lasciati_sporchi = 0;
        tabella.*M = f;
    }
    static void verifica()
    {
        INFO(__PRETTY_FUNCTION__);  // names the kernel
        CHECK(chiamate > 0);
        CHECK(lasciati_sporchi == 0);
    }
};

template <class T, auto... M> struct Gruppo {
    static void monta(T& t, const T& vera) { (Spia<M, 0>::monta(t, vera), ...); }
    static void verifica() { (Spia<M, 0>::verifica(), ...); }
};
using Blur = Gruppo<NucleiBlur, &NucleiBlur::orizzontale, &NucleiBlur::verticale>;
using Effetti = Gruppo<NucleiEffetti, &NucleiEffetti::dettaglio, &NucleiEffetti::vignetta,
                       &NucleiEffetti::limita, &NucleiEffetti::grana, &NucleiEffetti::rosso_e_blu,
                       &NucleiEffetti::aberrazione, &NucleiEffetti::somma_pesata>;
using Tabella =
    Gruppo<NucleiTabella, &NucleiTabella::campiona, &NucleiTabella::campiona_rgba,
           &NucleiTabella::unisci, &NucleiTabella::unisci_uno, &NucleiTabella::luminanza>;

constexpr NucleiAlone NucleiAloni::*ALONI[] = {
    &NucleiAloni::halation, &NucleiAloni::bloom, &NucleiAloni::streak,
    &NucleiAloni::promist,  &NucleiAloni::mistw, &NucleiAloni::glimmer,
};

template <int... K> struct Aloni {
    static void monta(NucleiAloni& t, const NucleiAloni& vera)
    {
        (Spia<&NucleiAlone::maschera, K>::monta(t.*ALONI[K], vera.*ALONI[K]), ...);
        (Spia<&NucleiAlone::composito, K>::monta(t.*ALONI[K], vera.*ALONI[K]), ...);
    }
    static void verifica()
    {
        (Spia<&NucleiAlone::maschera, K>::verifica(), ...);
        (Spia<&NucleiAlone::composito, K>::verifica(), ...);
    }
};
using TuttiGliAloni = Aloni<0, 1, 2, 3, 4, 5>;

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
        NucleiAloni aloni = (*l)->aloni;
        NucleiBlur blur = (*l)->blur;
        NucleiEffetti effetti = (*l)->effetti;
        NucleiTabella tabella = (*l)->tabella;
        TuttiGliAloni::monta(aloni, (*l)->aloni);
        Blur::monta(blur, (*l)->blur);
        Effetti::monta(effetti, (*l)->effetti);
        Tabella::monta(tabella, (*l)->tabella);
        const Nuclei spiati = {"spied on", aloni, blur, effetti, tabella};
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
        TuttiGliAloni::verifica();
        Blur::verifica();
        Effetti::verifica();
        Tabella::verifica();
    }
}
#endif
