// One set of frames, one number: 12 looks, all effects together and alone, sizes around the steps
// of the reduction. Equal numbers from two builds or machines are equal pictures, bit for bit.
//
//     somma [--module FILE] [--threads N] [--level NAME] [--small] [--write FILE]
//
// Without a module it is the plug-in linked in, whose vector kernels --level chooses; --small is
// for slow machines, --write for comparing with others. What a module leaves behind, where it and
// this program are alone; fails where that is more than nothing:
//
//     somma --module FILE --exception    an exception leaves mainEntry; who catches it
//
// On Linux:
//
//     somma --module FILE --cycles N     loads, renders five frames, unloads
//     somma --module FILE --boundary     one session, between marks for strace
#include "scena.h"

#include "comune/nuclei.h"

#include <exception>
#include <filesystem>
#include <fstream>
#include <new>
#include <span>
#include <stdexcept>
#include <string>

#ifdef __linux__
#include <dlfcn.h>
#include <malloc.h>
#include <unistd.h>
#endif

extern "C" OfxPlugin* OfxGetPlugin(int);

namespace {

using namespace varno;

struct Misura {
    int larghezza, altezza;
};
constexpr Misura GRANDI[] = {{1, 1},     {1, 37},    {53, 1},    {16, 15},   {97, 61},
                             {384, 216}, {1919, 20}, {1920, 33}, {2881, 17}, {24, 3840}};
constexpr Misura PICCOLE[] = {{1, 1}, {16, 15}, {97, 61}, {1920, 17}};

struct Quadri {
    std::uint64_t totale = scena::INIZIO;
    int quanti = 0;
};

Quadri quadri(banco::ModuloPtr m, bool piccola)
{
    Quadri q;
    for (int look = 0; look < 12; look += piccola ? 4 : 1) {
        const banco::IstanzaPtr i = banco::crea_istanza(*m, {{"look", look},
                                                             {"formato", look * 5 % 18},
                                                             {"ev", look % 3 - 1},
                                                             {"forza", look % 4 == 3 ? 0.75 : 1.0},
                                                             {"punte", look % 3}});
        banco::registro(*i).scrivi = false;
        const auto rendi = [&](Misura n, int tempo) {
            banco::Tela sorgente = scena::disegno(n.larghezza, n.altezza);
            q.totale = scena::somma(scena::rendi(*i, tempo, sorgente), q.totale);
            ++q.quanti;
        };
        const auto accendi = [&](const char* solo) {
            for (const char* effetto : scena::EFFETTI)
                banco::imposta(*i, std::string(effetto) + "_on",
                               solo == nullptr || solo == effetto ? 1 : 0);
        };
        accendi(nullptr);
        int n = 0;
        for (const Misura misura : piccola ? std::span<const Misura>(PICCOLE) : GRANDI) {
            if (piccola || look == 0 || n % 3 == look % 3)
                rendi(misura, look + n);
            ++n;
        }
        if (look != 0 && look != 8)
            continue;
        for (const char* solo : scena::EFFETTI) {
            accendi(solo);
            rendi(piccola ? Misura{64, 36} : Misura{384, 216}, 24);
        }
    }
    return q;
}

bool scegli_livello(const char* nome)
{
    for (const Nuclei* const* l = livelli_disponibili(); *l != nullptr; ++l)
        if (std::strcmp((*l)->nome, nome) == 0) {
            gNuclei = *l;
            return true;
        }
    return false;
}

// --- What stays behind ---------------------------------------------------------------------------

#ifdef __linux__
// What this process holds: bytes resident and allocated, threads, files.
struct Risorse {
    double residente = 0.0, allocata = 0.0;
    long thread = 0, file = 0;
};

Risorse risorse()
{
    const auto voci = [](const char* cartella) {
        std::error_code e;
        std::filesystem::directory_iterator voce(cartella, e);
        return static_cast<long>(std::distance(voce, std::filesystem::directory_iterator()));
    };
    malloc_trim(0);  // else it keeps none, one or two tables that were given back, as it happens
#if __GLIBC_PREREQ(2, 33)
    const auto allocata = static_cast<double>(mallinfo2().uordblks);
#else
    const auto allocata = static_cast<double>(mallinfo().uordblks);
#endif
    double pagine = 0;
    std::ifstream("/proc/self/statm") >> pagine >> pagine;
    return {pagine * static_cast<double>(sysconf(_SC_PAGESIZE)), allocata, voci("/proc/self/task"),
            voci("/proc/self/fd")};
}

int cicli(const char* modulo, int quanti)
{
    constexpr int PRIMA = 10;  // caches of the system fill up
    banco::Tela sorgente = scena::disegno(61, 43);
    Risorse inizio;
    for (int n = 0; n < PRIMA + quanti; ++n) {
        if (n == PRIMA)
            inizio = risorse();
        {
            const banco::ModuloPtr m = banco::carica(modulo);
            const banco::IstanzaPtr i = banco::crea_istanza(*m);
            banco::avvisa(*i, "look");
            for (int k = 0; k < 5; ++k) {
                for (const char* effetto : scena::EFFETTI)
                    banco::imposta(*i, std::string(effetto) + "_on", k % 2);
                scena::rendi(*i, k, sorgente);
            }
        }
        if (dlopen(modulo, RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::printf("the module stays loaded after dlclose\n");
            return 1;
        }
    }
    const Risorse fine = risorse();
    const double cresciuta = fine.allocata - inizio.allocata;
    std::printf("%d cycles: resident %.2f MiB, then %.2f MiB; allocated %+.0f bytes; threads %ld, "
                "then %ld; files %ld, then %ld\n",
                quanti, inizio.residente / 0x1p20, fine.residente / 0x1p20, cresciuta,
                inizio.thread, fine.thread, inizio.file, fine.file);
    // Memory that nobody has touched is not resident.
    const bool piatto = fine.residente - inizio.residente < 0x1p20 && cresciuta < 256.0 * quanti &&
                        fine.thread == inizio.thread && fine.file == inizio.file;
    return piatto ? 0 : 1;
}

// A call that does nothing and is seen in the trace.
void segna(const char* testo)
{
    [[maybe_unused]] const ssize_t n = write(-1, testo, std::strlen(testo));
}

int confine(const char* modulo)
{
    banco::Tela sorgente = scena::disegno(64, 48);
    segna("mark: open");
    banco::ModuloPtr m = banco::apri(modulo);
    segna("mark: session");
    m = banco::carica(std::move(m));
    {
        const banco::IstanzaPtr i = banco::crea_istanza(*m);
        banco::avvisa(*i, "formato");
        banco::avvisa(*i, "look");
        for (const bool alti : {true, false}) {
            scena::estremi(*m, *i, alti);
            scena::rendi(*i, 1.0, sorgente);
        }
    }
    banco::azione(*m, "OfxActionUnload");
    segna("mark: close");
    m.reset();
    segna("mark: end");
    return 0;
}
#endif

// A window of 2^40 pixels: no memory is that large, and nothing of it is touched.
int eccezione(const char* modulo)
{
    const banco::ModuloPtr m = banco::carica(modulo);
    const banco::IstanzaPtr i = banco::crea_istanza(*m);
    banco::Tela sorgente = scena::disegno(24, 20);
    banco::Tela uscita = banco::tela(sorgente.limiti);
    for (int volta = 0; volta < 3; ++volta) {
        try {
            const int stato = banco::rendi_solo(*i, 0.0, {0, 0, 1 << 20, 1 << 20},
                                                banco::figura(sorgente), banco::figura(uscita));
            std::printf("no exception, status %d\n", stato);
            return 1;
        } catch (const std::bad_alloc&) {
            std::printf("std::bad_alloc reached the host's handler");
        } catch (...) {
            std::printf("an unknown exception reached the host's handler");
        }
        std::printf("; uncaught_exceptions() %d\n", std::uncaught_exceptions());
    }
    scena::rendi(*i, 0.0, sorgente);
    return 0;
}

int fai(int argc, char** argv)
{
    const char* modulo = nullptr;
    const char* scrivi = nullptr;
    bool piccola = false;
    for (int n = 1; n < argc; ++n) {
        const std::string a = argv[n];
        const auto valore = [&] { return n + 1 < argc ? argv[++n] : ""; };
        if (a == "--small")
            piccola = true;
        else if (a == "--module")
            modulo = valore();
        else if (a == "--threads")
            scena::gProcessori = std::atoi(valore());
        else if (a == "--write")
            scrivi = valore();
        else if (a == "--exception" && modulo != nullptr)
            return eccezione(modulo);
#ifdef __linux__
        else if (a == "--boundary" && modulo != nullptr)
            return confine(modulo);
        else if (a == "--cycles" && modulo != nullptr)
            return cicli(modulo, std::atoi(valore()));
#endif
        else if (a != "--level" || !scegli_livello(valore()))
            throw std::invalid_argument("not known here: " + a);
    }
    const Quadri q = quadri(
        banco::carica(modulo != nullptr ? banco::apri(modulo) : banco::apri(OfxGetPlugin(0))),
        piccola);
    std::printf("%016llx  %d frames, %d threads, %s\n", static_cast<unsigned long long>(q.totale),
                q.quanti, scena::gProcessori, modulo != nullptr ? "module" : gNuclei->nome);
    return scrivi == nullptr || std::ofstream(scrivi, std::ios::binary) << q.totale << std::endl
               ? 0
               : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    try {
        return fai(argc, argv);
    } catch (const std::exception& e) {
        std::fprintf(stderr, "somma: %s\n", e.what());
        return 1;
    }
}
