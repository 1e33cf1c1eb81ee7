// Frames out of a movie, decoded by ffmpeg.
#include "tools/argomenti.h"
#include "tools/quadri/filmato_flussi.h"

#include <cmath>

namespace varno::provino {
namespace {

constexpr long long VICINO = 48;  // frames that are sooner read over than sought

std::size_t byte_per_fotogramma(const Filmato& f)
{
    const std::size_t piani = f.alfa_sotto ? 6 : f.alfa ? 4 : 3;
    return piani * static_cast<std::size_t>(f.byte) * static_cast<std::size_t>(f.larghezza) *
           static_cast<std::size_t>(f.altezza);
}

void apri(LetturaFilmato& l, long long numero)
{
    const Filmato& f = l.filmato;
    Comando c =
        OIIO::Strutil::splits("ffmpeg -nostdin -v error -xerror -protocol_whitelist file,pipe "
                              "-noautorotate");
    std::string grafo = f.grafo;
    if (numero > 1 && f.costante && f.si_cerca) {
        // Half a frame early: times are rounded, and never by so much.
        const double secondi =
            f.inizio + (static_cast<double>(numero) - 1.5) / numero_cadenza(f.cadenza);
        c.insert(c.end(), {"-ss", testo_di(secondi)});
    } else if (numero > 1) {
        grafo = "trim=start_frame=" + std::to_string(numero - 1) + "," + grafo;
    }
    c.insert(c.end(),
             {"-i", "file:" + f.file, "-map", "0:" + std::to_string(f.traccia), "-vf", grafo,
              "-fps_mode", "passthrough", "-f", "rawvideo", "-pix_fmt", f.formato, "pipe:1"});
    l.decodifica = avvia(c, SUA_USCITA);
    l.prossimo = numero;
}

// Whole, with fewer frames than its packets, is what plays as long as it tells.
[[noreturn]] void interrotta(LetturaFilmato& l)
{
    const Filmato& f = l.filmato;
    const std::string nome = tra_apici(f.file);
    const std::string motivo = attendi(*l.decodifica);
    const bool muta = detto(*l.decodifica).empty();
    l.decodifica.reset();
    if (!motivo.empty())
        fallisci("cannot decode " + nome + " at frame " + std::to_string(l.prossimo) + ": " +
                 motivo);
    const long long avuti = l.prossimo - 1;
    const std::string fine =
        nome + " ends after frame " + std::to_string(avuti) + " of " + std::to_string(f.quanti);
    l.finita =
        muta && f.durata * numero_cadenza(f.cadenza) - static_cast<double>(avuti) <= RIORDINO;
    if (l.finita)
        throw Finito{{FALLITO, fine}};
    fallisci(fine + ": it is cut short; copy the file again");
}

// From planes of green, blue, red and alpha.
template <class Campione> void intreccia(const Filmato& f, const unsigned char* byte, Foto& foto)
{
    const std::size_t n = quanti_float(foto) / 4;
    const std::size_t piano = f.alfa_sotto ? 2 * n : n;
    const auto* g = reinterpret_cast<const Campione*>(byte);
    const Campione* piani[] = {g + 2 * piano, g, g + piano, f.alfa_sotto ? g + n : g + 3 * piano};
    const float massimo = std::ldexp(1.0f, f.bit) - 1.0f;
    const float scala = sizeof(Campione) < 4 ? 1.0f / massimo : 1.0f;
    // Legal is 16 to 235 of 255, with as many bits more behind the point as there are.
    const float codici = massimo / std::ldexp(1.0f, f.bit - 8);
    for (std::size_t i = 0; i < n; ++i)
        for (std::size_t c = 0; c < 4; ++c) {
            const float v = c < 3 || f.alfa ? static_cast<float>(piani[c][i]) * scala : 1.0f;
            foto.rgba[4 * i + c] = f.legale && c < 3 ? (v * codici - 16.0f) / 219.0f : v;
        }
}

}  // namespace

OIIO::ImageSpec testata_di(const Filmato& f, long long numero)
{
    OIIO::ImageSpec testata(f.larghezza, f.altezza, f.alfa ? 4 : 3, OIIO::TypeHalf);
    for (const auto& [nome, valore] : f.etichette)
        testata.attribute(nome, valore);
    int cadenza[2] = {0, 1};
    if (std::sscanf(f.cadenza.c_str(), "%d/%d", &cadenza[0], &cadenza[1]) >= 1)
        testata.attribute("FramesPerSecond", OIIO::TypeRational, cadenza);
    float forma[2] = {1.0f, 1.0f};
    if (std::sscanf(f.forma.c_str(), "%f/%f", &forma[0], &forma[1]) == 2)
        testata.attribute("PixelAspectRatio", forma[0] / forma[1]);
    // SMPTE 12M as EXR and DPX hold it: two decimal digits a byte, hours first.
    std::string t = timecode_dopo(f.timecode, f.cadenza, numero - 1);
    if (t.size() != 11)
        return testata;
    const unsigned salta = t[8] == ';' ? 0x40 : 0;  // drops numbers
    std::erase_if(t, [](char c) { return c < '0' || c > '9'; });
    const unsigned codice[2] = {OIIO::Strutil::stoui(t, nullptr, 16) | salta, 0};
    testata.attribute("smpte:TimeCode", OIIO::TypeTimeCode, codice);
    return testata;
}

Foto leggi_fotogramma(LetturaFilmato& l, long long numero)
{
    const Filmato& f = l.filmato;
    if (l.finita)
        throw Finito{{FALLITO, {}}};
    if (l.fallita)
        throw Errore{FALLITO, {}};
    l.fallita = true;  // until it went well
    if (!l.decodifica || numero < l.prossimo || numero > l.prossimo + VICINO)
        apri(l, numero);
    l.campioni.resize(byte_per_fotogramma(f));
    for (; l.prossimo <= numero; ++l.prossimo)
        if (std::fread(l.campioni.data(), 1, l.campioni.size(), l.decodifica->tubo) !=
            l.campioni.size())
            interrotta(l);
    Foto foto = foto_nuova(f.larghezza, f.altezza, f.alfa);
    const auto intreccia_di = f.byte == 1   ? intreccia<std::uint8_t>
                              : f.byte == 2 ? intreccia<std::uint16_t>
                                            : intreccia<float>;
    intreccia_di(f, l.campioni.data(), foto);
    foto.testata = testata_di(f, numero);
    l.fallita = false;
    return foto;
}

}  // namespace varno::provino
