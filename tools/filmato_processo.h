// Other programs, started without a shell.
#pragma once

#include <cstddef>
#include <memory>
#include <string>
#include <sys/types.h>
#include <vector>

namespace varno::provino {

/// Another program under way, started without a shell. Ends with this record: its pipes are closed,
/// and it is killed where it still runs.
struct Processo {
    pid_t id = -1;
    std::string nome;
    int ingresso = -1;  // our ends of its pipes; -1: it has none, or it is closed
    int uscita = -1;
    int errori = -1;  // what it tells on its error channel, a file in memory

    Processo() = default;
    Processo(const Processo&) = delete;
    Processo& operator=(const Processo&) = delete;
    ~Processo();
};
using ProcessoPtr = std::unique_ptr<Processo>;

/// A program and its arguments.
using Comando = std::vector<std::string>;

/// The words of a text, none of which holds a blank.
Comando parole(const std::string& testo);

enum class Tubi { ingresso, uscita };

/// Starts ffmpeg or ffprobe with one pipe to us. Throws Errore where it is not installed.
ProcessoPtr avvia(Comando comando, Tubi tubi);

/// How many bytes came until so many were read or the other end closed.
std::size_t leggi_da(Processo& p, void* dati, std::size_t byte);

/// False where the program no longer reads.
bool scrivi_a(Processo& p, const void* dati, std::size_t byte);

/// The first line of what it told on its error channel, without the part of it that spoke.
std::string detto(const Processo& p);

/// Closes its pipes and waits for its end. Empty where it went well, else why not, in one line.
std::string attendi(Processo& p);

struct Risposta {
    std::string testo, motivo, detto;  // what it wrote, and as from attendi() and detto()
};

/// Runs a program to its end.
Risposta chiedi(Comando comando);

}  // namespace varno::provino
