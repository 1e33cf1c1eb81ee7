// Outputs that appear whole under their names, or not at all.
#include "tools/quadri/uscita.h"

#include "tools/errore.h"
#include "tools/messaggi.h"

#include <cerrno>
#include <csignal>
#include <cstdlib>
#include <fcntl.h>
#include <fstream>
#include <mutex>
#include <random>
#include <set>
#include <system_error>
#include <thread>
#include <unistd.h>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

// What a signal that ends the program has to look after. It stays to the last, whoever waits for
// it.
struct Sospeso {
    std::mutex mutex;
    std::set<fs::path> file;
    std::string commiato;
};

Sospeso& sospeso()
{
    static Sospeso& s = *new Sospeso;
    return s;
}

// In a thread of its own, which may wait and allocate as a signal's handler may not.
void aspetta_segnale(const sigset_t& quali)
{
    int segnale = 0;
    sigwait(&quali, &segnale);
    const std::lock_guard<std::mutex> chiuso(sospeso().mutex);
    const std::string& testo = sospeso().commiato;
    static_cast<void>(!write(canale_errori(), testo.data(), testo.size()));
    std::error_code ignorato;
    for (const fs::path& f : sospeso().file)
        fs::remove_all(f, ignorato);
    std::signal(segnale, SIG_DFL);
    pthread_sigmask(SIG_UNBLOCK, &quali, nullptr);
    std::raise(segnale);
}

// Under the mutex.
Effimero effimero(const fs::path& nome)
{
    sospeso().file.insert(nome);
    return Effimero(new fs::path(nome));
}

[[noreturn]] void esiste(const fs::path& finale)
{
    fallisci("'%s' exists already: give --overwrite to replace it, or another name",
             finale.string());
}

}  // namespace

void conta_fotogrammi(std::size_t fatti, std::size_t quanti, bool ripresa)
{
    const std::lock_guard<std::mutex> chiuso(sospeso().mutex);
    if (quanti > 1)
        sospeso().commiato = sprintf("\nprovino: stopped: %d of %d frames are done%s\n", fatti,
                                     quanti, ripresa ? ", --skip-existing goes on" : "");
}

void controlla_uscita(const fs::path& finale, bool sovrascrivi)
{
    std::error_code e;
    const fs::file_status stato = fs::status(finale, e);
    if (!fs::status_known(stato))
        fallisci("cannot write '%s': %s", finale.string(), e.message());
    if (fs::is_directory(stato))
        fallisci("'%s' is a folder: give the name of a file", finale.string());
    if (fs::exists(stato) && !sovrascrivi)
        esiste(finale);
    if (fs::exists(stato) && !fs::is_regular_file(stato))
        fallisci("'%s' is no regular file: give another name", finale.string());
    const fs::path cartella = finale.has_parent_path() ? finale.parent_path() : fs::path(".");
    if (!fs::is_directory(cartella, e))
        fallisci("there is no folder '%s' to write into: make it first", cartella.string());
    if (access(cartella.c_str(), W_OK) != 0)
        fallisci("cannot write '%s': %s", finale.string(), std::generic_category().message(errno));
}

void non_sopra(const fs::path& uscita, const fs::path& ingresso)
{
    std::error_code e;
    if (fs::equivalent(uscita, ingresso, e))
        fallisci("'%s' is what is read, and would be replaced: give another name", uscita.string());
}

void Elimina::operator()(const fs::path* nome) const
{
    std::error_code ignorato;
    fs::remove_all(*nome, ignorato);
    const std::lock_guard<std::mutex> chiuso(sospeso().mutex);
    sospeso().file.erase(*nome);
    delete nome;
}

Provvisorio accanto_a(const fs::path& dato)
{
    static unsigned conto = std::random_device()();  // machines share folders and numbers
    std::error_code e;
    const fs::path finale = fs::is_symlink(dato, e) ? fs::canonical(dato, e) : dato;
    const fs::path& suo = e ? dato : finale;
    const std::lock_guard<std::mutex> chiuso(sospeso().mutex);
    const std::string nome =
        ".provino-" + std::to_string(getpid()) + "-" + std::to_string(conto++) + ".tmp";
    return {effimero(suo.parent_path() / nome), suo};
}

Effimero cartella_provvisoria()
{
    std::string modello = (fs::temp_directory_path() / "provino-XXXXXX").string();
    const std::lock_guard<std::mutex> chiuso(sospeso().mutex);
    return mkdtemp(modello.data()) == nullptr ? nullptr : effimero(modello);
}

void dai_nome(const Provvisorio& p, bool sovrascrivi)
{
    std::error_code e;
    const fs::path& finale = p.finale;
    if (!sovrascrivi) {
        // A link is made only where the name is free, whoever else writes there meanwhile.
        fs::create_hard_link(*p.file, finale, e);
        if (e == std::errc::file_exists || (e && fs::exists(finale)))
            esiste(finale);
    }
    if (sovrascrivi || e)  // or no links on this file system
        fs::rename(*p.file, finale, e);
    if (e)
        fallisci("cannot give '%s' its name: %s", finale.string(), e.message());
}

void scrivi_intero(const fs::path& finale, bool sovrascrivi,
                   const std::function<void(const fs::path&)>& scrivi)
{
    controlla_uscita(finale, sovrascrivi);
    const Provvisorio p = accanto_a(finale);
    scrivi(*p.file);
    dai_nome(p, sovrascrivi);
}

void scrivi_byte(const fs::path& file, std::string_view dati, const std::string& nome)
{
    errno = 0;
    std::ofstream f(file, std::ios::binary);
    f << dati;
    f.close();
    if (!f)
        fallisci("cannot write '%s': %s", nome, std::generic_category().message(errno));
}

void scrivi_testo(const fs::path& finale, bool sovrascrivi, const std::string& testo)
{
    scrivi_intero(finale, sovrascrivi,
                  [&](const fs::path& p) { scrivi_byte(p, testo, finale.string()); });
}

void prepara_segnali()
{
    sigset_t fine;
    sigemptyset(&fine);
    for (const int s : {SIGINT, SIGTERM, SIGHUP}) {
        struct sigaction prima {};
        if (sigaction(s, nullptr, &prima) == 0 &&
            prima.sa_handler != SIG_IGN)  // as nohup leaves it
            sigaddset(&fine, s);
    }
    pthread_sigmask(SIG_BLOCK, &fine, nullptr);  // here and in all threads to come
    std::thread(aspetta_segnale, fine).detach();
    std::signal(SIGCHLD, SIG_DFL);  // else how a program ended is not told
    // The number of a channel that is closed would go to a file, and its lines into that.
    for (const int canale : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO})
        if (fcntl(canale, F_GETFD) < 0)
            open("/dev/null", O_RDONLY);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace varno::provino
