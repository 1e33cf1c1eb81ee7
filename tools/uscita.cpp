#include "tools/uscita.h"

#include "tools/filmato_processo.h"
#include "tools/messaggi.h"

#include <array>
#include <atomic>
#include <cerrno>
#include <csignal>
#include <cstdio>
#include <cstring>
#include <memory>
#include <system_error>
#include <unistd.h>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

// Unfinished files, where a signal handler can read them: it may neither allocate nor lock.
struct Posto {
    std::atomic<int> stato{0};  // 0 free, 1 being filled in, 2 to be removed
    std::array<char, 4096> nome{};
};
std::array<Posto, 64> gProvvisori;
std::atomic<unsigned> gConto{0};

// A name beside the final one, removed when this goes unless it was handed over.
struct Provvisorio {
    fs::path file;
    Posto* posto = nullptr;
    bool consegnato = false;

    explicit Provvisorio(const fs::path& finale)
        : file(finale.parent_path() /
               (".provino-" + std::to_string(getpid()) + "-" + std::to_string(gConto++) + ".tmp"))
    {
        const std::string testo = file.string();
        for (Posto& p : gProvvisori) {
            int libero = 0;
            if (testo.size() < p.nome.size() && p.stato.compare_exchange_strong(libero, 1)) {
                std::memcpy(p.nome.data(), testo.c_str(), testo.size() + 1);
                p.stato = 2;
                posto = &p;
                break;
            }
        }
    }
    Provvisorio(const Provvisorio&) = delete;
    Provvisorio& operator=(const Provvisorio&) = delete;
    ~Provvisorio()
    {
        std::error_code ignorato;
        if (!consegnato)
            fs::remove(file, ignorato);
        if (posto != nullptr)
            posto->stato = 0;
    }
};

// What a signal says last, in turn in one of two places, so that none is read while it changes.
std::array<std::array<char, 96>, 2> gCommiati;
std::atomic<const char*> gCommiato{nullptr};

extern "C" void al_segnale(int segnale)
{
    termina_processi();
    if (const char* testo = gCommiato)
        static_cast<void>(!write(canale_errori(), testo, std::strlen(testo)));
    for (Posto& p : gProvvisori)
        if (p.stato == 2)
            unlink(p.nome.data());
    std::signal(segnale, SIG_DFL);
    std::raise(segnale);
}

[[noreturn]] void esiste(const fs::path& finale)
{
    fallisci(tra_apici(finale.string()) +
             " exists already: give --overwrite to replace it, or another name");
}

}  // namespace

void conta_fotogrammi(std::size_t fatti, std::size_t quanti, bool ripresa)
{
    static unsigned volta = 0;
    auto& testo = gCommiati[++volta % 2];
    std::snprintf(testo.data(), testo.size(), "\nprovino: stopped: %zu of %zu frames are done%s\n",
                  fatti, quanti, ripresa ? ", --skip-existing goes on" : "");
    gCommiato = quanti > 1 ? testo.data() : nullptr;
}

void controlla_uscita(const fs::path& finale, bool sovrascrivi)
{
    std::error_code e;
    const fs::file_status stato = fs::status(finale, e);
    if (!fs::status_known(stato))
        fallisci("cannot write " + tra_apici(finale.string()) + ": " + e.message());
    if (fs::is_directory(stato))
        fallisci(tra_apici(finale.string()) + " is a folder: give the name of a file");
    if (fs::exists(stato) && !sovrascrivi)
        esiste(finale);
    if (fs::exists(stato) && !fs::is_regular_file(stato))
        fallisci(tra_apici(finale.string()) + " is no regular file: give another name");
    const fs::path cartella = finale.has_parent_path() ? finale.parent_path() : fs::path(".");
    if (!fs::is_directory(cartella, e))
        fallisci("there is no folder " + tra_apici(cartella.string()) +
                 " to write into: make it first");
}

void scrivi_intero(const fs::path& dato, bool sovrascrivi,
                   const std::function<void(const fs::path&)>& scrivi)
{
    controlla_uscita(dato, sovrascrivi);
    std::error_code e;
    // Through a symbolic link the file itself is replaced, not the link.
    fs::path finale = fs::is_symlink(dato, e) ? fs::canonical(dato, e) : dato;
    if (e)
        finale = dato;
    Provvisorio p(finale);
    scrivi(p.file);
    if (sovrascrivi) {
        fs::rename(p.file, finale, e);
    } else {
        // A link is made only where the name is free, whoever else writes there meanwhile.
        fs::create_hard_link(p.file, finale, e);
        if (e == std::errc::file_exists)
            esiste(finale);
        if (!e)
            fs::remove(p.file, e);
        else if (fs::exists(finale))
            esiste(finale);
        else  // no links on this file system
            fs::rename(p.file, finale, e);
    }
    if (e)
        fallisci("cannot give " + tra_apici(finale.string()) + " its name: " + e.message());
    p.consegnato = true;
}

void scrivi_byte(const fs::path& file, Byte dati, const std::string& nome)
{
    struct Chiudi {
        void operator()(std::FILE* f) const { std::fclose(f); }
    };
    const auto perche = [&] {
        fallisci("cannot write " + tra_apici(nome) + ": " + std::generic_category().message(errno));
    };
    std::unique_ptr<std::FILE, Chiudi> f(std::fopen(file.c_str(), "wb"));
    if (!f)
        perche();
    if (std::fwrite(dati.data(), 1, dati.size(), f.get()) != dati.size())
        perche();
    if (std::fclose(f.release()) != 0)
        perche();
}

void scrivi_testo(const fs::path& finale, bool sovrascrivi, const std::string& testo)
{
    scrivi_intero(finale, sovrascrivi, [&](const fs::path& p) {
        scrivi_byte(p, Byte(reinterpret_cast<const unsigned char*>(testo.data()), testo.size()),
                    finale.string());
    });
}

void prepara_segnali()
{
    for (const int s : {SIGINT, SIGTERM, SIGHUP})
        if (std::signal(s, al_segnale) == SIG_IGN)  // as nohup leaves it
            std::signal(s, SIG_IGN);
    std::signal(SIGXFSZ, SIG_IGN);
    std::signal(SIGPIPE, SIG_IGN);
}

}  // namespace varno::provino
