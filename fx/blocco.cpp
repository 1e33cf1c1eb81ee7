// Rows of a block: in, through the effects, into planes, out.
#include "fx/blocco.h"

#include "comune/anticipo.h"
#include "comune/nuclei.h"
#include "fx/media.h"
#include "fx/nuclei_piani.h"
#include "fx/passo.h"
#include "fx/vicine.h"

#include <algorithm>

namespace varno {
namespace {

// What one thread of a sweep has for itself, one behind the other.
struct Ripiano {
    Vicine vicine;
    float* righe;     // where rows are changed that do not stay in the picture
    float* luma;      // of rows before they are changed, or as they leave
    float* campioni;  // rows: a mask before it is reduced, planes enlarged
    float* appoggio;  // of the step that works on fresh rows
};

Ripiano ripiano_di(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                   std::ptrdiff_t fine)
{
    float* const memoria = c.memoria + c.programma.comune + parte * s.ripiano;
    float* const righe = memoria + s.vicine;
    float* const luma = righe + s.righe;
    return {{c.programma.stadi[s.primo].effetto, c.quadro, c.immagine, s.intorno, s.insieme,
             inizio * s.insieme, std::min(fine * s.insieme, c.quadro.altezza), memoria},
            righe,
            luma,
            luma + s.luma,
            luma + s.luma + s.campioni};
}

// The picture's rows come one after the other: while one is worked on, the next may arrive.
[[gnu::always_inline]] inline void annuncia(const Corsa& c, std::ptrdiff_t y)
{
    if (y < c.quadro.altezza)
        anticipa(riga_di(c.immagine, y), 3 * c.quadro.larghezza);
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

void cambia_righe(const Corsa& c, int i, const Righe& r, const Dintorni& dintorni,
                  const Ripiano& ripiano)
{
    const Stadio& s = c.programma.stadi[i];
    if (s.effetto->cambia != nullptr) {
        s.effetto->cambia(c.quadro, r, {s.quantita, dintorni, c.tenuti[i].get()});
        return;
    }
    const Campo piani = piani_di(c, s, s.pronti);
    const std::ptrdiff_t W = c.quadro.larghezza;
    for (std::ptrdiff_t k = 0; k < r.n; ++k) {
        annuncia(c, r.y + k + 1);
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
    const Campo piani = piani_di(c, s, s.nutriti);
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

void prendi_luma(const Righe& r, std::ptrdiff_t larghezza, float* luma)
{
    for (std::ptrdiff_t k = 0; k < r.n; ++k)
        gNuclei->piani.luminanza(r.da + k * r.passo_da, luma + k * larghezza, larghezza);
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
        for (std::ptrdiff_t k = 0; k < r.n; ++k) {
            if (!s.fuori)
                annuncia(c, y + k + 1);
            c.porte.entra(r.a + k * r.passo_a, y + k);
        }
        cambiate();
    }
    if (s.luma_prima)
        prendi_luma(r, W, ripiano.luma);
    const Dintorni dintorni = s.intorno > 0 ? dintorni_di(ripiano.vicine, r.y, r.n) : Dintorni{};
    for (int i = s.primo; i < s.dopo; ++i) {
        cambia_righe(c, i, r, dintorni, ripiano);
        cambiate();
    }
    if (s.alimenta >= 0)
        nutri(c, c.programma.stadi[s.alimenta], r, s.luma_prima, ripiano);
    if (s.media) {
        prendi_luma(r, W, ripiano.luma);
        for (std::ptrdiff_t k = 0; k < r.n; ++k)
            c.somme[y + k] = somma_di_riga(ripiano.luma + k * W, c.quadro);
    }
    for (std::ptrdiff_t k = 0; s.fuori && k < r.n; ++k)
        c.porte.esce(r.da + k * r.passo_da, y + k);
}

}  // namespace

Campo piani_di(const Corsa& c, const Stadio& s, const Posto& p)
{
    if (p.in_quadro)
        return {c.immagine.dati + 3 * c.quadro.larghezza, c.immagine.passo};
    return {c.memoria + p.da, s.forma.colonne};
}

void prepara_blocchi(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                     std::ptrdiff_t fine)
{
    prendi_confini(ripiano_di(c, s, parte, inizio, fine).vicine);
}

// Rows of planes that the blocks have fed get their step a few at a time.
void passa_blocchi(const Corsa& c, const Spazzata& s, std::ptrdiff_t parte, std::ptrdiff_t inizio,
                   std::ptrdiff_t fine)
{
    const Stadio nutrito = s.alimenta < 0 ? Stadio{} : c.programma.stadi[s.alimenta];
    const Forma& f = nutrito.forma;
    const Campo piani = piani_di(c, nutrito, nutrito.nutriti);
    const auto nutrite = [&](std::ptrdiff_t b) {
        return std::min(b * s.insieme / f.riduzione, f.righe);
    };
    const Ripiano ripiano = ripiano_di(c, s, parte, inizio, fine);
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

}  // namespace varno
