// Outputs that appear whole under their names, or not at all.
#pragma once

#include <cstddef>
#include <filesystem>
#include <functional>
#include <memory>
#include <string>
#include <string_view>

namespace varno::provino {

/// Throws Errore where an output may not or cannot be written: it exists and is not to be
/// overwritten, is a folder, or its folder is missing.
void controlla_uscita(const std::filesystem::path& finale, bool sovrascrivi);

/// Throws Errore where an output is a file that is read.
void non_sopra(const std::filesystem::path& uscita, const std::filesystem::path& ingresso);

/// A file or a folder with all that is in it, which goes with this, or on a signal that ends the
/// program (not on SIGKILL, which leaves ".provino-*.tmp").
struct Elimina {
    void operator()(const std::filesystem::path* nome) const;
};
using Effimero = std::unique_ptr<const std::filesystem::path, Elimina>;

/// A file beside an output, to be filled, which goes unless it was given the final name by then:
/// under that name stands the whole file or what stood there before.
struct Provvisorio {
    Effimero file;
    std::filesystem::path finale;  // where a symbolic link points to: the link itself stays
};
Provvisorio accanto_a(const std::filesystem::path& dato);

/// A folder of the user's alone where the system keeps such; none where it cannot be made.
Effimero cartella_provvisoria();

/// Gives it the final name, in one step. Throws Errore where that exists and is not to be
/// overwritten.
void dai_nome(const Provvisorio& p, bool sovrascrivi);

/// Lets `scrivi` fill a file beside the final one and then gives it the final name.
void scrivi_intero(const std::filesystem::path& finale, bool sovrascrivi,
                   const std::function<void(const std::filesystem::path&)>& scrivi);

/// All bytes into a file. Throws Errore with the system's reason.
void scrivi_byte(const std::filesystem::path& file, std::string_view dati, const std::string& nome);

/// scrivi_intero for a text.
void scrivi_testo(const std::filesystem::path& finale, bool sovrascrivi, const std::string& testo);

/// How many frames of how many are done, as a signal that ends the program tells, and whether
/// another run can go on.
void conta_fotogrammi(std::size_t fatti, std::size_t quanti, bool ripresa);

/// Makes the signals that end a program remove unfinished files first, and writing beyond a size
/// limit an error instead of a signal; keeps the numbers of closed channels from files.
void prepara_segnali();

}  // namespace varno::provino
