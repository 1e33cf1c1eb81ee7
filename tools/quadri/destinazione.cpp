// What is written: a picture, a numbered sequence or a movie, all given frames alike.
#include "tools/quadri/destinazione.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <filesystem>

namespace varno::provino {
namespace {

namespace fs = std::filesystem;

// "name,timecode", and what stands there before a frame tells better.
std::map<std::string, std::string> leggi_scritte(const std::string& testo, const Sorgente& da)
{
    std::map<std::string, std::string> scritte;
    for (const std::string& s : OIIO::Strutil::splits(testo, ",")) {
        if (s != "name" && s != "timecode")
            rifiuta("--burn takes name, timecode or both, as in name,timecode, not '%s'", testo);
        scritte[s] = s == "name" ? fs::path(da.nome).stem().string() : "00:00:00:00";
    }
    return scritte;
}

// As a movie has it, which counts frames and not pairs, and tells by a sign that it drops numbers.
std::string timecode_di(const OIIO::ParamValue& t, const std::string& cadenza)
{
    std::string s = t.get_string();
    const long al_secondo = std::lround(numero_cadenza(cadenza));
    const unsigned segni = t.get_int_indexed(0);
    if (s.size() == 11 && (segni & TIMECODE_SALTA) != 0 && al_secondo % 30 == 0)
        s[8] = ';';
    if (s.size() == 11 && al_secondo > 30) {
        const int secondo = (segni & TIMECODE_SECONDO) != 0 ? 1 : 0;
        s.replace(9, 2, sprintf("%02d", 2 * std::atoi(&s[9]) + secondo));
    }
    return s;
}

// Rate, unless it is asked for, timecode, shape and tags of the first picture that is there.
void segui_foto(Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri)
{
    const auto prima = std::ranges::find_if(numeri, [&](long long n) {
        return !da.modello || std::ranges::binary_search(da.numeri, n);
    });
    const OIIO::ImageSpec testata =
        leggi_testata(nome_al(da, prima == numeri.end() ? numeri.front() : *prima), da.scelta);
    Ripresa& r = *a.ripresa;
    for (const char* nome : {"Copyright", "Artist", "Make", "Model"})
        if (const std::string v = testata.get_string_attribute(nome); !v.empty())
            r.etichette[nome] = v;
    const float forma = testata.get_float_attribute("PixelAspectRatio", 1.0f);
    r.forma = forma > 0.01f && forma < 100.0f ? testo_di(forma) : "1";
    const float sua = cadenza_in(testata);
    const bool ne_ha = sua >= 1.0f && sua <= 1000.0f;
    const OIIO::ParamValue* t = testata.find_attribute("smpte:TimeCode");
    const bool salta = t != nullptr && (t->get_int_indexed(0) & TIMECODE_SALTA) != 0;
    const std::string usuale = salta ? "30000/1001" : "24";
    r.cadenza = !a.modo.cadenza.empty() ? a.modo.cadenza : ne_ha ? testo_di(sua) : usuale;
    r.cadenza = cadenza_esatta(r.cadenza);
    r.timecode = t != nullptr ? timecode_di(*t, r.cadenza) : "";
    if (a.modo.cadenza.empty() && !ne_ha)
        avviso(sprintf("'%s' runs at %s frames a second, since the pictures %s (--rate overrules)",
                       a.nome, usuale,
                       salta ? "tell of it by a drop-frame timecode alone" : "do not tell"));
}

// The sound of a movie: as it is where the container takes that, else as AAC, or PCM for MXF.
// Returns what there is to say of it, behind the output's name.
std::string segui_suono(Ripresa& r, const Filmato& da, const std::string& audio)
{
    r.audio_da = da.file;
    r.inizio = da.inizio;
    r.audio = "copy";
    // Some take sound beside a picture alone.
    Comando prova;
    aggiungi(prova, "ffmpeg -nostdin -v error -y -f lavfi -i color=s=720x576:r=25 -i",
             {"file:" + da.file});
    aggiungi(prova, "-map 0:v -map 1:a -c:v mpeg2video -c:a copy -t 0.1 -f " + r.contenitore +
                        " /dev/null");
    if (audio != "aac" && chiedi(prova).motivo.empty())
        return {};
    const bool mxf = r.contenitore == "mxf";
    const std::string diventa = mxf ? "PCM" : "AAC";
    if (audio == "copy")
        rifiuta("the output cannot hold the audio of '%s' as it is: --audio aac makes it %s, none "
                "leaves it out",
                da.file, diventa);
    r.audio = mxf ? "pcm_s24le -ar 48000" : "aac -b:a 320k";
    return audio.empty() ? "cannot hold the audio as it is, which becomes " + diventa +
                               " (--audio none leaves it out)"
                         : "";
}

}  // namespace

Destinazione apri_destinazione(const std::string& nome, const ModoDestinazione& modo,
                               const Sorgente& da)
{
    Destinazione a{.nome = nome, .modo = modo};
    const bool film = nome_di_filmato(nome);
    const bool da_film = da.proiezione != nullptr;
    if (film && da.modello && modello_in(nome))
        rifiuta("'%s' is one movie for all frames: leave out the place for the frame number", nome);
    if (film && (modo.salta || (modo.continua && da_film) || !modo.scrittura.profondita.empty() ||
                 !modo.scrittura.compressione.empty()))
        rifiuta("--depth, --compression, --skip-existing and --continue-on-error are for "
                "pictures; a movie takes --codec and --quality");
    if (film)
        a.ripresa = apri_ripresa(nome, modo.codec, modo.qualita);
    if (!modo.audio.empty() && !(film && da_film))
        rifiuta("--audio is for a movie that becomes a movie");
    if (!film && !(modo.codec + modo.qualita).empty())
        rifiuta("--codec and --quality are for a movie that is written");
    if (!film && (modo.scala > 0 || !modo.scritte.empty()))
        rifiuta("--scale and --burn are for a movie that is written");
    if (!modo.cadenza.empty() && (da_film || !film))
        rifiuta("--rate is for a sequence that becomes a movie");
    if (!film) {
        a.modello = modello_in(nome);
        controlla_scrittura(nome, modo.scrittura, true);
        return a;
    }
    if (!modo.cadenza.empty() && numero_cadenza(modo.cadenza) == 0.0)
        rifiuta("--rate takes frames a second, as in 24 or 24000/1001, not '%s'", modo.cadenza);
    if (da_film && !da.proiezione->filmato.costante)
        fallisci("'%s' has a variable frame rate; make it constant first: ffmpeg -i '%s' -fps_mode "
                 "cfr -r %s -c:v ffv1 -c:a copy constant.mkv",
                 da.nome, da.nome, da.proiezione->filmato.cadenza);
    a.ripresa->scala = modo.scala;
    a.ripresa->scritte = leggi_scritte(modo.scritte, da);
    return a;
}

std::string nome_al(const Destinazione& a, long long n)
{
    return a.modello ? nome_al(*a.modello, n) : a.nome;
}

void controlla(const Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri)
{
    if (!a.modello && !a.ripresa && numeri.size() > 1)
        rifiuta("%d frames would go into the one file '%s': put #### where the frame number goes",
                numeri.size(), a.nome);
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
            fallisci("'%s' exists already: give --overwrite to replace such frames or "
                     "--skip-existing to leave them",
                     uscita);
        controlla_uscita(uscita, sovrascrivi);
    }
    if (!mancano.empty())
        fallisci("there is no file '%s': %d of %d frames are missing, and --continue-on-error goes "
                 "on without them",
                 nome_al(da, mancano[0]), mancano.size(), numeri.size());
}

