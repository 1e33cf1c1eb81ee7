// What is read: a picture, a numbered sequence or a movie, all asked alike for a frame.
#include "tools/quadri/sorgente.h"

#include "tools/messaggi.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <filesystem>
#include <numeric>
#include <regex>
#include <system_error>

namespace varno::provino {
namespace {

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
        fallisci("no file is named like " + tra_apici(nome));
    if (std::error_code e; nome.find('*') != nome.npos && !std::filesystem::exists(nome, e))
        rifiuta("a sequence is not written with '*': give '" +
                OIIO::Strutil::replace(nome, "*", "####") + "', in quotes");
    return s;
}

void avvisa(const Sorgente& s)
{
    if (!s.proiezione)
        return;
    std::ranges::for_each(s.proiezione->filmato.note, avviso);
    std::ranges::for_each(s.proiezione->filmato.perdite, perdita);
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
    return leggi_fotogramma(s.proiezione->lettura, n - s.numeri.front() + 1);
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
    std::vector<std::string> testi = {std::filesystem::path(s.nome).filename().string(),
                                      f.trasferimento, f.primari};
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
