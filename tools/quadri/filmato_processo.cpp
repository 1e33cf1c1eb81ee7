// Other programs, started without a shell.
#include "tools/quadri/filmato_processo.h"

#include "tools/errore.h"
#include "tools/messaggi.h"

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <unistd.h>
#include <utility>

extern char** environ;

namespace varno::provino {
namespace {

// Its end; signals are handled in a thread of their own and interrupt no call.
int raccogli(Processo& p)
{
    if (p.tubo != nullptr)
        std::fclose(std::exchange(p.tubo, nullptr));
    int stato = 0;
    if (p.id > 0)  // any other number stands for several programs
        waitpid(std::exchange(p.id, -1), &stato, 0);
    return stato;
}

}  // namespace

Processo::~Processo()
{
    if (id > 0)
        kill(id, SIGKILL);
    raccogli(*this);
    close(errori);
}

void aggiungi(Comando& c, const std::string& parole, const Comando& interi)
{
    const Comando divise = OIIO::Strutil::splits(parole);
    c.insert(c.end(), divise.begin(), divise.end());
    c.insert(c.end(), interi.begin(), interi.end());
}

ProcessoPtr avvia(Comando comando, Tubi tubi)
{
    auto p = std::make_unique<Processo>();
    p->nome = comando.front();
    int capi[2] = {-1, -1};  // to read from and to write to, as the program has them
    p->errori = memfd_create("provino", MFD_CLOEXEC);
    if (p->errori < 0 || pipe2(capi, O_CLOEXEC) != 0)
        fallisci("cannot start %s: %s", p->nome, std::generic_category().message(errno));
    p->tubo = fdopen(capi[1 - tubi], tubi == SUO_INGRESSO ? "w" : "r");
    std::setbuf(p->tubo, nullptr);
    fcntl(capi[0], F_SETPIPE_SZ, 1 << 20);  // fewer turns; refused where the system allows less

    posix_spawn_file_actions_t canali;
    posix_spawnattr_t modo;
    posix_spawn_file_actions_init(&canali);
    posix_spawn_file_actions_adddup2(&canali, capi[tubi], tubi);
    posix_spawn_file_actions_addopen(&canali, 1 - tubi, "/dev/null", O_RDWR, 0);
    posix_spawn_file_actions_adddup2(&canali, p->errori, 2);
    // A group of its own: a ctrl-C is ours alone to answer, and it ends with its pipe.
    sigset_t fermi;
    sigemptyset(&fermi);
    sigset_t usuali = fermi;
    sigaddset(&usuali, SIGPIPE);
    posix_spawnattr_init(&modo);
    posix_spawnattr_setpgroup(&modo, 0);
    posix_spawnattr_setsigdefault(&modo, &usuali);
    posix_spawnattr_setsigmask(&modo, &fermi);
    posix_spawnattr_setflags(&modo, POSIX_SPAWN_SETPGROUP | POSIX_SPAWN_SETSIGDEF |
                                        POSIX_SPAWN_SETSIGMASK);
    std::vector<char*> argomenti;
    for (std::string& a : comando)
        argomenti.push_back(a.data());
    argomenti.push_back(nullptr);
    const int esito = posix_spawnp(&p->id, argomenti[0], &canali, &modo, argomenti.data(), environ);
    posix_spawn_file_actions_destroy(&canali);
    posix_spawnattr_destroy(&modo);
    close(capi[tubi]);
    if (esito == 0)
        return p;
    p->id = -1;
    if (esito == ENOENT)
        fallisci("movies need %s, which is not installed: 'apt install ffmpeg' (Debian's package "
                 "ffmpeg)",
                 p->nome);
    fallisci("cannot start %s: %s", p->nome, std::generic_category().message(esito));
}

std::string detto(const Processo& p)
{
    std::array<char, 4096> testo{};
    const ssize_t n = pread(p.errori, testo.data(), testo.size(), 0);
    std::string s = in_una_riga(std::string(testo.data(), static_cast<std::size_t>(n > 0 ? n : 0)));
    const std::size_t fine = s.find("] ");  // "[mov @ 0x5581] moov atom not found"
    return s.empty() || s[0] != '[' || fine == std::string::npos ? s : s.substr(fine + 2);
}

std::string attendi(Processo& p)
{
    const int stato = raccogli(p);
    if (WIFSIGNALED(stato))
        return p.nome + " was ended by signal " + std::to_string(WTERMSIG(stato));
    if (WEXITSTATUS(stato) == 0)
        return {};
    const std::string motivo = detto(p);
    return !motivo.empty() ? motivo
                           : p.nome + " ended with code " + std::to_string(WEXITSTATUS(stato));
}

Risposta chiedi(Comando comando)
{
    const ProcessoPtr p = avvia(std::move(comando), SUA_USCITA);
    Risposta r;
    std::array<char, 65536> pezzo{};
    while (const std::size_t n = std::fread(pezzo.data(), 1, pezzo.size(), p->tubo))
        r.testo.append(pezzo.data(), n);
    r.motivo = attendi(*p);
    r.detto = detto(*p);
    return r;
}

}  // namespace varno::provino
