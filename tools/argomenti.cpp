#include "tools/argomenti.h"

#include "tools/errore.h"
#include "tools/formati.h"

#include <algorithm>
#include <cctype>
#include <charconv>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <numeric>

namespace varno::provino {
namespace {

std::string minuscolo(std::string_view s)
{
    std::string m(s);
    std::transform(m.begin(), m.end(), m.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return m;
}

// Changes of one letter that lead from one word to the other.
std::size_t distanza(const std::string& a, const std::string& b)
{
    std::vector<std::size_t> riga(b.size() + 1);
    std::iota(riga.begin(), riga.end(), std::size_t{0});
    for (std::size_t i = 1; i <= a.size(); ++i) {
        std::size_t diagonale = riga[0];
        riga[0] = i;
        for (std::size_t j = 1; j <= b.size(); ++j) {
            const std::size_t sopra = riga[j];
            riga[j] =
                std::min({sopra + 1, riga[j - 1] + 1, diagonale + (a[i - 1] == b[j - 1] ? 0 : 1)});
            diagonale = sopra;
        }
    }
    return riga[b.size()];
}

}  // namespace

std::string proposta(std::string_view scritto, const std::vector<std::string>& candidati)
{
    const std::string s = minuscolo(scritto);
    const std::string* vicino = nullptr;
    std::size_t minima = s.size() / 3 + 2;  // further off it is another word
    for (const std::string& c : candidati) {
        const std::size_t d = distanza(s, minuscolo(c));
        if (d < minima) {
            minima = d;
            vicino = &c;
        }
    }
    if (vicino == nullptr)  // the beginning or a part of one
        for (const std::string& c : candidati)
            if (vicino == nullptr && s.size() >= 3 && minuscolo(c).find(s) != std::string::npos)
                vicino = &c;
    return vicino == nullptr ? "" : "; did you mean " + tra_apici(*vicino) + "?";
}

bool leggi_numero(std::string_view testo, double& numero)
{
    const std::string s(testo);
    char* fine = nullptr;
    numero = std::strtod(s.c_str(), &fine);
    return !s.empty() && !std::isspace(static_cast<unsigned char>(s[0])) &&
           fine == s.c_str() + s.size() && std::isfinite(numero);
}

bool leggi_intero(std::string_view testo, long long& numero)
{
    const auto [fine, stato] = std::from_chars(testo.data(), testo.data() + testo.size(), numero);
    return stato == std::errc() && fine == testo.data() + testo.size() && !testo.empty();
}

std::pair<int, int> leggi_misura(const std::string& testo)
{
    const std::size_t x = testo.find('x');
    long long l = 0;
    long long a = 0;
    if (x == std::string::npos || !leggi_intero(testo.substr(0, x), l) ||
        !leggi_intero(testo.substr(x + 1), a))
        rifiuta("a size is written WIDTHxHEIGHT, as in 1920x1080, not " + tra_apici(testo));
    if (l < 1 || a < 1 || l > LATO_LIMITE || a > LATO_LIMITE || l * a > PIXEL_LIMITE)
        rifiuta("the size " + tra_apici(testo) +
                " is out of range: 1 to 65536 a side, 134 million pixels in all");
    return {static_cast<int>(l), static_cast<int>(a)};
}

std::string testo_di(double numero)
{
    char s[32];
    for (int cifre = 6; cifre <= 17; ++cifre) {
        std::snprintf(s, sizeof s, "%.*g", cifre, numero);
        if (std::strtod(s, nullptr) == numero)
            break;
    }
    return s;
}

}  // namespace varno::provino
