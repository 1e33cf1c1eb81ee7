// Names of numbered pictures.
#pragma once

#include <filesystem>
#include <optional>
#include <string>
#include <vector>

namespace varno::provino {

/// A file name with a place for the frame number.
struct Modello {
    std::string prima, dopo;  // the path before and behind the number
    int cifre = 0;            // filled up with zeroes to so many
};

/// The place in the last part of a path: "####" or "@@@@" (as many digits as signs), "%04d" or
/// "%d". None where there is no such sign; throws Errore (usage) where there are several.
std::optional<Modello> modello_in(const std::string& percorso);

/// Of a name that is read: none where a file is called just so, whatever signs are in it.
std::optional<Modello> modello_letto(const std::string& percorso);

std::string nome_al(const Modello& m, long long fotogramma);

/// The number that a file's name ends in, before the ending; none where there is none.
std::optional<long long> numero_in(const std::string& percorso);

/// "4-5, 9": the frames that are missing between the first and the last.
std::string buchi(const std::vector<long long>& fotogrammi);

/// The frames that exist as files, in order.
std::vector<long long> fotogrammi_esistenti(const Modello& m);

/// "1-10,20-30x2": in order, each once. Throws Errore (usage).
std::vector<long long> leggi_fotogrammi(const std::string& testo);

}  // namespace varno::provino
