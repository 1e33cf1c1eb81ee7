// Makes the n-th allocation or the n-th thread start of an action fail, for every n, each in a
// process of its own. What must hold: the exception leaves mainEntry, or the process ends where a
// thread of the same loop was already running; afterwards no lock is held, nothing has leaked, and
// the next frames are those of an undisturbed process, with the settings before and after alike.
//
//     guasti VarnoColor.ofx
#include "scena.h"

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <sys/wait.h>
#include <unistd.h>

#include <algorithm>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <exception>
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
std::atomic<long> gPicco{0};      // the most of them
std::atomic<int> gThreadVivi{0};  // started and not yet joined
thread_local bool gPrincipale = false;

// What a child leaves behind, in memory that it shares with its parent.
struct Esito {
    long quante;             // calls that could have failed
    bool eccezione, giusta;  // one came, and of the right kind
    bool scritta;            // the output, when it came
    long picco;              // bytes that the frame had from the system
    int vivi_al_guasto;      // threads at work when the fault came
    std::size_t aperte;      // images, when the exception passed
    long blocchi, mappati;   // alive at the end; bytes since the start
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

void* aligned_alloc(std::size_t a, std::size_t n)
{
    return fallisce(Guasto::memoria) ? nullptr : conta(__libc_memalign(a, n));
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
        gPicco = std::max<long>(gPicco, gMappati += static_cast<long>(n));
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
}

namespace {

using namespace varno;

// Everything that a child uses is made before the fork.
banco::ModuloPtr gModulo;

struct Scena {
    const char* nome;
    std::map<std::string, double> valori;
    bool (*agisci)(banco::Istanza&) = nullptr;  // what is disturbed: a frame, where null
    banco::Tela tela = scena::disegno(48, 40);
    double megabyte = 0.0;  // that it may have from the system
    banco::Tela uscita = {};
    banco::IstanzaPtr prima = {};  // a frame of these settings was made already: all of them 0
    banco::IstanzaPtr dopo = {};   // the action that is disturbed has these

