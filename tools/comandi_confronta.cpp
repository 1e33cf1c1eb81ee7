#include "tools/argomenti.h"
#include "tools/comandi.h"
#include "tools/messaggi.h"
#include "tools/uscita.h"

#include <nlohmann/json.hpp>

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <limits>

namespace varno::provino {
namespace {

struct Differenza {
    double massima = 0.0;            // infinite where one value is no number and the other is
    std::size_t dove = 0;            // index of the float that differs most
    std::uint64_t ulp = 0;           // the most steps of a 32-bit float between two values
    std::uint64_t diversi = 0;       // values that differ
    double errore_quadratico = 0.0;  // mean
};

// Floats in the order of their values as integers, both zeros at 0.
std::int64_t gradino(float v)
{
    std::int32_t bit = 0;
    std::memcpy(&bit, &v, sizeof bit);
    return bit >= 0 ? bit : std::int64_t{std::numeric_limits<std::int32_t>::min()} - bit;
}

Differenza misura_differenza(const Foto& a, const Foto& b)
{
    Differenza d;
    const bool alfa = a.alfa || b.alfa;
    std::uint64_t quanti = 0;
    for (std::size_t i = 0; i < quanti_float(a); ++i) {
        if (i % 4 == 3 && !alfa)
            continue;
        ++quanti;
        const float x = a.rgba[i];
        const float y = b.rgba[i];
        if (x == y || (std::isnan(x) && std::isnan(y)))
            continue;
        ++d.diversi;
        const bool numeri = std::isfinite(x) && std::isfinite(y);
        const double scarto = numeri ? std::abs(static_cast<double>(x) - static_cast<double>(y))
                                     : std::numeric_limits<double>::infinity();
        d.errore_quadratico += scarto * scarto;
        if (scarto > d.massima) {
            d.massima = scarto;
            d.dove = i;
        }
        if (numeri)
            d.ulp = std::max(d.ulp, static_cast<std::uint64_t>(std::abs(gradino(x) - gradino(y))));
    }
    d.errore_quadratico /= static_cast<double>(std::max<std::uint64_t>(quanti, 1));
    return d;
}

// A on the left, B on the right, a white line of a few pixels between.
Foto affianca(const Foto& a, const Foto& b)
{
    Foto f = foto_nuova(a.larghezza, a.altezza);
    const int meta = a.larghezza / 2;
    const int linea = std::max(1, a.larghezza / 960);
    for (int y = 0; y < a.altezza; ++y)
        for (int x = 0; x < a.larghezza; ++x) {
            const auto i = 4 * (static_cast<std::size_t>(y) * a.larghezza + x);
            const Foto& da = x < meta ? a : b;
            const bool riga_bianca = x >= meta - linea && x < meta + linea && a.larghezza > 8;
            for (std::size_t c = 0; c < 4; ++c)
                f.rgba[i + c] = riga_bianca || c == 3 ? 1.0f : da.rgba[i + c];
        }
    return f;
}

}  // namespace

Esecuzione comando_confronta(CLI::App& programma)
{
    struct Opzioni {
        Scrittura scrittura;
        std::string a, b, affiancati;
        double limite = 0.0;
        bool json = false;
    };
    auto o = std::make_shared<Opzioni>();
    CLI::App* app = programma.add_subcommand(
        "confronta", "Compare two pictures; exit code 1 where they differ by more than the limit");
    app->add_option("A", o->a, "One picture")->required();
    app->add_option("B", o->b, "The other, of the same size")->required();
    app->add_option("--limit", o->limite, "Largest difference that passes; 0 wants equal values")
        ->check(CLI::NonNegativeNumber);
    app->add_option("--split", o->affiancati, "Write A left and B right of a divider");
    app->add_flag("--overwrite", o->scrittura.sovrascrivi, "Replace outputs that exist");
    app->add_flag("--json", o->json, "For machines");
    return [o] {
        if (!o->affiancati.empty()) {
            controlla_scrittura(o->affiancati, o->scrittura);
            controlla_uscita(o->affiancati, o->scrittura.sovrascrivi);
        }
        const Foto a = leggi_foto(o->a);
        const Foto b = leggi_foto(o->b);
        if (a.larghezza != b.larghezza || a.altezza != b.altezza)
            fallisci("the sizes differ: " + tra_apici(o->a) + " has " +
                     std::to_string(a.larghezza) + "x" + std::to_string(a.altezza) + ", " +
                     tra_apici(o->b) + " has " + std::to_string(b.larghezza) + "x" +
                     std::to_string(b.altezza));
        const Differenza d = misura_differenza(a, b);
        const double psnr = d.errore_quadratico > 0.0 ? -10.0 * std::log10(d.errore_quadratico)
                                                      : std::numeric_limits<double>::infinity();
        const std::size_t pixel = d.dove / 4;
        const auto larghezza = static_cast<std::size_t>(a.larghezza);
        const bool passa = d.massima <= o->limite;
        const char* canali[] = {"R", "G", "B", "A"};
        if (o->json) {
            // JSON has no infinity: null stands for it.
            riga(nlohmann::json{{"equal", d.diversi == 0},
                                {"passes", passa},
                                {"largest", d.massima},
                                {"x", pixel % larghezza},
                                {"y", pixel / larghezza},
                                {"channel", canali[d.dove % 4]},
                                {"ulp", d.ulp},
                                {"values_that_differ", d.diversi},
                                {"psnr_db", psnr}}
                     .dump());
        } else if (d.diversi == 0) {
            riga("equal: every value of both pictures is the same");
        } else {
            riga("largest difference " + testo_di(d.massima) + " at x " +
                 std::to_string(pixel % larghezza) + ", y " + std::to_string(pixel / larghezza) +
                 " in " + canali[d.dove % 4] + ", " + std::to_string(d.ulp) +
                 " float steps at most, " + std::to_string(d.diversi) + " values differ, PSNR " +
                 testo_di(std::round(psnr * 100.0) / 100.0) + " dB");
        }
        if (!o->affiancati.empty())
            scrivi_foto(o->affiancati, affianca(a, b), o->scrittura);
        if (!passa)
            fallisci("the pictures differ by more than the limit of " + testo_di(o->limite));
    };
}

}  // namespace varno::provino
