// Lines for the user, on the two output channels.
#include "tools/messaggi.h"

#include "tools/errore.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cerrno>
#include <cstdio>
#include <fcntl.h>
#include <mutex>
#include <set>
#include <unistd.h>

namespace varno::provino {

using Json = nlohmann::ordered_json;

Voce gVoce;

namespace {

std::FILE* gErrori = stderr;
std::mutex gMutex;

#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool SANITIZZATO = true;  // their reports must be seen
#else
constexpr bool SANITIZZATO = false;
#endif

std::string pulito(const std::string& testo)
{
    std::string s = testo;
    std::ranges::replace_if(
        s, [](unsigned char c) { return c < 0x20 || c == 0x7f; }, ' ');
    return s;
}

bool prima_volta(const std::string& testo)
{
    static std::set<std::string> dette;
    const std::lock_guard<std::mutex> chiuso(gMutex);
    return dette.insert(testo).second;
}

}  // namespace

std::string componi(const char* forma, fmt::printf_args cose)
{
    return fmt::vsprintf(fmt::string_view(forma), cose);
}

void apri_messaggi()
{
    if (SANITIZZATO)
        return;
    // libpng and its like print to descriptor 2 themselves, in several lines and from any thread.
    const int nostro = fcntl(2, F_DUPFD_CLOEXEC, 3);
    const int nulla = open("/dev/null", O_WRONLY | O_CLOEXEC);
    std::FILE* f = nostro >= 0 && nulla >= 0 ? fdopen(nostro, "w") : nullptr;
    if (f != nullptr && dup2(nulla, 2) == 2)
        gErrori = f;
    if (nulla >= 0)
        close(nulla);
}

void errore(const std::string& testo)
{
    barra("provino: " + pulito(testo) + "\n");
}

void avviso(const std::string& testo, bool perde)
{
    if (!prima_volta(testo))  // of many clips each is told once
        return;
    if (gVoce.json)
        tappa({}, {{"loss", perde}, {"note", testo}});
    else if (!gVoce.muta || perde)
        barra("provino: note: " + pulito(testo) + "\n");
}

void nota(const std::string& file, const std::string& testo)
{
    if (prima_volta(testo))
        perdita(tra_apici(file) + " " + testo);
}

void esito(const std::string& testo, const Json& json)
{
    if (gVoce.json || !gVoce.muta)
        riga(gVoce.json ? testo_di(json) : testo);
}

void tappa(const std::string& testo, const Json& json)
{
    try {
        esito(testo, json);
    } catch (const Errore&) {
    }
}

std::string testo_di(const Json& json, int rientro)
{
    return json.dump(rientro, ' ', false, Json::error_handler_t::replace);
}

int canale_errori()
{
    return fileno(gErrori);
}

void riga(const std::string& testo)
{
    const std::lock_guard<std::mutex> chiuso(gMutex);
    if (std::fputs((pulito(testo) + "\n").c_str(), stdout) < 0 || std::fflush(stdout) != 0)
        fallisci(errno == EPIPE ? "" : "cannot write to the standard output");
}

void barra(const std::string& testo)
{
    const std::lock_guard<std::mutex> chiuso(gMutex);
    std::fputs(testo.c_str(), gErrori);
    std::fflush(gErrori);
}

std::string in_una_riga(const std::string& testo)
{
    constexpr std::size_t LUNGHEZZA = 160;
    const std::size_t inizio = std::min(testo.find_first_not_of(" \t\r\n"), testo.size());
    const std::string s =
        pulito(testo.substr(inizio, testo.find_first_of("\r\n", inizio) - inizio));
    return s.size() > LUNGHEZZA ? s.substr(0, LUNGHEZZA) + "..." : s;
}

}  // namespace varno::provino
