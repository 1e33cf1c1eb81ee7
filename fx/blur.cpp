#include "fx/blur.h"

#include "fx/fx.h"
#include "fx/nuclei.h"
#include "fx/nuclei_aloni.h"
#include "fx/nuclei_blur.h"
#include "render/parallel_for.h"

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <utility>

namespace varno {
namespace {

constexpr int PASSATE = 3;  // of the blurs on a copy

// Rows that are masked, reduced and blurred together while the cache holds them: as many as a
// kernel takes in lockstep.
constexpr std::ptrdiff_t GRUPPO = 8;

// Columns that a thread sums at a time: at least as many as the processor reads ahead, and no more
// strips than it takes, as each goes over all rows.
constexpr std::ptrdiff_t STRISCIA = 240;
constexpr std::ptrdiff_t MASSIMO_STRISCE = 4;

// What a reduced copy is made from.
struct Sorgente {
    const float* rgb;  // null where only luma is read
    const float* luma;
    int larghezza;
    int altezza;
    Arena* arena;
};

std::size_t campioni(int larghezza, int altezza)
{
    return static_cast<std::size_t>(larghezza) * static_cast<std::size_t>(altezza);
}

// What the passes keep aside of the planes that they overwrite.
struct Appoggio {
    Piano righe;  // of each row, posti samples
    std::ptrdiff_t posti;
    Piano colonne;  // of each plane, altezza_colonne rows
    std::ptrdiff_t altezza_colonne;
};

Appoggio appoggio_di(int larghezza, int altezza, int piani, int raggio, Arena* arena)
{
    const std::ptrdiff_t r = raggio;
    Appoggio s = {{}, 1, {}, std::min<std::ptrdiff_t>(r + 1, altezza) + 1};
    while (s.posti < std::min<std::ptrdiff_t>(2 * r + 9, larghezza))
        s.posti *= 2;
    s.righe = piano_di_lavoro(static_cast<std::size_t>(s.posti * altezza * piani), arena);
    s.colonne =
        piano_di_lavoro(static_cast<std::size_t>(s.altezza_colonne * larghezza * piani), arena);
    return s;
}

// righe rows in all, of one plane or of several; da may be a.
void passata_orizzontale(const float* da, float* a, Appoggio& s, int larghezza,
                         std::ptrdiff_t righe, int raggio)
{
    parallel_for_blocchi(
        static_cast<std::uint64_t>(righe), [&](std::uint64_t inizio, std::uint64_t fine) {
            const auto y = static_cast<std::ptrdiff_t>(inizio);
            gNuclei->blur.orizzontale(da + y * larghezza, a + y * larghezza,
                                      s.righe.data() + y * s.posti, s.posti, larghezza,
                                      static_cast<std::ptrdiff_t>(fine) - y, raggio);
        });
}

// In place; the threads share out the columns of all planes together. Each walks down its own in a
// few strips, left to right: where two threads work side by side in a row, the processor, reading
// ahead, takes each one's cache lines from the other, and two are as slow as one.
void passata_verticale(float* a, Appoggio& s, int larghezza, int altezza, int piani, int raggio)
{
    const std::ptrdiff_t W = larghezza;
    const auto striscia = [&](std::ptrdiff_t inizio, std::ptrdiff_t fine) {
        for (std::ptrdiff_t p = 0; p < piani; ++p) {
            const std::ptrdiff_t x0 = std::max<std::ptrdiff_t>(inizio - p * W, 0);
            const std::ptrdiff_t x1 = std::min(fine - p * W, W);
            if (x0 < x1)
                gNuclei->blur.verticale(a + p * W * altezza,
                                        s.colonne.data() + p * s.altezza_colonne * W, W, altezza,
                                        x0, x1, raggio);
        }
    };
    parallel_for_blocchi(static_cast<std::uint64_t>(W * piani), [&](std::uint64_t inizio,
                                                                    std::uint64_t fine) {
        const auto da = static_cast<std::ptrdiff_t>(inizio);
        const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(fine) - da;
        const std::ptrdiff_t strisce = std::clamp<std::ptrdiff_t>(n / STRISCIA, 1, MASSIMO_STRISCE);
        for (std::ptrdiff_t i = 0; i < strisce; ++i)
            striscia(da + n * i / strisce, da + n * (i + 1) / strisce);
    });
}

RigaDaRidurre riga_da_ridurre(const Sorgente& s, Alone& alone, int piani, std::ptrdiff_t Y)
{
    const std::ptrdiff_t y = Y * alone.riduzione;
    RigaDaRidurre r = {};
    r.rgb = s.rgb == nullptr ? nullptr : s.rgb + y * s.larghezza * 3;
    r.luma = s.luma + y * s.larghezza;
    r.larghezza = s.larghezza;
    r.righe = std::min<std::ptrdiff_t>(alone.riduzione, s.altezza - y);
    r.riduzione = alone.riduzione;
    r.ridotta = alone.larghezza;
    for (int p = 0; p < piani; ++p)
        r.uscita[p] =
            alone.piani.data() + (std::ptrdiff_t{p} * alone.altezza + Y) * alone.larghezza;
    return r;
}

// One sweep over the source: each group of rows is masked, reduced into alone and blurred passate
// times along its length.
void riduci(const Sorgente& s, const NucleiAlone& nuclei, Alone& alone, Appoggio& appoggio,
            int raggio, int passate)
{
    const std::ptrdiff_t W = alone.larghezza;
    parallel_for_blocchi(
        static_cast<std::uint64_t>(alone.altezza), [&](std::uint64_t inizio, std::uint64_t fine) {
            const auto prima = static_cast<std::ptrdiff_t>(inizio);
            const auto dopo = static_cast<std::ptrdiff_t>(fine);
            float* anello = appoggio.righe.data() + prima * appoggio.posti;
            for (std::ptrdiff_t Y = prima; Y < dopo; Y += GRUPPO) {
                // The last group is filled up with rows that are done: made anew, they come out
                // the same.
                const std::ptrdiff_t da = Y + GRUPPO <= dopo ? Y : std::max(prima, dopo - GRUPPO);
                const std::ptrdiff_t a = std::min(da + GRUPPO, dopo);
                for (std::ptrdiff_t i = da; i < a; ++i)
                    nuclei.maschera(riga_da_ridurre(s, alone, nuclei.piani, i));
                for (std::ptrdiff_t p = 0; p < nuclei.piani; ++p) {
                    float* righe = alone.piani.data() + (p * alone.altezza + da) * W;
                    for (int i = 0; i < passate; ++i)
                        gNuclei->blur.orizzontale(righe, righe, anello, appoggio.posti, W, a - da,
                                                  raggio);
                }
            }
        });
}

Alone copia_vuota(const Sorgente& s, const NucleiAlone& nuclei, int riduzione)
{
    Alone alone = {
        {}, std::max(1, s.larghezza / riduzione), std::max(1, s.altezza / riduzione), riduzione};
    alone.piani = piano_di_lavoro(
        campioni(alone.larghezza, alone.altezza) * static_cast<std::size_t>(nuclei.piani), s.arena);
    return alone;
}

Alone riduci_e_sfoca(const Sorgente& s, const NucleiAlone& nuclei, int raggio, int riduzione)
{
    Alone alone = copia_vuota(s, nuclei, riduzione);
    const int r = std::max(1, raggio / riduzione);
    Appoggio appoggio = appoggio_di(alone.larghezza, alone.altezza, nuclei.piani, r, s.arena);

    riduci(s, nuclei, alone, appoggio, r, 1);
    for (int i = 0; i < PASSATE; ++i) {
        if (i > 0)
            passata_orizzontale(alone.piani.data(), alone.piani.data(), appoggio, alone.larghezza,
                                std::ptrdiff_t{alone.altezza} * nuclei.piani, r);
        passata_verticale(alone.piani.data(), appoggio, alone.larghezza, alone.altezza,
                          nuclei.piani, r);
    }
    return alone;
}

Alone riduci_e_sfoca_orizzontale(const Sorgente& s, const NucleiAlone& nuclei, int raggio,
                                 int riduzione)
{
    Alone alone = copia_vuota(s, nuclei, riduzione);
    const int r = std::max(1, raggio / riduzione);
    Appoggio appoggio = appoggio_di(alone.larghezza, alone.altezza, nuclei.piani, r, s.arena);
    riduci(s, nuclei, alone, appoggio, r, PASSATE);
    return alone;
}

// Row y of the frame lies between two rows of the copy; the enlargement is not centred.
RigaDaComporre riga_da_comporre(const RigaDiPixel& riga, std::ptrdiff_t y, int piani,
                                const Alone& alone)
{
    RigaDaComporre r = {};
    r.riga = riga;
    r.riduzione = alone.riduzione;
    r.ridotta = alone.larghezza;
    std::ptrdiff_t y0 = y;
    std::ptrdiff_t y1 = y;
    if (alone.riduzione > 0) {
        const std::ptrdiff_t ultima = alone.altezza - 1;
        const float fy = static_cast<float>(y) / static_cast<float>(alone.riduzione);
        y0 = std::min(ultima, static_cast<std::ptrdiff_t>(fy));
        y1 = std::min(ultima, y0 + 1);
        r.ty = fy - static_cast<float>(y0);
    }
    for (std::ptrdiff_t p = 0; p < piani; ++p) {
        const float* piano = alone.piani.data() + p * alone.altezza * alone.larghezza;
        r.sopra[p] = piano + y0 * alone.larghezza;
        r.sotto[p] = piano + y1 * alone.larghezza;
    }
    return r;
}

// The enlarged copy over the plane that it was made from.
void ingrandisci(Piano& piano, int larghezza, int altezza, const NucleiAlone& nuclei,
                 const Alone& copia)
{
    parallel_for(static_cast<std::uint64_t>(altezza), [&](std::uint64_t y) {
        float* riga = &piano[y * static_cast<std::size_t>(larghezza)];
        nuclei.composito(riga_da_comporre({nullptr, nullptr, riga, larghezza},
                                          static_cast<std::ptrdiff_t>(y), nuclei.piani, copia));
    });
}

Sorgente sorgente_di(const Quadro& q)
{
    return {q.img.data(), q.luma.data(), q.larghezza, q.altezza, q.img.arena};
}

Sorgente sorgente_di(const Piano& piano, int larghezza, int altezza)
{
    return {nullptr, piano.data(), larghezza, altezza, piano.arena};
}

// From da into a, which may be the same.
void sfoca(const float* da, Piano& a, int larghezza, int altezza, int raggio, int passate)
{
    Appoggio appoggio = appoggio_di(larghezza, altezza, 1, raggio, a.arena);
    for (int i = 0; i < passate; ++i) {
        passata_orizzontale(i == 0 ? da : a.data(), a.data(), appoggio, larghezza, altezza, raggio);
        passata_verticale(a.data(), appoggio, larghezza, altezza, 1, raggio);
    }
}

}  // namespace

void box_blur(Piano& piano, int larghezza, int altezza, int raggio, int passate)
{
    if (raggio < 1)
        return;
    sfoca(piano.data(), piano, larghezza, altezza, raggio, passate);
}

Piano sfocata_di(const Piano& piano, int larghezza, int altezza, int raggio, int passate)
{
    if (raggio < 1 || passate < 1)
        return copia_di(piano);
    Piano a = piano_di_lavoro(piano.size(), piano.arena);
    sfoca(piano.data(), a, larghezza, altezza, raggio, passate);
    return a;
}

void blur_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    if (riduzione < 2) {
        box_blur(piano, larghezza, altezza, raggio, PASSATE);
        return;
    }
    const NucleiAlone& nuclei = gNuclei->aloni.luminanza;
    const Alone copia =
        riduci_e_sfoca(sorgente_di(piano, larghezza, altezza), nuclei, raggio, riduzione);
    ingrandisci(piano, larghezza, altezza, nuclei, copia);
}