    void prepara()
    {
        uscita = banco::tela(tela.limiti);
        // At strength 0 a table is made quickly.
        for (const char* spento : {"forza", "halation_on", "bloom_on", "enhance_on", "vignetta_on"})
            valori.try_emplace(spento, 0);
        dopo = banco::crea_istanza(*gModulo, valori);
        for (auto& [parametro, v] : valori)
            v = 0;
        prima = banco::crea_istanza(*gModulo, valori);
        for (banco::Istanza* i : {prima.get(), dopo.get()})
            banco::registro(*i).scrivi = false;
    }
    std::uint64_t quadro(banco::Istanza& i) { return scena::somma(scena::rendi(i, 7.0, tela)); }
    void disturbata()
    {
        const bool fatta = agisci == nullptr
                               ? banco::rendi_solo(*dopo, 7.0, tela.limiti, banco::figura(tela),
                                                   banco::figura(uscita)) == 0
                               : agisci(*dopo);
        if (!fatta)
            std::_Exit(21);
    }
};

void figlio(Scena& s, Guasto genere, long quale, bool inverso)
{
    Esito& e = *gEsito;
    alarm(60);  // a lock that stays held
    const long mappati = gMappati;
    gContatore = 0;
    gQuale = quale;
    std::size_t& aperte = banco::registro(*s.dopo).immagini_aperte;
    aperte = 0;
    gPicco = mappati;
    gGuasto = genere;
    const auto passata = [&](Guasto giusto) {
        gGuasto = Guasto::nessuno;
        e.eccezione = true;
        e.giusta = genere == giusto;
        e.scritta = s.uscita.memoria != banco::tela(s.tela.limiti).memoria;
    };
    try {
        s.disturbata();
        gGuasto = Guasto::nessuno;
    } catch (const std::bad_alloc&) {
        passata(Guasto::memoria);
    } catch (const std::system_error&) {
        passata(Guasto::thread);
    }
    e.quante = gContatore;
    e.picco = gPicco - mappati;
    e.aperte = aperte;
    if (s.agisci != nullptr)
        s.disturbata();
    for (const bool del_dopo : {inverso, !inverso})
        (del_dopo ? e.dopo : e.prima) = s.quadro(del_dopo ? *s.dopo : *s.prima);
    // Table and mask are those of the same settings in every child now.
    s.quadro(*s.prima);
    e.halation = banco::valore(*s.dopo, "halation");
    e.blocchi = gBlocchi;
    e.mappati = gMappati - mappati;
    e.finito = true;
    std::_Exit(0);
}

// Runs a child; its exit status as waitpid tells it.
int manda(Scena& s, Guasto genere, long quale, bool inverso)
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

void prova(Scena& s, Guasto genere, int processori)
{
    scena::gProcessori = processori;
    manda(s, Guasto::nessuno, 0, false);
    const Esito giusto = *gEsito;
    manda(s, genere, 0, false);
    const long quante = gEsito->quante;
    if (!giusto.finito || giusto.mappati != 0 || (quante == 0 && processori > 1))
        difetto(s, 0, "no undisturbed run, or one that leaks");
    if (static_cast<double>(giusto.picco) > s.megabyte * 0x1p20)
        difetto(s, 0, "more memory than it should have");
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
        const std::pair<bool, const char*> difetti[] = {
            {!e.finito, "a frame failed afterwards"},
            {!e.eccezione || !e.giusta, "no exception left mainEntry, or another one"},
            {e.scritta, "an exception left the output written"},
            {e.vivi_al_guasto > 0, "went on though a thread was running"},
            {e.aperte != (s.agisci == nullptr ? 2u : 0u), "an image was released on the way out"},
            {e.prima != giusto.prima || e.dopo != giusto.dopo, "another picture afterwards"},
            {e.halation != giusto.halation, "another recipe afterwards"},
            {e.blocchi != giusto.blocchi || e.mappati != 0, "memory leaked"},
        };
        for (const auto& [vero, testo] : difetti)
            if (vero) {
                difetto(s, n, testo);
                break;
            }
    }
    std::printf("%-34s %d thread%s %-7s %5ld failing calls %5ld exceptions %5ld ends of process\n",
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
    Scena look = {"a first recipe of a look", {{"look", 2}}, [](banco::Istanza& i) {
                      return banco::avvisa(i, "look") == 0;
                  }};
    Scena descrizione = {"a description", {{"look", 2}}, [](banco::Istanza&) {
                             return banco::azione(*gModulo, "OfxActionDescribe") == 0 &&
                                    banco::descrivi_in_contesto(*gModulo, banco::FILTRO) == 0;
                         }};
    Scena primo = {"the first frame of a process", {{"ev", 1}}};
    Scena tabella = {"a rebuild of the table", {{"ev", 1}}};
    Scena effetti = {"a frame with all effects", tutti};
    // Reduced planes of three and four colours, and the aberration's two of the frame's size, of
    // which two effects' are alive at once; the picture is the host's own window.
    Scena grande = {"all effects at 1920 x 256", tutti, nullptr, scena::disegno(1920, 256), 8};
    for (Scena* s : {&look, &descrizione, &primo, &tabella, &effetti, &grande})
        s->prepara();

    for (Scena* s : {&look, &descrizione, &primo, &tabella, &effetti, &grande}) {
        if (s == &tabella)
            s->quadro(*s->prima);  // from here on the process has a table
        prova(*s, Guasto::memoria, 1);
    }
    for (Scena* s : {&tabella, &effetti}) {
        prova(*s, Guasto::memoria, 2);
        prova(*s, Guasto::thread, 2);
    }
    prova(effetti, Guasto::thread, 3);
    std::printf(gDifetti == 0 ? "all as it must be\n" : "%d defects\n", gDifetti);
    return gDifetti == 0 ? 0 : 1;
}
