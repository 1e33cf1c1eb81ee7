// Makes the n-th allocation or the n-th thread start of an action fail, for every n, each in a
// process of its own. What must hold: the exception leaves mainEntry, or the process ends where a
// thread of the same loop was already running; afterwards no lock is held, nothing has leaked, and
// the next frames are those of an undisturbed process, with the settings before and after alike.
//
//     guasti VarnoColor.ofx
#include "scena.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sched.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <exception>
#include <initializer_list>
#include <map>
#include <new>
#include <system_error>

namespace {

enum class Guasto { nessuno, memoria, thread };

std::atomic<Guasto> gGuasto{Guasto::nessuno};
std::atomic<long> gContatore{0};  // calls since it was armed
std::atomic<long> gQuale{0};      // the one that fails; 0: none
std::atomic<long> gBlocchi{0};    // blocks alive, whoever asked for them
std::atomic<long> gMappati{0};    // bytes of anonymous maps alive
std::atomic<int> gThreadVivi{0};  // started and not yet joined
unsigned gProcessori = 1;
thread_local bool gPrincipale = false;

// What a child leaves behind, in memory that it shares with its parent.
struct Esito {
    long quante;             // calls that could have failed
    bool eccezione, giusta;  // one came, and of the right kind
    int vivi_al_guasto;      // threads at work when the fault came
    std::size_t aperte;      // images, when the exception passed
    long blocchi, mappati;   // alive at the end
    std::uint64_t prima, dopo;
    double halation;  // what a look's recipe left
    bool finito;
};
Esito* gEsito;

// Only what the plug-in asks for, not the host around it.
bool fallisce(Guasto genere)
{
    if (gPrincipale && !varno::banco::nel_plugin())
        return false;
    if (gGuasto != genere || ++gContatore != gQuale)
        return false;
    gEsito->vivi_al_guasto = gThreadVivi;
    return true;
}

void* conta(void* p)
{
    if (p != nullptr)
        ++gBlocchi;
    return p;
}

}  // namespace

// The program's own functions come before the system's for the module too.
extern "C" {
void* __libc_malloc(std::size_t);
void* __libc_calloc(std::size_t, std::size_t);
void* __libc_realloc(void*, std::size_t);
void* __libc_memalign(std::size_t, std::size_t);
void __libc_free(void*);

void* malloc(std::size_t n)
{
    return fallisce(Guasto::memoria) ? nullptr : conta(__libc_malloc(n));
}

void* calloc(std::size_t n, std::size_t m)
{
    return fallisce(Guasto::memoria) ? nullptr : conta(__libc_calloc(n, m));
}

void* realloc(void* p, std::size_t n)
{
    if (fallisce(Guasto::memoria))
        return nullptr;
    void* q = __libc_realloc(p, n);
    return p == nullptr ? conta(q) : q;
}

void* memalign(std::size_t a, std::size_t n)
{
    return fallisce(Guasto::memoria) ? nullptr : conta(__libc_memalign(a, n));
}

void* aligned_alloc(std::size_t a, std::size_t n)
{
    return memalign(a, n);
}

int posix_memalign(void** p, std::size_t a, std::size_t n)
{
    *p = memalign(a, n);
    return *p == nullptr ? ENOMEM : 0;
}

void free(void* p)
{
    if (p != nullptr)
        --gBlocchi;
    __libc_free(p);
}

void* mmap(void* dove, std::size_t n, int protezione, int modo, int file, off_t da)
{
    if ((modo & MAP_ANONYMOUS) != 0 && fallisce(Guasto::memoria)) {
        errno = ENOMEM;
        return MAP_FAILED;
    }
    const long p = syscall(SYS_mmap, dove, n, protezione, modo, file, da);
    if (p != -1 && (modo & MAP_ANONYMOUS) != 0)
        gMappati += static_cast<long>(n);
    return reinterpret_cast<void*>(p);
}

int munmap(void* p, std::size_t n)
{
    gMappati -= static_cast<long>(n);
    return static_cast<int>(syscall(SYS_munmap, p, n));
}

int pthread_create(pthread_t* t, const pthread_attr_t* a, void* (*f)(void*), void* x)
{
    static const auto vera =
        reinterpret_cast<decltype(&pthread_create)>(dlsym(RTLD_NEXT, "pthread_create"));
    if (fallisce(Guasto::thread))
        return EAGAIN;
    ++gThreadVivi;
    return vera(t, a, f, x);
}

int pthread_join(pthread_t t, void** r)
{
    static const auto vera =
        reinterpret_cast<decltype(&pthread_join)>(dlsym(RTLD_NEXT, "pthread_join"));
    const int esito = vera(t, r);
    --gThreadVivi;
    return esito;
}

// What the module asks for the number of processors.
int sched_getaffinity(pid_t, std::size_t n, cpu_set_t* processori)
{
    std::memset(processori, 0, n);
    for (unsigned i = 0; i < gProcessori; ++i)
        CPU_SET(i, processori);
    return 0;
}
}

