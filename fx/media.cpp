// One sum of a whole frame, taken row by row where its order does not show.
#include "fx/media.h"

#include "comune/nuclei.h"
#include "fx/effetto.h"
#include "fx/nuclei_piani.h"

#include <cstdint>
#include <cstring>

namespace varno {
namespace {

// Samples are counted in units of 2^-30, or in a frame so large that its sum may pass 2^23, 2^-28:
// then the sum stays below 2^53 units.
constexpr std::ptrdiff_t PIXEL_FINI = std::ptrdiff_t{1} << 23;

float scala_di(const Quadro& q)
{
    return q.larghezza * q.altezza <= PIXEL_FINI ? 0x1p+30f : 0x1p+28f;
}

bool stesso_esponente(double a, double b)
{
    std::uint64_t bit[2];
    std::memcpy(&bit[0], &a, sizeof a);
    std::memcpy(&bit[1], &b, sizeof b);
    return bit[0] >> 52 == bit[1] >> 52;
}

// Whether a sum that is not negative, and the next row's, add up as their samples would one by one.
// Below 2^53 units a double holds every whole number of them: 0.5 + 0.25 + 0.125 is the same
// whatever comes first. A sum such as 700.1, from a row that was added sample by sample, has digits
// finer than a unit, down to 2^-43 as every double from 512 to 1024: whole units on top leave them
// alone. At 1024 the last digit becomes 2^-42, and it shows at which sample that was.
bool esatta(double somma, double riga, double scala)
{
    const double dopo = somma + riga;
    if (!(somma >= 0.0 && riga >= 0.0 && dopo < 0x1p+53 / scala))
        return false;
    const double unita = somma * scala;
    return unita == static_cast<double>(static_cast<std::int64_t>(unita)) ||
           stesso_esponente(somma, dopo);
}

}  // namespace

double somma_di_riga(const float* luma, const Quadro& q)
{
    return gNuclei->piani.somma_intera(luma, q.larghezza, scala_di(q));
}

float media_di(const Immagine& immagine, const Quadro& q, const double* somme, float* luma)
{
    const auto scala = static_cast<double>(scala_di(q));
    double somma = 0.0;
    for (std::ptrdiff_t y = 0; y < q.altezza; ++y) {
        if (esatta(somma, somme[y], scala)) {
            somma += somme[y];
            continue;
        }
        gNuclei->piani.luminanza(riga_di(immagine, y), luma, q.larghezza);
        for (std::ptrdiff_t x = 0; x < q.larghezza; ++x)
            somma += static_cast<double>(luma[x]);
    }
    return static_cast<float>(somma / static_cast<double>(q.larghezza * q.altezza));
}

}  // namespace varno
