// Blurs of planes, on threads. The sums themselves: fx/nuclei_piani.h.
#include "fx/blur.h"

#include "comune/nuclei.h"
#include "render/parallel_for.h"

#include <algorithm>

namespace varno {
namespace {

// Columns that a thread sums at a time: at least as many as the processor reads ahead, and no more
// strips than it takes, as each goes over all rows.
constexpr std::ptrdiff_t STRISCIA = 240;
constexpr std::ptrdiff_t MASSIMO_STRISCE = 4;

// Places of the ring in which a row's samples wait while the sum needs them.
std::ptrdiff_t posti_di(const Forma& f)
{
    std::ptrdiff_t posti = 1;
    while (posti < std::min<std::ptrdiff_t>(2 * std::ptrdiff_t{f.raggio} + 9, f.larghezza))
        posti *= 2;
    return posti;
}

// All rows of all planes, which follow each other.
void passata_orizzontale(float* piani, const Forma& f, Arena* arena)
{
    const Parti parti = parti_di(static_cast<std::uint64_t>(f.altezza) * f.piani);
    const std::size_t appoggio = appoggio_righe(f);
    Piano anelli = piano_di_lavoro(appoggio * parti.quante, arena);
    parallel_for_parti(parti, [&](std::uint64_t parte, std::uint64_t inizio, std::uint64_t fine) {
        sfoca_righe(riga_di(piani, f, 0, static_cast<std::int64_t>(inizio)),
                    static_cast<std::int64_t>(fine - inizio), f, &anelli[parte * appoggio]);
    });
}

// The threads share out the columns of all planes together. Each walks down its own in a few
// strips, left to right: where two threads work side by side in a row, the processor, reading
// ahead, takes each one's cache lines from the other, and two are as slow as one.
void passata_verticale(float* piani, const Forma& f, Arena* arena)
{
    const std::ptrdiff_t W = f.larghezza;
    // One plane's ring: the rows that the sum has still to lose, and the sums.
    const std::ptrdiff_t anello =
        (std::min<std::ptrdiff_t>(std::ptrdiff_t{f.raggio} + 1, f.altezza) + 1) * W;
    Piano anelli = piano_di_lavoro(static_cast<std::size_t>(anello * f.piani), arena);
    const auto striscia = [&](std::ptrdiff_t inizio, std::ptrdiff_t fine) {
        for (int p = 0; p < f.piani; ++p) {
            const std::ptrdiff_t x0 = std::max<std::ptrdiff_t>(inizio - p * W, 0);
            const std::ptrdiff_t x1 = std::min(fine - p * W, W);
            if (x0 < x1)
                gNuclei->piani.verticale(riga_di(piani, f, p, 0), anelli.data() + p * anello, W,
                                         f.altezza, x0, x1, f.raggio);
        }
    };
    parallel_for_blocchi(static_cast<std::uint64_t>(W * f.piani), [&](std::uint64_t inizio,
                                                                      std::uint64_t fine) {
        const auto da = static_cast<std::ptrdiff_t>(inizio);
        const std::ptrdiff_t n = static_cast<std::ptrdiff_t>(fine) - da;
        const std::ptrdiff_t strisce = std::clamp<std::ptrdiff_t>(n / STRISCIA, 1, MASSIMO_STRISCE);
        for (std::ptrdiff_t i = 0; i < strisce; ++i)
            striscia(da + n * i / strisce, da + n * (i + 1) / strisce);
    });
}

// A plane as the only one of an effect: reduced into a copy, worked on, enlarged over itself.
template <class Sfocatura>
void su_copia(Piano& piano, int larghezza, int altezza, int raggio, int riduzione,
              Sfocatura sfoca_copia)
{
    const Forma f = forma_di(larghezza, altezza, riduzione, 1, raggio);
    const Blocchi b = blocchi_di(f);
    const auto riga = [&](std::int64_t y) { return piano.data() + y * larghezza; };
    Piano copia = piano_di_lavoro(campioni_di(f), nullptr);
    parallel_for(static_cast<std::uint64_t>(f.altezza), [&](std::uint64_t Y) {
        const auto y = static_cast<std::int64_t>(Y);
        for (std::ptrdiff_t i = 0; i < b.righe; ++i)
            gNuclei->piani.riduci(riga(y * riduzione + i), riga_di(copia.data(), f, 0, y), b, i);
    });
    sfoca_copia(copia.data(), f);
    parallel_for(static_cast<std::uint64_t>(altezza), [&](std::uint64_t y) {
        ingrandisci_riga(copia.data(), f, 0, static_cast<std::int64_t>(y),
                         riga(static_cast<std::int64_t>(y)));
    });
}

}  // namespace

Forma forma_di(int quadro_larghezza, int quadro_altezza, int riduzione, int piani, int raggio)
{
    return {.quadro_larghezza = quadro_larghezza,
            .quadro_altezza = quadro_altezza,
            .riduzione = riduzione,
            .piani = piani,
            .larghezza = std::max(1, quadro_larghezza / riduzione),
            .altezza = std::max(1, quadro_altezza / riduzione),
            .raggio = std::max(1, raggio / riduzione)};
}

void ingrandisci_riga(const float* piani, const Forma& f, int p, std::int64_t y, float* riga)
{
    const float fy = static_cast<float>(y) / static_cast<float>(f.riduzione);
    const std::int64_t y0 = std::min<std::int64_t>(f.altezza - 1, static_cast<std::int64_t>(fy));
    const std::int64_t y1 = std::min<std::int64_t>(f.altezza - 1, y0 + 1);
    const float* piano = piani + std::int64_t{p} * f.altezza * f.larghezza;
    gNuclei->piani.ingrandisci(piano + y0 * f.larghezza, piano + y1 * f.larghezza,
                               fy - static_cast<float>(y0), riga, blocchi_di(f));
}

std::size_t appoggio_righe(const Forma& f)
{
    return static_cast<std::size_t>(RIGHE_INSIEME * posti_di(f));
}

void sfoca_righe(float* righe, std::int64_t quante, const Forma& f, float* appoggio)
{
    gNuclei->piani.orizzontale(righe, appoggio, posti_di(f), f.larghezza, quante, f.raggio);
}

void sfoca(float* piani, const Forma& f, int passate, bool righe_fatte, Arena* arena)
{
    for (int i = 0; i < passate; ++i) {
        if (i > 0 || !righe_fatte)
            passata_orizzontale(piani, f, arena);
        passata_verticale(piani, f, arena);
    }
}

void box_blur(Piano& piano, int larghezza, int altezza, int raggio, int passate)
{
    if (raggio >= 1)
        sfoca(piano.data(), forma_di(larghezza, altezza, 1, 1, raggio), passate, false, nullptr);
}

void blur_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    if (riduzione < 2) {
        box_blur(piano, larghezza, altezza, raggio, PASSATE);
        return;
    }
    su_copia(piano, larghezza, altezza, raggio, riduzione,
             [](float* copia, const Forma& f) { sfoca(copia, f, PASSATE, false, nullptr); });
}

void blur_orizz_su_ridotta(Piano& piano, int larghezza, int altezza, int raggio, int riduzione)
{
    su_copia(piano, larghezza, altezza, raggio, riduzione, [](float* copia, const Forma& f) {
        for (int i = 0; i < PASSATE; ++i)
            passata_orizzontale(copia, f, nullptr);
    });
}

}  // namespace varno
