// What is read: a picture, a numbered sequence or a movie, all asked alike for a frame.
#include "tools/quadri/sorgente.h"

#include "tools/errore.h"

#include <OpenImageIO/strutil.h>

#include <filesystem>
#include <numeric>
#include <system_error>

namespace varno::provino {

Sorgente apri_sorgente(const std::string& nome, const Scelta& scelta, const ColoriFilmato& colori,
                       std::optional<long long> primo)
{
    Sorgente s{.nome = nome, .scelta = scelta};
    if (da_filmato(nome)) {
        s.proiezione = std::make_unique<Proiezione>(leggi_filmato(nome, colori));
        s.note = s.proiezione->filmato.note;
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

std::string leggi_cadenza(const Sorgente& s)
{
    if (s.proiezione)
        return s.proiezione->filmato.cadenza;
    ModoFilmato modo;
    return segui(modo, leggi_testata(s)) ? modo.cadenza : "";
}

std::optional<std::string> leggi_impostazioni(const Sorgente& s)
{
    return s.proiezione ? s.proiezione->filmato.impostazioni : impostazioni_in(leggi_testata(s));
}

}  // namespace varno::provino
