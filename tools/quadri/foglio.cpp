// Sheets of pictures with text.
#include "tools/quadri/foglio.h"

#include "tools/argomenti.h"

#include <OpenImageIO/Imath.h>
#include <OpenImageIO/imagebufalgo.h>

#include <algorithm>
#include <cmath>
#include <set>

namespace varno::provino {
namespace {

namespace Algo = OIIO::ImageBufAlgo;

constexpr float SFONDO[] = {0.075f, 0.075f, 0.075f, 1.0f};
constexpr float INCHIOSTRO[] = {0.82f, 0.82f, 0.80f, 1.0f};

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

struct Misure {
    int margine = 0;               // pixels between pictures and around them
    int cella_l = 0, cella_a = 0;  // of a picture
    int scritta = 0;               // height of the strip for a text
};

// In the strip below y. OpenImageIO draws wrong letters for what is not ASCII.
void scrivi(OIIO::ImageBuf& su, const Misure& m, int x, int y, int largo, std::string testo)
{
    std::replace_if(
        testo.begin(), testo.end(), [](char c) { return c < ' ' || c > '~'; }, '?');
    const int alto = m.scritta * 2 / 3;
    if (Algo::text_size(testo, alto, carattere()).width() > largo) {
        while (!testo.empty() && Algo::text_size(testo + "...", alto, carattere()).width() > largo)
            testo.pop_back();
        testo += "...";
    }
    Algo::render_text(su, x, y + m.scritta * 3 / 4, testo, alto, carattere(), INCHIOSTRO);
}

// The first cell of each, counted row by row; and how many rows that makes.
std::vector<int> disponi(const std::vector<Casella>& caselle, int colonne, int& righe)
{
    std::set<int> presi;
    std::vector<int> posti;
    for (const Casella& c : caselle) {
        const auto celle = [&](int dove) {
            std::vector<int> tutte;
            tutte.reserve(static_cast<std::size_t>(c.lato * c.lato));
            for (int i = 0; i < c.lato * c.lato; ++i)
                tutte.push_back(dove + i / c.lato * colonne + i % c.lato);
            return tutte;
        };
        int dove = 0;
        while (dove % colonne + c.lato > colonne ||
               std::ranges::any_of(celle(dove), [&](int i) { return presi.contains(i); }))
            ++dove;
        for (const int i : celle(dove))
            presi.insert(i);
        posti.push_back(dove);
    }
    righe = *presi.rbegin() / colonne + 1;
    return posti;
}

}  // namespace

OIIO::ROI rettangolo(int x, int y, int larghezza, int altezza)
{
    return {x, x + larghezza, y, y + altezza, 0, 1, 0, 4};
}

OIIO::ROI leggi_ritaglio(const std::string& testo)
{
    const std::vector<std::string> parti = OIIO::Strutil::splits(testo, "+");
    long long x = 0;
    long long y = 0;
    if (parti.size() != 3 || !leggi_intero(parti[1], x) || !leggi_intero(parti[2], y) || x < 0 ||
        y < 0 || x > LATO_LIMITE || y > LATO_LIMITE)
        rifiuta("a crop is written WIDTHxHEIGHT+X+Y, as in 640x360+100+50, not '%s'", testo);
    const auto [larghezza, altezza] = leggi_misura(parti[0]);
    return rettangolo(static_cast<int>(x), static_cast<int>(y), larghezza, altezza);
}

OIIO::ROI dove_cambia(const Foto& a, const Foto& b, int larghezza, int altezza)
{
    constexpr int PARTI = 8;
    constexpr float BUIO = 0.1f;  // below it differences count as such, above as ratios
    using Cella = Imath::V4d;     // sums in red, green and blue, and of all squares
    const int passo_x = std::max(1, larghezza / PARTI);
    const int passo_y = std::max(1, altezza / PARTI);
    const int colonne = a.larghezza / passo_x;
    const int righe = a.altezza / passo_y;
    std::vector<Cella> celle(static_cast<std::size_t>(colonne) * righe, Cella(0.0));
    for (int y = 0; y < righe * passo_y; ++y)
        for (int x = 0; x < colonne * passo_x; ++x) {
            const std::size_t i = 4 * (static_cast<std::size_t>(y) * a.larghezza + x);
            Cella& cella = celle[static_cast<std::size_t>(y / passo_y) * colonne + x / passo_x];
            for (int c = 0; c < 3; ++c) {
                const double d = std::log2(std::max(BUIO + b.rgba[i + c], BUIO / 2.0f) /
                                           std::max(BUIO + a.rgba[i + c], BUIO / 2.0f));
                cella[c] += d;
                cella[3] += d * d;
            }
        }
    OIIO::ROI migliore = rettangolo(0, 0, larghezza, altezza);
    double massimo = -1.0;
    for (int y = 0; y * passo_y + altezza <= a.altezza; ++y)
        for (int x = 0; x * passo_x + larghezza <= a.larghezza; ++x) {
            Cella t(0.0);
            for (int j = y; j < std::min(y + PARTI, righe); ++j)
                for (int i = x; i < std::min(x + PARTI, colonne); ++i)
                    t += celle[static_cast<std::size_t>(j) * colonne + i];
            const double varianza = t[3] - Imath::V3d(t[0], t[1], t[2]).length2() /
                                               (static_cast<double>(larghezza) * altezza);
            if (varianza > massimo) {
                massimo = varianza;
                migliore = rettangolo(x * passo_x, y * passo_y, larghezza, altezza);
            }
        }
    return migliore;
}

Foto foglio(int larghezza, int colonne, double forma, const std::vector<Casella>& caselle,
            const std::string& piede)
{
    constexpr int FESSURA = 2;  // between pictures side by side in one place, pixels
    int righe = 0;
    const std::vector<int> posti = disponi(caselle, colonne, righe);
    Misure m;
    m.margine = std::max(2, larghezza / 200);
    m.cella_l = (larghezza - (colonne + 1) * m.margine) / colonne;
    m.cella_a = static_cast<int>(std::lround(m.cella_l / forma));
    m.scritta = std::max(12, larghezza / 55);
    const int passo = m.cella_a + m.scritta + m.margine;
    const std::int64_t altezza = 2 * m.margine + m.scritta + std::int64_t{righe} * passo;
    if (m.cella_l < 48 || m.cella_a < 1 || altezza > LATO_LIMITE ||
        larghezza * altezza > PIXEL_LIMITE)
        rifiuta("a sheet %d wide has no room for pictures of this shape: give another --width",
                larghezza);
    carattere();
    Foto foto = foto_nuova(larghezza, static_cast<int>(altezza));
    OIIO::ImageBuf su = tela(foto);
    Algo::fill(su, SFONDO);
    for (std::size_t c = 0; c < caselle.size(); ++c) {
        const int quante = static_cast<int>(caselle[c].nomi.size());
        const int lato = caselle[c].lato;
        const int l = lato * m.cella_l + (lato - 1) * m.margine;
        const int x = m.margine + posti[c] % colonne * (m.cella_l + m.margine);
        const int y = m.margine + posti[c] / colonne * passo;
        const int largo = (l - (quante - 1) * FESSURA) / quante;
        std::vector<OIIO::ROI> dove;
        dove.reserve(caselle[c].nomi.size());
        for (int i = 0; i < quante; ++i)
            dove.push_back(rettangolo(x + i * (l - largo) / std::max(1, quante - 1), y, largo,
                                      lato * passo - m.scritta - m.margine));
        caselle[c].disegna(su, dove);
        for (std::size_t i = 0; i < dove.size(); ++i)
            scrivi(su, m, dove[i].xbegin, dove[i].yend, largo, caselle[c].nomi[i]);
    }
    scrivi(su, m, m.margine, foto.altezza - m.scritta - m.margine / 2, larghezza - 2 * m.margine,
           piede);
    return foto;
}

void incolla(OIIO::ImageBuf& foglio, const OIIO::ROI& dove, const Foto& foto,
             const OIIO::ROI& parte)
{
    const OIIO::ImageBuf tutta = tela(foto);
    if (!tutta.roi().contains(parte))
        rifiuta("the crop reaches outside the picture of %dx%d", foto.larghezza, foto.altezza);
    OIIO::ImageBuf pezzo = Algo::cut(tutta, parte);
    if (parte.width() != dove.width() || parte.height() != dove.height())
        pezzo = Algo::resize(pezzo, "", 0.0f, rettangolo(0, 0, dove.width(), dove.height()));
    if (pezzo.has_error() || !Algo::paste(foglio, dove.xbegin, dove.ybegin, 0, 0, pezzo))
        fallisci("cannot draw the sheet: " + pezzo.geterror() + foglio.geterror());
}

}  // namespace varno::provino
