// What goes beside a movie's pictures: rate, shape, timecode, tags and sound of what is read.
#include "tools/argomenti.h"
#include "tools/quadri/filmato_flussi.h"

#include <OpenImageIO/strutil.h>

#include <cmath>

namespace varno::provino {

using OIIO::Strutil::splits;

std::vector<std::string> segui(ModoFilmato& modo, const Filmato& da, long long saltati, bool intero,
                               const std::string& audio)
{
    std::vector<std::string> note;
    modo.cadenza = da.cadenza;
    modo.forma = da.forma;
    modo.etichette = da.etichette;
    modo.timecode = timecode_dopo(da.timecode, da.cadenza, saltati);
    if (da.sottotitoli)
        note.emplace_back("is without the subtitles, which are not copied");
    if (!da.audio || audio == "none")
        return note;
    if (!intero) {
        note.emplace_back("is without audio, which is copied with whole clips only");
        return note;
    }
    modo.audio_da = da.file;
    modo.inizio = da.inizio;
    modo.audio = "copy";
    // Some take sound beside a picture alone.
    Comando prova = splits("ffmpeg -nostdin -v error -y -f lavfi -i color=s=720x576:r=25 -i");
    prova.push_back("file:" + da.file);
    for (const std::string& parola :
         splits("-map 0:v -map 1:a -c:v mpeg2video -c:a copy -t 0.1 -f " + modo.contenitore +
                " /dev/null"))
        prova.push_back(parola);
    if (audio != "aac" && chiedi(prova).motivo.empty())
        return note;
    const bool mxf = modo.contenitore == "mxf";
    const std::string diventa = mxf ? "PCM" : "AAC";
    if (audio == "copy")
        rifiuta("the output cannot hold the audio of " + tra_apici(da.file) +
                " as it is: --audio aac makes it " + diventa + ", none leaves it out");
    modo.audio = mxf ? "pcm_s24le -ar 48000" : "aac -b:a 320k";
    if (audio.empty())
        note.push_back("cannot hold the audio as it is, which becomes " + diventa +
                       " (--audio none leaves it out)");
    return note;
}

bool segui(ModoFilmato& modo, const OIIO::ImageSpec& testata)
{
    for (const char* nome : {"Copyright", "Artist", "Make", "Model"})
        if (const std::string v = testata.get_string_attribute(nome); !v.empty())
            modo.etichette[nome] = v;
    const float forma = testata.get_float_attribute("PixelAspectRatio", 1.0f);
    modo.forma = forma > 0.01f && forma < 100.0f ? testo_di(forma) : "1";
    if (const float v = cadenza_in(testata); modo.cadenza.empty() && v >= 1.0f && v <= 1000.0f)
        modo.cadenza = testo_di(v);
    modo.cadenza = cadenza_esatta(modo.cadenza);
    if (const OIIO::ParamValue* t = testata.find_attribute("smpte:TimeCode")) {
        modo.timecode = t->get_string();
        const bool salta = (t->get_int_indexed(0) & 0x40) != 0;  // which its words do not tell
        if (salta && modo.timecode.size() == 11 &&
            std::lround(numero_cadenza(modo.cadenza)) % 30 == 0)
            modo.timecode[8] = ';';
    }
    if (!modo.cadenza.empty())
        return true;
    modo.cadenza = "24";
    return false;
}

}  // namespace varno::provino
