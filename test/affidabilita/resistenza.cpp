// The plug-in for a long time and in company. Each mode prints what it measured and fails where a
// figure is not what it must be.
//
//     resistenza istanze MODULE FRAMES      8 instances at once, every frame as if alone
//     resistenza quadri MODULE FRAMES EACH  one process, random settings; a new table each EACH
//     resistenza cicli MODULE CYCLES        load, render, unload
//     resistenza confine MODULE             one session, between marks for strace
#include "ospite.h"

#include <dirent.h>
#include <dlfcn.h>
#include <unistd.h>

#include <atomic>
#include <chrono>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <thread>
#include <vector>

namespace {

using namespace varno;

// --- What the system says of this process --------------------------------------------------------

struct Risorse {
    long residente;  // bytes
    int thread;
    int file;
};

// Lists nothing that could stay open, and asks for no memory that stays.
int conta_voci(const char* cartella)
{
    int n = 0;
    DIR* d = opendir(cartella);
    while (readdir(d) != nullptr)
        ++n;
    closedir(d);
    return n - 3;  // the two dots, and for files this one
}

Risorse risorse()
{
    long pagine = 0;
    long residenti = 0;
    std::FILE* f = std::fopen("/proc/self/statm", "r");
    if (f == nullptr || std::fscanf(f, "%ld %ld", &pagine, &residenti) != 2)
        std::exit(2);
    std::fclose(f);
    return {residenti * sysconf(_SC_PAGESIZE), conta_voci("/proc/self/task") + 1,
            conta_voci("/proc/self/fd")};
}

int confronta(const char* cosa, const Risorse& prima, const Risorse& dopo)
{
    constexpr long MIB = 1 << 20;
    const double differenza = static_cast<double>(dopo.residente - prima.residente) / MIB;
    std::printf("%s: resident %.2f MiB, then %.2f MiB (%+.3f); threads %d, then %d; files %d, then "
                "%d\n",
                cosa, static_cast<double>(prima.residente) / MIB,
                static_cast<double>(dopo.residente) / MIB, differenza, prima.thread, dopo.thread,
                prima.file, dopo.file);
    const bool piatto = dopo.residente - prima.residente < MIB && dopo.thread == prima.thread &&
                        dopo.file == prima.file;
    return piatto ? 0 : 1;
}

// --- Eight instances -----------------------------------------------------------------------------

struct Posto {
    ospite::Istanza istanza;
    std::unique_ptr<ospite::Quadro> sorgente, uscita;
    std::vector<std::uint64_t> attese;  // sums of the frames alone, one a time
};

constexpr int POSTI = 8;
constexpr int TEMPI = 3;

int istanze(const char* modulo, int quadri)
{
    OfxPlugin* p = ospite::apri(modulo);
    if (!ospite::presenta(p))
        return 1;
    std::vector<Posto> posti(POSTI);
    for (int n = 0; n < POSTI; ++n) {
        Posto& posto = posti[n];
        posto.sorgente = std::make_unique<ospite::Quadro>(40 + 9 * n, 70 - 7 * n);
        posto.uscita = std::make_unique<ospite::Quadro>(40 + 9 * n, 70 - 7 * n);
        ospite::disegna(*posto.sorgente, static_cast<unsigned>(n));
        ospite::predefiniti(posto.istanza);
        ospite::sorteggia_grado(posto.istanza, static_cast<unsigned>(n));
        ospite::sorteggia_effetti(posto.istanza, static_cast<unsigned>(n));
        ospite::imposta(posto.istanza, "look", n);
        // Two of them share a table.
        if (n == 1) {
            for (const char* nome : {"look", "forza", "ev", "temp", "tinta", "formato", "cs_sony3",
                                     "cs_sony2", "cs_canon", "cs_apple"}) {
                const int i = ospite::parametro(nome);
                posto.istanza.parametri[i] = posti[0].istanza.parametri[i];
            }
        }
        ospite::azione(p, "OfxActionCreateInstance", &posto.istanza);
        for (int t = 0; t < TEMPI; ++t) {
            if (ospite::rendi(p, posto.istanza, t, *posto.sorgente, *posto.uscita) != 0)
                return 1;
            posto.attese.push_back(ospite::somma(*posto.uscita));
        }
    }

    std::atomic<int> prossimo{0};
    std::atomic<int> difetti{0};
    std::atomic<int> resi{0};
    std::vector<std::thread> thread;
    for (Posto& posto : posti)
        thread.emplace_back([&] {
            while (true) {
                const int n = prossimo++;
                if (n >= quadri)
                    return;
                const int t = n % TEMPI;
                if (ospite::rendi(p, posto.istanza, t, *posto.sorgente, *posto.uscita) != 0 ||
                    ospite::somma(*posto.uscita) != posto.attese[t])
                    ++difetti;
                ++resi;
            }
        });
    // Meanwhile others come and go, and a description is asked for.
    int andate = 0;
    while (resi < quadri) {
        auto altra = std::make_unique<ospite::Istanza>();
        ospite::predefiniti(*altra);
        ospite::azione(p, "OfxActionCreateInstance", altra.get());
        ospite::cambiato(p, *altra, "look");
        ospite::cambiato(p, *altra, "formato");
        ospite::descrivi(p);
        ospite::azione(p, "OfxActionDestroyInstance", altra.get());
        ++andate;
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    }
    for (std::thread& t : thread)
        t.join();
    std::printf("%d frames of %d instances at once, %d others created and destroyed meanwhile: %d "
                "unlike the same frame alone\n",
                resi.load(), POSTI, andate, difetti.load());
    return difetti == 0 ? 0 : 1;
}

// --- Many frames, many loads ---------------------------------------------------------------------

int quadri(const char* modulo, int quanti, int ogni)
{
    constexpr int PRIMA = 100;
    OfxPlugin* p = ospite::apri(modulo);
    if (!ospite::presenta(p))
        return 1;
    ospite::Istanza i;
    ospite::predefiniti(i);
    ospite::Quadro sorgente(64, 64);
    ospite::Quadro uscita(64, 64);
    ospite::disegna(sorgente);
    i.sorgente = ospite::immagine(sorgente);
    i.uscita = ospite::immagine(uscita);
    ospite::Caso caso{1};
    Risorse prima{};
    for (int n = 0; n < quanti; ++n) {
        // What the C library keeps of tables given back has settled after a few of them.
        if (n % ogni == 0 || (n < PRIMA && n % 4 == 0))
            ospite::sorteggia_grado(i, static_cast<unsigned>(n));
        ospite::sorteggia_effetti(i, static_cast<unsigned>(n));
        const int finestra[4] = {0, 0, static_cast<int>(1 + caso.fino_a(63)),
                                 static_cast<int>(1 + caso.fino_a(63))};
        if (ospite::rendi(p, i, n, finestra) != 0)
            return 1;
        if (n == PRIMA)
            prima = risorse();
    }
    std::printf("%d frames, a new table every %d; ", quanti, ogni);
    return confronta("after frame 100 and at the end", prima, risorse());
}

int cicli(const char* modulo, int quanti)
{
    const int prima_a = quanti / 10;
    ospite::Istanza i;
    ospite::Quadro sorgente(32, 32);
    ospite::Quadro uscita(32, 32);
    ospite::disegna(sorgente);
    Risorse prima{};
    for (int n = 0; n < quanti; ++n) {
        void* m = nullptr;
        OfxPlugin* p = ospite::apri(modulo, &m);
        if (!ospite::presenta(p))
            return 1;
        ospite::predefiniti(i);
        ospite::sorteggia_effetti(i, static_cast<unsigned>(n));
        ospite::azione(p, "OfxActionCreateInstance", &i);
        ospite::cambiato(p, i, "look");
        if (ospite::rendi(p, i, n, sorgente, uscita) != 0)
            return 1;
        ospite::azione(p, "OfxActionDestroyInstance", &i);
        ospite::azione(p, "OfxActionUnload");
        dlclose(m);
        if (dlopen(modulo, RTLD_NOW | RTLD_NOLOAD) != nullptr) {
            std::printf("the module stays loaded after dlclose\n");
            return 1;
        }
        if (n == prima_a)
            prima = risorse();
    }
    std::printf("%d cycles of load, render, unload; ", quanti);
    return confronta("after a tenth and at the end", prima, risorse());
}

// --- One session, for strace ---------------------------------------------------------------------

// A call that does nothing and is seen in the trace.
void segna(const char* testo)
{
    const ssize_t n = write(-1, testo, std::strlen(testo));
    static_cast<void>(n);
}

int confine(const char* modulo)
{
    ospite::Istanza i;
    ospite::Quadro sorgente(64, 48);
    ospite::Quadro uscita(64, 48);
    ospite::disegna(sorgente);
    void* m = nullptr;
    segna("mark: open");
    OfxPlugin* p = ospite::apri(modulo, &m);
    segna("mark: session");
    bool bene = ospite::presenta(p);
    ospite::predefiniti(i);
    ospite::azione(p, "OfxActionCreateInstance", &i);
    ospite::cambiato(p, i, "formato");
    ospite::cambiato(p, i, "look");
    for (const unsigned seme : {1u, 2u}) {
        ospite::sorteggia_grado(i, seme);
        ospite::sorteggia_effetti(i, seme);
        bene = bene && ospite::rendi(p, i, 1.0, sorgente, uscita) == 0;
    }
    ospite::azione(p, "OfxActionDestroyInstance", &i);
    ospite::azione(p, "OfxActionUnload");
    segna("mark: close");
    dlclose(m);
    segna("mark: end");
    return bene ? 0 : 1;
}

}  // namespace

int main(int argc, char** argv)
{
    const std::string modo = argc > 2 ? argv[1] : "";
    const int n = argc > 3 ? std::atoi(argv[3]) : 0;
    if (modo == "istanze" && n > 0)
        return istanze(argv[2], n);
    if (modo == "quadri" && n > 0 && argc > 4)
        return quadri(argv[2], n, std::atoi(argv[4]));
    if (modo == "cicli" && n > 0)
        return cicli(argv[2], n);
    if (modo == "confine")
        return confine(argv[2]);
    std::fprintf(stderr, "usage: resistenza istanze|quadri|cicli|confine MODULE [N [EACH]]\n");
    return 2;
}
