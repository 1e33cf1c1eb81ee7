// provino misura: how long frames take.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/messaggi.h"
#include "tools/scena/scena.h"

#include <OpenImageIO/imagebufalgo.h>
#include <OpenImageIO/timer.h>
#include <nlohmann/json.hpp>

#include <algorithm>
#include <memory>

namespace varno::provino {
namespace {

struct OpzioniMisura {
    std::string misura = "1920x1080";
    int giri = 9;
    bool csv = false, json = false;
    OpzioniParametri parametri;
};

// The test scene drawn small and blown up: content for the effects without the wait.
Foto soggetto(int larghezza, int altezza)
{
    const Foto piccola = disegna_scena(480, 270);
    Foto f = foto_nuova(larghezza, altezza);
    OIIO::ImageBuf grande = tela(f);
    OIIO::ImageBufAlgo::resample(grande, tela(piccola), false);
    return f;
}

// The median of so many milliseconds.
template <class Fai> double mediana(int giri, const Fai& fai)
{
    std::vector<double> v(static_cast<std::size_t>(giri));
    for (int giro = 0; giro < giri; ++giro)
        v[static_cast<std::size_t>(giro)] = fai(giro);
    std::ranges::sort(v);
    return v[v.size() / 2];
}

// Milliseconds, by name.
Json misura(const Plugin& plugin, banco::Istanza& istanza, const Foto& sorgente, int giri)
{
    // The host's two pictures stay, as in a host that plays; only the render is timed.
    Foto uscita = foto_nuova(sorgente.larghezza, sorgente.altezza);
    std::fill_n(uscita.rgba.get(), quanti_float(uscita), 0.0f);
    const auto fotogramma = [&](int = 0) {
        const OIIO::Timer trascorsi;
        rendi_in(istanza, sorgente, uscita, 0.0);
        return trascorsi() * 1000.0;
    };
    Json voci = {{"first frame", fotogramma()}};
    const double intero = mediana(giri, fotogramma);
    voci["frame"] = intero;

    // A frame with another exposure rebuilds the table; what it takes beyond a plain one is
    // that.
    const double ev = banco::valore(istanza, "ev");
    const double rifatta = mediana(giri, [&](int giro) {
        banco::imposta(istanza, "ev", ev + (giro % 2 == 0 ? 1e-9 : 0.0));
        return fotogramma() - intero;
    });
    banco::imposta(istanza, "ev", ev);
    fotogramma();
    voci["table rebuild"] = std::max(0.0, rifatta);

    // Each effect that is on, by itself, over the frame without any.
    std::vector<const banco::Parametro*> accesi;
    for (const auto& [p, quantita] : effetti(plugin))
        if (banco::valore(istanza, p.nome) != 0.0) {
            accesi.push_back(&p);
            banco::imposta(istanza, p.nome, 0.0);
        }
    const double nudo = mediana(giri, fotogramma);
    voci["grade alone"] = nudo;
    for (const banco::Parametro* p : accesi) {
        banco::imposta(istanza, p->nome, 1.0);
        voci[p->etichetta] = std::max(0.0, mediana(giri, fotogramma) - nudo);
        banco::imposta(istanza, p->nome, 0.0);
    }
    return voci;
}

void misura(const OpzioniMisura& o)
{
    const auto [larghezza, altezza] = leggi_misura(o.misura);
    Plugin plugin = carica_plugin(o.parametri.plugin);
    const banco::IstanzaPtr istanza = istanza_con(plugin, leggi_impostazioni(plugin, o.parametri));
    const Json voci = misura(plugin, *istanza, soggetto(larghezza, altezza), o.giri);
    const double al_secondo = 1000.0 / voci["frame"].get<double>();
    if (o.json)
        return riga(testo_di({{"plugin", plugin.file},
                              {"size", o.misura},
                              {"milliseconds", voci},
                              {"frames_a_second", al_secondo}}));
    // Both forms of a line: for machines, and in columns for people.
    const auto di = [&](const std::string& nome, double v, const char* unita) {
        riga(o.csv ? sprintf("%s,%.3f", nome, v) : sprintf("%-24s %9.2f%s", nome, v, unita));
    };
    riga(o.csv ? "name,milliseconds" : "plug-in " + plugin.file);
    for (const auto& [nome, ms] : voci.items())
        di(nome, ms, " ms");
    di("frames a second", al_secondo, "");
}

}  // namespace

// clang-format off
Sottocomando comando_misura()
{
    const auto o = std::make_shared<OpzioniMisura>();
    return {"misura", "measure", "Measure milliseconds a frame, through the plug-in",
            "  provino misura --size 3840x2160 -p look=Amber\n",
            unite({{{"--size", &o->misura, "WIDTHxHEIGHT"},
                    {"--rounds", &o->giri, "Frames a figure, whose median is told", {.minimo = 1, .massimo = 1000}},
                    {"--csv", &o->csv, "name,milliseconds"},
                    {"--json", &o->json, "For machines", {.esclude = "--csv"}}},
                   opzioni_parametri(o->parametri)}),
            [o] { misura(*o); }};
}
// clang-format on

}  // namespace varno::provino
