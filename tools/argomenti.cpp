// Values of options: numbers and sizes, and what was perhaps meant.
#include "tools/argomenti.h"

#include "tools/errore.h"
#include "tools/quadri/formati.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <system_error>

namespace varno::provino {
namespace {

template <class Numero> bool leggi(std::string_view testo, Numero& numero)
{
    if (testo.starts_with('+'))
        testo.remove_prefix(1);
    const auto [fine, stato] = std::from_chars(testo.data(), testo.data() + testo.size(), numero);
    return stato == std::errc() && fine == testo.data() + testo.size();
}

}  // namespace

std::string proposta(std::string_view scritto, const std::vector<std::string>& candidati)
{
    using namespace OIIO::Strutil;
    const auto nudo = [](std::string_view c) {
        c.remove_prefix(std::min(c.find_first_not_of('-'), c.size()));  // of an option
        return lower(std::string(c));
    };
    const std::string s = nudo(scritto);
    const std::string* vicino = nullptr;
    std::size_t minima = s.size() / 3 + 2;  // further off it is another word
    for (const std::string& c : candidati)
        if (const std::size_t d = edit_distance(s, nudo(c)); d < minima) {
            minima = d;
            vicino = &c;
        }
    for (const std::string& c : candidati)  // the beginning or a part of one
        if (vicino == nullptr && s.size() >= 3 && contains(nudo(c), s))
            vicino = &c;
    return vicino == nullptr ? "" : "; did you mean " + tra_apici(*vicino) + "?";
}

bool leggi_numero(std::string_view testo, double& numero)
{
    const std::size_t barra = testo.find('/');
    double sotto = 1.0;
    if (!leggi(testo.substr(0, barra), numero) ||
        (barra != std::string_view::npos && !leggi(testo.substr(barra + 1), sotto)))
        return false;
    numero /= sotto;
    return std::isfinite(numero);
}

bool leggi_intero(std::string_view testo, long long& numero)
{
    return leggi(testo, numero);
}

std::pair<int, int> leggi_misura(const std::string& testo)
{
    const std::vector<std::string> lati = OIIO::Strutil::splits(testo, "x");
    long long l = 0;
    long long a = 0;
    if (lati.size() != 2 || !leggi_intero(lati[0], l) || !leggi_intero(lati[1], a))
        rifiuta("a size is written WIDTHxHEIGHT, as in 1920x1080, not " + tra_apici(testo));
    if (l < 1 || a < 1 || l > LATO_LIMITE || a > LATO_LIMITE || l * a > PIXEL_LIMITE)
        rifiuta("the size " + tra_apici(testo) +
                " is out of range: 1 to 65536 a side, 134 million pixels in all");
    return {static_cast<int>(l), static_cast<int>(a)};
}

double accorcia(double numero)
{
    const auto f = static_cast<float>(numero);
    char t[32];
    if (static_cast<double>(f) == numero)
        leggi({t, std::to_chars(t, std::end(t), f).ptr}, numero);
    return numero;
}

}  // namespace varno::provino
