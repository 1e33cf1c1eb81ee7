// Loads a module as a host does and uses it, where nothing but the module and this program is.
//   prova_pacchetto MODULE rendi OUT    renders a set of frames, writes their floats
//   prova_pacchetto MODULE cicli N      loads, renders, unloads; what each cycle leaves behind
//   prova_pacchetto MODULE eccezione    an exception leaves mainEntry; who catches it
//   prova_pacchetto confronta A B MAX   largest difference of two sets of frames; MAX is held
#include "banco/banco.h"

#include <cmath>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <fstream>
#include <iterator>
#include <new>
#include <stdexcept>
#include <string>
#include <vector>

#if defined(_WIN32)
#include <windows.h>
//
#include <psapi.h>
#else
#include <malloc.h>
#include <unistd.h>
#endif

using namespace varno;

namespace {

constexpr int LARGHEZZA = 193;  // odd, and several rows for each of many threads
constexpr int ALTEZZA = 131;

constexpr const char* EFFETTI[] = {"halation", "bloom", "enhance", "vignetta", "promist", "mistw",
                                   "glimmer",  "pelle", "streak",  "ca",       "grana",   "stella"};

// A ramp of code values with colour, fine noise and a few lights above white; the same bits
// everywhere, for it takes whole numbers and products alone.
banco::Tela scena(int larghezza, int altezza)
{
    banco::Tela t = banco::tela({0, 0, larghezza, altezza});
    std::uint32_t seme = 12345;
    for (int y = 0; y < altezza; ++y)
        for (int x = 0; x < larghezza; ++x) {
            float* p = banco::pixel(t, x, y);
            for (int c = 0; c < 3; ++c) {
                seme = seme * 1664525u + 1013904223u;
                const int base = (x * (3 + c) + y * (5 - c)) % 256;
                p[c] = static_cast<float>(base * 256 + static_cast<int>(seme >> 25)) / 65536.0f;
                if (x % 61 == 30 && y % 43 == 20)
                    p[c] = 1.5f;
            }
            p[3] = 1.0f;
        }
    return t;
}

struct Fotogrammi {
    banco::Tela sorgente = scena(LARGHEZZA, ALTEZZA);
    std::vector<float> tutti;

