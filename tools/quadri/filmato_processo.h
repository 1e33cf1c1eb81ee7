// Other programs, started without a shell.
#pragma once

#include <cstdio>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace varno::provino {

/// Another program under way, started without a shell. Ends with this record: its pipe is closed,
/// and it is killed where it still runs.
struct Processo {
    pid_t id = -1;
    std::string nome;
    std::FILE* tubo = nullptr;  // our end of its pipe, without a buffer
    int errori = -1;            // what it tells on its error channel, a file in memory

    Processo() = default;
    Processo(const Processo&) = delete;
    Processo& operator=(const Processo&) = delete;
    ~Processo();
};
using ProcessoPtr = std::unique_ptr<Processo>;

/// A program and its arguments.
using Comando = std::vector<std::string>;

/// Adds words that blanks divide, and behind them what stays whole, such as a file's name.
void aggiungi(Comando& c, const std::string& parole, const Comando& interi = {});

/// The descriptor that the pipe is to the program.
enum Tubi { SUO_INGRESSO = 0, SUA_USCITA = 1 };

/// Starts ffmpeg or ffprobe with one pipe to us. Throws Errore where it is not installed.
ProcessoPtr avvia(Comando comando, Tubi tubi);

/// The first line of what it told on its error channel, without the part of it that spoke.
std::string detto(const Processo& p);

/// Closes its pipe and waits for its end. Empty where it went well, else why not, in one line.
std::string attendi(Processo& p);

struct Risposta {
    std::string testo, motivo, detto;  // what it wrote, and as from attendi() and detto()
};

/// Runs a program to its end.
Risposta chiedi(Comando comando);

}  // namespace varno::provino
