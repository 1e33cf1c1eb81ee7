// Values of options: numbers and sizes, and what was perhaps meant.
#pragma once

#include "banco/banco.h"

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace varno::provino {

/// "; did you mean 'x'?" for the candidate that is nearest to what was typed, or nothing where none
/// is near.
std::string proposta(std::string_view scritto, const std::vector<std::string>& candidati);

/// A whole text as a finite number, also a fraction such as 1/4; false otherwise.
bool leggi_numero(std::string_view testo, double& numero);
bool leggi_intero(std::string_view testo, long long& numero);

/// "1920x1080", each side 1 to 65536 and 134 million pixels at most. Throws Errore (usage).
std::pair<int, int> leggi_misura(const std::string& testo);

/// Text of a number, as short as reads back the same.
using banco::testo_di;

/// A float as the double that its shortest decimal means: 0.28f is 0.28. Any other double as it is.
double accorcia(double numero);

}  // namespace varno::provino