    void rendi(banco::Istanza& i, double tempo)
    {
        banco::Tela uscita = banco::tela(sorgente.limiti);
        const int stato =
            banco::rendi(i, tempo, sorgente.limiti, banco::figura(sorgente), banco::figura(uscita));
        if (stato != 0 || !banco::registro(i).violazioni.empty())
            throw std::runtime_error("a frame failed");
        for (int y = 0; y < ALTEZZA; ++y)
            tutti.insert(tutti.end(), banco::pixel(uscita, 0, y),
                         banco::pixel(uscita, 0, y) + 4 * LARGHEZZA);
    }
};

// Every look with its recipe, every format, every effect alone, and all at once.
std::vector<float> rendi_tutto(banco::Modulo& m)
{
    Fotogrammi f;
    const auto quante = [&](const char* nome) {
        for (const banco::Parametro& p : banco::parametri(m))
            if (p.nome == nome)
                return static_cast<int>(p.opzioni.size());
        throw std::runtime_error(std::string("no parameter ") + nome);
    };
    const auto solo = [&](banco::Istanza& i, const char* effetto) {
        for (const char* e : EFFETTI) {
            const bool acceso = effetto == nullptr || std::strcmp(e, effetto) == 0;
            banco::imposta(i, std::string(e) + "_on", acceso ? 1.0 : 0.0);
        }
    };
    for (int look = 0, n = quante("look"); look < n; ++look) {
        const auto i = banco::crea_istanza(m, {{"formato", 0.0}});
        banco::cambia(*i, "look", look);
        f.rendi(*i, look);
    }
    for (int formato = 0, n = quante("formato"); formato < n; ++formato) {
        const auto i = banco::crea_istanza(m, {{"formato", static_cast<double>(formato)}});
        solo(*i, "");
        f.rendi(*i, 0.0);
    }
    const auto i = banco::crea_istanza(m, {{"formato", 0.0}});
    for (const char* e : EFFETTI) {
        solo(*i, e);
        f.rendi(*i, 7.0);
    }
    solo(*i, nullptr);
    f.rendi(*i, 8.0);
    return f.tutti;
}

int rendi(const char* modulo, const char* uscita)
{
    const auto m = banco::carica(modulo);
    const std::vector<float> v = rendi_tutto(*m);
    std::uint64_t somma = 14695981039346656037u;
    for (const float x : v) {
        std::uint32_t bit;
        std::memcpy(&bit, &x, sizeof bit);
        somma = (somma ^ bit) * 1099511628211u;
    }
    std::ofstream f(uscita, std::ios::binary);
    f.write(reinterpret_cast<const char*>(v.data()),
            static_cast<std::streamsize>(v.size() * sizeof(float)));
    if (!f.flush())
        throw std::runtime_error(std::string("cannot write ") + uscita);
    std::printf("%zu frames, checksum %016llx\n", v.size() / (4 * LARGHEZZA * ALTEZZA),
                static_cast<unsigned long long>(somma));
    return 0;
}

// Bytes that the process holds: resident and, where it can be told, allocated.
struct Memoria {
    double residente = 0.0, allocata = 0.0;
};

Memoria memoria()
{
#if defined(_WIN32)
    PROCESS_MEMORY_COUNTERS c{};
    GetProcessMemoryInfo(GetCurrentProcess(), &c, sizeof c);
    return {static_cast<double>(c.WorkingSetSize), 0.0};
#else
    long pagine = 0;
    if (std::FILE* f = std::fopen("/proc/self/statm", "r")) {
        if (std::fscanf(f, "%*d %ld", &pagine) != 1)
            pagine = 0;
        std::fclose(f);
    }
#if __GLIBC_PREREQ(2, 33)
    const auto allocata = static_cast<double>(mallinfo2().uordblks);
#else
    const auto allocata = static_cast<double>(mallinfo().uordblks);
#endif
    return {static_cast<double>(pagine) * static_cast<double>(sysconf(_SC_PAGESIZE)), allocata};
#endif
}

int cicli(const char* modulo, int quanti)
{
    constexpr int PRIMA = 10;  // caches of the system fill up
    banco::Tela sorgente = scena(24, 20);
    Memoria inizio;
    for (int n = 0; n < PRIMA + quanti; ++n) {
        if (n == PRIMA)
            inizio = memoria();
        const auto m = banco::carica(modulo);
        const auto i = banco::crea_istanza(*m);
        banco::Tela uscita = banco::tela(sorgente.limiti);
        if (banco::rendi(*i, 0.0, sorgente.limiti, banco::figura(sorgente),
                         banco::figura(uscita)) != 0)
            throw std::runtime_error("a frame failed");
    }
    const Memoria fine = memoria();
    const double residente = (fine.residente - inizio.residente) / quanti;
    const double allocata = (fine.allocata - inizio.allocata) / quanti;
    std::printf("%d cycles: %.0f bytes resident, %.0f bytes allocated a cycle\n", quanti, residente,
                allocata);
    return residente < 16384.0 && allocata < 256.0 ? 0 : 1;
}

// A window of 2^40 pixels: no memory is that large, and nothing of it is touched.
int eccezione(const char* modulo)
{
    const auto m = banco::carica(modulo);
    const auto i = banco::crea_istanza(*m);
    banco::Tela sorgente = scena(24, 20);
    banco::Tela uscita = banco::tela(sorgente.limiti);
    const banco::Rettangolo immensa{0, 0, 1 << 20, 1 << 20};
    for (int volta = 0; volta < 3; ++volta) {
        try {
            const int stato =
                banco::rendi_solo(*i, 0.0, immensa, banco::figura(sorgente), banco::figura(uscita));
            std::printf("no exception, status %d\n", stato);
            return 1;
        } catch (const std::bad_alloc&) {
            std::printf("std::bad_alloc reached the host's handler");
        } catch (...) {
            std::printf("an unknown exception reached the host's handler");
        }
        std::printf("; uncaught_exceptions() %d\n", std::uncaught_exceptions());
    }
    const int stato =
        banco::rendi(*i, 0.0, sorgente.limiti, banco::figura(sorgente), banco::figura(uscita));
    std::printf("the next frame: status %d\n", stato);
    return stato;
}

std::vector<float> leggi(const char* nome)
{
    std::ifstream f(nome, std::ios::binary);
    const std::vector<char> byte((std::istreambuf_iterator<char>(f)), {});
    std::vector<float> v(byte.size() / sizeof(float));
    if (v.empty())
        throw std::runtime_error(std::string("nothing in ") + nome);
    std::memcpy(v.data(), byte.data(), v.size() * sizeof(float));
    return v;
}

int confronta(const char* nome_a, const char* nome_b, double concessa)
{
    const std::vector<float> a = leggi(nome_a);
    const std::vector<float> b = leggi(nome_b);
    if (a.size() != b.size())
        throw std::runtime_error("not the same number of frames");
    std::size_t diversi = 0, peggiore = 0;
    double massima = 0.0;
    for (std::size_t k = 0; k < a.size(); ++k) {
        if (std::memcmp(&a[k], &b[k], sizeof(float)) == 0)
            continue;
        ++diversi;
        const double d = std::abs(static_cast<double>(a[k]) - static_cast<double>(b[k]));
        if (!(d <= massima)) {
            massima = d;
            peggiore = k;
        }
    }
    std::printf(
        "%zu of %zu values differ, the largest difference is %.3g (frame %zu: %.9g, %.9g)\n",
        diversi, a.size(), massima, peggiore / (4 * LARGHEZZA * ALTEZZA),
        static_cast<double>(a[peggiore]), static_cast<double>(b[peggiore]));
    return massima <= concessa ? 0 : 1;
}

}  // namespace

int main(int quanti, char** v)
{
    try {
        const std::string cosa = quanti > 2 ? v[2] : "";
        if (quanti == 5 && std::strcmp(v[1], "confronta") == 0)
            return confronta(v[2], v[3], std::atof(v[4]));
        if (quanti == 4 && cosa == "rendi")
            return rendi(v[1], v[3]);
        if (quanti == 4 && cosa == "cicli")
            return cicli(v[1], std::atoi(v[3]));
        if (quanti == 3 && cosa == "eccezione")
            return eccezione(v[1]);
        std::fprintf(stderr, "usage: see the first lines of prova_pacchetto.cpp\n");
        return 2;
    } catch (const std::exception& e) {
        std::fprintf(stderr, "prova_pacchetto: %s\n", e.what());
        return 1;
    }
}
