// How a run goes on, told to people or machines.
#include "tools/comandi/racconto.h"

#include "tools/argomenti.h"
#include "tools/messaggi.h"
#include "tools/quadri/uscita.h"

#include <OpenImageIO/sysutil.h>
#include <OpenImageIO/timer.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unistd.h>

namespace varno::provino {
namespace {

using Json = nlohmann::ordered_json;

struct Racconto {
    const Lavoro& lavoro;
    bool con_barra = false;      // in place of lines
    OIIO::Timer trascorsi = {};  // seconds
    std::size_t fatti = 0, saltati = 0;
    std::vector<double> falliti = {};  // their times
};

constexpr const char* PULISCI = "\r\033[K";  // back to the line's beginning, and empty it

double al_secondo(const Racconto& r)
{
    return static_cast<double>(r.fatti) / std::max(r.trascorsi(), 1e-6);
}

void disegna_barra(const Racconto& r)
{
    const std::size_t quanti = r.lavoro.numeri.size();
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
        const std::size_t pieni = static_cast<std::size_t>(resto) * finiti / quanti;
        s = sprintf("[%-*s] %s", resto, std::string(pieni, '='), s);
    }
    barra(PULISCI + s);
}

Json numero_json(double tempo)
{
    if (tempo == std::floor(tempo) && std::abs(tempo) < 1e15)
        return static_cast<std::int64_t>(tempo);
    return tempo;
}

Json in_json(const Lavoro& l, const Resoconto& r)
{
    constexpr const char* ESITI[] = {"done", "skipped", "failed"};
    const long long n = l.numeri[r.indice];
    Json j = {{"frame", numero_json(tempo_al(l, r.indice))},
              {"in", nome_al(l.da, n)},
              {"out", nome_al(l.a, n)},
              {"status", ESITI[static_cast<int>(r.esito)]}};
    if (r.esito == Esito::fatto)
        j["seconds"] = r.secondi;
    if (!r.motivo.empty())
        j["error"] = r.motivo;
    return j;
}

void racconta(Racconto& r, const Resoconto& resoconto)
{
    const Lavoro& l = r.lavoro;
    const std::string uscita = nome_al(l.a, l.numeri[resoconto.indice]);
    const Esito esito = resoconto.esito;
    if (esito == Esito::fallito)
        r.falliti.push_back(tempo_al(l, resoconto.indice));
    else
        ++(esito == Esito::fatto ? r.fatti : r.saltati);
    conta_fotogrammi(r.fatti + r.saltati, l.numeri.size(), !l.a.ripresa);
    if (esito == Esito::fallito && r.con_barra)
        barra(PULISCI);
    if (esito == Esito::fallito && !resoconto.motivo.empty())  // else told when a stream failed
        errore(resoconto.motivo);
    if (r.con_barra)
        disegna_barra(r);
    else if (gVoce.json)
        tappa({}, in_json(l, resoconto));
    else if (esito == Esito::saltato)
        tappa(uscita + ": exists, skipped", {});
    else if (esito == Esito::fatto && !l.a.ripresa)
        tappa(sprintf("%s: done in %.2f s", uscita, resoconto.secondi), {});
}

void concludi(const Racconto& r)
{
    const std::size_t quanti = r.lavoro.numeri.size();
    if (r.con_barra)
        barra("\n");
    Json falliti = Json::array();
    std::string elenco;
    for (const double tempo : r.falliti) {
        falliti.push_back(numero_json(tempo));
        elenco += ' ';
        elenco += testo_di(tempo);
    }
    if (quanti > 1 || gVoce.json)
        tappa(sprintf("%d of %d frames in %.1f s, %.2f a second%s", r.fatti, quanti, r.trascorsi(),
                      al_secondo(r), r.saltati > 0 ? sprintf(", %d skipped", r.saltati) : ""),
              {{"done", r.fatti},
               {"skipped", r.saltati},
               {"failed", falliti},
               {"seconds", r.trascorsi()},
               {"frames_per_second", al_secondo(r)}});
    if (!elenco.empty() && quanti > 1 && !r.lavoro.da.proiezione && !r.lavoro.a.ripresa)
        errore(sprintf("%d of %d frames failed:%s", r.falliti.size(), quanti, elenco));
}

}  // namespace

void di_plugin(const std::string& file)
{
    tappa("plug-in " + file, {{"plugin", file}});
}

void di_scritta(const std::string& file)
{
    if (gVoce.json)
        tappa({}, {{"out", file}});
}

bool esegui_e_racconta(const Lavoro& lavoro, const std::vector<banco::IstanzaPtr>& istanze)
{
    Racconto r{lavoro, !gVoce.json && !gVoce.muta && lavoro.numeri.size() > 1 &&
                           isatty(canale_errori()) == 1};
    const bool riuscito =
        esegui_lavoro(lavoro, istanze, [&](const Resoconto& uno) { racconta(r, uno); });
    concludi(r);
    return riuscito;
}

}  // namespace varno::provino
