#include "tools/foglio.h"

#include "tools/argomenti.h"
#include "tools/etichette.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstring>
#include <utility>

namespace varno::provino {
namespace {

constexpr int COLONNE = 4;
constexpr float SFONDO = 0.075f;
constexpr float SCRITTA[3] = {0.82f, 0.82f, 0.80f};

struct Posto {
    int colonna, riga, lato;  // in cells
};

// The large one top left, the small ones row by row in what is left of four by four.
Posto posto_di(int n)
{
    if (n == 0)
        return {0, 0, 2};
    if (n <= 4)
        return {2 + (n - 1) % 2, (n - 1) / 2, 1};
    return {(n - 5) % COLONNE, 2 + (n - 5) / COLONNE, 1};
}

// How much of each source sample a target sample covers.
struct Copertura {
    int da = 0;
    std::vector<float> pesi;
};

std::vector<Copertura> coperture(int da, int a)
{
    std::vector<Copertura> tutte(static_cast<std::size_t>(a));
    const double passo = static_cast<double>(da) / a;
    for (int i = 0; i < a; ++i) {
        Copertura& c = tutte[static_cast<std::size_t>(i)];
        const double inizio = i * passo;
        const double fine = std::min<double>(da, (i + 1) * passo);
        c.da = static_cast<int>(inizio);
        for (int s = c.da; s < da && s < fine; ++s)
            c.pesi.push_back(static_cast<float>(
                (std::min<double>(s + 1, fine) - std::max<double>(s, inizio)) / (fine - inizio)));
    }
    return tutte;
}

const float* pixel(const Foto& f, int x, int y)
{
    return &f.rgba[4 * (static_cast<std::size_t>(y) * static_cast<std::size_t>(f.larghezza) +
                        static_cast<std::size_t>(x))];
}

float* pixel(Foto& f, int x, int y)
{
    return const_cast<float*>(pixel(std::as_const(f), x, y));
}

}  // namespace

Ritaglio leggi_ritaglio(const std::string& testo)
{
    const std::size_t p = testo.find('+');
    const std::size_t q = p == std::string::npos ? p : testo.find('+', p + 1);
    long long x = 0;
    long long y = 0;
    if (q == std::string::npos || !leggi_intero(testo.substr(p + 1, q - p - 1), x) ||
        !leggi_intero(testo.substr(q + 1), y) || x < 0 || y < 0 || x > LATO_LIMITE ||
        y > LATO_LIMITE)
        rifiuta("a crop is written WIDTHxHEIGHT+X+Y, as in 640x360+100+50, not " +
                tra_apici(testo));
    const auto misura = leggi_misura(testo.substr(0, p));
    return {static_cast<int>(x), static_cast<int>(y), misura.first, misura.second};
}

Foto ritaglia(const Foto& foto, const Ritaglio& r)
{
    if (r.x + r.larghezza > foto.larghezza || r.y + r.altezza > foto.altezza)
        rifiuta("the crop reaches outside the picture of " + std::to_string(foto.larghezza) + "x" +
                std::to_string(foto.altezza));
    Foto f = foto_nuova(r.larghezza, r.altezza);
    for (int y = 0; y < r.altezza; ++y)
        std::memcpy(pixel(f, 0, y), pixel(foto, r.x, r.y + y),
                    sizeof(float) * 4 * static_cast<std::size_t>(r.larghezza));
    return f;
}

Foto riduci(const Foto& foto, int larghezza, int altezza)
{
    Foto f = foto_nuova(larghezza, altezza);
    const std::vector<Copertura> per_x = coperture(foto.larghezza, larghezza);
    const std::vector<Copertura> per_y = coperture(foto.altezza, altezza);
    const std::size_t riga = std::size_t{4} * static_cast<std::size_t>(foto.larghezza);
    std::vector<float> somma(riga);
    for (int y = 0; y < altezza; ++y) {
        const Copertura& v = per_y[static_cast<std::size_t>(y)];
        std::fill(somma.begin(), somma.end(), 0.0f);
        for (std::size_t j = 0; j < v.pesi.size(); ++j) {
            const float* da = &foto.rgba[(static_cast<std::size_t>(v.da) + j) * riga];
            for (std::size_t i = 0; i < riga; ++i)
                somma[i] += v.pesi[j] * da[i];
        }
        for (int x = 0; x < larghezza; ++x) {
            const Copertura& h = per_x[static_cast<std::size_t>(x)];
            std::array<float, 3> c{};
            for (std::size_t i = 0; i < h.pesi.size(); ++i)
                for (std::size_t k = 0; k < 3; ++k)
                    c[k] += h.pesi[i] * somma[4 * (static_cast<std::size_t>(h.da) + i) + k];
            float* p = pixel(f, x, y);
            std::copy(c.begin(), c.end(), p);
            p[3] = 1.0f;
        }
    }
    return f;
}

Foglio foglio_nuovo(int larghezza, int foto_l, int foto_a)
{
    Foglio f;
    f.margine = std::max(2, larghezza / 200);
    f.cella_l = (larghezza - (COLONNE + 1) * f.margine) / COLONNE;
    f.etichetta = std::max(9, f.cella_l / 14);
    f.cella_a = static_cast<int>(std::lround(static_cast<double>(f.cella_l) * foto_a / foto_l));
    const std::int64_t altezza =
        f.margine + std::int64_t{COLONNE} * (f.cella_a + f.etichetta + f.margine);
    if (f.cella_l < 48 || f.cella_a < 1 || altezza > LATO_LIMITE ||
        larghezza * altezza > PIXEL_LIMITE)
        rifiuta("a sheet " + std::to_string(larghezza) +
                " wide has no room for pictures of this shape: give another --width");
    f.foto = foto_nuova(larghezza, static_cast<int>(altezza));
    for (std::size_t i = 0; i < quanti_float(f.foto); ++i)
        f.foto.rgba[i] = i % 4 == 3 ? 1.0f : SFONDO;
    return f;
}

void incolla(Foglio& foglio, int posto, const Foto& foto, const std::string& etichetta)
{
    const Posto p = posto_di(posto);
    const int x0 = foglio.margine + p.colonna * (foglio.cella_l + foglio.margine);
    const int y0 = foglio.margine + p.riga * (foglio.cella_a + foglio.etichetta + foglio.margine);
    const int larghezza = p.lato * foglio.cella_l + (p.lato - 1) * foglio.margine;
    const int altezza =
        p.lato * foglio.cella_a + (p.lato - 1) * (foglio.etichetta + foglio.margine);
    const Foto piccola = riduci(foto, larghezza, altezza);
    for (int y = 0; y < altezza; ++y)
        std::memcpy(pixel(foglio.foto, x0, y0 + y),
                    &piccola.rgba[std::size_t{4} * static_cast<std::size_t>(y) *
                                  static_cast<std::size_t>(larghezza)],
                    sizeof(float) * 4 * static_cast<std::size_t>(larghezza));
    const float alto = 0.46f * static_cast<float>(foglio.etichetta);
    scrivi_etichetta(foglio.foto, etichetta, x0,
                     y0 + altezza + static_cast<int>(0.32f * static_cast<float>(foglio.etichetta)),
                     alto, SCRITTA);
}

}  // namespace varno::provino
