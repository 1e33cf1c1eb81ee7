// How a run goes on, told to people or machines.
#include "tools/comandi/racconto.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/uscita.h"

#include <OpenImageIO/strutil.h>
#include <OpenImageIO/sysutil.h>
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <nlohmann/json.hpp>
#include <unistd.h>

namespace varno::provino {
namespace {

using Json = nlohmann::ordered_json;
using OIIO::Strutil::sprintf;

constexpr const char* PULISCI = "\r\033[K";  // back to the line's beginning, and empty it

void di(const std::string& testo, const Json& json)
{
    try {
        esito(testo, json.dump(-1, ' ', false, Json::error_handler_t::replace));
    } catch (const Errore&) {
    }
}

double al_secondo(const Racconto& r)
{
    return static_cast<double>(r.fatti) / std::max(r.trascorsi(), 1e-6);
}

void disegna_barra(const Racconto& r, std::size_t quanti)
{
    const std::size_t finiti = r.fatti + r.saltati + r.falliti.size();
    std::string s = sprintf("%d/%d", finiti, quanti);
    if (r.fatti > 0) {
        const long restano = std::lround(static_cast<double>(quanti - finiti) / al_secondo(r));
        s += sprintf("  %.2f a second, %d:%02d left", al_secondo(r), restano / 60, restano % 60);
    }
    // What the text leaves of the line, one column of which stays free.
    const int resto =
        std::min(OIIO::Sysutil::terminal_columns(), 80) - static_cast<int>(s.size()) - 4;
    if (resto >= 5) {
        const auto larga = static_cast<std::size_t>(resto);
        const std::size_t pieni = larga * finiti / quanti;
        s = "[" + std::string(pieni, '=') + std::string(larga - pieni, ' ') + "] " + s;
    }
    barra(PULISCI + s);
}

Json numero_json(double tempo)
{
    if (tempo == std::floor(tempo) && std::abs(tempo) < 1e15)
        return static_cast<std::int64_t>(tempo);
    return tempo;
}

Json in_json(const Fotogramma& f, const Resoconto& r)
{
    constexpr const char* ESITI[] = {"done", "skipped", "failed"};
    Json j = {{"frame", numero_json(f.tempo)},
              {"in", f.ingresso},
              {"out", f.uscita},
              {"status", ESITI[static_cast<int>(r.esito)]}};
    if (r.esito == Esito::fatto)
        j["seconds"] = r.secondi;
    if (!r.motivo.empty())
        j["error"] = r.motivo;
    return j;
}

}  // namespace

void di_plugin(const std::string& file)
{
    di("plug-in " + file, {{"plugin", file}});
}

void di_scritta(const std::string& file)
{
    if (voce() == Voce::json)
        di("", {{"out", file}});
}

Racconto racconto_nuovo(std::size_t fotogrammi)
{
    Racconto r;
    r.con_barra = voce() == Voce::righe && fotogrammi > 1 && isatty(canale_errori()) == 1;
    return r;
}

void racconta(Racconto& r, const Lavoro& lavoro, const Resoconto& resoconto)
{
    const Fotogramma& f = lavoro.fotogrammi[resoconto.indice];
    if (resoconto.esito == Esito::fatto)
        ++r.fatti;
    else if (resoconto.esito == Esito::saltato)
        ++r.saltati;
    else
        r.falliti.push_back(f.tempo);
    conta_fotogrammi(r.fatti + r.saltati, lavoro.fotogrammi.size(), !lavoro.scrive_in_ordine);
    if (resoconto.esito == Esito::fallito) {
        if (r.con_barra)
            barra(PULISCI);
        if (!resoconto.motivo.empty())  // else a stream failed before, and said so
            errore(resoconto.motivo);
    }
    if (r.con_barra)
        disegna_barra(r, lavoro.fotogrammi.size());
    else if (voce() == Voce::json)
        di("", in_json(f, resoconto));
    else if (resoconto.esito == Esito::saltato)
        di(f.uscita + ": exists, skipped", {});
    else if (resoconto.esito == Esito::fatto && !lavoro.scrive_in_ordine)
        di(sprintf("%s: done in %.2f s", f.uscita, resoconto.secondi), {});
}

void concludi(Racconto& r, const Lavoro& lavoro)
{
    const std::size_t quanti = lavoro.fotogrammi.size();
    if (r.con_barra)
        barra("\n");
    Json falliti = Json::array();
    for (const double tempo : r.falliti)
        falliti.push_back(numero_json(tempo));
    if (quanti > 1 || voce() == Voce::json)
        di(sprintf("%d of %d frames in %.1f s, %.2f a second", r.fatti, quanti, r.trascorsi(),
                   al_secondo(r)) +
               (r.saltati > 0 ? ", " + std::to_string(r.saltati) + " skipped" : ""),
           {{"done", r.fatti},
            {"skipped", r.saltati},
            {"failed", falliti},
            {"seconds", r.trascorsi()},
            {"frames_per_second", al_secondo(r)}});
    std::string elenco;
    for (const double tempo : r.falliti)
        elenco += " " + testo_di(tempo);
    if (!elenco.empty() && quanti > 1 && !lavoro.legge_in_ordine && !lavoro.scrive_in_ordine)
        errore(sprintf("%d of %d frames failed:%s", r.falliti.size(), quanti, elenco));
}

}  // namespace varno::provino