namespace {

using namespace varno;

// Everything that a child uses is made before the fork.
banco::ModuloPtr gModulo;

enum class Azione { quadro, cambia_look, descrive };

struct Scena {
    Scena(const char* n, std::map<std::string, double> valori, Azione a = Azione::quadro,
          bool g = false)
        : nome(n), azione(a), grande(g)
    {
        for (const char* spento : {"halation_on", "bloom_on", "enhance_on", "vignetta_on"})
            valori.try_emplace(spento, 0);
        dopo = banco::crea_istanza(*gModulo, valori);
        for (auto& [parametro, v] : valori)
            v = 0;
        prima = banco::crea_istanza(*gModulo, valori);
        for (banco::Istanza* i : {prima.get(), dopo.get()})
            banco::registro(*i).scrivi = false;
    }
    const char* nome;
    Azione azione;
    bool grande;              // blocks of a size that comes from the system by itself
    banco::IstanzaPtr prima;  // a frame of these settings was made already
    banco::IstanzaPtr dopo;   // the action that is disturbed has these
};

banco::Tela gPiccola = scena::disegno(48, 40);
banco::Tela gGrande = scena::disegno(2048, 1216);

std::uint64_t quadro(const Scena& s, banco::Istanza& i)
{
    return scena::somma(scena::rendi(i, 7.0, s.grande ? gGrande : gPiccola));
}

void agisci(const Scena& s)
{
    switch (s.azione) {
    case Azione::descrive:
        if (banco::azione(*gModulo, "OfxActionDescribe") != 0 ||
            banco::descrivi_in_contesto(*gModulo, banco::FILTRO) != 0)
            std::_Exit(21);
        break;
    case Azione::cambia_look:
        if (banco::avvisa(*s.dopo, "look") != 0)
            std::_Exit(22);
        break;
    case Azione::quadro:
        quadro(s, *s.dopo);
        break;
    }
}

void figlio(const Scena& s, Guasto genere, long quale, bool inverso)
{
    Esito& e = *gEsito;
    alarm(60);  // a lock that stays held
    gContatore = 0;
    gQuale = quale;
    std::size_t& aperte = banco::registro(*s.dopo).immagini_aperte;
    aperte = 0;
    gGuasto = genere;
    try {
        agisci(s);
        gGuasto = Guasto::nessuno;
    } catch (const std::bad_alloc&) {
        gGuasto = Guasto::nessuno;
        e.eccezione = true;
        e.giusta = genere == Guasto::memoria;
    } catch (const std::system_error&) {
        gGuasto = Guasto::nessuno;
        e.eccezione = true;
        e.giusta = genere == Guasto::thread;
    }
    e.quante = gContatore;
    e.aperte = aperte;
    if (s.azione != Azione::quadro)
        agisci(s);
    for (const int giro : {0, 1})
        ((giro == 1) == inverso ? e.dopo : e.prima) =
            quadro(s, *((giro == 1) == inverso ? s.dopo : s.prima));
    // Table and mask are those of the same settings in every child now.
    quadro(s, *s.prima);
    e.halation = banco::valore(*s.dopo, "halation");
    e.blocchi = gBlocchi;
    e.mappati = gMappati;
    e.finito = true;
    std::_Exit(0);
}

// Runs a child; its exit status as waitpid tells it.
int manda(const Scena& s, Guasto genere, long quale, bool inverso)
{
    *gEsito = {};
    std::fflush(stdout);
    const pid_t pid = fork();
    if (pid == 0) {
        std::freopen("/dev/null", "w", stderr);
        figlio(s, genere, quale, inverso);
    }
    int stato = 0;
    waitpid(pid, &stato, 0);
    return stato;
}

int gDifetti = 0;

void difetto(const Scena& s, long quale, const char* testo)
{
    std::printf("  %s, call %ld: %s\n", s.nome, quale, testo);
    ++gDifetti;
}

void prova(const Scena& s, Guasto genere, unsigned processori)
{
    gProcessori = processori;
    manda(s, Guasto::nessuno, 0, false);
    const Esito giusto = *gEsito;
    manda(s, genere, 0, false);
    const long quante = gEsito->quante;
    if (!giusto.finito || (quante == 0 && processori > 1))
        difetto(s, 0, "no undisturbed run");
    long eccezioni = 0;
    long morti = 0;
    const long ordini = processori == 1 ? 2 : 1;  // which settings come first afterwards
    for (long k = 0; k < quante * ordini; ++k) {
        const long n = k / ordini + 1;
        const int stato = manda(s, genere, n, k % 2 == 1);
        const Esito& e = *gEsito;
        if (WIFSIGNALED(stato)) {
            if (WTERMSIG(stato) == SIGALRM)
                difetto(s, n, "a lock stays held");
            else if (WTERMSIG(stato) != SIGABRT || e.vivi_al_guasto == 0)
                difetto(s, n, "killed");
            ++morti;
            continue;
        }
        ++eccezioni;
        if (!e.finito)
            difetto(s, n, "a frame failed afterwards");
        else if (!e.eccezione || !e.giusta)
            difetto(s, n, "no exception left mainEntry, or another one");
        else if (e.vivi_al_guasto > 0)
            difetto(s, n, "went on though a thread was running");
        else if (e.aperte != (s.azione == Azione::quadro ? 2u : 0u))
            difetto(s, n, "an image was released on the way out");
        else if (e.prima != giusto.prima || e.dopo != giusto.dopo)
            difetto(s, n, "another picture afterwards");
        else if (e.halation != giusto.halation)
            difetto(s, n, "another recipe afterwards");
        else if (e.blocchi != giusto.blocchi || e.mappati != giusto.mappati)
            difetto(s, n, "memory leaked");
    }
    std::printf("%-34s %u thread%s %-7s %5ld failing calls %5ld exceptions %5ld ends of process\n",
                s.nome, processori, processori == 1 ? " " : "s",
                genere == Guasto::memoria ? "memory" : "starts", quante, eccezioni / ordini,
                morti / ordini);
}

}  // namespace

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: guasti VarnoColor.ofx\n");
        return 2;
    }
    gPrincipale = true;
    gModulo = banco::carica(argv[1]);
    banco::registro(*gModulo).scrivi = false;
    gEsito = static_cast<Esito*>(
        mmap(nullptr, sizeof(Esito), PROT_READ | PROT_WRITE, MAP_SHARED | MAP_ANONYMOUS, -1, 0));

    std::map<std::string, double> tutti;
    for (const char* nome : scena::EFFETTI)
        tutti[std::string(nome) + "_on"] = 1;
    const Scena look("a first recipe of a look", {{"look", 2}}, Azione::cambia_look);
    const Scena descrizione("a description", {{"look", 2}}, Azione::descrive);
    const Scena primo("the first frame of a process", {{"look", 2}});
    const Scena tabella("a rebuild of the table", {{"look", 2}});
    const Scena effetti("a frame with all effects", tutti);
    const Scena grande("a frame of 2048 x 1216", {{"grana_on", 1}}, Azione::quadro, true);

    prova(look, Guasto::memoria, 1);
    prova(descrizione, Guasto::memoria, 1);
    prova(primo, Guasto::memoria, 1);
    quadro(tabella, *tabella.prima);  // from here on the process has a table
    prova(tabella, Guasto::memoria, 1);
    prova(effetti, Guasto::memoria, 1);
    prova(grande, Guasto::memoria, 1);
    for (const Scena* s : {&tabella, &effetti}) {
        prova(*s, Guasto::memoria, 2);
        prova(*s, Guasto::thread, 2);
    }
    prova(effetti, Guasto::thread, 3);
    std::printf(gDifetti == 0 ? "all as it must be\n" : "%d defects\n", gDifetti);
    return gDifetti == 0 ? 0 : 1;
}
