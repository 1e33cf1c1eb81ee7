// The project's powers, exponentials and angles against the C library's, bit for bit. The yardstick
// is glibc 2.28 to 2.40 on x86-64; its variants with fused multiply-add are others, so ctest sets
// GLIBC_TUNABLES:
//
//     elementari [--long]
//
// --long takes all floats where the short form takes one in some thousand. Fails where one differs.
#define VARNO_LIVELLO prova
#include "comune/elementari.h"

#include "looks/catalogo.h"
#include "render/parallel_for.h"

#include <atomic>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <random>
#include <set>
#include <string>
#include <vector>

#ifdef __GLIBC__
#include <gnu/libc-version.h>
#endif

namespace {

using namespace varno::prova;
using varno::prova::bit_di;

constexpr int BLOCCO = 1024;
constexpr uint32_t MENO = 0x80000000u;

// Some arguments, and what either side makes of them.
struct Blocco {
    int n = 0;
    float a[BLOCCO];
    float b[BLOCCO];  // of angles alone
    float nostro[BLOCCO];
    float atteso[BLOCCO];
};

// What either side makes of a block's arguments. Not inlined: GCC 12 warns of a remainder that a
// known length does not have.
template <class Nostra, class Loro>
[[gnu::noinline]] void calcola(Blocco& k, const Nostra& nostra, const Loro& loro)
{
    per_vettori(k.n, [&](auto v, ptrdiff_t i) {
        using V = decltype(v);
        scrivi<V>(k.nostro + i, nostra(carica<V>(k.a + i), carica<V>(k.b + i)));
    });
    for (int i = 0; i < k.n; ++i)
        k.atteso[i] = loro(k.a[i], k.b[i]);
}

bool gFallito = false;

// Blocks numbered 0 to quanti, shared out to all processors; fai fills and computes one.
template <class Fai> void prova(const std::string& nome, std::uint64_t quanti, const Fai& fai)
{
    std::atomic<std::uint64_t> casi{0};
    std::atomic<std::uint64_t> diversi{0};
    varno::parallel_for_blocchi(quanti, [&](std::uint64_t da, std::uint64_t a) {
        Blocco k;
        for (std::uint64_t b = da; b < a; ++b, casi += k.n) {
            fai(k, b);
            for (int i = 0; i < k.n; ++i) {
                const float x = k.nostro[i];
                const float y = k.atteso[i];
                if (bit_di<std::uint32_t>(x) == bit_di<std::uint32_t>(y) || (x != x && y != y))
                    continue;
                if (diversi++ < 3)
                    std::printf("    of %a, %a: %a, expected %a\n", double{k.a[i]}, double{k.b[i]},
                                double{x}, double{y});
            }
        }
    });
    std::printf("%-28s %11llu cases, %llu differ\n", nome.c_str(),
                static_cast<unsigned long long>(casi), static_cast<unsigned long long>(diversi));
    std::fflush(stdout);
    gFallito |= diversi > 0;
}

// Every passo-th float from the bits da to before a.
template <class Nostra, class Loro>
void prova_tratto(const std::string& nome, std::uint64_t da, std::uint64_t a, std::uint64_t passo,
                  const Nostra& nostra, const Loro& loro)
{
    const std::uint64_t casi = (a - da + passo - 1) / passo;
    prova(nome, (casi + BLOCCO - 1) / BLOCCO, [&](Blocco& k, std::uint64_t blocco) {
        const std::uint64_t inizio = blocco * BLOCCO;
        k.n = static_cast<int>(std::min<std::uint64_t>(BLOCCO, casi - inizio));
        for (int i = 0; i < k.n; ++i) {
            k.a[i] = bit_di<float>(static_cast<std::uint32_t>(da + (inizio + i) * passo));
            k.b[i] = 0.0f;
        }
        calcola(k, nostra, loro);
    });
}

constexpr auto ESPONENZIALE = [](auto x, auto) { return esponenziale(x); };
constexpr auto EXPF = [](float x, float) { return expf(x); };

void prova_potenze(std::uint64_t passo)
{
    // The display's, the looks' masks, halation's, the vignette's; contrasts and gammas. A curve
    // comes to ten times its grey at most.
    std::set<float> esponenti = {0.41666666f, 1.2f, 1.4f, 1.5f, 1.6f, 1.8f, 2.2f};
    for (const varno::LookDef& look : varno::catalogo())
        esponenti.insert({look.contrasto, look.gamma});
    for (const float e : esponenti)
        prova_tratto(
            "x^" + std::to_string(e) + ", x from 0 to 16", 0, 0x41800001u, passo,
            [=](auto x, auto) { return potenza(x, e); },
            [=](float x, float) { return powf(x, e); });
    const volatile float due = 2.0f;  // of a literal, compilers make other functions
    const volatile float dieci = 10.0f;
    const auto alla = [=](float base) {
        return
            [=](auto x, auto) { return uno_per_uno(x, [=](float v) { return potenza(base, v); }); };
    };
    for (const std::uint32_t segno : {0u, MENO}) {
        prova_tratto(segno ? "2^x, x from -0 to -2" : "2^x, x from 0 to 2", segno,
                     segno + std::uint64_t{0x40000001u}, passo, alla(2.0f),
                     [&](float x, float) { return powf(due, x); });
        prova_tratto(segno ? "10^x, x from -0 to -2.5" : "10^x, x from 0 to 2.5", segno,
                     segno + std::uint64_t{0x40200001u}, passo, alla(10.0f),
                     [&](float x, float) { return powf(dieci, x); });
    }
}

void calcola_angoli(Blocco& k)
{
    calcola(
        k, [](auto y, auto x) { return arcotangente(y, x); }, atan2f);
}

void prova_angoli(std::uint64_t passo)
{
    // Hues of the colours of 8 bits.
    prova("hues", 256 * 256 / (passo > 1 ? 64 : 1), [&](Blocco& k, std::uint64_t blocco) {
        k.n = 256;
        for (int i = 0; i < 256; ++i) {
            const float r = static_cast<float>(i) / 255.0f;
            const float g = static_cast<float>(blocco * (passo > 1 ? 61 : 1) % 256) / 255.0f;
            const float b = static_cast<float>(blocco >> 8) / 255.0f;
            k.a[i] = (g - b) * 1.7320508f;
            k.b[i] = ((r + r) - g) - b;
        }
        calcola_angoli(k);
    });
    // Anywhere in a square, of any bits, and within a few powers of two of each other.
    for (const int modo : {0, 1, 2})
        prova(modo == 0   ? "angles in the square of 4"
              : modo == 1 ? "angles of any two floats"
                          : "angles of alike floats",
              400'000'000 / BLOCCO / passo + 1, [&](Blocco& k, std::uint64_t blocco) {
                  std::mt19937_64 caso(blocco * 3 + modo);
                  k.n = BLOCCO;
                  for (int i = 0; i < BLOCCO; ++i) {
                      const std::uint64_t v = caso();
                      const auto y = static_cast<std::uint32_t>(v);
                      const auto x = static_cast<std::uint32_t>(v >> 32);
                      if (modo == 0) {
                          k.a[i] = static_cast<float>(static_cast<std::int32_t>(y)) * 0x1p-29f;
                          k.b[i] = static_cast<float>(static_cast<std::int32_t>(x)) * 0x1p-29f;
                      } else {
                          // Quiet not-a-numbers alone.
                          const std::uint32_t vicino = (y & 0x7f000000u) + (x & 0x83ffffffu);
                          k.a[i] = bit_di<float>(y) + 0.0f;
                          k.b[i] = bit_di<float>(modo == 1 ? x : vicino) + 0.0f;
                      }
                  }
                  calcola_angoli(k);
              });
}

// Every pair of values that C treats by itself, in vectors among others that are ordinary.
void prova_speciali()
{
    constexpr float INF = std::numeric_limits<float>::infinity();
    const std::vector<float> valori = {
        0.0f,     1.0f,     2.0f,       3.0f,     0.5f,     1.5f,     3.9999f,       4.0f,
        88.7f,    88.8f,    103.9f,     104.0f,   127.0f,   128.0f,   149.0f,        150.0f,
        1e-40f,   1e-45f,   0x1p-126f,  0x1p-32f, 0x1p-31f, 0x1p+31f, 0x1.8p+31f,    0x1p+25f,
        0x1p+24f, 0x1p+23f, 8388609.0f, 3e38f,    INF,      0x1p-60f, std::nanf(""), 0.99999994f};
    std::vector<float> segnati = valori;
    for (const float v : valori)
        segnati.push_back(-v);
    const std::uint64_t n = segnati.size();
    const auto speciali = [&](const char* nome, const auto& calcola_con) {
        prova(nome, n * n, [&](Blocco& k, std::uint64_t i) {
            k.n = 19;
            for (int j = 0; j < k.n; ++j) {
                k.a[j] = j % 3 == 0 ? segnati[i / n] : 0.7f;
                k.b[j] = j % 2 == 0 ? segnati[i % n] : 0.3f;
            }
            calcola_con(k, segnati[i % n]);
        });
    };
    speciali("special powers", [](Blocco& k, float e) {
        calcola(
            k, [=](auto x, auto) { return potenza(x, e); },
            [=](float x, float) { return powf(x, e); });
    });
    speciali("special exponentials", [](Blocco& k, float) { calcola(k, ESPONENZIALE, EXPF); });
    speciali("special angles", [](Blocco& k, float) { calcola_angoli(k); });
}

// Other C libraries round otherwise.
bool metro()
{
#if defined(__GLIBC__) && defined(__x86_64__)
    int maggiore = 0;
    int minore = 0;
    std::sscanf(gnu_get_libc_version(), "%d.%d", &maggiore, &minore);
    return maggiore == 2 && minore >= 28 && minore <= 40;
#else
    return false;
#endif
}

}  // namespace

int main(int argc, char** argv)
{
    const std::uint64_t passo = argc > 1 && std::strcmp(argv[1], "--long") == 0 ? 1 : 2053;
#if defined(__AVX2__)
    if (!__builtin_cpu_supports("avx2")) {
        std::puts("no AVX2 here");
        return 0;
    }
#endif
    prova_speciali();
    prova_potenze(passo);
    prova_tratto("e^x, x any float", 0, std::uint64_t{1} << 32, passo, ESPONENZIALE, EXPF);
    prova_angoli(passo);
    if (!metro()) {
        std::puts("not the C library to compare with: differences count for nothing");
        return 0;
    }
    return gFallito ? 1 : 0;
}
