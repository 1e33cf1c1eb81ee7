// From a recipe and a size to the list of sweeps and the places of planes.
#include "fx/programma.h"

#include "comune/nuclei.h"
#include "fx/passo.h"
#include "fx/vicine.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cmath>
#include <new>
#include <numeric>

namespace varno {
namespace {

// No memory is that large; a few times as much for each of thousands of threads does not wrap.
constexpr std::ptrdiff_t MASSIMO_PIXEL = std::ptrdiff_t{1} << 48;

// Each thread's memory begins a cache line, and places that doubles stand in are even.
constexpr std::size_t LINEA = 16;  // floats

std::size_t a_linea(std::size_t n)
{
    return (n + LINEA - 1) / LINEA * LINEA;
}

Forma forma_dei_piani(const Effetto& e, int larghezza, int altezza, int riduzione)
{
    const int lato = e.lato == Lato::LUNGO ? std::max(larghezza, altezza) : larghezza;
    // The product stays in 64-bit float: lround takes halves away from zero.
    const int raggio = std::max(e.minimo, static_cast<int>(std::lround(e.raggio * lato)));
    if (e.copia == Copia::INTERA)
        riduzione = 1;
    else if (e.copia == Copia::SEMPRE_RIDOTTA)
        riduzione = std::max(2, riduzione);
    return forma_di(larghezza, altezza, riduzione, e.piani, raggio);
}

std::size_t campioni_di(const Forma& f)
{
    return static_cast<std::size_t>(f.colonne * f.righe * f.piani);
}

void accendi(Programma& p, const FxRicetta& ricetta, int larghezza, int altezza, int riduzione)
{
    for (const Effetto* const* c = gNuclei->catena; *c != nullptr; ++c) {
        const Effetto& e = **c;
        const float quantita = ricetta.*e.quantita;
        if (!(quantita > 0.0f))
            continue;
        Stadio& s = p.stadi[p.numero_stadi++];
        s.effetto = &e;
        s.quantita = quantita;
        if (e.piani == 0)
            continue;
        if (e.intorno != nullptr) {
            s.intorno = e.intorno(p.quadro, quantita);
            continue;
        }
        s.forma = forma_dei_piani(e, larghezza, altezza, riduzione);
        s.ingrandita = s.forma.riduzione > 1 || e.prepara->da_copia;
    }
}

// A sweep ends where an effect has planes, which must be whole before its rows change: rows feed
// them, and the next sweep begins with that effect. So it does with one that looks around.
void dividi(Programma& p, bool tutte_prima)
{
    int n = 0;
    for (int i = 0; i < p.numero_stadi; ++i) {
        if (p.stadi[i].forma.piani > 0)
            p.spazzate[n].alimenta = i;
        if (p.stadi[i].forma.piani > 0 || p.stadi[i].intorno > 0)
            p.spazzate[++n] = {.primo = i, .intorno = p.stadi[i].intorno};
        p.spazzate[n].dopo = i + 1;
    }
    // One sweep would write what others still have to read: the first only fetches.
    if (tutte_prima && n == 0)
        std::swap(p.spazzate[0], p.spazzate[++n]);
    p.spazzate[0].da_fuori = true;
    p.spazzate[n].fuori = true;
    p.numero_spazzate = n + 1;
}

// What the rows of each sweep share, and whose luminance they feed.
void accorda(Programma& p)
{
    for (int n = 0; n < p.numero_spazzate; ++n) {
        Spazzata& s = p.spazzate[n];
        for (int i = s.primo; i < s.dopo; ++i)
            s.insieme = std::lcm(s.insieme, std::ptrdiff_t{p.stadi[i].effetto->insieme});
        if (s.alimenta < 0)
            continue;
        const Stadio& nutrito = p.stadi[s.alimenta];
        s.insieme = std::lcm(s.insieme, nutrito.forma.riduzione);
        // Of the effects that are followed by a mask, bloom alone does not refresh it.
        s.luma_prima = s.primo < s.dopo && !p.stadi[s.dopo - 1].effetto->rinfresca_luma;
        // The mean belongs to the luminance of the mask.
        if (nutrito.effetto->legge_media)
            p.spazzate[s.luma_prima ? n - 1 : n].media = true;
    }
}

// One plane of the frame's size, of which a pixel takes its own sample, lies in the picture's rows,
// and where the next effect's does too, it takes that place over row by row: the row that is fed
// has just been read. Other planes take turns in two halves of the own memory, since those of two
// effects live in one sweep at most.
void alloggia(Programma& p)
{
    std::size_t grandi[2] = {0, 0};
    std::size_t occupata = 1;
    for (int i = 0; i < p.numero_stadi; ++i) {
        Stadio& s = p.stadi[i];
        const Effetto& e = *s.effetto;
        if (s.forma.piani == 1 && !s.ingrandita) {
            s.nutriti = s.pronti = {.in_quadro = true};
            p.piano_in_quadro = true;
        } else if (s.forma.piani > 0) {
            const std::size_t libera = 1 - occupata;
            s.nutriti.da = libera;  // a half's number, until it is known how large they are
            s.pronti.da = e.prepara->in_altri ? occupata : libera;
            for (const std::size_t meta : {s.nutriti.da, s.pronti.da})
                grandi[meta] = std::max(grandi[meta], a_linea(campioni_di(s.forma)));
            occupata = s.pronti.da;
        }
    }
    for (Stadio& s : p.stadi)
        for (Posto* posto : {&s.nutriti, &s.pronti})
            posto->da *= grandi[0];
    p.somme = grandi[0] + grandi[1];
}

// What a thread has for itself in a sweep.
void arreda(const Programma& p, Spazzata& s)
{
    const auto riga = static_cast<std::size_t>(p.quadro.larghezza);
    const std::size_t righe = static_cast<std::size_t>(s.insieme) * riga;
    std::ptrdiff_t piani = 0;
    for (int i = s.primo; i < s.dopo; ++i)
        if (p.stadi[i].ingrandita)
            piani = std::max(piani, p.stadi[i].forma.piani);
    if (s.alimenta >= 0) {
        const Stadio& nutrito = p.stadi[s.alimenta];
        if (nutrito.forma.riduzione > 1)
            piani = std::max(piani, nutrito.forma.piani);
        s.appoggio = nutrito.effetto->prepara->appoggio(nutrito.forma);
    }
    s.righe = s.fuori ? 3 * righe : 0;
    s.luma = s.luma_prima || s.media ? righe : 0;
    s.campioni = static_cast<std::size_t>(piani) * riga;
    if (s.intorno > 0)
        s.vicine = memoria_vicine(*p.stadi[s.primo].effetto, p.quadro, s.intorno, s.insieme);
    s.ripiano = a_linea(s.vicine + s.righe + s.luma + s.campioni + s.appoggio);
}

// As many threads as the loop that is shared out among the most: blocks of rows, or the columns and
// rows of planes. Where no loop is shared out, no thread is started.
void conta_thread(Programma& p)
{
    std::ptrdiff_t giri = 0;
    for (int n = 0; n < p.numero_spazzate; ++n) {
        const std::ptrdiff_t insieme = p.spazzate[n].insieme;
        giri = std::max(giri, (p.quadro.altezza + insieme - 1) / insieme);
    }
    for (int i = 0; i < p.numero_stadi; ++i) {
        const Forma& f = p.stadi[i].forma;
        giri = std::max(giri, std::max(f.colonne, f.righe) * f.piani);
    }
    p.thread = parti_di(static_cast<std::uint64_t>(giri), gThreadHardware()).quante;
}

void conta_memoria(Programma& p)
{
    std::size_t comune = 0;  // threads' rows and steps take turns in it
    p.comune = p.somme;
    for (int n = 0; n < p.numero_spazzate; ++n) {
        Spazzata& s = p.spazzate[n];
        arreda(p, s);
        comune = std::max(comune, p.thread * s.ripiano);
        if (s.media)
            p.comune = p.somme + a_linea(2 * static_cast<std::size_t>(p.quadro.altezza));
    }
    for (int i = 0; i < p.numero_stadi; ++i)
        comune = std::max(comune, p.stadi[i].effetto->prepara->memoria(p.stadi[i].forma, p.thread));
    p.memoria = p.comune + comune;
}

}  // namespace

constinit const Passo NESSUN_PASSO = {};

int riduzione_di(int larghezza, int altezza)
{
    const int lato_max = std::max(larghezza, altezza);
    if (lato_max < 1920)
        return 1;
    return lato_max < 3840 ? lato_max / 960 : 4;
}

Forma forma_di(int larghezza, int altezza, int riduzione, int piani, int raggio)
{
    return {.larghezza = larghezza,
            .altezza = altezza,
            .riduzione = riduzione,
            .piani = piani,
            .colonne = std::max(1, larghezza / riduzione),
            .righe = std::max(1, altezza / riduzione),
            .raggio = std::max(1, raggio / riduzione)};
}

Programma programma_di(const FxRicetta& ricetta, int larghezza, int altezza, bool tutte_prima,
                       int riduzione)
{
    Programma p;
    p.quadro = {.larghezza = larghezza,
                .altezza = altezza,
                .fotogramma = ricetta.fotogramma,
                .punte = ricetta.punte};
    if (p.quadro.larghezza * p.quadro.altezza > MASSIMO_PIXEL)
        throw std::bad_alloc();
    accendi(p, ricetta, larghezza, altezza, riduzione);
    dividi(p, tutte_prima);
    accorda(p);
    alloggia(p);
    conta_thread(p);
    conta_memoria(p);
    return p;
}

bool tiene_immagine(const Programma& p)
{
    return p.numero_spazzate > 1;
}

bool solo_passaggio(const Programma& p)
{
    return p.numero_spazzate == 1 && p.numero_stadi == 0;
}

}  // namespace varno
