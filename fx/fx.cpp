// The engine: runs a plan sweep by sweep, with what effects have done to their planes in between.
#include "fx/fx.h"

#include "comune/nuclei.h"
#include "fx/media.h"
#include "fx/nuclei_piani.h"
#include "fx/passo.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <memory>

namespace varno {
namespace {

// What a frame has while its plan runs.
struct Corsa {
    const Programma& programma;
    Immagine immagine;
    float* memoria;
    double* somme;  // of the rows, where the mean is asked for
    const Porte& porte;
    Quadro quadro;
    std::shared_ptr<const void> tenuti[MASSIMO_STADI] = {};

    Campo piani_di(const Stadio& s, const Posto& p) const
    {
        if (p.in_quadro)
            return {immagine.dati + 3 * quadro.larghezza, immagine.passo};
        return {memoria + p.da, s.forma.colonne};
    }
};

// What one thread of a sweep has for itself, one behind the other.
struct Ripiano {
    float* righe;     // where rows are changed that do not stay in the picture
    float* luma;      // of rows before they are changed, or as they leave
    float* campioni;  // rows: a mask before it is reduced, planes enlarged
    float* appoggio;  // of the step that works on fresh rows
};

Ripiano ripiano_di(float* memoria, const Spazzata& s)
{
    float* const luma = memoria + s.righe;
    return {memoria, luma, luma + s.luma, luma + s.luma + s.campioni};
}

// Row y of the frame, enlarged bilinearly from the plane p into riga. The enlargement is not
// centred: sample k lies at full-size position k * riduzione.
void ingrandisci_riga(const Campo& piani, const Forma& f, std::ptrdiff_t p, std::ptrdiff_t y,
                      float* riga)
{
    const float fy = static_cast<float>(y) / static_cast<float>(f.riduzione);
    const auto y0 = std::min(f.righe - 1, static_cast<std::ptrdiff_t>(fy));
    const auto y1 = std::min(f.righe - 1, y0 + 1);
    gNuclei->piani.ingrandisci(riga_di(piani, f, p, y0), riga_di(piani, f, p, y1),
                               fy - static_cast<float>(y0), riga, f);
}

void cambia_righe(const Corsa& c, int i, const Righe& r, const Ripiano& ripiano)
{
    const Stadio& s = c.programma.stadi[i];
    const Campo piani = c.piani_di(s, s.pronti);
    if (s.effetto->cambia != nullptr) {
        s.effetto->cambia(c.quadro, r, {s.quantita, piani.dati, piani.passo, c.tenuti[i].get()});
        return;
    }
    const std::ptrdiff_t W = c.quadro.larghezza;
    for (std::ptrdiff_t k = 0; k < r.n; ++k) {
        const float* campioni[MASSIMO_PIANI];
        for (std::ptrdiff_t p = 0; p < s.forma.piani; ++p) {
            if (s.ingrandita)
                ingrandisci_riga(piani, s.forma, p, r.y + k, ripiano.campioni + p * W);
            campioni[p] =
                s.ingrandita ? ripiano.campioni + p * W : riga_di(piani, s.forma, p, r.y + k);
        }
        s.effetto->componi(r.da + k * r.passo_da, r.a + k * r.passo_a, campioni, W, s.quantita,
                           c.quadro);
    }
}

// Whole rows of blocks, or what a lower frame has of one, into the rows of planes that stand for
// them. con_luma: the mask takes the luminance from before they were changed.
void nutri(const Corsa& c, const Stadio& s, const Righe& r, bool con_luma, const Ripiano& ripiano)
{
    const Campo piani = c.piani_di(s, s.nutriti);
    const Forma& f = s.forma;
    const std::ptrdiff_t W = f.larghezza;
    for (std::ptrdiff_t k = 0; k < r.n && (r.y + k) / f.riduzione < f.righe; ++k) {
        const std::ptrdiff_t Y = (r.y + k) / f.riduzione;
        float* riga[MASSIMO_PIANI];
        for (std::ptrdiff_t p = 0; p < f.piani; ++p)
            riga[p] = f.riduzione == 1 ? riga_di(piani, f, p, Y) : ripiano.campioni + p * W;
        const float* const luma = con_luma ? ripiano.luma + k * W : nullptr;
        s.effetto->maschera(r.da + k * r.passo_da, luma, riga, W);
        const std::ptrdiff_t numero = r.y + k - Y * f.riduzione;
        for (std::ptrdiff_t p = 0; f.riduzione > 1 && p < f.piani; ++p)
            gNuclei->piani.riduci(riga[p], riga_di(piani, f, p, Y), f, numero);
    }
}

// The rows of one block through all of the sweep.
void passa_blocco(const Corsa& c, const Spazzata& s, std::ptrdiff_t blocco, const Ripiano& ripiano)
{
    const std::ptrdiff_t W = c.quadro.larghezza;
    const std::ptrdiff_t y = blocco * s.insieme;
    float* const posto = tiene_immagine(c.programma) ? riga_di(c.immagine, y) : nullptr;
    Righe r = {.da = posto,
               .passo_da = c.immagine.passo,
               .a = s.fuori ? ripiano.righe : posto,
               .passo_a = s.fuori ? 3 * W : c.immagine.passo,
               .y = y,
               .n = std::min(s.insieme, c.quadro.altezza - y)};
    const auto cambiate = [&] {
        r.da = r.a;
        r.passo_da = r.passo_a;
    };
    if (s.da_fuori) {
        for (std::ptrdiff_t k = 0; k < r.n; ++k)
            c.porte.entra(r.a + k * r.passo_a, y + k);
        cambiate();
    }
    const auto prendi_luma = [&] {
        for (std::ptrdiff_t k = 0; k < r.n; ++k)
            gNuclei->piani.luminanza(r.da + k * r.passo_da, ripiano.luma + k * W, W);
    };
    if (s.luma_prima)
        prendi_luma();
    for (int i = s.primo; i < s.dopo; ++i) {
        cambia_righe(c, i, r, ripiano);
        cambiate();
    }
    if (s.alimenta >= 0)
        nutri(c, c.programma.stadi[s.alimenta], r, s.luma_prima, ripiano);
    if (s.media) {
        prendi_luma();
        for (std::ptrdiff_t k = 0; k < r.n; ++k)
            c.somme[y + k] = somma_di_riga(ripiano.luma + k * W, c.quadro);
    }
    for (std::ptrdiff_t k = 0; s.fuori && k < r.n; ++k)
        c.porte.esce(r.da + k * r.passo_da, y + k);
}

// A thread's blocks, from inizio to before fine. Rows of planes that they have fed get their step a
// few at a time.
void passa_blocchi(const Corsa& c, const Spazzata& s, std::ptrdiff_t inizio, std::ptrdiff_t fine,
                   const Ripiano& ripiano)
{
    const Stadio nutrito = s.alimenta < 0 ? Stadio{} : c.programma.stadi[s.alimenta];
    const Forma& f = nutrito.forma;
    const Campo piani = c.piani_di(nutrito, nutrito.nutriti);
    const auto nutrite = [&](std::ptrdiff_t b) {
        return std::min(b * s.insieme / f.riduzione, f.righe);
    };
    std::ptrdiff_t fatte = nutrite(inizio);
    for (std::ptrdiff_t b = inizio; b < fine; ++b) {
        passa_blocco(c, s, b, ripiano);
        const std::ptrdiff_t pronte = nutrite(b + 1);
        while (pronte - fatte >= RIGHE_FRESCHE || (pronte > fatte && b + 1 == fine)) {
            const std::ptrdiff_t n = std::min(pronte - fatte, RIGHE_FRESCHE);
            for (std::ptrdiff_t p = 0; p < f.piani; ++p)
                nutrito.effetto->prepara->righe(f, riga_di(piani, f, p, fatte), piani.passo, n,
                                                ripiano.appoggio);
            fatte += n;
        }
    }
}

// All of the frame, as each of the threads goes through it.
void corri(Corsa& c, const Membro& io)
{
    const Programma& p = c.programma;
    float* const comune = c.memoria + p.comune;
    for (const Spazzata* s = p.spazzate; s < p.spazzate + p.numero_spazzate; ++s) {
        for (int i = s->primo; i < s->dopo; ++i) {
            const Stadio& t = p.stadi[i];
            t.effetto->prepara->piani({*t.effetto, c.quadro, t.forma, c.piani_di(t, t.nutriti),
                                       c.piani_di(t, t.pronti), comune, io});
        }
        const std::ptrdiff_t blocchi = (c.quadro.altezza + s->insieme - 1) / s->insieme;
        io.per_parti(blocchi, [&](std::ptrdiff_t parte, std::ptrdiff_t da, std::ptrdiff_t a) {
            passa_blocchi(c, *s, da, a, ripiano_di(comune + parte * s->ripiano, *s));
        });
        if (s->media)
            io.uno([&] { c.quadro.media = media_di(c.immagine, c.quadro, c.somme, comune); });
    }
}

}  // namespace

void applica_fx(const Programma& p, const Immagine& immagine, float* memoria, const Porte& porte)
{
    auto* const somme = reinterpret_cast<double*>(memoria + p.somme);
    Corsa c = {p, immagine, memoria, somme, porte, p.quadro};
    for (int i = 0; i < p.numero_stadi; ++i)
        c.tenuti[i] = p.stadi[i].effetto->prepara->tieni(*p.stadi[i].effetto, p.quadro);
    in_squadra(p.thread, [&](const Membro& io) { corri(c, io); });
}

}  // namespace varno
