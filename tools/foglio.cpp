// Sheets of pictures with text.
#include "tools/foglio.h"

#include "tools/argomenti.h"

#include <OpenImageIO/Imath.h>
#include <OpenImageIO/imagebuf.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>
#include <vector>

namespace varno::provino {
namespace {

namespace Algo = OIIO::ImageBufAlgo;

constexpr float SFONDO[] = {0.075f, 0.075f, 0.075f, 1.0f};
constexpr float INCHIOSTRO[] = {0.82f, 0.82f, 0.80f, 1.0f};

// The picture's own memory as OpenImageIO works on it.
OIIO::ImageBuf tela(const Foto& f)
{
    return OIIO::ImageBuf(OIIO::ImageSpec(f.larghezza, f.altezza, 4, OIIO::TypeFloat),
                          f.rgba.get());
}

OIIO::ROI roi(const Ritaglio& r)
{
    return {r.x, r.x + r.larghezza, r.y, r.y + r.altezza, 0, 1, 0, 4};
}

// Debian's package fonts-dejavu-core; elsewhere whatever OpenImageIO finds.
const std::string& carattere()
{
    static const std::string nome = [] {
        for (const char* n : {"DejaVuSans", ""})
            if (Algo::text_size("x", 16, n).defined())
                return std::string(n);
        OIIO::geterror();
        fallisci("there is no font for the labels of a sheet: install fonts-dejavu-core");
    }();
    return nome;
}

// In the strip below y. OpenImageIO draws wrong letters for what is not ASCII.
void scrivi(Foglio& foglio, int x, int y, int largo, std::string testo)
{
    std::replace_if(
        testo.begin(), testo.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    const int alto = foglio.scritta * 2 / 3;
    if (Algo::text_size(testo, alto, carattere()).width() > largo) {
        while (!testo.empty() && Algo::text_size(testo + "...", alto, carattere()).width() > largo)
            testo.pop_back();
        testo += "...";
    }
    OIIO::ImageBuf su = tela(foglio.foto);
    Algo::render_text(su, x, y + foglio.scritta * 3 / 4, testo, alto, carattere(), INCHIOSTRO);
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

Ritaglio dove_cambia(const Foto& a, const Foto& b, int larghezza, int altezza)
{
    constexpr int PARTI = 8;
    constexpr float BUIO = 0.1f;  // below it differences count as such, above as ratios
    struct Cella {
        Imath::V3d somma{0.0};
        double quadrati = 0.0;
    };
    const int passo_x = std::max(1, larghezza / PARTI);
    const int passo_y = std::max(1, altezza / PARTI);
    const int colonne = a.larghezza / passo_x;
    const int righe = a.altezza / passo_y;
    std::vector<Cella> celle(static_cast<std::size_t>(colonne) * righe);
    for (int y = 0; y < righe * passo_y; ++y)
        for (int x = 0; x < colonne * passo_x; ++x) {
            const std::size_t i = 4 * (static_cast<std::size_t>(y) * a.larghezza + x);
            Cella& cella = celle[static_cast<std::size_t>(y / passo_y) * colonne + x / passo_x];
            for (int c = 0; c < 3; ++c) {
                const double d = std::log2(std::max(BUIO + b.rgba[i + c], BUIO / 2.0f) /
                                           std::max(BUIO + a.rgba[i + c], BUIO / 2.0f));
                cella.somma[c] += d;
                cella.quadrati += d * d;
            }
        }
    Ritaglio migliore{0, 0, larghezza, altezza};
    double massimo = -1.0;
    for (int y = 0; y * passo_y + altezza <= a.altezza; ++y)
        for (int x = 0; x * passo_x + larghezza <= a.larghezza; ++x) {
            Cella t;
            for (int j = y; j < std::min(y + PARTI, righe); ++j)
                for (int i = x; i < std::min(x + PARTI, colonne); ++i) {
                    const Cella& cella = celle[static_cast<std::size_t>(j) * colonne + i];
                    t.somma += cella.somma;
                    t.quadrati += cella.quadrati;
                }
            const double varianza =
                t.quadrati - t.somma.length2() / (static_cast<double>(larghezza) * altezza);
            if (varianza > massimo) {
                massimo = varianza;
                migliore = {x * passo_x, y * passo_y, larghezza, altezza};
            }
        }
    return migliore;
}

Foglio foglio_nuovo(int larghezza, int colonne, int righe, double forma)
{
    Foglio f;
    f.margine = std::max(2, larghezza / 200);
    f.cella_l = (larghezza - (colonne + 1) * f.margine) / colonne;
    f.cella_a = static_cast<int>(std::lround(f.cella_l / forma));
    f.scritta = std::max(12, larghezza / 55);
    const std::int64_t altezza =
        2 * f.margine + f.scritta + std::int64_t{righe} * (f.cella_a + f.scritta + f.margine);
    if (f.cella_l < 48 || f.cella_a < 1 || altezza > LATO_LIMITE ||
        larghezza * altezza > PIXEL_LIMITE)
        rifiuta("a sheet " + std::to_string(larghezza) +
                " wide has no room for pictures of this shape: give another --width");
    carattere();
    f.foto = foto_nuova(larghezza, static_cast<int>(altezza));
    OIIO::ImageBuf su = tela(f.foto);
    Algo::fill(su, SFONDO);
    return f;
}

Ritaglio posto(const Foglio& f, int colonna, int riga, int lato)
{
    return {f.margine + colonna * (f.cella_l + f.margine),
            f.margine + riga * (f.cella_a + f.scritta + f.margine),
            lato * f.cella_l + (lato - 1) * f.margine,
            lato * f.cella_a + (lato - 1) * (f.scritta + f.margine)};
}

void incolla(Foglio& foglio, const Ritaglio& dove, const Foto& foto, const Ritaglio& parte)
{
    if (parte.x + parte.larghezza > foto.larghezza || parte.y + parte.altezza > foto.altezza)
        rifiuta("the crop reaches outside the picture of " + std::to_string(foto.larghezza) + "x" +
                std::to_string(foto.altezza));
    OIIO::ImageBuf pezzo = Algo::cut(tela(foto), roi(parte));
    if (parte.larghezza != dove.larghezza || parte.altezza != dove.altezza)
        pezzo = Algo::resize(pezzo, "", 0.0f, roi({0, 0, dove.larghezza, dove.altezza}));
    OIIO::ImageBuf su = tela(foglio.foto);
    if (pezzo.has_error() || !Algo::paste(su, dove.x, dove.y, 0, 0, pezzo))
        fallisci("cannot draw the sheet: " + pezzo.geterror() + su.geterror());
}

void scrivi_sotto(Foglio& foglio, const Ritaglio& dove, const std::string& testo)
{
    scrivi(foglio, dove.x, dove.y + dove.altezza, dove.larghezza, testo);
}

void scrivi_piede(Foglio& foglio, const std::string& testo)
{
    scrivi(foglio, foglio.margine, foglio.foto.altezza - foglio.scritta - foglio.margine / 2,
           foglio.foto.larghezza - 2 * foglio.margine, testo);
}

}  // namespace varno::provino