void segui(Destinazione& a, const Sorgente& da, const std::vector<long long>& numeri)
{
    if (!a.ripresa)
        return;
    if (!da.proiezione)
        return segui_foto(a, da, numeri);
    const std::string nome = tra_apici(a.nome);
    Ripresa& r = *a.ripresa;
    const Filmato& f = da.proiezione->filmato;
    static_cast<Corredo&>(r) = f;
    r.timecode = timecode_dopo(f.timecode, f.cadenza, numeri.front() - da.numeri.front());
    const bool intero = numeri.size() == da.numeri.size();
    const std::string suono = !f.audio || a.modo.audio == "none" ? ""
                              : intero                           ? segui_suono(r, f, a.modo.audio)
                                       : "is without audio, which is copied with whole clips only";
    if (f.sottotitoli)
        perdita(nome + " is without the subtitles, which are not copied");
    if (!suono.empty())
        perdita(nome + " " + suono);
}

void avvisa_di_cio_che_manca(const Destinazione& a, long long n, const Foto& foto)
{
    if (!a.ripresa)
        return avvisa_di_cio_che_manca(nome_al(a, n), foto);
    const Ripresa& r = *a.ripresa;
    if (foto.alfa && r.formato_con_alfa.empty())
        nota(a.nome, "is without alpha: --codec prores4444 or ffv1 hold it");
    if (ha_finestra(foto.testata))
        nota(a.nome, SENZA_FINESTRA);
    // ffmpeg takes it from the stream, where these have none that it keeps.
    if (numero_cadenza(r.forma) != 1.0 && r.contenitore == "mxf" && r.codec != "libx264")
        nota(a.nome, "does not keep the pixels' shape of " + r.forma + ": a .mov or .mkv does");
}

void scrivi(Destinazione& a, long long n, const Foto& foto)
{
    if (!a.ripresa)
        return scrivi_foto(nome_al(a, n), foto, a.modo.scrittura, a.impostazioni);
    avvisa_di_cio_che_manca(a, n, foto);
    scrivi_fotogramma(*a.ripresa, foto, a.impostazioni);
}

void concludi(Destinazione& a)
{
    if (a.ripresa)
        concludi(*a.ripresa, a.modo.scrittura.sovrascrivi);
}

}  // namespace varno::provino
