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

// How many floats to ask for where a stage's planes begin. All that are as large as the frame ask
// for what the most numerous of them need, so that they follow each other in one block: what is
// not touched costs nothing.
std::size_t posto_per(const Programma& p, const Stadio& s)
{
    std::size_t n = campioni_di(s.forma);
    for (int i = 0; s.forma.riduzione == 1 && i < p.numero_stadi; ++i)
        if (p.stadi[i].forma.riduzione == 1)
            n = std::max(n, campioni_di(p.stadi[i].forma));
    return n;
}

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

// How many floats of each a thread needs.
struct Spazio {
    std::size_t righe, luma, campioni, anello;
    std::size_t totale() const { return righe + luma + campioni + anello; }
};

Spazio spazio_di(const Corsa& c, const Spazzata& spazzata, const Stadio* nutrito)
{
    const auto riga = static_cast<std::size_t>(c.quadro.larghezza);
    const std::size_t righe = static_cast<std::size_t>(spazzata.insieme) * riga;
    return {.righe = spazzata.fuori ? righe * 3 : 0,
            .luma = spazzata.luma_prima || spazzata.media ? righe : 0,
            .campioni = MASSIMO_PIANI * riga,
            .anello = nutrito != nullptr && sfoca_le_righe(*nutrito)
                          ? appoggio_righe(nutrito->forma)
                          : 0};
}

Ripiano ripiano_di(float* memoria, const Spazio& s)
{
    float* const luma = memoria + s.righe;
    float* const campioni = luma + s.luma;
    return {memoria, luma, campioni, campioni + s.campioni};
}

// What a sweep feeds: a stage, its planes, and the sums of the rows.
struct Nutrito {
    const Stadio* stadio;
    float* piani;
    SommeDiRiga& somme;
};

// The rows of one block through all of the sweep.
void passa_blocco(const Corsa& c, const Spazzata& spazzata, const Nutrito& nutrito, std::int64_t b,
                  const Ripiano& ripiano)
{
    const std::ptrdiff_t W = c.quadro.larghezza;
    const std::ptrdiff_t y = b * spazzata.insieme;
    const std::ptrdiff_t righe = std::min<std::ptrdiff_t>(spazzata.insieme, c.quadro.altezza - y);
    float* const posto = c.immagine == nullptr ? nullptr : c.immagine + y * W * 3;
    Righe r = {posto, spazzata.fuori ? ripiano.righe : posto, y, righe};
    if (spazzata.da_fuori) {
        for (std::ptrdiff_t i = 0; i < righe; ++i)
            c.porte.entra(r.a + 3 * W * i, static_cast<std::uint64_t>(y + i));
        r.da = r.a;
    }
    if (spazzata.luma_prima)
        gNuclei->piani.luminanza(r.da, ripiano.luma, righe * W);
    for (int i = spazzata.primo; i < spazzata.dopo; ++i) {
        cambia_righe(c, c.programma.stadi[i], c.piani[i].data(), r, ripiano);
        r.da = r.a;
    }
    if (nutrito.stadio != nullptr && b < nutrito.stadio->forma.altezza)
        nutri(*nutrito.stadio, nutrito.piani, r.da, spazzata.luma_prima ? ripiano.luma : nullptr, b,
              ripiano);
    for (std::ptrdiff_t i = 0; spazzata.media && i < righe; ++i) {
        gNuclei->piani.luminanza(r.da + 3 * W * i, ripiano.luma, W);
        nutrito.somme.aggiungi(ripiano.luma, y + i);
    }
    for (std::ptrdiff_t i = 0; spazzata.fuori && i < righe; ++i)
        c.porte.esce(r.da + 3 * W * i, static_cast<std::uint64_t>(y + i));
}

void esegui_spazzata(Corsa& c, const Spazzata& spazzata)
{
    const std::int64_t H = c.quadro.altezza;
    const std::int64_t insieme = spazzata.insieme;
    SommeDiRiga somme(c.quadro.larghezza, spazzata.media ? H : 0);
    Nutrito nutrito = {nullptr, nullptr, somme};
    bool cede = false;  // whether the planes in use become those that are fed
    if (spazzata.alimenta >= 0) {
        nutrito.stadio = &c.programma.stadi[spazzata.alimenta];
        cede = spazzata.primo < spazzata.dopo &&
               sul_posto(c.programma.stadi[spazzata.dopo - 1], *nutrito.stadio);
        Piano& piani = c.piani[cede ? spazzata.dopo - 1 : spazzata.alimenta];
        if (!cede)
            piani = piano_di_lavoro(posto_per(c.programma, *nutrito.stadio), &c.arena);
        nutrito.piani = piani.data();
    }

    const Spazio spazio = spazio_di(c, spazzata, nutrito.stadio);
    const Parti parti = parti_di(static_cast<std::uint64_t>((H + insieme - 1) / insieme));
    Piano memoria = piano_di_lavoro(spazio.totale() * parti.quante, &c.arena);
    parallel_for_parti(parti, [&](std::uint64_t parte, std::uint64_t inizio, std::uint64_t fine) {
        const Ripiano ripiano = ripiano_di(&memoria[parte * spazio.totale()], spazio);
        const auto prima = static_cast<std::int64_t>(inizio);
        const auto dopo = static_cast<std::int64_t>(fine);
        // Rows of the planes that are fed; those of this part are blurred a few at a time.
        const std::int64_t piene =
            spazio.anello > 0 ? std::min<std::int64_t>(dopo, nutrito.stadio->forma.altezza) : 0;
        for (std::int64_t b = prima; b < dopo; ++b) {
            passa_blocco(c, spazzata, nutrito, b, ripiano);
            const std::int64_t fresche = (b - prima) % RIGHE_INSIEME + 1;
            if (b < piene && (fresche == RIGHE_INSIEME || b + 1 == piene))
                sfoca_gruppo(*nutrito.stadio, nutrito.piani, b + 1 - fresche, fresche, ripiano);
        }
    });

    if (spazzata.media)
        c.quadro.media = media_di(c.immagine, somme);
    if (cede)
        c.piani[spazzata.alimenta] = std::move(c.piani[spazzata.dopo - 1]);
    for (int i = spazzata.primo; i < spazzata.dopo; ++i)
        c.piani[i] = {};
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
        c.quadro.intatta = c.vignetta->intatte.data();
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
        if (porte.passa)  // a picture in place stays as it is
            parallel_for(static_cast<std::uint64_t>(p.altezza), porte.passa);
        return;
    }
    Corsa c = {
        .programma = p,
        .immagine = immagine.data(),
        .porte = porte,
        .arena = arena,
        .quadro = {.larghezza = p.larghezza, .altezza = p.altezza, .fotogramma = p.fotogramma},
        .vignetta = nullptr,
        .piani = {},
    };
    for (int i = 0; i < p.numero_spazzate; ++i) {
        const Spazzata& spazzata = p.spazzate[i];
        for (int k = spazzata.primo; k < spazzata.dopo; ++k)
            prepara(c, k);
        esegui_spazzata(c, spazzata);
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
