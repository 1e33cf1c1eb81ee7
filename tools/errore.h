// Failures: a line for the user, and a status for the shell.
#pragma once

#include <string>
#include <vector>

namespace varno::provino {

/// What the program tells the shell.
enum Uscita { FATTO = 0, FALLITO = 1, USO = 2, SENZA_PLUGIN = 3 };

/// Thrown wherever a command cannot go on: one line for the user, and the exit code.
struct Errore {
    Uscita uscita = FALLITO;
    std::string testo;
};

/// Thrown for words of the command line that a command has no use for.
struct Inattese {
    std::vector<std::string> parole;
};

/// What is read has no such frame, though it promised one, and is whole.
struct Finito : Errore {};

[[noreturn]] inline void fallisci(std::string testo)
{
    throw Errore{FALLITO, std::move(testo)};
}
[[noreturn]] inline void rifiuta(std::string testo)
{
    throw Errore{USO, std::move(testo)};
}

inline std::string tra_apici(const std::string& s)
{
    return "'" + s + "'";
}

}  // namespace varno::provino
