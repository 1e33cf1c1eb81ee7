// The engine: runs a plan sweep by sweep.
#include "fx/fx.h"

#include "comune/nuclei.h"
#include "fx/media.h"
#include "fx/raggi.h"
#include "fx/vignetta_mask.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <memory>
#include <utility>

namespace varno {
namespace {

constexpr int PASSATE = 3;          // of the blurs
constexpr std::int64_t GRUPPO = 8;  // rows of a copy that are blurred together, still in the cache

// What a frame has while its plan runs.
struct Corsa {
    const Programma& programma;
    float* immagine;
    const Porte& porte;
    Arena& arena;
    Quadro quadro;
    std::shared_ptr<const MascheraVignetta> vignetta;
    Piano piani[MASSIMO_STADI];  // of each stage, from the sweep that feeds it to its own
};

// What one thread of a sweep has for itself.
struct Ripiano {
    float* righe;     // where rows are changed that do not stay in the picture
    float* luma;      // of rows before they are changed, or as they leave
    float* campioni;  // MASSIMO_PIANI rows: a mask before it is reduced, planes enlarged
    float* anello;    // scratch of the blur along rows
};

bool sfoca_le_righe(const Stadio& s)
{
    return s.effetto->lavoro == Lavoro::SFOCA || s.effetto->lavoro == Lavoro::SFOCA_RIGHE;
}

// Whether the planes of the one stage can take the place of the other's, row by row: the row that
// is fed has just been read, and no other is looked at.
bool sul_posto(const Stadio& prima, const Stadio& dopo)
{
    return prima.effetto->componi != nullptr && !prima.ingrandita && !dopo.ingrandita &&
           prima.forma.piani == dopo.forma.piani;
}

void cambia_righe(const Corsa& c, const Stadio& s, const float* piani, const Righe& r,
                  const Ripiano& ripiano)
{
    if (s.effetto->cambia != nullptr) {
        s.effetto->cambia(c.quadro, r, piani, s.quantita);
        return;
    }
    const std::ptrdiff_t W = c.quadro.larghezza;
    for (std::ptrdiff_t i = 0; i < r.n; ++i) {
        const float* campioni[MASSIMO_PIANI];
        for (int p = 0; p < s.forma.piani; ++p) {
            campioni[p] = piani + (p * c.quadro.altezza + r.y + i) * W;
            if (s.ingrandita) {
                campioni[p] = ripiano.campioni + p * W;
                ingrandisci_riga(piani, s.forma, p, r.y + i, ripiano.campioni + p * W);
            }
        }
        s.effetto->componi(r.da + 3 * W * i, r.a + 3 * W * i, campioni, W, s.quantita, c.quadro);
    }
}

// The rows of one row of blocks into the row of the planes that stands for them. luma: null, or
// what the mask takes for their luminance.
void nutri(const Stadio& s, float* piani, const float* rgb, const float* luma, std::int64_t Y,
           const Ripiano& ripiano)
{
    const Blocchi b = blocchi_di(s.forma);
    float* riga[MASSIMO_PIANI];
    for (int p = 0; p < s.forma.piani; ++p)
        riga[p] = s.forma.riduzione == 1 ? riga_di(piani, s.forma, p, Y)
                                         : ripiano.campioni + p * b.larghezza;
    for (std::ptrdiff_t i = 0; i < b.righe; ++i) {
        s.effetto->maschera(rgb + 3 * b.larghezza * i,
                            luma == nullptr ? nullptr : luma + b.larghezza * i, riga, b.larghezza);
        if (s.forma.riduzione > 1)
            for (int p = 0; p < s.forma.piani; ++p)
                gNuclei->piani.riduci(riga[p], riga_di(piani, s.forma, p, Y), b, i);
    }
}

// The horizontal half of the first pass, or the whole of a blur that has no other.
void sfoca_gruppo(const Stadio& s, float* piani, std::int64_t Y, std::int64_t quante,
                  const Ripiano& ripiano)
{
    const int passate = s.effetto->lavoro == Lavoro::SFOCA_RIGHE ? PASSATE : 1;
    for (int p = 0; p < s.forma.piani; ++p)
        for (int i = 0; i < passate; ++i)
            sfoca_righe(riga_di(piani, s.forma, p, Y), quante, s.forma, ripiano.anello);
}

void esegui_passata(Corsa& c, const Passata& passata)
{
    const Programma& p = c.programma;
    const std::ptrdiff_t W = c.quadro.larghezza;
    const std::ptrdiff_t H = c.quadro.altezza;
    const std::ptrdiff_t insieme = passata.insieme;

    const Stadio* nutrito = nullptr;
    float* da_nutrire = nullptr;
    if (passata.alimenta >= 0) {
        nutrito = &p.stadi[passata.alimenta];
        Piano& piani = c.piani[passata.alimenta];
        const bool cede =
            passata.primo < passata.dopo && sul_posto(p.stadi[passata.dopo - 1], *nutrito);
        if (!cede)
            piani = piano_di_lavoro(campioni_di(nutrito->forma), &c.arena);
        da_nutrire = cede ? c.piani[passata.dopo - 1].data() : piani.data();
    }

    // Each thread's own memory, one stretch after the other.
    const bool sfoca_subito = nutrito != nullptr && sfoca_le_righe(*nutrito);
    const std::size_t riga = static_cast<std::size_t>(W);
    const std::size_t n_righe = passata.fuori ? insieme * riga * 3 : 0;
    const std::size_t n_luma = passata.luma_prima || passata.media ? insieme * riga : 0;
    const std::size_t n_campioni = MASSIMO_PIANI * riga;
    const std::size_t n_anello = sfoca_subito ? appoggio_righe(nutrito->forma) : 0;
    const std::size_t n = n_righe + n_luma + n_campioni + n_anello;
    const Parti parti = parti_di(static_cast<std::uint64_t>((H + insieme - 1) / insieme));
    Piano memoria = piano_di_lavoro(n * parti.quante, &c.arena);
    SommeDiRiga somme(W, passata.media ? H : 0);

    parallel_for_parti(parti, [&](std::uint64_t parte, std::uint64_t inizio, std::uint64_t fine) {
        float* const mia = &memoria[parte * n];
        const Ripiano ripiano = {mia, mia + n_righe, mia + n_righe + n_luma,
                                 mia + n_righe + n_luma + n_campioni};
        std::int64_t fresche = 0;  // rows of the planes that are fed and not yet blurred
        for (auto b = static_cast<std::int64_t>(inizio); b < static_cast<std::int64_t>(fine); ++b) {
            const std::ptrdiff_t y = b * insieme;
            const std::ptrdiff_t righe = std::min(insieme, H - y);
            float* const posto = c.immagine == nullptr ? nullptr : c.immagine + y * W * 3;
            Righe r = {posto, passata.fuori ? ripiano.righe : posto, y, righe};
            if (passata.da_fuori) {
                for (std::ptrdiff_t i = 0; i < righe; ++i)
                    c.porte.entra(r.a + 3 * W * i, static_cast<std::uint64_t>(y + i));
                r.da = r.a;
            }
            if (passata.luma_prima)
                gNuclei->piani.luminanza(r.da, ripiano.luma, righe * W);
            for (int i = passata.primo; i < passata.dopo; ++i) {
                cambia_righe(c, p.stadi[i], c.piani[i].data(), r, ripiano);
                r.da = r.a;
            }
            if (nutrito != nullptr && b < nutrito->forma.altezza) {
                nutri(*nutrito, da_nutrire, r.da, passata.luma_prima ? ripiano.luma : nullptr, b,
                      ripiano);
                if (++fresche == GRUPPO && sfoca_subito) {
                    sfoca_gruppo(*nutrito, da_nutrire, b + 1 - fresche, fresche, ripiano);
                    fresche = 0;
                }
            }
            for (std::ptrdiff_t i = 0; passata.media && i < righe; ++i) {
                gNuclei->piani.luminanza(r.da + 3 * W * i, ripiano.luma, W);
                somme.aggiungi(ripiano.luma, y + i);
            }
            if (passata.fuori)
                for (std::ptrdiff_t i = 0; i < righe; ++i)
                    c.porte.esce(r.da + 3 * W * i, static_cast<std::uint64_t>(y + i));
        }
        if (fresche > 0 && sfoca_subito) {
            const auto fatte =
                std::min<std::int64_t>(static_cast<std::int64_t>(fine), nutrito->forma.altezza);
            sfoca_gruppo(*nutrito, da_nutrire, fatte - fresche, fresche, ripiano);
        }
    });

    if (passata.media)
        c.quadro.media = media_di(c.immagine, somme);
    for (int i = passata.primo; i < passata.dopo; ++i) {
        Piano usati = std::move(c.piani[i]);
        if (usati.data() == da_nutrire && da_nutrire != nullptr)
            c.piani[passata.alimenta] = std::move(usati);
    }
}

// What is left to do on the planes of a stage before its rows may change.
void prepara(Corsa& c, int i)
{
    const Stadio& s = c.programma.stadi[i];
    switch (s.effetto->lavoro) {
    case Lavoro::SFOCA:
        sfoca(c.piani[i].data(), s.forma, PASSATE, true, &c.arena);
        break;
    case Lavoro::RAGGI:
        c.piani[i] = raggi_di(c.piani[i], s.forma, c.programma.punte, &c.arena);
        break;
    case Lavoro::VIGNETTA:
        c.vignetta = vignetta_mask(c.programma.larghezza, c.programma.altezza);
        c.quadro.vignetta = c.vignetta->valori.data();
        c.quadro.centro = c.vignetta->centro.data();
        break;
    case Lavoro::SFOCA_RIGHE:
    case Lavoro::NESSUNO:
        break;
    }
}

}  // namespace

void esegui(const Programma& p, Immagine& immagine, const Porte& porte, Arena& arena)
{
    if (solo_passaggio(p)) {
        if (porte.passa)
            parallel_for(static_cast<std::uint64_t>(p.altezza), porte.passa);
        return;
    }
    Corsa c = {p,
               immagine.data(),
               porte,
               arena,
               {.larghezza = p.larghezza, .altezza = p.altezza, .fotogramma = p.fotogramma},
               nullptr,
               {}};
    for (int i = 0; i < p.numero_passate; ++i) {
        const Passata& passata = p.passate[i];
        for (int k = passata.primo; k < passata.dopo; ++k)
            prepara(c, k);
        esegui_passata(c, passata);
    }
}

void applica_fx(Immagine& img, int larghezza, int altezza, const FxRicetta& ricetta)
{
    Arena arena;
    esegui(programma_di(ricetta, larghezza, altezza, Strada::IN_IMMAGINE,
                        riduzione_di(larghezza, altezza)),
           img, {}, arena);
}

}  // namespace varno
