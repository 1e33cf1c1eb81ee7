// One sum of a whole frame, taken row by row where its order does not show.
#include "fx/media.h"

#include "comune/nuclei.h"
#include "fx/nuclei_piani.h"

#include <cstring>

namespace varno {
namespace {

// Above this many pixels the sum may pass 2^23, and is counted in coarser units.
constexpr std::int64_t PIXEL_FINI = std::int64_t{1} << 23;
constexpr float SCALA_FINE = 0x1p+30f;
constexpr float SCALA_GROSSA = 0x1p+28f;

bool stesso_esponente(double a, double b)
{
    std::uint64_t bit[2];
    std::memcpy(&bit[0], &a, sizeof a);
    std::memcpy(&bit[1], &b, sizeof b);
    return bit[0] >> 52 == bit[1] >> 52;
}

// Whether a sum that is not negative, and the next row's, add up as their samples would one by one.
// A double holds 53 bits: whole units below 2^53 of them add up without rounding, in any order. A
// sum that has finer digits, from a row that was added sample by sample, keeps them as long as it
// stays within a power of two; where it passes one, the place shows at which they are rounded.
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

SommeDiRiga::SommeDiRiga(std::int64_t w, std::int64_t h)
    : larghezza(w), scala(w * h <= PIXEL_FINI ? SCALA_FINE : SCALA_GROSSA),
      somme(static_cast<std::size_t>(h))
{
}

void SommeDiRiga::aggiungi(const float* luma, std::int64_t y)
{
    somme[static_cast<std::size_t>(y)] = gNuclei->piani.somma_intera(luma, larghezza, scala);
}

float media_di(const float* immagine, const SommeDiRiga& s)
{
    Piano luma(static_cast<std::size_t>(s.larghezza));
    double somma = 0.0;
    for (const double riga : s.somme) {
        if (esatta(somma, riga, static_cast<double>(s.scala))) {
            somma += riga;
        } else {
            gNuclei->piani.luminanza(immagine, luma.data(), s.larghezza);
            for (const float l : luma)
                somma += static_cast<double>(l);
        }
        immagine += 3 * s.larghezza;
    }
    return static_cast<float>(
        somma / static_cast<double>(s.larghezza * static_cast<std::int64_t>(s.somme.size())));
}

}  // namespace varno
