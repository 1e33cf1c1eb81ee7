// Other programs, started without a shell.
#include "tools/filmato_processo.h"

#include "tools/errore.h"
#include "tools/messaggi.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <array>
#include <cerrno>
#include <csignal>
#include <fcntl.h>
#include <spawn.h>
#include <sys/mman.h>
#include <sys/wait.h>
#include <system_error>
#include <unistd.h>

extern char** environ;

namespace varno::provino {
namespace {

void chiudi(int& fd)
{
    if (fd >= 0)
        close(fd);
    fd = -1;
}

// The status of its end, once.
int raccogli(Processo& p)
{
    int stato = 0;
    while (waitpid(p.id, &stato, 0) < 0 && errno == EINTR) {
    }
    p.id = -1;
    return stato;
}

}  // namespace

Processo::~Processo()
{
    chiudi(ingresso);
    chiudi(uscita);
    if (id > 0) {
        kill(id, SIGKILL);
        raccogli(*this);
    }
    chiudi(errori);
}

Comando parole(const std::string& testo)
{
    return OIIO::Strutil::splits(testo);
}

ProcessoPtr avvia(Comando comando, Tubi tubi)
{
    auto p = std::make_unique<Processo>();
    p->nome = comando.front();
    int capi[2] = {-1, -1};
    p->errori = memfd_create("provino", MFD_CLOEXEC);
    const int nulla = open("/dev/null", O_RDWR | O_CLOEXEC);
    if (p->errori < 0 || nulla < 0 || pipe2(capi, O_CLOEXEC) != 0)
        fallisci("cannot start " + p->nome + ": " + std::generic_category().message(errno));
    const bool scrive = tubi == Tubi::ingresso;
    (scrive ? p->ingresso : p->uscita) = capi[scrive ? 1 : 0];
    int suo = capi[scrive ? 0 : 1];
    fcntl(suo, F_SETPIPE_SZ, 1 << 20);  // fewer turns; refused where the system allows less

    posix_spawn_file_actions_t canali;
    posix_spawnattr_t modo;
    posix_spawn_file_actions_init(&canali);
    posix_spawn_file_actions_adddup2(&canali, scrive ? suo : nulla, 0);
    posix_spawn_file_actions_adddup2(&canali, scrive ? nulla : suo, 1);
    posix_spawn_file_actions_adddup2(&canali, p->errori, 2);
    // A group of its own: a ctrl-C is ours alone to answer, and it ends with its pipe.
    sigset_t usuali;
    sigset_t fermi;
    sigemptyset(&fermi);
    usuali = fermi;
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
    close(nulla);
    chiudi(suo);
    if (esito != 0) {
        p->id = -1;
        if (esito == ENOENT)
            fallisci("movies need " + p->nome +
                     ", which is not installed: 'apt install ffmpeg' (Debian's package ffmpeg)");
        fallisci("cannot start " + p->nome + ": " + std::generic_category().message(esito));
    }
    return p;
}

std::size_t leggi_da(Processo& p, void* dati, std::size_t byte)
{
    std::size_t letti = 0;
    while (letti < byte) {
        const ssize_t n = read(p.uscita, static_cast<char*>(dati) + letti, byte - letti);
        if (n == 0 || (n < 0 && errno != EINTR))
            break;
        letti += static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    return letti;
}

bool scrivi_a(Processo& p, const void* dati, std::size_t byte)
{
    for (std::size_t scritti = 0; scritti < byte;) {
        const ssize_t n =
            write(p.ingresso, static_cast<const char*>(dati) + scritti, byte - scritti);
        if (n < 0 && errno != EINTR)
            return false;
        scritti += static_cast<std::size_t>(std::max<ssize_t>(n, 0));
    }
    return true;
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
    chiudi(p.ingresso);
    chiudi(p.uscita);
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
    const ProcessoPtr p = avvia(std::move(comando), Tubi::uscita);
    Risposta r;
    std::array<char, 65536> pezzo{};
    while (const std::size_t n = leggi_da(*p, pezzo.data(), pezzo.size()))
        r.testo.append(pezzo.data(), n);
    r.motivo = attendi(*p);
    r.detto = detto(*p);
    return r;
}

}  // namespace varno::provino