void blur_orizz_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    const NucleiAlone& nuclei = gNuclei->aloni.luminanza;
    const Alone copia = riduci_e_sfoca_orizzontale(sorgente_di(piano, larghezza, altezza), nuclei,
                                                   raggio, riduzione);
    ingrandisci(piano, larghezza, altezza, nuclei, copia);
}

Alone alone_di(const Quadro& q, const NucleiAlone& nuclei, int raggio, int riduzione)
{
    Alone alone = riduci_e_sfoca(sorgente_di(q), nuclei, raggio, riduzione);
    if (riduzione < 2)
        alone.riduzione = 0;
    return alone;
}

Alone ridotta_di(const Quadro& q, const NucleiAlone& nuclei, int riduzione)
{
    const Sorgente s = sorgente_di(q);
    Alone alone = copia_vuota(s, nuclei, riduzione);
    parallel_for(static_cast<std::uint64_t>(alone.altezza), [&](std::uint64_t Y) {
        nuclei.maschera(riga_da_ridurre(s, alone, nuclei.piani, static_cast<std::ptrdiff_t>(Y)));
    });
    return alone;
}

Alone alone_orizzontale_di(const Quadro& q, const NucleiAlone& nuclei, int raggio, int riduzione)
{
    return riduci_e_sfoca_orizzontale(sorgente_di(q), nuclei, raggio, riduzione);
}

void componi_alone(const Quadro& q, const NucleiAlone& nuclei, const Alone& alone, float quantita)
{
    per_righe(q, [&](RigaDiPixel riga, std::uint64_t y) {
        riga.luma = nullptr;
        RigaDaComporre r =
            riga_da_comporre(riga, static_cast<std::ptrdiff_t>(y), nuclei.piani, alone);
        r.quantita = quantita;
        nuclei.composito(r);
    });
}

void componi_alone_e_luma(const Quadro& q, const NucleiAlone& nuclei, const Alone& alone,
                          float quantita, float media)
{
    per_righe(q, [&](const RigaDiPixel& riga, std::uint64_t y) {
        RigaDaComporre r =
            riga_da_comporre(riga, static_cast<std::ptrdiff_t>(y), nuclei.piani, alone);
        r.quantita = quantita;
        r.media = media;
        nuclei.composito(r);
    });
}

}  // namespace varno
