// What each kernel leaves in the vector registers.
#include "comune/nuclei.h"

#include "colore/lotto.h"
#include "colore/nuclei_colore.h"
#include "fx/effetto.h"
#include "fx/nuclei_piani.h"
#include "fx/raggi.h"
#include "fx/vignetta.h"
#include "quadri.h"
#include "render/nuclei_tabella.h"

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

bool sa_dire_se_sporco()
{
    unsigned a = 0;
    unsigned b = 0;
    unsigned c = 0;
    unsigned d = 0;
    return __builtin_cpu_supports("avx") && __get_cpuid_count(0xD, 1, &a, &b, &c, &d) != 0 &&
           (a & 4) != 0;
}

// Whether the upper halves of the vector registers hold anything: code without AVX then runs slow
// in this thread, and it is the host's thread. To be asked before anything else is called.
inline bool sporco()
{
    unsigned basso = 0;
    unsigned alto = 0;
    __asm__ volatile("xgetbv" : "=a"(basso), "=d"(alto) : "c"(1));
    return (basso & 4) != 0;
}

}  // namespace

TEST_CASE("no kernel leaves the upper halves of the vector registers in use")
{
    if (!sa_dire_se_sporco())
        return;
    constexpr int W = 97;
    constexpr int H = 33;
    constexpr int N = W * H;
    Piano rgba(4 * N, 0.95f);  // above every threshold
    Piano dati[MASSIMO_PIANI];
    float* piani[MASSIMO_PIANI];
    for (int p = 0; p < MASSIMO_PIANI; ++p) {
        dati[p] = Piano(4 * N, 0.9f);
        piani[p] = dati[p].data();
    }
    const std::vector<const float*> vicine(H, piani[1]);
    const std::vector<Intatta> intatte(H, {W / 3, W / 2});
    const Quadro q = {.larghezza = W, .altezza = H, .fotogramma = 7, .media = 0.4f};
    const Maschera maschera = {piani[0], intatte.data()};
    const Forma forma = {W, H, 2, 1, W / 2, H / 2, 5};
    Lotto lotto;
    const auto riempi_lotto = [&] {
        for (lotto.n = 0; lotto.n < 11; ++lotto.n)
            lotto.r[lotto.n] = lotto.g[lotto.n] = lotto.b[lotto.n] =
                0.1f * static_cast<float>(lotto.n);
    };

    const auto pulito = [](const char* quale, const auto& chiama) {
        chiama();
        const bool resto = sporco();
        CHECK_MESSAGE(!resto, quale);
    };
    static_assert(sizeof(NucleiPiani) == 6 * sizeof(void*) &&
                  sizeof(NucleiTabella) == 5 * sizeof(void*) &&
                  sizeof(NucleiColore) == sizeof(void*));  // all of them are called here
    for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l) {
        CAPTURE(std::string((*l)->nome));
        int effetti = 0;
        for (; (*l)->catena[effetti] != nullptr; ++effetti) {
            CAPTURE(effetti);
            const Effetto& e = *(*l)->catena[effetti];
            if (e.maschera != nullptr) {
                pulito("maschera", [&] { e.maschera(rgba.data(), nullptr, piani, W); });
                pulito("maschera", [&] { e.maschera(rgba.data(), rgba.data(), piani, W); });
            }
            if (e.componi != nullptr)
                pulito("componi", [&] { e.componi(rgba.data(), rgba.data(), piani, W, 0.3f, q); });
            if (e.cambia != nullptr)
                pulito("cambia", [&] {
                    e.cambia(q, {rgba.data(), 3 * W, rgba.data(), 3 * W, 0, 2},
                             {0.3f, {vicine.data(), 0}, &maschera});
                });
            if (e.quantita == &FxRicetta::stella)
                pulito("somma_pesata", [&] {
                    static_cast<const NucleiRaggi*>(e.nuclei)->somma_pesata(piani[0], piani[1], W,
                                                                            0.5f);
                });
            if (e.quantita == &FxRicetta::vignetta)
                pulito("riga_di_pesi", [&] {
                    static_cast<const NucleiVignetta*>(e.nuclei)->riga_di_pesi(piani[0], W, 0.9f);
                });
        }
        CHECK(effetti == 12);

        const NucleiPiani& k = (*l)->piani;
        pulito("luminanza", [&] { k.luminanza(rgba.data(), piani[0], W); });
        pulito("riduci", [&] { k.riduci(piani[0], piani[1], forma, 0); });
        pulito("ingrandisci", [&] { k.ingrandisci(piani[1], piani[1], 0.5f, piani[0], forma); });
        pulito("orizzontale", [&] { k.orizzontale(piani[0], W, piani[1], 128, W, 11, 5); });
        pulito("verticale", [&] { k.verticale(piani[0], W, piani[1], W, H, 0, W, 5); });
        pulito("somma_intera", [&] { k.somma_intera(piani[2], W, 0x1p+30f); });

        const NucleiTabella& t = (*l)->tabella;
        pulito("campiona", [&] { t.campiona(piani[2], 5, rgba.data(), piani[0], piani[1], W); });
        pulito("campiona_rgba", [&] { t.campiona_rgba(piani[2], 5, rgba.data(), piani[0], W); });
        pulito("unisci", [&] { t.unisci(piani[2], piani[1], piani[0], W); });
        pulito("unisci_da", [&] { t.unisci_da(piani[2], rgba.data(), piani[0], W); });
        pulito("unisci_uno", [&] { t.unisci_uno(piani[2], piani[1], piani[0], W); });

        for (const LookDef& look : looks()) {
            riempi_lotto();
            pulito("applica_colore", [&] {
                (*l)->colore.applica_colore(lotto, gradazione_di(contesto_di(look, 0.5f)));
            });
        }
    }
}
#endif
