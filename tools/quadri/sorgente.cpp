// What is read: a picture, a numbered sequence or a movie, all asked alike for a frame.
#include "tools/quadri/sorgente.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"

#include <algorithm>
#include <cstdlib>
#include <numeric>
#include <regex>
#include <set>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

constexpr long long NUMERO_LIMITE = 1'000'000'000;  // a frame number is an int in the plug-in
constexpr std::size_t QUANTI_LIMITE = 10'000'000;

// The word for log or a wide gamut in what a source tells of itself or is called; empty: none.
std::string parola_di_log(const std::string& testo)
{
    static const std::regex PAROLE(
        "(^|[^a-z0-9])((s-?|v-?|n-?|d-?|l-?|c-?|f-?|canon[ _-]?|apple[ _-]?)log ?-?[0-9]?|"
        "log-?c[34]?|log3g10|log(100|316)|kodaklog|logarithmic|printing density|"
        "s-?gamut3?(\\.cine)?|v-?gamut|cinema ?gamut|(bt|rec)\\.?2020|smpte43[12])"
        "([^a-z0-9]|$)",
        std::regex::icase);
    std::smatch m;
    return testo.size() < 4096 && std::regex_search(testo, m, PAROLE) ? m[2].str() : "";
}

}  // namespace

std::optional<Modello> modello_in(const std::string& percorso)
{
    static const std::regex SEGNI("#+|@+|%(0?[0-9]*)d");
    const auto inizio =
        percorso.cbegin() + static_cast<std::ptrdiff_t>(percorso.find_last_of('/') + 1);
    std::sregex_iterator trovato(inizio, percorso.cend(), SEGNI);
    if (trovato == std::sregex_iterator())
        return std::nullopt;
    const std::smatch m = *trovato;
    if (++trovato != std::sregex_iterator())
        rifiuta("'%s' has more than one place for the frame number: keep one", percorso);
    Modello modello{.prima = {percorso.cbegin(), m[0].first}, .dopo = m.suffix()};
    modello.cifre =
        m.str()[0] == '%' ? std::atoi(m[1].str().c_str()) : static_cast<int>(m.length());
    if (modello.cifre > 18)
        rifiuta("'%s' has a place of more than 18 digits for the frame number", percorso);
    return modello;
}

std::optional<Modello> modello_letto(const std::string& percorso)
{
    std::error_code e;
    return fs::exists(percorso, e) ? std::nullopt : modello_in(percorso);
}

std::string nome_al(const Modello& m, long long fotogramma)
{
    return sprintf("%s%s%0*d%s", m.prima, fotogramma < 0 ? "-" : "", m.cifre,
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
            rifiuta("frames are written as in 1-10,20-30x2, not '%s'", testo);
        const long long primo = std::atoll(m[1].str().c_str());
        const long long ultimo = m[2].matched ? std::atoll(m[2].str().c_str()) : primo;
        const long long passo = m[3].matched ? std::atoll(m[3].str().c_str()) : 1;
        if (passo < 1)
            rifiuta("the step of the frames '%s' must be 1 or more", pezzo);
        if (ultimo < primo)
            rifiuta("the frames '%s' end before they begin: write the lower number first", pezzo);
        if (std::llabs(primo) > NUMERO_LIMITE || std::llabs(ultimo) > NUMERO_LIMITE ||
            static_cast<std::size_t>((ultimo - primo) / passo) + fotogrammi.size() >= QUANTI_LIMITE)
            rifiuta("the frames '%s' are too many or too far out: 10 million at most, up to "
                    "1000000000",
                    pezzo);
        for (long long n = primo; n <= ultimo; n += passo)
            fotogrammi.insert(n);
    }
    return {fotogrammi.begin(), fotogrammi.end()};
}

