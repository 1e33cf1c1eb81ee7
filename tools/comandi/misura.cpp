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
#include <utility>
#include <vector>

namespace varno::provino {
namespace {

double mediana(std::vector<double> v)
{
    std::ranges::sort(v);
    return v[v.size() / 2];
}

// The test scene drawn small and blown up: content for the effects without the wait.
Foto soggetto(int larghezza, int altezza)
{
    const Foto piccola = disegna_scena(480, 270);
    Foto f = foto_nuova(larghezza, altezza);
    OIIO::ImageBuf grande = tela(f);
    OIIO::ImageBufAlgo::resample(grande, tela(piccola), false);
    return f;
}

struct OpzioniMisura {
    std::string misura = "1920x1080";
    int giri = 9;
    bool csv = false, json = false;
    OpzioniParametri parametri;
};

void misura(const OpzioniMisura& o)
{
    const auto [larghezza, altezza] = leggi_misura(o.misura);
    Plugin plugin = carica_plugin(o.parametri.plugin);
    const Impostazioni imp = leggi_impostazioni(plugin, o.parametri);
    const banco::IstanzaPtr istanza = istanza_con(plugin, imp);

    // The host's two pictures stay, as in a host that plays; only the render is timed.
    const Foto sorgente = soggetto(larghezza, altezza);
    Foto uscita = foto_nuova(larghezza, altezza);
    std::fill_n(uscita.rgba.get(), quanti_float(uscita), 0.0f);
    const auto fotogramma = [&] {
        const OIIO::Timer trascorsi;
        rendi_in(*istanza, sorgente, uscita, 0.0);
        return trascorsi() * 1000.0;  // milliseconds
    };
    const auto piu_volte = [&] {
        std::vector<double> tempi(static_cast<std::size_t>(o.giri));
        std::generate(tempi.begin(), tempi.end(), fotogramma);
        return mediana(tempi);
    };

    std::vector<std::pair<std::string, double>> voci;  // milliseconds
    voci.emplace_back("first frame", fotogramma());
    const double intero = piu_volte();
    voci.emplace_back("frame", intero);

    // A frame with another exposure rebuilds the table; what it takes beyond a plain one is
    // that.
    const double ev = banco::valore(*istanza, "ev");
    std::vector<double> rifatte;
    for (int giro = 0; giro < o.giri; ++giro) {
        banco::imposta(*istanza, "ev", ev + (giro % 2 == 0 ? 1e-9 : 0.0));
        rifatte.push_back(fotogramma() - intero);
    }
    banco::imposta(*istanza, "ev", ev);
    fotogramma();
    voci.emplace_back("table rebuild", std::max(0.0, mediana(rifatte)));

    // Each effect that is on, by itself, over the frame without any.
    std::vector<const banco::Parametro*> accesi;
    for (const auto& [p, quantita] : effetti(plugin))
        if (banco::valore(*istanza, p.nome) != 0.0) {
            accesi.push_back(&p);
            banco::imposta(*istanza, p.nome, 0.0);
        }
    const double nudo = piu_volte();
    voci.emplace_back("grade alone", nudo);
    for (const banco::Parametro* p : accesi) {
        banco::imposta(*istanza, p->nome, 1.0);
        voci.emplace_back(p->etichetta, std::max(0.0, piu_volte() - nudo));
        banco::imposta(*istanza, p->nome, 0.0);
    }

    if (o.json) {
        nlohmann::ordered_json j;
        j["plugin"] = plugin.file;
        j["size"] = o.misura;
        for (const auto& [nome, ms] : voci)
            j["milliseconds"][nome] = ms;
        j["frames_a_second"] = 1000.0 / intero;
        return riga(j.dump());
    }
    // Both forms of a line: for machines, and in columns for people.
    const auto di = [&](const std::string& nome, double v, const char* unita) {
        using OIIO::Strutil::sprintf;
        riga(o.csv ? sprintf("%s,%.3f", nome, v) : sprintf("%-24s %9.2f%s", nome, v, unita));
    };
    riga(o.csv ? "name,milliseconds" : "plug-in " + plugin.file);
    for (const auto& [nome, ms] : voci)
        di(nome, ms, " ms");
    di("frames a second", 1000.0 / intero, "");
}

}  // namespace

Sottocomando comando_misura()
{
    const auto o = std::make_shared<OpzioniMisura>();
    return {"misura",
            "measure",
            "Measure milliseconds a frame, through the plug-in",
            "  provino misura --size 3840x2160 -p look=Amber\n",
            unite({{{"--size", &o->misura, "WIDTHxHEIGHT"},
                    {"--rounds",
                     &o->giri,
                     "Frames a figure, whose median is told",
                     {.minimo = 1, .massimo = 1000}},
                    {"--csv", &o->csv, "name,milliseconds"},
                    {"--json", &o->json, "For machines", {.esclude = "--csv"}}},
                   opzioni_parametri(o->parametri)}),
            [o] { misura(*o); }};
}

}  // namespace varno::provino
