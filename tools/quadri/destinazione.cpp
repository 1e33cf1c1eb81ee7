// What is written: a picture, a numbered sequence or a movie, all given frames alike.
#include "tools/quadri/destinazione.h"

#include "tools/messaggi.h"

#include <OpenImageIO/strutil.h>

#include <algorithm>
#include <filesystem>
#include <system_error>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

void apri_ripresa(Destinazione& a, const Sorgente& da)
{
    const ModoDestinazione& m = a.modo;
    if (da.modello && modello_in(a.nome))
        rifiuta(tra_apici(a.nome) +
                " is one movie for all frames: leave out the place for the frame number");
    if (m.salta || (m.continua && da.proiezione) || !m.scrittura.profondita.empty() ||
        !m.scrittura.compressione.empty())
        rifiuta("--depth, --compression, --skip-existing and --continue-on-error are for "
                "pictures; a movie takes --codec and --quality");
    ModoFilmato come = scegli_modo(a.nome, m.codec, m.qualita);
    if (!m.audio.empty() && !da.proiezione)
        rifiuta("--audio is for a movie that becomes a movie");
    if (!m.cadenza.empty() && da.proiezione)
        rifiuta("--rate is for a sequence that becomes a movie");
    if (!m.cadenza.empty() && numero_cadenza(m.cadenza) == 0.0)
        rifiuta("--rate takes frames a second, as in 24 or 24000/1001, not " +
                tra_apici(m.cadenza));
    if (da.proiezione && !da.proiezione->filmato.costante)
        fallisci(tra_apici(da.nome) +
                 " has a variable frame rate; make it constant first: ffmpeg -i " + da.nome +
                 " -fps_mode cfr -r " + da.proiezione->filmato.cadenza +
                 " -c:v ffv1 -c:a copy constant.mkv");
    come.scala = m.scala;
    for (const std::string& s : OIIO::Strutil::splits(m.scritte, ",")) {
        if (s != "name" && s != "timecode")
            rifiuta("--burn takes name, timecode or both, as in name,timecode, not " +
                    tra_apici(m.scritte));
        come.scritte[s] = s == "name" ? fs::path(da.nome).stem().string() : "00:00:00:00";
    }
    a.ripresa = std::make_unique<Ripresa>(a.nome, std::move(come));
}

}  // namespace

Destinazione apri_destinazione(const std::string& nome, const ModoDestinazione& modo,
                               const Sorgente& da)
{
    Destinazione a{.nome = nome, .modo = modo};
    if (nome_di_filmato(nome)) {
        apri_ripresa(a, da);
        return a;
    }
    if (!modo.audio.empty())
        rifiuta("--audio is for a movie that becomes a movie");
    if (!modo.codec.empty() || !modo.qualita.empty())
        rifiuta("--codec and --quality are for a movie that is written");
    if (modo.scala > 0 || !modo.scritte.empty())
        rifiuta("--scale and --burn are for a movie that is written");
    if (!modo.cadenza.empty())
        rifiuta("--rate is for a sequence that becomes a movie");
    a.modello = modello_in(nome);
    controlla_scrittura(nome, modo.scrittura, true);
    return a;
}

std::string nome_al(const Destinazione& a, long long n)
{
    return a.modello ? nome_al(*a.modello, n) : a.nome;
}

void controlla(const Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri)
{
    if (!a.modello && !a.ripresa && numeri.size() > 1)
        rifiuta(std::to_string(numeri.size()) + " frames would go into the one file " +
                tra_apici(a.nome) + ": put #### where the frame number goes");
    const bool sovrascrivi = a.modo.scrittura.sovrascrivi;
    std::vector<long long> mancano;
    for (const long long n : numeri) {
        const std::string uscita = nome_al(a, n);
        std::error_code e;
        const bool esiste = fs::is_regular_file(uscita, e);
        if (esiste && a.modo.salta)
            continue;
        if (da.modello && !a.modo.continua && !std::ranges::binary_search(da.numeri, n))
            mancano.push_back(n);
        if (a.ripresa && n != numeri.front())
            continue;
        non_sopra(uscita, nome_al(da, n));
        if (esiste && !sovrascrivi && a.modello && numeri.size() > 1)
            fallisci(tra_apici(uscita) + " exists already: give --overwrite to replace such "
                                         "frames or --skip-existing to leave them");
        controlla_uscita(uscita, sovrascrivi);
    }
    if (!mancano.empty())
        fallisci(OIIO::Strutil::sprintf("there is no file '%s': %d of %d frames are missing, and "
                                        "--continue-on-error goes on without them",
                                        nome_al(da, mancano[0]), mancano.size(), numeri.size()));
}

void segui(Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri)
{
    if (!a.ripresa)
        return;
    const std::string nome = tra_apici(a.nome);
    ModoFilmato& modo = a.ripresa->scrittura.modo;
    if (!da.proiezione) {
        modo.cadenza = a.modo.cadenza;
        // Where frames may be missing, the first that is there tells.
        const auto prima = std::ranges::find_if(numeri, [&](long long n) {
            return !da.modello || std::ranges::binary_search(da.numeri, n);
        });
        if (!segui(modo,
                   leggi_testata(nome_al(da, prima == numeri.end() ? numeri.front() : *prima))))
            avviso(nome + " runs at 24 frames a second, since the pictures do not tell (--rate "
                          "overrules)");
        return;
    }
    const Filmato& f = da.proiezione->filmato;
    const bool intero = numeri.size() == da.numeri.size();
    for (const std::string& nota :
         segui(modo, f, numeri.front() - da.numeri.front(), intero, a.modo.audio))
        perdita(nome + " " + nota);
}

void scrivi(Destinazione& a, long long n, const Foto& foto)
{
    if (!a.ripresa)
        return scrivi_foto(nome_al(a, n), foto, a.modo.scrittura, a.impostazioni);
    ModoFilmato& modo = a.ripresa->scrittura.modo;
    if (foto.alfa && modo.formato_con_alfa.empty())
        nota(a.nome, "is without alpha: --codec prores4444 or ffv1 hold it");
    modo.impostazioni = a.impostazioni;
    scrivi_fotogramma(a.ripresa->scrittura, foto);
}

void concludi(Destinazione& a)
{
    if (!a.ripresa)
        return;
    concludi(a.ripresa->scrittura);
    dai_nome(a.ripresa->provvisorio, a.modo.scrittura.sovrascrivi);
}

}  // namespace varno::provino