Sorgente apri_sorgente(const std::string& nome, const Scelta& scelta, const ColoriFilmato& colori,
                       std::optional<long long> primo)
{
    Sorgente s{.nome = nome, .scelta = scelta};
    if (da_filmato(nome)) {
        s.proiezione = std::make_unique<Proiezione>(leggi_filmato(nome, colori));
        s.numeri.resize(static_cast<std::size_t>(s.proiezione->filmato.quanti));
        std::iota(s.numeri.begin(), s.numeri.end(), primo.value_or(1));
        return s;
    }
    s.modello = modello_letto(nome);
    if (s.modello)
        s.numeri = fotogrammi_esistenti(*s.modello);
    else
        s.numeri = {numero_in(nome).value_or(0)};
    if (s.numeri.empty())
        fallisci("no file is named like '%s'", nome);
    if (std::error_code e; nome.find('*') != nome.npos && !fs::exists(nome, e))
        rifiuta("a sequence is not written with '*': give '%s', in quotes",
                OIIO::Strutil::replace(nome, "*", "####"));
    return s;
}

void avvisa(const Sorgente& s)
{
    if (!s.proiezione)
        return;
    for (const std::string& testo : s.proiezione->filmato.note)
        avviso(tra_apici(s.nome) + " " + testo);
    for (const std::string& testo : s.proiezione->filmato.perdite)
        perdita(tra_apici(s.nome) + " " + testo);
}

std::string nome_al(const Sorgente& s, long long n)
{
    return s.modello ? nome_al(*s.modello, n) : s.nome;
}

Foto leggi(const Sorgente& s, long long n)
{
    if (!s.proiezione)
        return leggi_foto(nome_al(s, n), s.scelta);
    const std::lock_guard<std::mutex> chiuso(s.proiezione->mutex);
    return leggi_fotogramma(*s.proiezione, n - s.numeri.front() + 1);
}

OIIO::ImageSpec leggi_testata(const Sorgente& s)
{
    return s.proiezione ? testata_di(s.proiezione->filmato, 1)
                        : leggi_testata(nome_al(s, s.numeri.front()));
}

void avvisa_dei_colori(const Sorgente& s, const OIIO::ImageSpec& testata,
                       const std::string& formato)
{
    const Filmato vuoto;
    const Filmato& f = s.proiezione ? s.proiezione->filmato : vuoto;
    if (s.proiezione ? f.impostazioni.has_value() : impostazioni_in(testata).has_value())
        return nota(s.nome, "was developed by provino already, and is once more");
    const bool hlg = f.trasferimento == "arib-std-b67";
    if (hlg || f.trasferimento == "smpte2084")
        return nota(s.nome, std::string("is tagged as ") + (hlg ? "HLG" : "PQ") +
                                ", which is none of the log formats: its tones will not be right");
    if (!OIIO::Strutil::contains(formato, "No Log"))
        return;
    const OIIO::TypeDesc otto(OIIO::TypeDesc::FLOAT, 8);
    const OIIO::ParamValue* primari = testata.find_attribute("chromaticities", otto);
    const bool ampi = primari != nullptr && primari->get_float_indexed(3) > 0.65f;  // y of green
    std::string detto = ampi ? "a wide gamut" : "";
    std::vector<std::string> testi = {fs::path(s.nome).filename().string(), f.trasferimento,
                                      f.primari};
    for (const OIIO::ParamValue& v : testata.extra_attribs)
        if (v.type() == OIIO::TypeString && v.name() != "Software" &&
            v.name() != "Exif:ImageHistory")  // which name commands and other files
            testi.push_back(v.get_string());
    for (const std::string& t : testi)
        detto = detto.empty() ? parola_di_log(t) : detto;
    if (!detto.empty())
        nota(s.nome, "tells of " + detto + ", and the log format is " + formato +
                         ": -p formato chooses another");
}

std::optional<std::string> leggi_impostazioni(const Sorgente& s)
{
    return s.proiezione ? s.proiezione->filmato.impostazioni : impostazioni_in(leggi_testata(s));
}

}  // namespace varno::provino
