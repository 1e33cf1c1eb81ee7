// The clips of a run that makes a movie of each.
#pragma once

#include <string>
#include <vector>

namespace varno::provino {

/// A clip, and the movie that it becomes.
struct Rullo {
    std::string da, a;
};

/// Those that these names stand for, in order: a folder for the movies in it and below, a pattern
/// such as card/*.mov for the files that it fits, any other for itself. Their outputs lie in
/// `cartella`, which is not searched, under their own names with that ending. Throws Errore where
/// there is none, or two would become one.
std::vector<Rullo> rulli_di(const std::vector<std::string>& nomi, const std::string& cartella,
                            std::string desinenza);

}  // namespace varno::provino
