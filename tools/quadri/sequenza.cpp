// Names of numbered pictures.
#include "tools/quadri/sequenza.h"

#include "tools/argomenti.h"
#include "tools/errore.h"

#include <OpenImageIO/strutil.h>

#include <cstdlib>
#include <regex>
#include <set>
#include <system_error>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr long long NUMERO_LIMITE = 1'000'000'000;  // a frame number is an int in the plug-in
constexpr std::size_t QUANTI_LIMITE = 10'000'000;

}  // namespace

std::optional<Modello> modello_in(const std::string& percorso)
{
    static const std::regex SEGNI("#+|@+|%(0?[0-9]*)d");
    const auto inizio = percorso.cbegin() + (percorso.find_last_of('/') + 1);
    std::sregex_iterator trovato(inizio, percorso.cend(), SEGNI);
    if (trovato == std::sregex_iterator())
        return std::nullopt;
    const std::smatch m = *trovato;
    if (++trovato != std::sregex_iterator())
        rifiuta(tra_apici(percorso) + " has more than one place for the frame number: keep one");
    Modello modello{.prima = {percorso.cbegin(), m[0].first}, .dopo = m.suffix()};
    modello.cifre =
        m.str()[0] == '%' ? std::atoi(m[1].str().c_str()) : static_cast<int>(m.length());
    if (modello.cifre > 18)
        rifiuta(tra_apici(percorso) + " has a place of more than 18 digits for the frame number");
    return modello;
}

std::optional<Modello> modello_letto(const std::string& percorso)
{
    std::error_code e;
    return fs::exists(percorso, e) ? std::nullopt : modello_in(percorso);
}

std::string nome_al(const Modello& m, long long fotogramma)
{
    return OIIO::Strutil::sprintf("%s%s%0*d%s", m.prima, fotogramma < 0 ? "-" : "", m.cifre,
                                  std::llabs(fotogramma), m.dopo);
}

std::optional<long long> numero_in(const std::string& percorso)
{
    static const std::regex FINE("([0-9]{1,9})$");
    const std::string radice = fs::path(percorso).stem().string();
    std::smatch m;
    if (!std::regex_search(radice, m, FINE))
        return std::nullopt;
    return std::atoll(m[1].str().c_str());
}

std::string buchi(const std::vector<long long>& fotogrammi)
{
    std::string s;
    for (std::size_t i = 1; i < fotogrammi.size(); ++i) {
        const long long da = fotogrammi[i - 1] + 1;
        const long long a = fotogrammi[i] - 1;
        if (da <= a)
            s += (s.empty() ? "" : ", ") + std::to_string(da) +
                 (da < a ? "-" + std::to_string(a) : "");
    }
    return s;
}

std::vector<long long> fotogrammi_esistenti(const Modello& m)
{
    const fs::path inizio(m.prima);
    const fs::path cartella = inizio.has_parent_path() ? inizio.parent_path() : fs::path(".");
    const std::size_t prima = inizio.filename().string().size();
    std::set<long long> trovati;
    std::error_code e;
    for (fs::directory_iterator i(cartella, e), fine; !e && i != fine; i.increment(e)) {
        const std::string nome = i->path().filename().string();
        long long n = 0;
        if (nome.size() >= prima + m.dopo.size() &&
            leggi_intero(nome.substr(prima, nome.size() - prima - m.dopo.size()), n) &&
            fs::path(nome_al(m, n)).filename() == nome)
            trovati.insert(n);
    }
    return {trovati.begin(), trovati.end()};
}

std::vector<long long> leggi_fotogrammi(const std::string& testo)
{
    static const std::regex TRATTO("(-?[0-9]{1,10})(?:-(-?[0-9]{1,10})(?:x([0-9]{1,10}))?)?");
    std::set<long long> fotogrammi;
    for (const std::string& pezzo : OIIO::Strutil::splits(testo, ",")) {
        std::smatch m;
        if (!std::regex_match(pezzo, m, TRATTO))
            rifiuta("frames are written as in 1-10,20-30x2, not " + tra_apici(testo));
        const long long primo = std::atoll(m[1].str().c_str());
        const long long ultimo = m[2].matched ? std::atoll(m[2].str().c_str()) : primo;
        const long long passo = m[3].matched ? std::atoll(m[3].str().c_str()) : 1;
        if (passo < 1)
            rifiuta("the step of the frames " + tra_apici(pezzo) + " must be 1 or more");
        if (ultimo < primo)
            rifiuta("the frames " + tra_apici(pezzo) +
                    " end before they begin: write the lower number first");
        if (std::llabs(primo) > NUMERO_LIMITE || std::llabs(ultimo) > NUMERO_LIMITE ||
            static_cast<std::size_t>((ultimo - primo) / passo) + fotogrammi.size() >= QUANTI_LIMITE)
            rifiuta("the frames " + tra_apici(pezzo) +
                    " are too many or too far out: 10 million at most, up to 1000000000");
        for (long long n = primo; n <= ultimo; n += passo)
            fotogrammi.insert(n);
    }
    return {fotogrammi.begin(), fotogrammi.end()};
}

}  // namespace varno::provino
