// Failures: a line for the user, and a status for the shell.
#pragma once

#include <OpenImageIO/strutil.h>

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

/// As printf writes it, of texts and numbers of any kind. OpenImageIO's own is compiled anew, for
/// three seconds, in every file that calls it.
std::string componi(const char* forma, fmt::printf_args cose);
template <class... Cose> std::string sprintf(const char* forma, const Cose&... cose)
{
    return componi(forma, fmt::make_printf_args(cose...));
}

[[noreturn]] inline void fallisci(std::string testo)
{
    throw Errore{FALLITO, std::move(testo)};
}
[[noreturn]] inline void rifiuta(std::string testo)
{
    throw Errore{USO, std::move(testo)};
}
/// The same, written as sprintf has it.
template <class Prima, class... Altre>
[[noreturn]] void fallisci(const char* forma, const Prima& prima, const Altre&... altre)
{
    fallisci(sprintf(forma, prima, altre...));
}
template <class Prima, class... Altre>
[[noreturn]] void rifiuta(const char* forma, const Prima& prima, const Altre&... altre)
{
    rifiuta(sprintf(forma, prima, altre...));
}

inline std::string tra_apici(const std::string& s)
{
    return "'" + s + "'";
}

}  // namespace varno::provino
