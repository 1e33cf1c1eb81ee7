// provino lut: the grade as a .cube file.
#include "tools/argomenti.h"
#include "tools/comandi/comandi.h"
#include "tools/comandi/racconto.h"
#include "tools/messaggi.h"
#include "tools/quadri/uscita.h"
#include "tools/scena/scena.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <array>
#include <cmath>
#include <filesystem>
#include <memory>
#include <utility>

namespace varno::provino {
namespace {

// A picture whose pixels are the grid points, red fastest: one row a green-blue pair.
Foto griglia(int lato)
{
    Foto f = foto_nuova(lato, lato * lato);
    for (std::size_t i = 0; i < quanti_float(f) / 4; ++i) {
        auto resto = static_cast<int>(i);
        for (std::size_t c = 0; c < 3; ++c, resto /= lato)
            f.rgba[4 * i + c] = static_cast<float>(static_cast<double>(resto % lato) / (lato - 1));
        f.rgba[4 * i + 3] = 1.0f;
    }
    return f;
}

// What a grading program makes of the cube: trilinear, held to its edges.
std::array<double, 3> campiona(const Foto& cubo, int lato, const float* codice)
{
    std::array<double, 3> somma{};
    for (int angolo = 0; angolo < 8; ++angolo) {
        double peso = 1.0;
        std::size_t punto = 0;
        for (int c = 2; c >= 0; --c) {
            const double p = std::clamp(static_cast<double>(codice[c]), 0.0, 1.0) * (lato - 1);
            const int sotto = std::min(static_cast<int>(p), lato - 2);
            const int sopra = angolo >> c & 1;
            peso *= sopra != 0 ? p - sotto : 1.0 - (p - sotto);
            punto =
                punto * static_cast<std::size_t>(lato) + static_cast<std::size_t>(sotto + sopra);
        }
        for (std::size_t c = 0; c < 3; ++c)
            somma[c] += peso * static_cast<double>(cubo.rgba[4 * punto + c]);
    }
    return somma;
}

// The log format and, where one belongs to it, the gamut, as the plug-in words them.
std::string nome_ingresso(const Plugin& plugin, const banco::Istanza& i)
{
    std::string s = formato_di(plugin, i);
    for (const banco::Parametro& p : plugin.parametri)
        if (p.nome.starts_with("cs_") && !banco::nascosto(i, p.nome))
            s += " / " + valore_scritto(plugin, i, p.nome);
    return s;
}

// The look, the input, and what else of the grade is not as the plug-in has it from the start.
std::string titolo(const Plugin& plugin, const banco::Istanza& i)
{
    std::string s =
        "Varno Color: " + valore_scritto(plugin, i, "look") + ", " + nome_ingresso(plugin, i);
    for (const banco::Parametro& p : plugin.parametri) {
        const double v = banco::valore(i, p.nome);
        if (p.opzioni.empty() && !di_effetto(plugin, p) && v != p.predefinito)
            s += ", " + p.nome + " " + scrivi_valore(p, v);
    }
    return s;
}

std::string testo_cubo(const Foto& cubo, int lato, const Plugin& plugin, const banco::Istanza& i,
                       const std::string& impostazioni)
{
    std::string s = sprintf("# Varno Color, the grade without effects\n"
                            "# Input: code values of %s, full range, 0 to 1\n"
                            "# Output: Rec.709 primaries, display-encoded with gamma 2.4, 0 to 1\n"
                            "# Settings: %s\n"
                            "TITLE \"%s\"\n"
                            "LUT_3D_SIZE %d\n"
                            "DOMAIN_MIN 0 0 0\n"
                            "DOMAIN_MAX 1 1 1\n"
                            "# red fastest, then green, then blue\n",
                            nome_ingresso(plugin, i), impostazioni, titolo(plugin, i), lato);
    for (std::size_t p = 0; p < quanti_float(cubo); ++p)
        if (p % 4 < 3)
            s += testo_di(accorcia(static_cast<double>(cubo.rgba[p]))) + (p % 4 < 2 ? ' ' : '\n');
    return s;
}

// How far the cube is off the plug-in on the test scene: at most, and on average.
std::pair<double, double> confronta(const Foto& cubo, int lato, banco::Istanza& istanza)
{
    const Foto scena = disegna_scena(960, 540);
    const Foto vera = rendi_foto(istanza, scena, 0.0);
    double massimo = 0.0;
    double somma = 0.0;
    for (std::size_t p = 0; p < quanti_float(scena); p += 4) {
        const auto c = campiona(cubo, lato, &scena.rgba[p]);
        for (std::size_t k = 0; k < 3; ++k) {
            const double d = std::abs(c[k] - static_cast<double>(vera.rgba[p + k]));
            massimo = std::max(massimo, d);
            somma += d;
        }
    }
    return {massimo, somma / (static_cast<double>(quanti_float(scena)) * 0.75)};
}

struct OpzioniLut {
    std::string uscita;
    int lato = 33;
    double tempo = 0.0;
    bool sovrascrivi = false;
    OpzioniParametri parametri;
};

void scrivi_lut(const OpzioniLut& o)
{
    if (std::filesystem::path(o.uscita).extension() != ".cube")
        rifiuta(tra_apici(o.uscita) + " must end in .cube");
    Plugin plugin = carica_plugin(o.parametri.plugin);
    const Impostazioni imp = leggi_impostazioni(plugin, o.parametri);
    controlla_uscita(o.uscita, o.sovrascrivi);
    const banco::IstanzaPtr istanza = istanza_con(plugin, imp);
    const std::string impostazioni = testo_di(in_json(plugin, *istanza, imp));
    di_plugin(plugin.file);
    avvisa_nulla_di_fatto(plugin, *istanza, imp);
    for (const banco::Parametro& p : plugin.parametri)  // what the keys come to
        banco::imposta(*istanza, p.nome, banco::valore(*istanza, p.nome, &o.tempo));
    for (const Effetto& e : effetti(plugin))
        banco::imposta(*istanza, e.interruttore.nome, 0.0);

    const Foto cubo = rendi_foto(*istanza, griglia(o.lato), 0.0);
    scrivi_testo(o.uscita, o.sovrascrivi, testo_cubo(cubo, o.lato, plugin, *istanza, impostazioni));
    const auto [massimo, media] = confronta(cubo, o.lato, *istanza);
    esito(sprintf("%s: %d points an axis; on the test scene at most %.3g off the plug-in, "
                  "%.3g on average",
                  o.uscita, o.lato, massimo, media),
          {{"average", media}, {"largest", massimo}, {"out", o.uscita}, {"points", o.lato}});
}

}  // namespace

// clang-format off
Sottocomando comando_lut()
{
    const auto o = std::make_shared<OpzioniLut>();
    return {"lut", nullptr, "Write the grade, without effects, as a .cube",
            "  provino lut amber.cube --size 65 -p formato=\"Sony S-Log3\" -p look=Amber\n",
            unite({{{"OUT", &o->uscita, "The .cube file to write"},
                    {"--size", &o->lato, "Points an axis: 17, 32, 33, 64, 65 or 81; 81 are the plug-in's own",
                     {.valori = {"17", "32", "33", "64", "65", "81"}}},
                    {"--time", &o->tempo, "Time at which keyed settings are read"},
                    opzione_sostituisci(o->sovrascrivi)},
                   opzioni_parametri(o->parametri), opzioni_voce()}),
            [o] { scrivi_lut(*o); }};
}
// clang-format on

}  // namespace varno::provino
